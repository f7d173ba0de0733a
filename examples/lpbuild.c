/* examples/lpbuild.c: build a linear problem through the interface, solve it, read the solution. */
/* SPDX-License-Identifier: Apache-2.0 */
/*
 * The transport problem of transport.mps: ship from two plants (supplies 30 and 25) to three
 * markets (demands 15, 20 and 18) at least cost, with at most 10 on the road from plant 1 to
 * market 3. Variable x(p,k) is what plant p ships to market k. Minimal cost: 275.
 */
#include <stdio.h>

#include "velor.h"

/* Tells the task's last error when r is an error, and gives r back. */
static int32_t check(VLRtask_t task, int32_t r, const char* what) {
  if (r != VLR_RES_OK) {
    char msg[VLR_MAX_STR_LEN] = "";
    int32_t code = 0, len = 0;
    if (task != NULL) VLR_getlasterror(task, &code, sizeof msg, &len, msg);
    fprintf(stderr, "lpbuild: %s failed (%d): %s\n", what, r, msg);
  }
  return r;
}

int main(void) {
  static const char* plants[2] = {"PLANT1", "PLANT2"};
  static const char* markets[3] = {"MARKET1", "MARKET2", "MARKET3"};
  const double supply[2] = {30, 25}, demand[3] = {15, 20, 18};
  const double cost[2][3] = {{4, 6, 9}, {5, 3, 7}};
  VLRenv_t env = NULL;
  VLRtask_t task = NULL;
  int32_t r = VLR_makeenv(&env, NULL, NULL, NULL, NULL);
  if (r == VLR_RES_OK) r = VLR_initenv(env);
  if (r == VLR_RES_OK) r = VLR_maketask(env, 5, 6, &task);
  if (check(task, r, "making the env and the task") != VLR_RES_OK) return 1;
  VLR_putintparam(task, VLR_IPAR_LOG, 0); /* quiet: this program prints what it needs */

  /* Rows 0 and 1 are the plants (at most the supply), rows 2 to 4 the markets (at least the
     demand); column 3 p + k is x(p,k), with its cost and a 1 in its plant's and market's row. */
  r = VLR_append(task, VLR_ACC_CON, 5);
  if (r == VLR_RES_OK) r = VLR_append(task, VLR_ACC_VAR, 6);
  for (int32_t p = 0; p < 2 && r == VLR_RES_OK; ++p) {
    r = VLR_putbound(task, VLR_ACC_CON, p, VLR_BK_UP, -VLR_INFINITY, supply[p]);
    if (r == VLR_RES_OK) r = VLR_putname(task, VLR_PI_CON, p, plants[p]);
  }
  for (int32_t k = 0; k < 3 && r == VLR_RES_OK; ++k) {
    r = VLR_putbound(task, VLR_ACC_CON, 2 + k, VLR_BK_LO, demand[k], VLR_INFINITY);
    if (r == VLR_RES_OK) r = VLR_putname(task, VLR_PI_CON, 2 + k, markets[k]);
  }
  for (int32_t p = 0; p < 2; ++p) {
    for (int32_t k = 0; k < 3 && r == VLR_RES_OK; ++k) {
      const int32_t j = 3 * p + k, rows[2] = {p, 2 + k};
      const double ones[2] = {1.0, 1.0};
      char name[16];
      snprintf(name, sizeof name, "X%d%d", p + 1, k + 1);
      r = VLR_putcj(task, j, cost[p][k]);
      if (r == VLR_RES_OK) r = VLR_putavec(task, VLR_ACC_VAR, j, 2, rows, ones);
      if (r == VLR_RES_OK) r = VLR_putbound(task, VLR_ACC_VAR, j, VLR_BK_LO, 0.0, VLR_INFINITY);
      if (r == VLR_RES_OK) r = VLR_putname(task, VLR_PI_VAR, j, name);
    }
  }
  if (r == VLR_RES_OK) r = VLR_putbound(task, VLR_ACC_VAR, 2, VLR_BK_RA, 0.0, 10.0);
  if (check(task, r, "building the problem") != VLR_RES_OK) return 1;

  r = VLR_optimize(task);
  if (check(task, r, "VLR_optimize") != VLR_RES_OK) return 1;

  /* The basic solution: statuses, objective, shipments, and the marginal cost of each row. */
  int32_t prosta = 0, solsta = 0;
  double obj = 0.0, xx[6], y[5];
  char text[VLR_MAX_STR_LEN], name[64];
  r = VLR_getsolutionstatus(task, VLR_SOL_BAS, &prosta, &solsta);
  if (r == VLR_RES_OK) r = VLR_getprimalobj(task, VLR_SOL_BAS, &obj);
  if (r == VLR_RES_OK) r = VLR_getsolutionslice(task, VLR_SOL_BAS, VLR_SOL_ITEM_XX, 0, 6, xx);
  if (r == VLR_RES_OK) r = VLR_getsolutionslice(task, VLR_SOL_BAS, VLR_SOL_ITEM_Y, 0, 5, y);
  if (check(task, r, "reading the solution") != VLR_RES_OK) return 1;
  VLR_solstatostr(task, solsta, text);
  printf("status: %s\n", text);
  printf("objective: %g\n", obj);
  for (int32_t j = 0; j < 6; ++j) {
    VLR_getvarname(task, j, sizeof name, name);
    if (xx[j] > 0.0) printf("ship %-4s %g\n", name, xx[j]);
  }
  for (int32_t i = 0; i < 5; ++i) {
    VLR_getconname(task, i, sizeof name, name);
    printf("dual %-8s %g\n", name, y[i]);
  }
  VLR_deletetask(&task);
  VLR_deleteenv(&env);
  return solsta == VLR_SOL_STA_OPTIMAL ? 0 : 1;
}
