// src/optimize/optslv.cpp: the interior-point pipeline: crossed bounds, presolve, the standard
// form and its scaling, the homogeneous optimiser, the way back, postsolve and the check of the
// answer on the problem as given.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>
#include <cstdio>

#include "basic/basic.h"
#include "dualize/dualize.h"
#include "optimize/optdat.h"
#include "prslv/prslv.h"
#include "simplex/simplex.h"
#include "velor.h"

namespace vlr {

void VLR_opt_setdefaults(optpar* par) {
  *par = optpar{};
}

void VLR_optdef_optresp2str(int32_t resp, char* buf, size_t size) {
  const char* text = "UNKNOWN ERROR";
  switch (resp) {
    case 0:
      text = "NORMAL";
      break;
    case 1:
      text = "OUT OF SPACE";
      break;
    case 2:
      text = "OUT OF REAL WORKSPACE";
      break;
    case 3:
      text = "OUT OF INTEGER WORK SPACE";
      break;
    case 4:
      text = "MAX ITERATIONS";
      break;
    case 5:
      text = "MAX TIME";
      break;
    case 6:
      text = "USER BREAK";
      break;
    case 7:
      text = "TERMINATED BY USER CALLBACK";
      break;
    case 8:
      text = "STALLED";
      break;
    case 9:
      text = "NUMERICAL INSTABILITY";
      break;
    case 10:
      text = "FACTOR ERROR";
      break;
    case 11:
      text = "FUNCTION EVALUATION ERROR";
      break;
    case 12:
      text = "ERROR";
      break;
    case 15:
      text = "OPTIMAL OBJECTIVE VALUE IS OUTSIDE ITS RANGE";
      break;
    case 18:
      text = "MODEL ERROR";
      break;
    case 26:
      text = "SINGULAR BASIS";
      break;
    case 33:
      text = "STOPPED BY USER CALLBACK";
      break;
    default:
      break;
  }
  std::snprintf(buf, size, "%s [%d]", text, resp);
}

namespace {

int32_t opt_homstop(void* handle) {
  const auto* cb = static_cast<const OptIpmCallbacks*>(handle);
  return cb->stop(cb->handle);
}

int32_t opt_bistop(void* handle, int32_t /*code*/) {
  return opt_homstop(handle);
}

void opt_text(const OptIpmCallbacks& cb, const char* line) {
  if (cb.text != nullptr) cb.text(cb.handle, line);
}

void opt_prslvlog(void* handle, const char* text) {
  opt_text(*static_cast<const OptIpmCallbacks*>(handle), text);
}

void opt_homtext(void* handle, const char* text) {
  opt_text(*static_cast<const OptIpmCallbacks*>(handle), text);
}

int32_t opt_homiter(void* handle, const HomIter& it) {
  const auto* cb = static_cast<const OptIpmCallbacks*>(handle);
  return cb->iter != nullptr ? cb->iter(cb->handle, it) : 0;
}

void opt_homparam(const optpar& par, HomParam* hp) {
  VLR_hs_setdefaults(hp);
  hp->maxiter = par.maxiter;
  hp->stepfac = par.stepfac;
  hp->tolpfeas = par.tolpfeas;
  hp->toldfeas = par.toldfeas;
  hp->tolgfeas = par.tolgfeas;
  hp->tolrelgap = par.tolrelgap;
  hp->tolmured = par.tolmured;
  hp->tolinfeas = par.tolinfeas;
  hp->tolstepsize = par.tolstepsize;
  hp->tolpath = par.tolpath;
  hp->meritbal = par.meritbal;
  hp->psafe = par.tolpsafe;
  hp->dsafe = par.toldsafe;
  hp->maxnumcor = par.maxnumcor;
  hp->diffstep = par.diffstep;
  hp->regularize = 1;
  hp->startpoint = par.startpoint;
  hp->wantbasis = par.basismode != 0 ? 1 : 0;
  hp->ordermethod = par.ordermethod;
  hp->offcoltrh = par.offcoltrh;
  hp->tolrefine = par.tolrefine1;
  hp->loglevel = par.loglevel;
}

// A solution of a problem of m rows and n columns (keys, values, reduced costs and duals) in two
// blocks of the system layer; sol is set only when both blocks came.
struct OptSolBuf {
  OptSolBuf(SysEnv* sys, int32_t m, int32_t n)
      : keys(sys, VLR_HERE, std::max(m + n, 1)), vals(sys, VLR_HERE, 2 * int64_t{m + n} + m + 1) {
    if (!*this) return;
    sol.sk = keys.get();
    sol.x = vals.get();
    sol.d = sol.x + m + n;
    sol.y = sol.d + m + n;
  }
  explicit operator bool() const { return keys && vals; }
  SysBuf<int32_t> keys;
  SysBuf<double> vals;
  SimSol sol;
};

// Solves lp in its standard form into sol (sized for lp); the statuses and measures go to info.
// With dual set, lp is the dual of the problem given, and the log shows the objective with the
// given problem's sign.
void opt_solvestd(SysEnv* sys, const optpar& par, const SimLp& lp, const OptIpmCallbacks& cb,
                  SimSol* sol, slvi* info, bool dual = false) {
  odat d;
  if (!VLR_opt_prepare(sys, lp, &d)) {
    info->resp = 1;
    return;
  }
  VLR_opt_scale(sys, &d, par.scalemode);
  HomLp hl;
  hl.nrow = d.nrow;
  hl.ncol = d.ncol;
  hl.nup = d.nbup;
  hl.abeg = d.abeg;
  hl.asub = d.asub;
  hl.aval = d.aval;
  hl.b = d.b;
  hl.c = d.cx;
  hl.ub = d.ub;
  hl.cfix = d.cfix;
  hl.objscale = dual ? -d.objscale : d.objscale;
  info->nrow = d.nrow;
  info->ncol = d.ncol;
  SysBuf<double> block(sys, VLR_HERE, 2 * int64_t{d.ncol} + d.nbup + d.nrow + 1);
  if (!block) {
    VLR_opt_deldat(sys, &d);
    info->resp = 1;
    return;
  }
  HomSol hs;
  hs.x = block.get();
  hs.s = hs.x + d.ncol;
  hs.su = hs.s + d.ncol;
  hs.y = hs.su + d.nbup;
  HomParam hp;
  opt_homparam(par, &hp);
  HomCallbacks hcb;
  hcb.handle = const_cast<OptIpmCallbacks*>(&cb);
  hcb.text = opt_homtext;
  hcb.iter = opt_homiter;
  hcb.stop = cb.stop != nullptr ? opt_homstop : nullptr;
  HomInfo hi;
  VLR_hs_optlp(sys, hp, hl, hcb, &hs, &hi);
  info->resp = hi.resp;
  info->iterations += hi.iter;
  info->prosta = hi.prosta;
  info->solsta = hi.solsta;
  info->kapdivtau = hi.kapdivtau;
  info->nnzL = hi.nnzL;
  info->fflops = hi.fflops;
  info->ordtime = hi.ordtime;
  info->ndense = hi.ndense;
  if (hi.started) {
    VLR_opt_reverse(lp, d, hs, hi.solsta, sol);
  } else {
    info->prosta = VLR_PRO_STA_UNKNOWN;
    info->solsta = VLR_SOL_STA_UNKNOWN;
  }
  VLR_opt_deldat(sys, &d);
}

// One form's shape for the choice between the primal and the dual: its rows, the longest
// column that the dense cut-off leaves sparse and the count of columns over it.
struct OptShape {
  int32_t rows = 0, cols = 0, maxden = 0, numden = 0;
};

// The dense cut-off over a histogram of column lengths (hist[l] columns of length l, l up to
// maxlen): from the longest length down, the cut-off d whose cost k (0.2 R + k) + d R is least,
// k the columns over d, the earliest on a tie.
void opt_cutoff(const optpar& par, const int32_t* hist, int32_t maxlen, OptShape* f) {
  const double r = f->rows;
  int32_t best = maxlen;
  double bestcost = double(maxlen) * r, k = 0.0;
  for (int32_t d = maxlen - 1; d >= 0; --d) {
    k += hist[d + 1];
    const double cost = k * (0.2 * r + k) + double(d) * r;
    if (cost < bestcost) bestcost = cost, best = d;
  }
  const int32_t cut = par.offcoltrh == 0 ? f->rows + 1 : std::max(par.offcoltrh / 2, best);
  f->maxden = 0;
  f->numden = 0;
  for (int32_t l = 0; l <= maxlen; ++l) {
    if (hist[l] == 0) continue;
    if (l > cut) {
      f->numden += hist[l];
    } else {
      f->maxden = l;
    }
  }
}

// The decision of the two forms' shapes: 1 dual, 0 primal, -1 undecided (the count test
// decides). Integer arithmetic throughout.
int32_t opt_formrule(const OptShape& pf, const OptShape& df) {
  const int64_t rp = pf.rows, rd = df.rows, dp = pf.maxden, dd = df.maxden, np = pf.numden,
                ndn = df.numden;
  bool counttest = false;
  if (rd < rp) {
    if (!(4 * rp < 5 * rd) || !(dp < dd || np < ndn)) return 1;
  } else if (rd <= 2 * rp && 3 * dd <= 2 * dp && ndn <= 2 * np) {
    counttest = true;
  } else if (!(4 * rp < 5 * rd) || (rd <= rp && !(dp < dd || np < ndn))) {
    return 1;
  }
  if (!counttest) {
    if (!(rp / 2 < rd || 10 * dd < 8 * rd)) return 1;
    const bool closer =
        4 * rd < 5 * rp && (rd < rp || dd < dp || ndn < np) && (rd / 2 < rp || 10 * dp < 8 * rp);
    if (!closer) return 0;
  }
  return -1;
}

// The count test: the dual when it has at most as many long columns (the rows) as the primal.
bool opt_counttest(SysEnv* sys, const optpar& par, const SimLp& lp, const OptIpmCallbacks& cb) {
  const int32_t m = lp.m, n = lp.n;
  const int64_t cut = lp.abeg[n] * 10 / (int64_t{m} + n) + 2;
  SysBuf<int32_t> rowlen(sys, VLR_HERE, m);
  if (!rowlen) return false;
  int32_t pnumden = 0, dnumden = 0;
  for (int32_t j = 0; j < n; ++j) {
    if (lp.abeg[j + 1] - lp.abeg[j] > cut) ++pnumden;
    for (int64_t k = lp.abeg[j]; k < lp.abeg[j + 1]; ++k)
      ++rowlen[lp.aidx[k]];
  }
  for (int32_t i = 0; i < m; ++i)
    if (rowlen[i] > cut) ++dnumden;
  if (par.loglevel > 4) {
    char line[96];
    std::snprintf(line, sizeof line, "cutoff: %lld pnumden: %d dnumden: %d\n",
                  static_cast<long long>(cut), pnumden, dnumden);
    opt_text(cb, line);
  }
  return dnumden <= pnumden;
}

// Whether the interior point solves the dual: by the rows of the two forms first, then by their
// dense columns, and at the last by a count of long rows against long columns. The free choice
// takes the dual only when at most one in a hundred of its variables is free: the standard form
// splits a free variable in two, and on duals of problems with many equality rows (stocfor3,
// agg) that cost the interior point its accuracy or its convergence.
bool opt_choosedual(SysEnv* sys, const optpar& par, const SimLp& lp, const OptIpmCallbacks& cb) {
  if (par.solveform == VLR_SOLVE_PRIMAL || lp.m == 0 || lp.n == 0) return false;
  const int32_t m = lp.m, n = lp.n;
  int32_t md = 0, nd = 0, nfree = 0, nfixed = 0;
  int64_t nzd = 0;
  VLR_dualize_getdualsize(lp, 0, 0, &md, &nd, &nzd, &nfree, &nfixed);
  if (md == 0) return false;
  if (par.solveform == VLR_SOLVE_DUAL) return true;
  SysBuf<int32_t> rowlen(sys, VLR_HERE, m);
  SysBuf<int32_t> hist(sys, VLR_HERE, int64_t{std::max(m, n)} + 2);
  if (!rowlen || !hist) return false;
  OptShape pf, df;
  int32_t ranged = 0, dranged = 0, sing = 0, maxcol = 0, maxrow = 0, dfree = 0;
  for (int32_t i = 0; i < m; ++i) {
    if (lp.bk[i] != VLR_BK_FR) ++pf.rows;
    if (lp.bk[i] == VLR_BK_RA) ++ranged;
    if (lp.bk[i] == VLR_BK_FX) ++dfree;
  }
  // The primal's columns: those not fixed, their lengths over rows that are not free.
  for (int32_t j = 0; j < n; ++j) {
    const int32_t key = lp.bk[m + j];
    int32_t len = 0;
    for (int64_t k = lp.abeg[j]; k < lp.abeg[j + 1]; ++k) {
      if (lp.bk[lp.aidx[k]] == VLR_BK_FR) continue;
      ++len;
      if (key != VLR_BK_FX) ++rowlen[lp.aidx[k]];
    }
    if (key == VLR_BK_RA) ++dranged;
    if (len == 1) ++sing;
    if (key == VLR_BK_FX) continue;
    ++pf.cols;
    ++hist[len];
    maxcol = std::max(maxcol, len);
  }
  opt_cutoff(par, hist.get(), maxcol, &pf);
  // The dual's columns: a row's dual variables (two for a ranged row) and the slacks of ranged
  // columns, of length 1.
  std::fill(hist.get(), hist.get() + std::max(m, n) + 2, 0);
  df.rows = md;
  df.cols = nd;
  for (int32_t i = 0; i < m; ++i) {
    if (lp.bk[i] == VLR_BK_FR) continue;
    hist[rowlen[i]] += lp.bk[i] == VLR_BK_RA ? 2 : 1;
    maxrow = std::max(maxrow, rowlen[i]);
  }
  hist[1] += dranged;
  opt_cutoff(par, hist.get(), std::max(maxrow, 1), &df);
  if (par.loglevel > 0) {
    char line[96];
    auto row = [&](const char* what, int64_t p, int64_t d) {
      std::snprintf(line, sizeof line, "%-20s  %8lld  %8lld\n", what, static_cast<long long>(p),
                    static_cast<long long>(d));
      opt_text(cb, line);
    };
    std::snprintf(line, sizeof line, "%-20s  %8s  %8s\n", "", "Primal", "Dual");
    opt_text(cb, line);
    row("Rows", pf.rows, df.rows);
    row("Columns", pf.cols, df.cols);
    row("Variables", int64_t{pf.rows} + pf.cols, int64_t{df.rows} + df.cols);
    row("Ranged rows", ranged, dranged);
    row("Free", nfree, dfree);
    row("num(sing)", sing, n - nfixed - md);
    row("nz(A)", lp.abeg[n], nzd);
    row("max(den) excl.", pf.maxden, df.maxden);
    row("num(den)", pf.numden, df.numden);
  }
  if (100 * int64_t{dfree} > nd) return false;
  const int32_t rule = opt_formrule(pf, df);
  return rule >= 0 ? rule == 1 : opt_counttest(sys, par, lp, cb);
}

bool opt_infeasible(int32_t solsta) {
  return solsta == VLR_SOL_STA_PRIM_INFEAS_CER || solsta == VLR_SOL_STA_DUAL_INFEAS_CER ||
         solsta == VLR_SOL_STA_NEAR_PRIM_INFEAS_CER || solsta == VLR_SOL_STA_NEAR_DUAL_INFEAS_CER;
}

// Solves lp through its explicit dual: the interior point runs on the dual, and its solution,
// ray or certificate is read back as the given problem's certificate, solution or ray.
void opt_solvedual(SysEnv* sys, const optpar& par, const SimLp& lp, const OptIpmCallbacks& cb,
                   SimSol* sol, slvi* info) {
  DualizeRec* rec = nullptr;
  SimLp dl;
  if (VLR_dualize_formdual(sys, lp, 0, &rec, &dl) != 0) {
    info->resp = 1;
    return;
  }
  const int32_t nt = lp.m + lp.n;
  OptSolBuf dbuf(sys, dl.m, dl.n);
  if (!dbuf) {
    VLR_dualize_delete(&rec);
    info->resp = 1;
    return;
  }
  const SimSol& ds = dbuf.sol;
  opt_text(cb, "The dual is solved in place of the problem given.\n");
  opt_solvestd(sys, par, dl, cb, &dbuf.sol, info, true);
  info->isdual = 1;
  std::fill(sol->x, sol->x + nt, 0.0);
  std::fill(sol->d, sol->d + nt, 0.0);
  std::fill(sol->y, sol->y + lp.m, 0.0);
  switch (info->solsta) {
    case VLR_SOL_STA_DUAL_INFEAS_CER:  // the dual's ray certifies the given problem infeasible
    case VLR_SOL_STA_NEAR_DUAL_INFEAS_CER:
      VLR_dualize_getprimal(rec, lp, kDualizePrimalRay, ds, sol);
      info->prosta = VLR_PRO_STA_PRIM_INFEAS;
      info->solsta = info->solsta == VLR_SOL_STA_DUAL_INFEAS_CER ? VLR_SOL_STA_PRIM_INFEAS_CER
                                                                 : VLR_SOL_STA_NEAR_PRIM_INFEAS_CER;
      break;
    case VLR_SOL_STA_PRIM_INFEAS_CER:  // the dual's certificate is the given problem's ray
    case VLR_SOL_STA_NEAR_PRIM_INFEAS_CER:
      VLR_dualize_getprimal(rec, lp, kDualizeDualRay, ds, sol);
      info->prosta = VLR_PRO_STA_DUAL_INFEAS;
      info->solsta = info->solsta == VLR_SOL_STA_PRIM_INFEAS_CER ? VLR_SOL_STA_DUAL_INFEAS_CER
                                                                 : VLR_SOL_STA_NEAR_DUAL_INFEAS_CER;
      break;
    default:
      VLR_dualize_getprimal(rec, lp, kDualizeInterior, ds, sol);
      break;
  }
  VLR_opt_interiorkeys(lp, sol);
  VLR_dualize_delete(&rec);
}

// Solves lp in the form the choice gives.
// An optimum of the dual holds to the tolerances measured on the dual's data; read back, it must
// also hold on the problem's: its violations small against the sizes of the bounds and costs,
// and the two objectives within 1e-8 of each other. On duals whose free variables the standard
// form splits it need not (greenbea: 1e-3 off the optimum).
bool opt_dualholds(SysEnv* sys, const SimLp& lp, SimSol* sol) {
  double pviol = 0.0, dviol = 0.0, pobj = 0.0, dobj = 0.0;
  if (!VLR_opt_checksolution(sys, lp, sol, &pviol, &dviol, &pobj, &dobj)) return false;
  double bmax = 0.0, cmax = 0.0;
  for (int32_t k = 0; k < lp.m + lp.n; ++k) {
    const double lo = VLR_opt_lower(lp, k), up = VLR_opt_upper(lp, k);
    if (std::fabs(lo) < 1e30) bmax = std::max(bmax, std::fabs(lo));
    if (std::fabs(up) < 1e30) bmax = std::max(bmax, std::fabs(up));
  }
  for (int32_t j = 0; j < lp.n; ++j)
    cmax = std::max(cmax, std::fabs(lp.c[j]));
  return pviol <= 1e-8 * (1.0 + bmax) && dviol <= 1e-8 * (1.0 + cmax) &&
         std::fabs(pobj - dobj) <= 1e-8 * (1.0 + std::fabs(pobj));
}

// Solves lp in the form the choice gives; an optimum of the dual that does not hold on lp is
// found again in the primal form.
void opt_solveform(SysEnv* sys, const optpar& par, const SimLp& lp, const OptIpmCallbacks& cb,
                   SimSol* sol, slvi* info) {
  if (opt_choosedual(sys, par, lp, cb)) {
    opt_solvedual(sys, par, lp, cb, sol, info);
    if (info->resp != 0 || info->solsta != VLR_SOL_STA_OPTIMAL || opt_dualholds(sys, lp, sol)) {
      return;
    }
    opt_text(cb, "The dual's optimum does not hold on the problem given; the primal is solved.\n");
    const int32_t iterations = info->iterations;
    *info = slvi{};
    info->iterations = iterations;
  }
  opt_solvestd(sys, par, lp, cb, sol, info);
}

// A ray proves the problem unbounded only if it has a feasible point. Before a ray is the answer,
// the problem is solved once more with the costs set to zero: when that gives a Farkas
// certificate, the problem is infeasible as well, and the certificate (the stronger statement)
// replaces the ray.
void opt_checkray(SysEnv* sys, const optpar& par, const SimLp& lp, const OptIpmCallbacks& cb,
                  SimSol* sol, slvi* info) {
  const bool ray = info->solsta == VLR_SOL_STA_DUAL_INFEAS_CER ||
                   info->solsta == VLR_SOL_STA_NEAR_DUAL_INFEAS_CER;
  if (info->resp != 0 || !ray || lp.m == 0) return;
  const int32_t nt = lp.m + lp.n;
  SysBuf<double> zero(sys, VLR_HERE, std::max(lp.n, 1));
  OptSolBuf fbuf(sys, lp.m, lp.n);
  if (!zero || !fbuf) return;  // the ray stands; it is a valid answer on its own
  SimLp fl = lp;
  fl.c = zero.get();
  fl.cfix = 0.0;
  SimSol& fs = fbuf.sol;
  slvi fi;
  opt_text(cb,
           "A ray was found; the problem is solved with zero costs for a certificate of "
           "infeasibility.\n");
  opt_solveform(sys, par, fl, cb, &fs, &fi);
  info->iterations += fi.iterations;
  // A stop in the second run stops the whole: the ray is not confirmed.
  if (fi.resp == 5 || fi.resp == 6 || fi.resp == 7) info->resp = fi.resp;
  if (fi.resp != 0 || fi.solsta != VLR_SOL_STA_PRIM_INFEAS_CER) return;
  std::copy(fs.sk, fs.sk + nt, sol->sk);
  std::copy(fs.x, fs.x + nt, sol->x);
  std::copy(fs.d, fs.d + nt, sol->d);
  std::copy(fs.y, fs.y + lp.m, sol->y);
  info->prosta = VLR_PRO_STA_PRIM_AND_DUAL_INFEAS;
  info->solsta = VLR_SOL_STA_PRIM_INFEAS_CER;
}

// Bounds that no point meets: the variables' keys say so and their duals are the certificate.
bool opt_checkfeas(const optpar& par, const SimLp& lp, SimSol* sol, slvi* info) {
  const int32_t nt = lp.m + lp.n;
  bool bad = false;
  for (int32_t k = 0; k < nt; ++k)
    bad = bad || (lp.bk[k] == VLR_BK_RA && lp.bu[k] < lp.bl[k] - par.prslv.tolx);
  if (!bad) return false;
  for (int32_t k = 0; k < nt; ++k) {
    const bool crossed = lp.bk[k] == VLR_BK_RA && lp.bu[k] < lp.bl[k] - par.prslv.tolx;
    sol->sk[k] = crossed ? VLR_SK_INF : VLR_SK_UNK;
    sol->x[k] = 0.0;
    sol->d[k] = 0.0;
  }
  std::fill(sol->y, sol->y + lp.m, 0.0);
  info->prosta = VLR_PRO_STA_PRIM_INFEAS;
  info->solsta = VLR_SOL_STA_PRIM_INFEAS_CER;
  return true;
}

void opt_prslvparam(const optpar& par, const OptIpmCallbacks* cb, PrslvParam* pp) {
  VLR_prslv_initparam(pp);
  pp->loglevel = par.loglevel;
  VLR_prslv_takeuser(par.prslv, pp);
  pp->loghandle = const_cast<OptIpmCallbacks*>(cb);
  pp->log = cb->text != nullptr ? opt_prslvlog : nullptr;
  pp->stophandle = cb->handle;
  pp->stop = cb->stop;
}

// Whether basis identification runs after the interior point: never on a certificate (the
// interior point's is the answer), nor after a time limit or a stop; after another early end by
// the mode and its two flags.
bool opt_wantbi(const optpar& par, const slvi& info) {
  const int32_t mode = par.basismode, r = info.resp;
  if (mode == VLR_BI_NEVER || r == 5 || r == 7 || opt_infeasible(info.solsta)) return false;
  if (r == 0) return info.solsta != VLR_SOL_STA_UNKNOWN || mode != VLR_BI_IF_FEASIBLE;
  if (mode == VLR_BI_ALWAYS) return r != 1 && r != 6;
  if (mode == VLR_BI_NO_ERROR) {
    return (r == 4 && par.biignoremaxiter != 0) || (r == 8 && par.biignorenumerr != 0);
  }
  return r != 1 && r != 6;
}

void opt_bitext(void* handle, const char* text) {
  opt_text(*static_cast<const OptIpmCallbacks*>(handle), text);
}

// Basis identification on lp from its interior solution itr into bas (both sized for lp).
int32_t opt_basind(SysEnv* sys, const optpar& par, const OptIpmCallbacks& cb, const SimLp& lp,
                   const SimSol& itr, SimSol* bas, slvi* info) {
  PrfParam pp;
  VLR_prf_setdefaults(&pp);
  pp.tolx = par.bitolx;
  pp.tols = par.bitols;
  pp.relpivs = par.bireltols;
  pp.loglevel = par.biloglevel;
  pp.logfreq = par.bilogfreq;
  pp.maxiter = par.bimaxiter;
  pp.cleanopt = par.bicleanopt;
  pp.ignoremaxiter = par.biignoremaxiter;
  pp.ignorenumerr = par.biignorenumerr;
  PrfCallbacks pcb;
  pcb.handle = const_cast<OptIpmCallbacks*>(&cb);
  pcb.text = par.biloglevel > 0 && cb.text != nullptr ? opt_bitext : nullptr;
  pcb.stop = cb.stop != nullptr ? opt_bistop : nullptr;
  PrfInfo pi;
  VLR_prf_puriflp(sys, pp, pcb, lp, itr, bas, &pi);
  info->bitime += pi.time;
  info->biprimaltime += pi.crashtime + pi.pritime;
  info->bidualtime += pi.duatime;
  info->bicleantime += pi.cleantime;
  info->bipriiter += pi.priiter;
  info->biduaiter += pi.duaiter;
  info->bicleanpriiter += pi.cleanpriiter;
  info->bicleanduaiter += pi.cleanduaiter;
  info->bicleanpditer += pi.cleanpditer;
  info->bisuper = pi.nsuper;
  info->bicleaned = pi.cleaned;
  info->basprosta = pi.prosta;
  info->bassolsta = pi.solsta;
  return pi.resp;
}

// The basis of the problem as given, confirmed (and mended if it must be) by the simplex from
// its keys: the statuses it reports are checked on the data as given.
int32_t opt_confirmbasis(SysEnv* sys, const optpar& par, const OptIpmCallbacks& cb, const SimLp& lp,
                         SimSol* bas, slvi* info) {
  const double t0 = VLR_sysenv_getwctime(sys);
  SimParam sp;
  VLR_simplex_initparam(&sp);
  sp.loglevel = par.biloglevel > 1 ? 1 : 0;
  sp.maxiter = par.bimaxiter;
  sp.presolve = 0;
  sp.hotstart = 1;
  sp.confirm = 1;
  if (par.bicleanopt == 1) sp.slot = kSimSlotPrimal;
  SimCallbacks scb;
  scb.handle = const_cast<OptIpmCallbacks*>(&cb);
  scb.log = cb.text != nullptr ? opt_bitext : nullptr;
  scb.stop = cb.stop != nullptr ? opt_homstop : nullptr;
  SimInfo si;
  VLR_simplex_initinfo(&si);
  VLR_simplex_optimize(sys, sp, scb, lp, 1, bas, &si);
  info->bicleanpriiter += si.iter[kSimSlotPrimal];
  info->bicleanduaiter += si.iter[kSimSlotDual];
  info->bicleanpditer += si.iter[kSimSlotPd];
  if (si.iter[kSimSlotPrimal] + si.iter[kSimSlotDual] + si.iter[kSimSlotPd] > 0) {
    info->bicleaned = 1;
  }
  const double dt = VLR_sysenv_getwctime(sys) - t0;
  info->bicleantime += dt;
  info->bitime += dt;
  info->basprosta = si.prosta;
  info->bassolsta = si.solsta;
  info->baspobj = si.pobj;
  info->basdobj = si.dobj;
  switch (si.response) {
    case kSimOk:
      return 0;
    case kSimNoSpace:
    case kSimLuSpace:
      return 1;
    case kSimMaxIter:
      return 4;
    case kSimInterrupted:
      return 7;
    case kSimSingular:
      return 26;
    default:
      return 9;
  }
}

// Whether a basis with response r is kept: a clean run, or an iteration limit or numerical
// trouble the caller asked to ignore.
bool opt_keepbasis(const optpar& par, int32_t r) {
  return r == 0 || (r == 4 && (par.biignoremaxiter != 0 || par.basismode != VLR_BI_NO_ERROR)) ||
         (r == 9 && par.biignorenumerr != 0);
}

// The unknown basic solution: keys and values cleared.
void opt_clearbas(int32_t m, int32_t n, SimSol* bas) {
  std::fill(bas->sk, bas->sk + m + n, VLR_SK_UNK);
  std::fill(bas->x, bas->x + m + n, 0.0);
  std::fill(bas->d, bas->d + m + n, 0.0);
  std::fill(bas->y, bas->y + m, 0.0);
}

}  // namespace

void VLR_opt_ipmslv(SysEnv* sys, const optpar& par, const SimLp& lp, const OptIpmCallbacks& cb,
                    SimSol* itr, slvi* info, SimSol* bas) {
  *info = slvi{};
  const int32_t nt = lp.m + lp.n;
  info->prosta = VLR_PRO_STA_UNKNOWN;
  info->solsta = VLR_SOL_STA_UNKNOWN;
  std::fill(itr->sk, itr->sk + nt, VLR_SK_UNK);
  std::fill(itr->x, itr->x + nt, 0.0);
  std::fill(itr->d, itr->d + nt, 0.0);
  std::fill(itr->y, itr->y + lp.m, 0.0);
  if (opt_checkfeas(par, lp, itr, info)) return;
  prslv* p = nullptr;
  PrslvParam pp;
  opt_prslvparam(par, &cb, &pp);
  PrslvStat stat;
  if (par.presolve != 0) {
    int32_t rp = VLR_prslv_make(sys, lp, &p);
    if (rp == kPrslvOk) rp = VLR_prslv_reduce(pp, p, &stat);
    if (rp != kPrslvOk) {
      VLR_prslv_delete(&p);
      info->resp = rp == kPrslvStopped ? 7 : 1;  // a user break, or space
      return;
    }
    info->prslvtime = stat.time;
    info->prslvlindeptime = stat.timelindep;
    if (par.loglevel > 0) VLR_prslv_problemsummary(pp, stat);
    // Infeasibility that presolve proves is a status only: the certificate comes from the
    // problem as given.
    if (stat.prosta != VLR_PRO_STA_UNKNOWN) VLR_prslv_delete(&p);
  }
  if (p != nullptr) {
    SimLp rl;
    VLR_prslv_getreduced(p, &rl);
    info->presolved = 1;
    info->prslvnumcon = rl.m;
    info->prslvnumvar = rl.n;
    const int32_t rt = rl.m + rl.n;
    OptSolBuf rbuf(sys, rl.m, rl.n);
    if (!rbuf) {
      VLR_prslv_delete(&p);
      info->resp = 1;
      return;
    }
    SimSol& rs = rbuf.sol;
    const double tipm = VLR_sysenv_getwctime(sys);
    if (rt > 0) {
      opt_solveform(sys, par, rl, cb, &rs, info);
    } else {
      info->prosta = VLR_PRO_STA_PRIM_AND_DUAL_FEAS;
      info->solsta = VLR_SOL_STA_OPTIMAL;
    }
    info->ipmtime = VLR_sysenv_getwctime(sys) - tipm;
    const bool again = opt_infeasible(info->solsta) || info->resp == 1;
    // Basis identification on the reduced problem, before postsolve gives the object's
    // problem back.
    const bool dobi = !again && bas != nullptr && opt_wantbi(par, *info);
    OptSolBuf bbuf(sys, dobi ? rl.m : 0, dobi ? rl.n : 0);
    SimSol& rb = bbuf.sol;
    int32_t biresp = 1;
    if (dobi && bbuf) {
      biresp = rt > 0 ? opt_basind(sys, par, cb, rl, rs, &rb, info) : 0;
    }
    // The basis, then the interior solution, each from the kept reduced problem.
    const double tpost = VLR_sysenv_getwctime(sys);
    bool basok = false;
    if (dobi) {
      info->biresp = biresp;
      // Both solutions are postsolved from the reduced problem: a copy of it is kept for the
      // second walk, made only now that the interior-point work is given back.
      basok = opt_keepbasis(par, biresp) && VLR_prslv_keepreduced(p) == kPrslvOk &&
              VLR_prslv_postsolve(pp, p, rb, bas) == kPrslvOk &&
              VLR_prslv_postsolvebasis(pp, p, rb, bas) == kPrslvOk;
    }
    if (!again) {
      if (VLR_prslv_postsolve(pp, p, rs, itr) != kPrslvOk) info->resp = 1;
      if (info->resp != 0) {
        info->prosta = VLR_PRO_STA_UNKNOWN;
        info->solsta = VLR_SOL_STA_UNKNOWN;
      }
    }
    VLR_prslv_unreduce(pp, p);
    VLR_prslv_delete(&p);
    info->postsolvetime = VLR_sysenv_getwctime(sys) - tpost;
    if (basok) {
      info->biresp = opt_confirmbasis(sys, par, cb, lp, bas, info);
      info->biused = opt_keepbasis(par, info->biresp) ? 1 : 0;
    }
    if (dobi && info->biused == 0) opt_clearbas(lp.m, lp.n, bas);
    if (!again || info->resp == 1) {
      if (info->resp == 0 || info->resp == 4 || info->resp == 8) {
        double po, dobj;
        VLR_opt_checksolution(sys, lp, itr, &info->chkpviol, &info->chkdviol, &po, &dobj);
        info->pobj = po;
        info->dobj = dobj;
      }
      return;
    }
    info->presolved = 0;
    opt_text(cb,
             "Presolved problem is infeasible; the problem as given is solved for its "
             "certificate.\n");
  }
  const double tipm = VLR_sysenv_getwctime(sys);
  opt_solveform(sys, par, lp, cb, itr, info);
  opt_checkray(sys, par, lp, cb, itr, info);
  info->ipmtime += VLR_sysenv_getwctime(sys) - tipm;
  if (info->resp != 0) {
    info->prosta = VLR_PRO_STA_UNKNOWN;
    info->solsta = VLR_SOL_STA_UNKNOWN;
  }
  if (bas != nullptr && opt_wantbi(par, *info)) {
    info->biresp = opt_basind(sys, par, cb, lp, *itr, bas, info);
    if (opt_keepbasis(par, info->biresp)) {
      info->biresp = opt_confirmbasis(sys, par, cb, lp, bas, info);
      info->biused = opt_keepbasis(par, info->biresp) ? 1 : 0;
    }
    if (info->biused == 0) opt_clearbas(lp.m, lp.n, bas);
  }
  if (!opt_infeasible(info->solsta)) {
    double po, dobj;
    VLR_opt_checksolution(sys, lp, itr, &info->chkpviol, &info->chkdviol, &po, &dobj);
    info->pobj = po;
    info->dobj = dobj;
  }
}

}  // namespace vlr
