/* tests/velor/capi_smoke.c: the C interface from a C99 program: env, task, parameters by name and
   by text, errors read back, a parameter file written and read, and everything deleted. */
/* SPDX-License-Identifier: Apache-2.0 */
#include <stdio.h>
#include <string.h>

#include "velor.h"

#define CHECK(cond)                                                            \
  do {                                                                         \
    if (!(cond)) {                                                             \
      fprintf(stderr, "%s:%d: check failed: %s\n", __FILE__, __LINE__, #cond); \
      return 1;                                                                \
    }                                                                          \
  } while (0)

int main(int argc, char** argv) {
  const char* parfile = argc > 1 ? argv[1] : "capi_smoke.par";
  VLRenv_t env = NULL;
  VLRtask_t task = NULL, other = NULL;
  int32_t code = 0, len = 0, ivalue = 0;
  double dvalue = 0.0;
  char msg[VLR_MAX_STR_LEN];

  CHECK(VLR_makeenv(&env, NULL, NULL, NULL, "") == VLR_RES_OK); /* tracked memory */
  CHECK(VLR_initenv(env) == VLR_RES_OK);
  CHECK(VLR_maketask(env, 2, 3, &task) == VLR_RES_OK);

  CHECK(VLR_putnaintparam(task, "VLR_IPAR_LOG", 4) == VLR_RES_OK);
  CHECK(VLR_putparam(task, "VLR_IPAR_OPTIMIZER", "VLR_OPTIMIZER_DUAL_SIMPLEX") == VLR_RES_OK);
  CHECK(VLR_putparam(task, "VLR_DPAR_OPTIMIZER_MAX_TIME", "30.5") == VLR_RES_OK);

  CHECK(VLR_putintparam(task, VLR_IPAR_LOG, -1) == VLR_RES_ERR_PARAM_IS_TOO_SMALL);
  CHECK(VLR_getlasterror(task, &code, sizeof msg, &len, msg) == VLR_RES_OK);
  CHECK(code == VLR_RES_ERR_PARAM_IS_TOO_SMALL && len == (int32_t)strlen(msg) && len > 0);
  CHECK(VLR_putparam(task, "VLR_IPAR_NOSUCH", "1") == VLR_RES_ERR_PARAM_NAME);
  CHECK(VLR_getlasterror(task, &code, sizeof msg, NULL, msg) == VLR_RES_OK);
  CHECK(code == VLR_RES_ERR_PARAM_NAME && strstr(msg, "VLR_IPAR_NOSUCH") != NULL);
  CHECK(VLR_getdouinf(task, -4, &dvalue) == VLR_RES_ERR_INF_DOU_INDEX);

  CHECK(VLR_writeparamfile(task, parfile) == VLR_RES_OK);
  CHECK(VLR_maketask(env, 0, 0, &other) == VLR_RES_OK);
  CHECK(VLR_putstrparam(other, VLR_SPAR_PARAM_READ_FILE_NAME, parfile) == VLR_RES_OK);
  CHECK(VLR_readparamfile(other) == VLR_RES_OK);
  CHECK(VLR_getintparam(other, VLR_IPAR_OPTIMIZER, &ivalue) == VLR_RES_OK);
  CHECK(ivalue == VLR_OPTIMIZER_DUAL_SIMPLEX);
  CHECK(VLR_getdouparam(other, VLR_DPAR_OPTIMIZER_MAX_TIME, &dvalue) == VLR_RES_OK);
  CHECK(dvalue == 30.5);

  CHECK(VLR_deletetask(&other) == VLR_RES_OK);
  CHECK(VLR_deletetask(&task) == VLR_RES_OK); /* a leak would be VLR_RES_ERR_SPACE_LEAKING */
  CHECK(VLR_deleteenv(&env) == VLR_RES_OK);
  printf("capi_smoke: ok\n");
  return 0;
}
