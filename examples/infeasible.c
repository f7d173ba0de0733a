/* examples/infeasible.c: an infeasible problem, its certificate read back and checked. */
/* SPDX-License-Identifier: Apache-2.0 */
/*
 * The transport problem of transport.mps with market 3 asking for 25 instead of 18: the plants
 * supply 55, the markets ask for 60, and no shipment plan exists. The optimiser proves it with a
 * Farkas vector: multipliers y of the rows and slx, sux of the column bounds with
 *     A'y + slx - sux = 0    and    blc'slc - buc'suc + blx'slx - bux'sux > 0,
 * where slc and suc are the positive and negative parts of y on the sides that exist. Summing
 * the rows with these weights gives an inequality no point can meet. This program reads the
 * vector back and checks both conditions itself, from the data it gave.
 */
#include <stdio.h>

#include "velor.h"

#define M 5
#define N 6

static double absval(double v) {
  return v < 0 ? -v : v;
}

int main(void) {
  /* A by columns: x(p,k) has a 1 in plant row p and market row 2 + k. */
  const int32_t aptrb[N] = {0, 2, 4, 6, 8, 10}, aptre[N] = {2, 4, 6, 8, 10, 12};
  const int32_t asub[12] = {0, 2, 0, 3, 0, 4, 1, 2, 1, 3, 1, 4};
  const double aval[12] = {1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1};
  const double c[N] = {4, 6, 9, 5, 3, 7};
  const int32_t bkc[M] = {VLR_BK_UP, VLR_BK_UP, VLR_BK_LO, VLR_BK_LO, VLR_BK_LO};
  const double blc[M] = {-VLR_INFINITY, -VLR_INFINITY, 15, 20, 25};
  const double buc[M] = {30, 25, VLR_INFINITY, VLR_INFINITY, VLR_INFINITY};
  const int32_t bkx[N] = {VLR_BK_LO, VLR_BK_LO, VLR_BK_RA, VLR_BK_LO, VLR_BK_LO, VLR_BK_LO};
  const double blx[N] = {0, 0, 0, 0, 0, 0};
  const double bux[N] = {VLR_INFINITY, VLR_INFINITY, 10, VLR_INFINITY, VLR_INFINITY, VLR_INFINITY};
  VLRenv_t env = NULL;
  VLRtask_t task = NULL;
  if (VLR_makeenv(&env, NULL, NULL, NULL, NULL) != VLR_RES_OK || VLR_initenv(env) != VLR_RES_OK ||
      VLR_maketask(env, M, N, &task) != VLR_RES_OK) {
    return 1;
  }
  VLR_putintparam(task, VLR_IPAR_LOG, 0);
  if (VLR_inputdata(task, M, N, M, N, c, 0.0, aptrb, aptre, asub, aval, bkc, blc, buc, bkx, blx,
                    bux) != VLR_RES_OK) {
    return 1;
  }
  /* Infeasibility is an answer, not an error: the optimise returns VLR_RES_OK. */
  if (VLR_optimize(task) != VLR_RES_OK) return 1;
  int32_t prosta = 0, solsta = 0;
  double y[M], slc[M], suc[M], slx[N], sux[N];
  char text[VLR_MAX_STR_LEN];
  /* The default optimiser leaves its certificate in the interior solution; the simplex would
     leave it in the basic one. Read the one that is there. */
  int32_t hasbas = 0;
  VLR_solutiondef(task, VLR_SOL_BAS, &hasbas);
  const int32_t whichsol = hasbas ? VLR_SOL_BAS : VLR_SOL_ITR;
  VLR_getsolution(task, whichsol, &prosta, &solsta, NULL, NULL, NULL, NULL, NULL, y, slc, suc, slx,
                  sux, NULL);
  VLR_prostatostr(task, prosta, text);
  printf("problem status: %s\n", text);
  VLR_solstatostr(task, solsta, text);
  printf("solution status: %s\n", text);
  if (solsta != VLR_SOL_STA_PRIM_INFEAS_CER) return 1;

  /* A'y + slx - sux, column by column, and the bound side of the combination. */
  double resid = 0.0, side = 0.0;
  for (int32_t j = 0; j < N; ++j) {
    double aty = 0.0;
    for (int32_t k = aptrb[j]; k < aptre[j]; ++k)
      aty += aval[k] * y[asub[k]];
    const double rj = absval(aty + slx[j] - sux[j]);
    if (rj > resid) resid = rj;
    if (bkx[j] != VLR_BK_UP && bkx[j] != VLR_BK_FR) side += blx[j] * slx[j];
    if (bkx[j] == VLR_BK_UP || bkx[j] == VLR_BK_RA || bkx[j] == VLR_BK_FX) side -= bux[j] * sux[j];
  }
  for (int32_t i = 0; i < M; ++i) {
    if (bkc[i] != VLR_BK_UP && bkc[i] != VLR_BK_FR) side += blc[i] * slc[i];
    if (bkc[i] != VLR_BK_LO && bkc[i] != VLR_BK_FR) side -= buc[i] * suc[i];
    printf("y[%d] = %g\n", i, y[i]);
  }
  const int ok = resid <= 1e-9 && side > 1e-9;
  printf("certificate: max |A'y + slx - sux| = %.1e, bound side = %g: %s\n", resid, side,
         ok ? "checked" : "NOT a proof");
  VLR_deletetask(&task);
  VLR_deleteenv(&env);
  return ok ? 0 : 1;
}
