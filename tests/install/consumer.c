/* tests/install/consumer.c: a ten-line program built against an installed library. */
/* SPDX-License-Identifier: Apache-2.0 */
#include <stdio.h>

#include "velor.h"

int main(void) {
  VLRenv_t env = NULL;
  VLRtask_t task = NULL;
  char version[32];
  if (VLR_makeenv(&env, NULL, NULL, NULL, NULL) != VLR_RES_OK || VLR_initenv(env) != 0) return 1;
  if (VLR_maketask(env, 0, 0, &task) != VLR_RES_OK) return 1;
  VLR_getversionstring(sizeof version, version);
  printf("consumer: %s\n", version);
  return VLR_deletetask(&task) != 0 || VLR_deleteenv(&env) != 0;
}
