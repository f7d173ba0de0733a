/* examples/solvefile.c: read a problem file and solve it with a time limit. */
/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Usage: solvefile FILE [SECONDS]. Reads FILE (MPS or LP, also .gz), gives the optimiser at
 * most SECONDS of wall clock (default 60), and prints the outcome. The exit status is 0 for a
 * definite answer, 2 when a limit stopped the run and 1 for an error.
 */
#include <stdio.h>
#include <stdlib.h>

#include "velor.h"

static void tell(VLRtask_t task, const char* what) {
  char msg[VLR_MAX_STR_LEN] = "";
  int32_t code = 0, len = 0;
  VLR_getlasterror(task, &code, sizeof msg, &len, msg);
  fprintf(stderr, "solvefile: %s: %s\n", what, msg);
}

int main(int argc, char** argv) {
  if (argc < 2) {
    fprintf(stderr, "usage: solvefile FILE [SECONDS]\n");
    return 1;
  }
  const double seconds = argc > 2 ? atof(argv[2]) : 60.0;
  VLRenv_t env = NULL;
  VLRtask_t task = NULL;
  if (VLR_makeenv(&env, NULL, NULL, NULL, NULL) != VLR_RES_OK || VLR_initenv(env) != VLR_RES_OK ||
      VLR_maketask(env, 0, 0, &task) != VLR_RES_OK) {
    fprintf(stderr, "solvefile: no env or task\n");
    return 1;
  }
  VLR_putintparam(task, VLR_IPAR_LOG, 0);
  if (VLR_readdata(task, argv[1]) != VLR_RES_OK) {
    tell(task, argv[1]);
    return 1;
  }
  if (VLR_putdouparam(task, VLR_DPAR_OPTIMIZER_MAX_TIME, seconds) != VLR_RES_OK) {
    tell(task, "the time limit");
    return 1;
  }

  /* A stop by a limit is a response of its own (VLR_RES_TRM_...), not an error: the task still
     has the solution the optimiser had reached. */
  const int32_t r = VLR_optimize(task);
  char symname[VLR_MAX_STR_LEN], text[VLR_MAX_STR_LEN];
  VLR_getcodedesc(r, symname, text);
  VLR_rescodetype type = VLR_RESPONSE_ERR;
  VLR_getresponseclass(r, &type);
  if (type == VLR_RESPONSE_ERR) {
    tell(task, "VLR_optimize");
    return 1;
  }
  int32_t prosta = 0, solsta = 0;
  double obj = 0.0, time = 0.0;
  VLR_getsolutionstatus(task, VLR_SOL_BAS, &prosta, &solsta);
  VLR_getprimalobj(task, VLR_SOL_BAS, &obj);
  VLR_getdouinf(task, VLR_DINF_OPTIMIZER_TIME, &time);
  VLR_solstatostr(task, solsta, text);
  printf("status: %s\nobjective: %.10e\ntime: %.2f\nresponse: %s\n", text, obj, time, symname);
  VLR_deletetask(&task);
  VLR_deleteenv(&env);
  return type == VLR_RESPONSE_TRM ? 2 : 0;
}
