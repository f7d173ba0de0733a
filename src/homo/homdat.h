// src/homo/homdat.h: the homogeneous optimiser's record, shared by the files of src/homo.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "homo/homo.h"
#include "kfac/kfac.h"

namespace vlr {

// One point or one direction of the embedding.
struct HomVec {
  double* x;   // [n]
  double* s;   // [n]
  double* xu;  // [nup] slack of x + xu = u tau
  double* su;  // [nup] its dual slack
  double* y;   // [m]
  double tau, kappa;
};

struct hom {
  SysEnv* sys;
  const HomLp* lp;
  HomParam par;
  HomCallbacks cb;
  int32_t m, n, nup, nlo;  // rows, columns, upper-bounded columns, first upper-bounded column
  int32_t k;               // pairs in the gap: n + nup + 1
  kktfac* kkt;
  HomVec v;      // the iterate
  HomVec saved;  // the last accepted one
  HomVec dp;     // the predictor
  HomVec dd;     // the direction taken
  HomVec dc;     // a corrector
  // Residuals of the iterate: rp = b tau - A x, rpu = u tau - x - xu, rd = c tau - A'y - s + su.
  double *rp, *rpu, *rd;
  double rg;  // kappa + c'x - b'y + u'su
  // The Newton system.
  double* theta;  // [n] the scaling D of A D A'
  double* chat;   // [n] c less the upper bound's term
  double* v2;     // [m] (A D A')^-1 (b + A D chat)
  double* dx2;    // [n] D (A' v2 - chat)
  double* rcx;    // [n] right-hand sides of the complementarity rows
  double* rcu;    // [nup]
  double rck;
  double* tm;  // [m] work
  double* tn;  // [n] work
  double k1;   // the homogeneous row's coefficient of dtau
  double regu;
  // Measures of the iterate.
  double pfeasf, dfeasf, gfeasf, meritfeas, cgapf, mu, pobj, dobj, relgap;
  double objerr;  // the residuals' weight in the objectives, relative as relgap
  double pfeasinff, dfeasinff, cx, by;
  double xnrm, ynrm;  // sizes of the primal (x, xu) and dual (y, s, su) parts
  double nrma, nrmb, nrmc, anorm;
  double cgap0, mu0;
  // Control.
  int32_t iter, regulevel, incregu, delay, maxnumcor, resp, prosta, solsta;
  int32_t failrow;  // steps that failed in a row
  double cgapt, meritfeast;
};

// homsrch.cpp: the factor at the iterate, directions, the step and the update.
int32_t hom_factor(hom* h);
void hom_direction(hom* h, double eta, HomVec* d);
void hom_maxstepsize(const hom* h, const HomVec& d, double* ap, double* ad);
double hom_gapat(const hom* h, const HomVec& d, double a);
double hom_nbhdat(const hom* h, const HomVec& d, double a);
void hom_axpy(hom* h, const HomVec& d, double a);
// homoptlp.cpp
void hom_inititer(hom* h);
bool hom_terminatelo(hom* h, int32_t relaxrelgap, int32_t relaxing);
void VLR_hom_optlp(hom* h);
void hom_printf(const hom* h, const char* format, ...) VLR_PRINTF(2, 3);

}  // namespace vlr
