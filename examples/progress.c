/* examples/progress.c: a callback that prints the progress of the simplex and stops it. */
/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Usage: progress FILE MAXITER. Solves FILE with the dual simplex; the callback prints the
 * iteration and the objective whenever the optimiser reports, and asks it to stop once MAXITER
 * iterations have been made. The optimise then ends in VLR_RES_TRM_USER_CALLBACK.
 */
#include <stdio.h>
#include <stdlib.h>

#include "velor.h"

struct watch {
  int32_t maxiter; /* stop at this many iterations */
  int32_t calls;   /* reports seen */
};

/* Called by the optimiser with a VLR_callbackcode. It may read information items of the task,
   but not change the task; a non-zero result asks the optimiser to stop. */
static int32_t report(VLRtask_t task, void* handle, int32_t caller) {
  struct watch* w = (struct watch*)handle;
  if (caller != VLR_CALLBACK_UPDATE_DUAL_SIMPLEX && caller != VLR_CALLBACK_UPDATE_PRIMAL_SIMPLEX) {
    return 0; /* the begin and end events of each optimiser */
  }
  int32_t iter = 0;
  double obj = 0.0;
  VLR_getintinf(task,
                caller == VLR_CALLBACK_UPDATE_DUAL_SIMPLEX ? VLR_IINF_SIM_DUAL_ITER
                                                           : VLR_IINF_SIM_PRIMAL_ITER,
                &iter);
  VLR_getdouinf(task, VLR_DINF_SIM_OBJ, &obj);
  ++w->calls;
  printf("iteration %6d  objective %.8e\n", iter, obj);
  return iter >= w->maxiter;
}

int main(int argc, char** argv) {
  if (argc < 3) {
    fprintf(stderr, "usage: progress FILE MAXITER\n");
    return 1;
  }
  struct watch w = {atoi(argv[2]), 0};
  VLRenv_t env = NULL;
  VLRtask_t task = NULL;
  if (VLR_makeenv(&env, NULL, NULL, NULL, NULL) != VLR_RES_OK || VLR_initenv(env) != VLR_RES_OK ||
      VLR_maketask(env, 0, 0, &task) != VLR_RES_OK) {
    return 1;
  }
  VLR_putintparam(task, VLR_IPAR_LOG, 0);
  VLR_putintparam(task, VLR_IPAR_OPTIMIZER, VLR_OPTIMIZER_DUAL_SIMPLEX);
  if (VLR_readdata(task, argv[1]) != VLR_RES_OK) {
    fprintf(stderr, "progress: cannot read %s\n", argv[1]);
    return 1;
  }
  VLR_putcallbackfunc(task, report, &w);
  const int32_t r = VLR_optimize(task);
  int32_t iter = 0;
  VLR_getintinf(task, VLR_IINF_SIM_DUAL_ITER, &iter);
  if (r == VLR_RES_TRM_USER_CALLBACK) {
    printf("stopped by the callback at iteration %d after %d reports\n", iter, w.calls);
  } else if (r == VLR_RES_OK) {
    printf("solved in %d iterations before the callback stopped it\n", iter);
  } else {
    printf("optimize gave response %d\n", r);
  }
  VLR_deletetask(&task);
  VLR_deleteenv(&env);
  return r == VLR_RES_OK || r == VLR_RES_TRM_USER_CALLBACK ? 0 : 1;
}
