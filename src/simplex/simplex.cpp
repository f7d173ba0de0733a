// src/simplex/simplex.cpp: the frame around the pivoting optimisers: solve by inspection
// without rows, scaling, the start basis, the run, unscaling, the clean-up of a solution that
// fails the tolerances on the problem as given, and the statuses.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <new>

#include "simplex/simdat.h"
#include "velor.h"

namespace vlr {

namespace {

// Relative pivot threshold of the LU when the run starts from a caller's basis.
constexpr double kSimHotStartRelPiv = 0.1;

constexpr double kInf = std::numeric_limits<double>::infinity();

int32_t simplex_sk(int8_t st) {
  switch (st) {
    case kNbBasic:
      return VLR_SK_BAS;
    case kNbLower:
      return VLR_SK_LOW;
    case kNbUpper:
      return VLR_SK_UPR;
    case kNbFixed:
      return VLR_SK_FIX;
    default:
      return VLR_SK_SUPBAS;
  }
}

// No rows: each variable goes to the bound its cost favours.
void simplex_inspection(const SimLp& lp, SimSol* sol, SimInfo* info) {
  bool unbounded = false;
  for (int32_t j = 0; j < lp.n; ++j) {
    const double l = VLR_opt_lower(lp, j), u = VLR_opt_upper(lp, j), c = lp.c[j];
    int32_t key = VLR_SK_LOW;
    double v = 0.0;
    if (l == u) {
      key = VLR_SK_FIX;
      v = l;
    } else if (c > 0.0 || (c == 0.0 && l > -kInf)) {
      if (l > -kInf)
        v = l;
      else if (c > 0.0)
        unbounded = true;
      key = l > -kInf ? VLR_SK_LOW : VLR_SK_SUPBAS;
    } else {
      if (u < kInf)
        v = u, key = VLR_SK_UPR;
      else if (c < 0.0)
        unbounded = true;
      else
        key = VLR_SK_SUPBAS;
    }
    sol->sk[j] = key;
    sol->x[j] = v;
    sol->d[j] = c;
  }
  info->pobj = lp.cfix;
  for (int32_t j = 0; j < lp.n; ++j)
    info->pobj += lp.c[j] * sol->x[j];
  info->dobj = info->pobj;
  if (unbounded) {
    // The ray: every unbounded variable moves the way its cost falls.
    for (int32_t j = 0; j < lp.n; ++j) {
      const double l = VLR_opt_lower(lp, j), u = VLR_opt_upper(lp, j), c = lp.c[j];
      sol->x[j] = (c > 0.0 && l == -kInf) ? -1.0 : ((c < 0.0 && u == kInf) ? 1.0 : 0.0);
    }
    info->prosta = VLR_PRO_STA_DUAL_INFEAS;
    info->solsta = VLR_SOL_STA_DUAL_INFEAS_CER;
  } else {
    info->prosta = VLR_PRO_STA_PRIM_AND_DUAL_FEAS;
    info->solsta = VLR_SOL_STA_OPTIMAL;
  }
}

// Row and column factors, powers of two: geometric passes, then the largest entry of each
// column made about one.
struct SimScaling {
  SimVec<double> r, s;  // row and column factors
  SimVec<int64_t> abeg;
  SimVec<int32_t> aidx;
  SimVec<double> aval, c, bl, bu;
  SimLp lp;
  explicit SimScaling(SysEnv* sys)
      : r(MemAllocator<double>(sys)),
        s(MemAllocator<double>(sys)),
        abeg(MemAllocator<int64_t>(sys)),
        aidx(MemAllocator<int32_t>(sys)),
        aval(MemAllocator<double>(sys)),
        c(MemAllocator<double>(sys)),
        bl(MemAllocator<double>(sys)),
        bu(MemAllocator<double>(sys)) {}
};

double simplex_pow2(double f) {
  if (!(f > 0.0) || !std::isfinite(f)) return 1.0;
  return std::ldexp(1.0, static_cast<int>(std::lround(std::log2(f))));
}

void simplex_computescaling(const SimLp& lp, int32_t passes, SimScaling* sc) {
  const int32_t m = lp.m, n = lp.n;
  sc->r.assign(static_cast<size_t>(m), 1.0);
  sc->s.assign(static_cast<size_t>(n), 1.0);
  SimVec<double> rmin(static_cast<size_t>(m), 0.0, sc->r.get_allocator());
  SimVec<double> rmax(static_cast<size_t>(m), 0.0, sc->r.get_allocator());
  for (int32_t pass = 0; pass < passes; ++pass) {
    std::fill(rmin.begin(), rmin.end(), kInf);
    std::fill(rmax.begin(), rmax.end(), 0.0);
    for (int32_t j = 0; j < n; ++j) {
      for (int64_t k = lp.abeg[j]; k < lp.abeg[j + 1]; ++k) {
        const auto i = static_cast<size_t>(lp.aidx[k]);
        const double v = std::fabs(lp.aval[k]) * sc->s[static_cast<size_t>(j)];
        if (v == 0.0) continue;
        rmin[i] = std::min(rmin[i], v);
        rmax[i] = std::max(rmax[i], v);
      }
    }
    for (int32_t i = 0; i < m; ++i) {
      const auto si = static_cast<size_t>(i);
      sc->r[si] = rmax[si] > 0.0 ? 1.0 / std::sqrt(rmin[si] * rmax[si]) : 1.0;
    }
    for (int32_t j = 0; j < n; ++j) {
      double cmin = kInf, cmax = 0.0;
      for (int64_t k = lp.abeg[j]; k < lp.abeg[j + 1]; ++k) {
        const double v = std::fabs(lp.aval[k]) * sc->r[static_cast<size_t>(lp.aidx[k])];
        if (v == 0.0) continue;
        cmin = std::min(cmin, v);
        cmax = std::max(cmax, v);
      }
      sc->s[static_cast<size_t>(j)] = cmax > 0.0 ? 1.0 / std::sqrt(cmin * cmax) : 1.0;
    }
  }
  // Equilibrate the columns and round every factor to a power of two, so that scaling is
  // exact in floating point.
  for (int32_t i = 0; i < m; ++i)
    sc->r[static_cast<size_t>(i)] = simplex_pow2(sc->r[static_cast<size_t>(i)]);
  for (int32_t j = 0; j < n; ++j) {
    double cmax = 0.0;
    for (int64_t k = lp.abeg[j]; k < lp.abeg[j + 1]; ++k)
      cmax = std::max(cmax, std::fabs(lp.aval[k]) * sc->r[static_cast<size_t>(lp.aidx[k])]);
    sc->s[static_cast<size_t>(j)] = cmax > 0.0 ? simplex_pow2(1.0 / cmax) : 1.0;
  }
}

void simplex_scale(const SimLp& lp, SimScaling* sc) {
  const int32_t m = lp.m, n = lp.n;
  const int64_t nz = lp.abeg[n];
  sc->abeg.assign(lp.abeg, lp.abeg + n + 1);
  sc->aidx.assign(lp.aidx, lp.aidx + nz);
  sc->aval.resize(static_cast<size_t>(nz));
  sc->c.resize(static_cast<size_t>(n));
  sc->bl.resize(static_cast<size_t>(m + n));
  sc->bu.resize(static_cast<size_t>(m + n));
  for (int32_t j = 0; j < n; ++j) {
    const double sj = sc->s[static_cast<size_t>(j)];
    for (int64_t k = lp.abeg[j]; k < lp.abeg[j + 1]; ++k)
      sc->aval[static_cast<size_t>(k)] = lp.aval[k] * sj * sc->r[static_cast<size_t>(lp.aidx[k])];
    sc->c[static_cast<size_t>(j)] = lp.c[j] * sj;
    sc->bl[static_cast<size_t>(m + j)] = lp.bl[m + j] / sj;
    sc->bu[static_cast<size_t>(m + j)] = lp.bu[m + j] / sj;
  }
  for (int32_t i = 0; i < m; ++i) {
    sc->bl[static_cast<size_t>(i)] = lp.bl[i] * sc->r[static_cast<size_t>(i)];
    sc->bu[static_cast<size_t>(i)] = lp.bu[i] * sc->r[static_cast<size_t>(i)];
  }
  sc->lp = lp;
  sc->lp.abeg = sc->abeg.data();
  sc->lp.aidx = sc->aidx.data();
  sc->lp.aval = sc->aval.data();
  sc->lp.c = sc->c.data();
  sc->lp.bl = sc->bl.data();
  sc->lp.bu = sc->bu.data();
}

// Copies the engine's basis and values out, unscaled by (r, s) when given.
void simplex_getsolution(const SimEngine& e, const double* r, const double* s, SimSol* sol) {
  const int32_t m = e.m;
  for (int32_t k = 0; k < e.nt; ++k) {
    const auto sk = static_cast<size_t>(k);
    sol->sk[k] = simplex_sk(e.nstat[sk]);
    double xv = e.x[sk], dv = e.d[sk];
    if (r != nullptr) {
      if (k < m) {
        xv /= r[k];
        dv *= r[k];
      } else {
        xv *= s[k - m];
        dv /= s[k - m];
      }
    }
    sol->x[k] = xv;
    sol->d[k] = dv;
  }
  for (int32_t i = 0; i < m; ++i)
    sol->y[i] = sol->d[i];
}

}  // namespace

// The dual road from the engine's basis: the first phase, then rounds of the dual loop on
// perturbed costs (a cold start) with the true costs put back after each. On a dual infeasible
// problem the costs go to zero and the dual loop decides between a Farkas vector and a ray.
int32_t VLR_simplex_dualroad(SimEngine& e, bool perturb) {
  const SimParam& par = *e.par;
  SimInfo* info = e.info;
  int32_t end = kLoopStopped;
  bool perturbed = false;
  // A cold start gives the columns the bounds their rows imply and boxes the variables whose
  // reduced costs still want a missing bound, so that the run needs no first phase; when one
  // of them ends at such a bound, or the bounded problem is not solved, the run starts over
  // from its basis on the true bounds, with the first phase.
  int32_t artificial = 0;
  bool first = true;  // the round that starts the run
  for (int32_t round = 0; round < 4; ++round) {
    const bool box = perturb && round == 0 && par.artbound > 0.0;
    const int32_t ph = e.dualphaseone(box ? par.artbound : 0.0, &artificial);
    if (ph == kPhaseOneStopped) return kLoopStopped;
    if (ph == kPhaseOneInfeasible) {
      // Dual infeasible. With the costs set to zero every basis is dual feasible, and the dual
      // loop decides primal feasibility: infeasible gives a Farkas vector, feasible makes the
      // ray a certificate of unboundedness.
      std::fill(e.cost.begin(), e.cost.end(), 0.0);
      std::fill(e.costorg.begin(), e.costorg.end(), 0.0);
      e.computedual();
      e.computexb();
      info->response = kSimOk;
      end = e.dualloop(2);
      return end == kLoopOptimal ? kLoopUnbounded : end;
    }
    // A cold start perturbs the costs once; a hot start keeps the true costs and is kicked
    // only where it stalls. (Kicks on top of the start's perturbation left Netlib's iterations
    // as they were in geometric mean and added 5% on pilot87.)
    const bool room = par.maxiter - info->iter[par.slot] > 100;
    e.dualkickmode = first && par.degen != kSimDegenNone && room && !perturb ? 2 : 0;
    if (perturb && first && par.degen != kSimDegenNone && room) {
      e.perturbcost();
      perturbed = true;
    }
    first = false;
    info->response = kSimOk;
    end = e.dualloop(2);
    if (artificial > 0) {
      artificial = 0;
      const int32_t active = e.dualartrestore();
      e.computexb();
      if (end != kLoopStopped && (end != kLoopOptimal || active > 0)) {
        e.log("Artificial bounds: %d active at the end; the run goes on with the true bounds.\n",
              active);
        e.removeperturbation();
        perturbed = false;
        first = true;
        continue;
      }
    }
    if (end != kLoopOptimal) break;
    if (!perturbed && !e.costshifted) break;
    // Back to the true costs; the few wrong signs this leaves are removed by the primal
    // loop from the primal feasible basis, or by another round of the dual.
    e.removeperturbation();
    perturbed = false;
    e.computedual();
    int32_t bad = 0;
    e.dualinf(&bad);
    if (bad == 0) break;
    e.log("Costs restored: %d reduced costs with the wrong sign.\n", bad);
    end = e.primalloop();
    break;
  }
  return end;
}

namespace {

// The body of simplex_run on an engine made for it.
int32_t simplex_runengine(SimEngine& e, const SimParam& par, const SimLp& lp,
                          const int32_t* startsk, bool perturb, const double* r, const double* s,
                          SimSol* sol, SimInfo* info) {
  int32_t rr = e.setup(lp);
  if (rr != kSimOk) {
    info->response = rr;
    return kLoopStopped;
  }
  bool adopted = false;
  if (startsk != nullptr) {
    e.keybasis(startsk);
    if (par.savelu != 0 && e.cb->savedlu != nullptr) adopted = e.adoptsavedlu(*e.cb->savedlu);
  } else {
    e.slackbasis();
  }
  if (startsk == nullptr && par.slot != kSimSlotPrimal && par.dualcrash > 0) {
    // The primal-dual's start also takes in the free columns a transversal can match.
    const int32_t placed = VLR_simplex_crash(e, par.dualcrash, par.slot == kSimSlotPd);
    info->numcrashed += placed;
    if (placed > 0) e.log("Dual crash placed %d columns in the basis.\n", placed);
  }
  if (adopted) {
    info->hotstartlu = 1;
    e.rowcopysplit();
  } else {
    rr = e.factor();
  }
  if (rr != kSimOk) {
    info->response = rr;
    return kLoopStopped;
  }
  int32_t end = kLoopStopped;
  bool primal = par.slot == kSimSlotPrimal;
  if (!primal && startsk != nullptr) {
    // A given basis that is primal feasible but not dual feasible (a postsolved basis, one
    // the true costs spoiled) is closer to the end by the primal road than by a dual first
    // phase that throws its primal feasibility away.
    e.computexb();
    e.computedual();
    int32_t pinf = 0, dinf = 0;
    e.primalinf(&pinf);
    for (int32_t k = 0; k < e.nt; ++k) {
      const auto sk = static_cast<size_t>(k);
      const bool boxed = e.lb[sk] > -kInf && e.ub[sk] < kInf;
      if (!boxed && e.dualviolation(k) > e.tols) ++dinf;
    }
    primal = pinf == 0 && dinf > 0;
  }
  if (primal) {
    end = e.primalsimplex(startsk != nullptr);
  } else if (par.slot == kSimSlotPd) {
    end = VLR_simplex_primaldualoptimizer(e, perturb);
  } else {
    end = VLR_simplex_dualroad(e, perturb);
  }
  e.logline(2, true);
  if (end == kLoopOptimal) {
    e.refinexb();
    e.refinedual();
  }
  simplex_getsolution(e, r, s, sol);
  if (end == kLoopUnbounded) {
    for (int32_t k = 0; k < e.nt; ++k) {
      const double v = e.ray[static_cast<size_t>(k)];
      sol->x[k] = r == nullptr ? v : (k < e.m ? v / r[k] : v * s[k - e.m]);
    }
  } else if (end == kLoopInfeasible && e.certfromy) {
    for (int32_t i = 0; i < e.m; ++i) {
      const double v = e.y[static_cast<size_t>(i)];
      sol->y[i] = r != nullptr ? v * r[i] : v;
    }
  } else if (end == kLoopInfeasible) {
    // The certificate: y = sgn rho from the row that had no entering variable, unscaled like
    // a dual; the caller checks it on the problem as given.
    for (int32_t i = 0; i < e.m; ++i)
      sol->y[i] = 0.0;
    for (int32_t t = 0; t < e.rho.nz; ++t) {
      const int32_t i = e.rho.idx[static_cast<size_t>(t)];
      const double v = e.certsgn * e.rho.val[static_cast<size_t>(i)];
      sol->y[i] = r != nullptr ? v * r[i] : v;
    }
  }
  return end;
}

// One engine run on lp from the start keys (or the slack basis). The result, unscaled through
// (r, s) when given, goes to sol. Returns the loop's end. With savelu the factor of the last
// basis stays for the next run.
int32_t simplex_run(SysEnv* sys, const SimParam& par, const SimCallbacks& cb, const SimLp& lp,
                    const int32_t* startsk, bool perturb, const double* r, const double* s,
                    SimSol* sol, SimInfo* info) {
  SimEngine e(sys);
  e.par = &par;
  e.cb = &cb;
  e.info = info;
  const int32_t end = simplex_runengine(e, par, lp, startsk, perturb, r, s, sol, info);
  if (par.savelu != 0 && cb.savedlu != nullptr && end != kLoopStopped) e.keepsavedlu(cb.savedlu);
  return end;
}

// Largest violations relative to the data: bounds and rows against 1 + |bound|, reduced costs
// against 1 + the largest |c|.
void simplex_relviolations(SysEnv* sys, const SimLp& lp, SimSol* sol, double* prel, double* drel,
                           SimInfo* info) {
  double pv = 0.0, dv = 0.0;
  VLR_opt_checksolution(sys, lp, sol, &pv, &dv, &info->pobj, &info->dobj);
  double bmax = 0.0, cmax = 0.0;
  for (int32_t k = 0; k < lp.m + lp.n; ++k) {
    const double l = VLR_opt_lower(lp, k), u = VLR_opt_upper(lp, k);
    if (l > -kInf) bmax = std::max(bmax, std::fabs(l));
    if (u < kInf) bmax = std::max(bmax, std::fabs(u));
  }
  for (int32_t j = 0; j < lp.n; ++j)
    cmax = std::max(cmax, std::fabs(lp.c[j]));
  *prel = pv / (1.0 + std::min(bmax, 1e6) * 1e-3);
  *drel = dv / (1.0 + std::min(cmax, 1e6) * 1e-3);
}

// The final test of a run that ended optimal: violations relative to the data (given back in
// *prel and *drel) and the gap.
bool simplex_passes(SysEnv* sys, const SimParam& par, const SimLp& lp, SimSol* sol, SimInfo* info,
                    double* prel, double* drel) {
  simplex_relviolations(sys, lp, sol, prel, drel, info);
  const double gap = std::fabs(info->pobj - info->dobj) / (1.0 + std::fabs(info->pobj));
  return *prel <= par.tolx && *drel <= par.tols && gap <= 1e-8;
}

// A start basis expected to be optimal, checked on lp as given: one factor, the values and
// duals with a step of refinement each, and the final test. No scaling and none of the work of
// the iterations, which is most of a run's set-up. True (the solution in sol) when it passes;
// false when the basis is short, singular at the hot start's pivot threshold, or not optimal:
// the caller then runs as usual.
bool simplex_confirmoptimal(SysEnv* sys, const SimParam& par, const SimCallbacks& cb,
                            const SimLp& lp, const int32_t* keys, SimSol* sol, SimInfo* info) {
  int32_t nb = 0;
  for (int32_t k = 0; k < lp.m + lp.n; ++k)
    nb += keys[k] == VLR_SK_BAS ? 1 : 0;
  if (nb != lp.m) return false;
  SimEngine e(sys);
  e.par = &par;
  e.cb = &cb;
  e.info = info;
  if (e.setupcore(lp) != kSimOk) return false;
  e.keybasis(keys);
  const int32_t artificials = info->numartificial;
  if (e.factorbasis() != kSimOk || info->numartificial != artificials) return false;
  e.computexb();
  e.computedual();
  e.refinexb();
  e.refinedual();
  simplex_getsolution(e, nullptr, nullptr, sol);
  double prel = 0.0, drel = 0.0;
  if (!simplex_passes(sys, par, lp, sol, info, &prel, &drel)) return false;
  info->prosta = VLR_PRO_STA_PRIM_AND_DUAL_FEAS;
  info->solsta = VLR_SOL_STA_OPTIMAL;
  return true;
}

void simplex_solve(SysEnv* sys, const SimParam& par, const SimCallbacks& cb, const SimLp& lp,
                   int32_t starthot, SimSol* sol, SimInfo* info) {
  if (lp.m == 0) {
    simplex_inspection(lp, sol, info);
    return;
  }
  const int32_t nt = lp.m + lp.n;
  SimVec<int32_t> keys{MemAllocator<int32_t>(sys)};
  if (starthot != 0) {
    int32_t nb = 0;
    for (int32_t k = 0; k < nt; ++k)
      nb += sol->sk[k] == VLR_SK_BAS ? 1 : 0;
    if (nb > 0) {
      keys.assign(sol->sk, sol->sk + nt);
      info->hotstart = 1;
    }
  }
  // A basis given by the caller (a hot start, a postsolved basis) was never factored here and
  // may be badly conditioned: its factor pivots with a stricter threshold, which keeps the
  // values and duals it gives accurate.
  SimParam hot = par;
  if (!keys.empty()) hot.lurelpiv = std::max(par.lurelpiv, kSimHotStartRelPiv);
  // A kept factor is for the scaled matrix of a full run: the check does not make one.
  const bool keptlu = par.savelu != 0 && cb.savedlu != nullptr;
  if (par.confirm != 0 && !keys.empty() && !keptlu &&
      simplex_confirmoptimal(sys, hot, cb, lp, keys.data(), sol, info)) {
    return;
  }
  const bool scaled = par.scaling != kSimScaleNone;
  SimScaling sc(sys);
  if (scaled) {
    simplex_computescaling(lp, par.scaling == kSimScaleAggressive ? 8 : 4, &sc);
    simplex_scale(lp, &sc);
  }
  const SimLp& work = scaled ? sc.lp : lp;
  int32_t end =
      simplex_run(sys, hot, cb, work, keys.empty() ? nullptr : keys.data(), keys.empty(),
                  scaled ? sc.r.data() : nullptr, scaled ? sc.s.data() : nullptr, sol, info);
  for (int32_t attempt = 0; attempt < 2; ++attempt) {
    if (end == kLoopOptimal) {
      double prel = 0.0, drel = 0.0;
      if (simplex_passes(sys, par, lp, sol, info, &prel, &drel)) {
        info->prosta = VLR_PRO_STA_PRIM_AND_DUAL_FEAS;
        info->solsta = VLR_SOL_STA_OPTIMAL;
        return;
      }
      if (attempt == 1) {
        const bool near = prel <= 100.0 * par.tolx && drel <= 100.0 * par.tols;
        info->prosta = near ? VLR_PRO_STA_NEAR_PRIM_AND_DUAL_FEAS : VLR_PRO_STA_UNKNOWN;
        info->solsta = near ? VLR_SOL_STA_NEAR_OPTIMAL : VLR_SOL_STA_UNKNOWN;
        return;
      }
    } else if (end == kLoopUnbounded) {
      if (VLR_opt_checkray(sys, lp, *sol)) {
        info->prosta = VLR_PRO_STA_DUAL_INFEAS;
        info->solsta = VLR_SOL_STA_DUAL_INFEAS_CER;
        return;
      }
      if (attempt == 1) {
        info->prosta = VLR_PRO_STA_UNKNOWN;
        info->solsta = VLR_SOL_STA_UNKNOWN;
        return;
      }
    } else if (end == kLoopInfeasible) {
      if (VLR_opt_checkfarkas(lp, sol)) {
        info->prosta = VLR_PRO_STA_PRIM_INFEAS;
        info->solsta = VLR_SOL_STA_PRIM_INFEAS_CER;
        return;
      }
      if (attempt == 1) {
        info->prosta = VLR_PRO_STA_UNKNOWN;
        info->solsta = VLR_SOL_STA_UNKNOWN;
        return;
      }
    } else {
      if (info->prosta == 0) info->solsta = VLR_SOL_STA_UNKNOWN;
      return;
    }
    // Clean up on the problem as given, from the basis just found.
    info->cleaned = 1;
    keys.assign(sol->sk, sol->sk + nt);
    // The clean-up works to tighter tolerances: violations of the size the scaled run allows
    // move the objective of badly scaled problems visibly.
    SimParam tight = par;
    tight.tolx = std::min(par.tolx, 1e-9);
    tight.tols = std::min(par.tols, 1e-9);
    end = simplex_run(sys, tight, cb, lp, keys.data(), false, nullptr, nullptr, sol, info);
  }
}

// Whether to solve the explicit dual instead, by the sizes of the two forms.
bool simplex_dualizedecision(const SimParam& par, const SimLp& lp, int32_t starthot) {
  if (par.solveform == kSimFormPrimal) return false;
  if (par.solveform == kSimFormDual) return true;
  if (par.maxiter < 1000 || starthot != 0) return false;
  if (par.lowercut != 0 && par.slot == kSimSlotDual) return false;
  if (par.uppercut != 0 && par.slot == kSimSlotPrimal) return false;
  int32_t md = 0, nd = 0, nfree = 0, nfixed = 0;
  int64_t nzd = 0;
  VLR_dualize_getdualsize(lp, 0, 0, &md, &nd, &nzd, &nfree, &nfixed);
  const double m = lp.m, n = lp.n, mp = md, np = nd, f = nfixed;
  if (mp >= 0.7 * m && np >= 0.7 * n) return false;
  if (mp <= 0.7 * m && np <= 0.7 * n) return true;
  const double r = mp / std::max(m, 1.0);
  if (r < 0.7) return !(r > 0.6 && np / std::max(n - f, 1.0) > 2.0);
  const double q = m / std::max(mp, 1.0);
  if (q < 0.7) return q > 0.6 && (n - f) / std::max(np, 1.0) > 2.0;
  if ((n - f) / std::max(np, 1.0) > 2.5) return !(np / std::max(n - f, 1.0) > 1.2);
  return false;
}

// Solves the explicit dual and brings the result back. A basic solution is confirmed by a run
// on the problem as given from the basis it maps to (no iterations when it is optimal); a
// certificate that fails its test, or a dual run that ends otherwise, falls back to solving the
// problem as given.
void simplex_dualizeandsolve(SysEnv* sys, const SimParam& par, const SimCallbacks& cb,
                             const SimLp& lp, SimSol* sol, SimInfo* info) {
  DualizeRec* rec = nullptr;
  SimLp dual;
  if (VLR_dualize_formdual(sys, lp, 0, &rec, &dual) != 0) {
    info->response = kSimNoSpace;
    return;
  }
  struct Guard {
    DualizeRec** r;
    ~Guard() { VLR_dualize_delete(r); }
  } guard{&rec};
  const auto dnt = static_cast<size_t>(dual.m + dual.n);
  SimVec<int32_t> dsk(dnt, 0, MemAllocator<int32_t>(sys));
  SimVec<double> dx(dnt, 0.0, MemAllocator<double>(sys));
  SimVec<double> dd(dnt, 0.0, MemAllocator<double>(sys));
  SimVec<double> dy(static_cast<size_t>(std::max(dual.m, 1)), 0.0, MemAllocator<double>(sys));
  SimSol dsol;
  dsol.sk = dsk.data();
  dsol.x = dx.data();
  dsol.y = dy.data();
  dsol.d = dd.data();
  SimParam dpar = par;
  dpar.solveform = kSimFormPrimal;
  SimInfo dinfo;
  dinfo.starttime = info->starttime;
  simplex_solve(sys, dpar, cb, dual, 0, &dsol, &dinfo);
  for (int32_t s = 0; s < 4; ++s)
    info->iter[s] += dinfo.iter[s];
  info->degiter += dinfo.degiter;
  info->infiter += dinfo.infiter;
  info->numfactor += dinfo.numfactor;
  VLR_simplex_addtiming(info, dinfo);
  info->dualized = 1;
  if (dinfo.response != kSimOk && dinfo.response != kSimNumTrouble) {
    info->response = dinfo.response;
    info->prosta = VLR_PRO_STA_UNKNOWN;
    info->solsta = VLR_SOL_STA_UNKNOWN;
    return;
  }
  if (dinfo.solsta == VLR_SOL_STA_DUAL_INFEAS_CER &&
      VLR_dualize_getprimal(rec, lp, kDualizePrimalRay, dsol, sol) == 0 &&
      VLR_opt_checkfarkas(lp, sol)) {
    info->prosta = VLR_PRO_STA_PRIM_INFEAS;
    info->solsta = VLR_SOL_STA_PRIM_INFEAS_CER;
    return;
  }
  if (dinfo.solsta == VLR_SOL_STA_PRIM_INFEAS_CER &&
      VLR_dualize_getprimal(rec, lp, kDualizeDualRay, dsol, sol) == 0 &&
      VLR_opt_checkray(sys, lp, *sol)) {
    info->prosta = VLR_PRO_STA_DUAL_INFEAS;
    info->solsta = VLR_SOL_STA_DUAL_INFEAS_CER;
    return;
  }
  int32_t hot = 0;
  if (dinfo.solsta == VLR_SOL_STA_OPTIMAL &&
      VLR_dualize_getprimal(rec, lp, kDualizeBasic, dsol, sol) == 0) {
    hot = 1;
  }
  SimParam ppar = par;
  ppar.solveform = kSimFormPrimal;
  SimInfo pinfo;
  pinfo.starttime = info->starttime;
  simplex_solve(sys, ppar, cb, lp, hot, sol, &pinfo);
  for (int32_t s = 0; s < 4; ++s)
    info->iter[s] += pinfo.iter[s];
  info->numfactor += pinfo.numfactor;
  VLR_simplex_addtiming(info, pinfo);
  info->response = pinfo.response;
  info->prosta = pinfo.prosta;
  info->solsta = pinfo.solsta;
  info->pobj = pinfo.pobj;
  info->dobj = pinfo.dobj;
  info->cleaned = pinfo.cleaned;
}

void simplex_optimize(SysEnv* sys, const SimParam& parin, const SimCallbacks& cb, const SimLp& lp,
                      int32_t starthot, SimSol* sol, SimInfo* info) {
  // The network part first: its tree is the start basis, kept as given (no presolve, no
  // dualisation); scaling leaves a basis what it is, so it stays as asked.
  SimParam par = parin;
  if (VLR_simplex_netoptimize(sys, parin, cb, lp, starthot, sol, info)) {
    starthot = 1;
    par.hotstart = 1;
    par.solveform = kSimFormPrimal;
  }
  if (info->response != kSimOk) return;
  // Presolve first, unless a given basis is to be kept; when it cannot give the answer the
  // problem as given is solved below.
  const bool presolve = lp.m > 0 && (starthot == 0 || par.hotstart == 0) &&
                        (par.presolve == 1 || (par.presolve == 2 && par.maxiter > 50));
  if (presolve && VLR_simplex_presolveandsolve(sys, par, cb, lp, sol, info)) return;
  const bool dualize = lp.m > 0 && simplex_dualizedecision(par, lp, starthot);
  if (cb.log != nullptr && par.loglevel > 0) {
    cb.log(cb.handle, dualize ? "Optimizer  - solved problem         : the dual\n"
                              : "Optimizer  - solved problem         : the primal\n");
    char head[128];
    std::snprintf(head, sizeof(head), "%-10s %-6s %-14s %-6s %-14s %-22s %-8s\n", "ITER", "PHASE",
                  "PFEAS", "NPINF", "DFEAS", "POBJ", "TIME");
    cb.log(cb.handle, head);
  }
  if (dualize) {
    simplex_dualizeandsolve(sys, par, cb, lp, sol, info);
  } else {
    simplex_solve(sys, par, cb, lp, starthot, sol, info);
  }
}

}  // namespace

int32_t VLR_simplex_optimize(SysEnv* sys, const SimParam& par, const SimCallbacks& cb,
                             const SimLp& lp, int32_t starthot, SimSol* sol, SimInfo* info) {
  VLR_simplex_initinfo(info);
  const double t0 = VLR_sysenv_getwctime(sys);
  info->starttime = t0;
  try {
    simplex_optimize(sys, par, cb, lp, starthot, sol, info);
  } catch (const std::bad_alloc&) {
    info->response = kSimNoSpace;
  }
  info->time = VLR_sysenv_getwctime(sys) - t0;
  return info->response;
}

void VLR_simplex_inctimeofopr(SysEnv* sys, SimInfo* info, int32_t op, double t0) {
  info->optime[op] += VLR_sysenv_getwctime(sys) - t0;
}

void VLR_simplex_addtiming(SimInfo* info, const SimInfo& sub) {
  for (int32_t op = 0; op < kSimOpCount; ++op)
    info->optime[op] += sub.optime[op];
  info->densrho += sub.densrho;
  info->densrow += sub.densrow;
  info->denscol += sub.denscol;
  info->denstau += sub.denstau;
  info->fillsum += sub.fillsum;
  info->denscount += sub.denscount;
}

void VLR_simplex_initparam(SimParam* par) {
  *par = SimParam();
}
void VLR_simplex_initinfo(SimInfo* info) {
  *info = SimInfo();
}

}  // namespace vlr
