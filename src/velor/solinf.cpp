// src/velor/solinf.cpp: objective values and violation measures of a stored solution, computed
// from the present problem data.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>

#include "velor/probdata.h"

namespace vlr {

namespace {

// A solution's items and the products with A that the measures need.
struct SolView {
  const double *xc, *xx, *y, *slc, *suc, *slx, *sux, *snx;
  double tau;   // 0 for a certificate: the bounds then count as zero
  double sgn;   // +1 minimise, -1 maximise: the sign a multiplier must have
  bool dual;    // the solution has dual items
  double* ax;   // [numcon] A xx
  double* aty;  // [numvar] A' y
};

// Lends A column-wise and forms A xx and A' y.
int32_t solinf_products(Task* task, SolView* v) {
  TaskData* d = task->data;
  int32_t r1 = VLR_RES_OK, r2 = VLR_RES_OK;
  v->ax = static_cast<double*>(VLR_getbufdbg(VLR_HERE, task, d->numcon, 8, 1, &r1));
  v->aty = static_cast<double*>(VLR_getbufdbg(VLR_HERE, task, d->numvar, 8, 1, &r2));
  if (r1 != VLR_RES_OK || r2 != VLR_RES_OK) return r1 != VLR_RES_OK ? r1 : r2;
  int64_t *ptrb = nullptr, *ptre = nullptr;
  int32_t* sub = nullptr;
  double* val = nullptr;
  const int32_t r = VLR_sprmat_getacolwise(d->a, &ptrb, &ptre, &sub, &val);
  if (r != kSprOk) return VLR_SPRRES(task, r);
  for (int32_t j = 0; j < d->numvar; ++j) {
    double s = 0.0;
    for (int64_t k = ptrb[j]; k < ptre[j]; ++k) {
      v->ax[sub[k]] += val[k] * v->xx[j];
      if (v->dual) s += val[k] * v->y[sub[k]];
    }
    v->aty[j] = s;
  }
  VLR_sprmat_puta(d->a, 0, ptrb, ptre, sub, val);
  return VLR_RES_OK;
}

void solinf_release(Task* task, SolView* v) {
  if (v->ax != nullptr) std::fill(v->ax, v->ax + task->data->numcon, 0.0);
  if (v->aty != nullptr) std::fill(v->aty, v->aty + task->data->numvar, 0.0);
  VLR_putbuf(task, 8, 1, reinterpret_cast<void**>(&v->ax));
  VLR_putbuf(task, 8, 1, reinterpret_cast<void**>(&v->aty));
}

int32_t solinf_view(Task* task, int32_t whichsol, SolView* v) {
  *v = SolView{};
  int32_t r = VLR_checkwhichsol(task, whichsol);
  if (r != VLR_RES_OK) return r;
  if (!VLR_solutiondefrec(task, whichsol)) {
    return VLR_RAISE(task, VLR_RES_ERR_UNDEF_SOLUTION, whichsol);
  }
  v->xc = VLR_solitemptr(task, whichsol, VLR_SOL_ITEM_XC);
  v->xx = VLR_solitemptr(task, whichsol, VLR_SOL_ITEM_XX);
  v->dual = whichsol != VLR_SOL_ITG;
  if (v->dual) {
    v->y = VLR_solitemptr(task, whichsol, VLR_SOL_ITEM_Y);
    v->slc = VLR_solitemptr(task, whichsol, VLR_SOL_ITEM_SLC);
    v->suc = VLR_solitemptr(task, whichsol, VLR_SOL_ITEM_SUC);
    v->slx = VLR_solitemptr(task, whichsol, VLR_SOL_ITEM_SLX);
    v->sux = VLR_solitemptr(task, whichsol, VLR_SOL_ITEM_SUX);
  }
  if (whichsol == VLR_SOL_ITR) v->snx = VLR_solitemptr(task, whichsol, VLR_SOL_ITEM_SNX);
  v->tau = VLR_gettau(task->sols->sol[whichsol].solsta);
  v->sgn = task->data->objsense == VLR_OBJECTIVE_SENSE_MAXIMIZE ? -1.0 : 1.0;
  return solinf_products(task, v);
}

// Bound violation of x against tau times the bounds, read by the key.
double solinf_pbi(int32_t bk, double bl, double bu, double x, double tau) {
  double viol = 0.0;
  if (VLR_bkhaslow(bk)) viol = std::max(viol, tau * bl - x);
  if (VLR_bkhasupp(bk)) viol = std::max(viol, x - tau * bu);
  return viol;
}

// A multiplier of a present side must have the sign of the sense; one of a missing side is 0.
double solinf_dbi(int32_t bk, double sl, double su, double sgn) {
  double viol = VLR_bkhaslow(bk) ? std::max(0.0, -sgn * sl) : std::fabs(sl);
  viol = std::max(viol, VLR_bkhasupp(bk) ? std::max(0.0, -sgn * su) : std::fabs(su));
  return viol;
}

// Violation of cone k by the members' values in x: a quadratic cone wants x0 >= |x1..|, a rotated
// one 2 x0 x1 >= |x2..|^2 with x0, x1 >= 0.
double solinf_coneviol(const TaskData* d, int32_t k, const double* x) {
  const int32_t* mem = d->conesub + d->coneb[k];
  const int32_t n = d->conee[k] - d->coneb[k];
  double sq = 0.0;
  const int32_t head = d->conetype[k] == VLR_CT_QUAD ? 1 : 2;
  for (int32_t p = head; p < n; ++p)
    sq += x[mem[p]] * x[mem[p]];
  if (d->conetype[k] == VLR_CT_QUAD) return std::max(0.0, std::sqrt(sq) - x[mem[0]]);
  const double a = x[mem[0]], b = x[mem[1]];
  return std::max({0.0, -a, -b, sq - 2.0 * a * b});
}

double solinf_primalobj(const Task* task, const SolView& v) {
  const TaskData* d = task->data;
  double obj = v.tau * d->cfix;
  for (int32_t j = 0; j < d->numvar; ++j)
    obj += d->c[j] * v.xx[j];
  // The objective's quadratic term is 0.5 x'Qx with Q given by its lower triangle.
  for (int64_t k = d->qobjb; k < d->qobje; ++k) {
    const double q = d->qval[k] * v.xx[d->qsubi[k]] * v.xx[d->qsubj[k]];
    obj += d->qsubi[k] == d->qsubj[k] ? 0.5 * q : q;
  }
  return obj;
}

double solinf_dualobj(const Task* task, const SolView& v) {
  const TaskData* d = task->data;
  double obj = v.tau * d->cfix;
  for (int32_t i = 0; i < d->numcon; ++i) {
    if (VLR_bkhaslow(d->bkc[i])) obj += d->blc[i] * v.slc[i];
    if (VLR_bkhasupp(d->bkc[i])) obj -= d->buc[i] * v.suc[i];
  }
  for (int32_t j = 0; j < d->numvar; ++j) {
    if (VLR_bkhaslow(d->bkx[j])) obj += d->blx[j] * v.slx[j];
    if (VLR_bkhasupp(d->bkx[j])) obj -= d->bux[j] * v.sux[j];
  }
  return obj;
}

double solinf_deqcon(const SolView& v, int32_t i) {
  return std::fabs(v.y[i] - (v.slc[i] - v.suc[i]));
}

double solinf_deqvar(const TaskData* d, const SolView& v, int32_t j) {
  const double sn = v.snx != nullptr ? v.snx[j] : 0.0;
  return std::fabs(v.tau * d->c[j] - v.aty[j] - v.slx[j] + v.sux[j] - sn);
}

double solinf_inti(const TaskData* d, const SolView& v, int32_t j) {
  if (d->vartype == nullptr || d->vartype[j] != VLR_VAR_TYPE_INT) return 0.0;
  return std::fabs(v.xx[j] - std::round(v.xx[j]));
}

// The measures for a list of items; kind selects which.
enum Measure { kPbi, kPeqi, kPcni, kInti, kDbi, kDeqi, kDcni };

int32_t solinf_list(VLRtask_t handle, int32_t whichsol, int32_t accmode, const int32_t* sub,
                    int32_t len, double* out, int32_t normalize, Measure kind) {
  VLR_PROLOGUE(handle);
  const bool needacc = kind == kPbi || kind == kDbi || kind == kDeqi;
  if (needacc && accmode != VLR_ACC_VAR && accmode != VLR_ACC_CON) {
    return VLR_RAISE(t, VLR_RES_ERR_INVALID_ACCMODE, accmode);
  }
  const bool con = needacc ? accmode == VLR_ACC_CON : kind == kPeqi;
  const bool cone = kind == kPcni || kind == kDcni;
  const int32_t n = cone ? d->numcone : con ? d->numcon : d->numvar;
  if (len > 0 && (sub == nullptr || out == nullptr)) {
    return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, sub == nullptr ? "sub" : "values");
  }
  int32_t r = VLR_checkindiciesdbg(VLR_HERE, t, sub, len, n, "sub");
  if (r != VLR_RES_OK) return r;
  SolView v;
  r = solinf_view(t, whichsol, &v);
  if (r == VLR_RES_OK && !v.dual && (kind == kDbi || kind == kDeqi || kind == kDcni)) {
    r = VLR_RAISE(t, VLR_RES_ERR_NO_DUAL_FOR_ITG_SOL);
  }
  if (r == VLR_RES_OK && kind == kDcni && v.snx == nullptr) {
    r = VLR_RAISE(t, VLR_RES_ERR_INFEAS_UNDEFINED, "dcni");
  }
  for (int32_t k = 0; k < len && r == VLR_RES_OK; ++k) {
    const int32_t i = sub[k];
    double x = 0.0, scale = 1.0;
    switch (kind) {
      case kPbi:
        x = con ? solinf_pbi(d->bkc[i], d->blc[i], d->buc[i], v.xc[i], v.tau)
                : solinf_pbi(d->bkx[i], d->blx[i], d->bux[i], v.xx[i], v.tau);
        scale = con ? std::max(std::fabs(d->blc[i]), std::fabs(d->buc[i]))
                    : std::max(std::fabs(d->blx[i]), std::fabs(d->bux[i]));
        if (scale >= kInfinity) scale = 1.0;
        break;
      case kPeqi:
        x = std::fabs(v.xc[i] - v.ax[i]);
        scale = std::fabs(v.xc[i]);
        break;
      case kPcni:
        x = solinf_coneviol(d, i, v.xx);
        break;
      case kInti:
        x = solinf_inti(d, v, i);
        break;
      case kDbi:
        x = con ? solinf_dbi(d->bkc[i], v.slc[i], v.suc[i], v.sgn)
                : solinf_dbi(d->bkx[i], v.slx[i], v.sux[i], v.sgn);
        break;
      case kDeqi:
        x = con ? solinf_deqcon(v, i) : solinf_deqvar(d, v, i);
        scale = con ? 1.0 : std::fabs(d->c[i]);
        break;
      case kDcni:
        x = solinf_coneviol(d, i, v.snx);
        break;
    }
    out[k] = normalize ? x / std::max(1.0, scale) : x;
  }
  solinf_release(t, &v);
  return r;
}

}  // namespace

int32_t VLR_opt_chksol(Task* task, int32_t whichsol, SolInf* inf) {
  *inf = SolInf{};
  SolView v;
  const int32_t r = solinf_view(task, whichsol, &v);
  if (r != VLR_RES_OK) {
    solinf_release(task, &v);
    return r;
  }
  const TaskData* d = task->data;
  inf->primalobj = solinf_primalobj(task, v);
  for (int32_t i = 0; i < d->numcon; ++i) {
    inf->maxpbi =
        std::max(inf->maxpbi, solinf_pbi(d->bkc[i], d->blc[i], d->buc[i], v.xc[i], v.tau));
    inf->maxpeqi = std::max(inf->maxpeqi, std::fabs(v.xc[i] - v.ax[i]));
    if (v.dual) {
      inf->maxdbi = std::max(inf->maxdbi, solinf_dbi(d->bkc[i], v.slc[i], v.suc[i], v.sgn));
      inf->maxdeqi = std::max(inf->maxdeqi, solinf_deqcon(v, i));
    }
  }
  for (int32_t j = 0; j < d->numvar; ++j) {
    inf->maxpbi =
        std::max(inf->maxpbi, solinf_pbi(d->bkx[j], d->blx[j], d->bux[j], v.xx[j], v.tau));
    inf->maxinti = std::max(inf->maxinti, solinf_inti(d, v, j));
    if (v.dual) {
      inf->maxdbi = std::max(inf->maxdbi, solinf_dbi(d->bkx[j], v.slx[j], v.sux[j], v.sgn));
      inf->maxdeqi = std::max(inf->maxdeqi, solinf_deqvar(d, v, j));
    }
  }
  for (int32_t k = 0; k < d->numcone; ++k) {
    inf->maxpcni = std::max(inf->maxpcni, solinf_coneviol(d, k, v.xx));
    if (v.snx != nullptr) inf->maxdcni = std::max(inf->maxdcni, solinf_coneviol(d, k, v.snx));
  }
  if (v.dual) inf->dualobj = solinf_dualobj(task, v);
  solinf_release(task, &v);
  return VLR_RES_OK;
}

}  // namespace vlr

int32_t VLR_getprimalobj(VLRtask_t task, int32_t whichsol, double* primalobj) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PROLOGUE(task);
    if (primalobj == nullptr) return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, "primalobj");
    *primalobj = -vlr::kInfinity;  // what an error leaves
    vlr::SolInf inf;
    const int32_t r = vlr::VLR_opt_chksol(t, whichsol, &inf);
    if (r == VLR_RES_OK) *primalobj = inf.primalobj;
    return r;
  });
}

int32_t VLR_getdualobj(VLRtask_t task, int32_t whichsol, double* dualobj) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PROLOGUE(task);
    if (dualobj == nullptr) return VLR_RAISE(t, VLR_RES_ERR_NULL_POINTER, "dualobj");
    *dualobj = vlr::kInfinity;
    if (whichsol == VLR_SOL_ITG) return VLR_RAISE(t, VLR_RES_ERR_NO_DUAL_FOR_ITG_SOL);
    vlr::SolInf inf;
    const int32_t r = vlr::VLR_opt_chksol(t, whichsol, &inf);
    if (r == VLR_RES_OK) *dualobj = inf.dualobj;
    return r;
  });
}

int32_t VLR_getsolutioninf(VLRtask_t task, int32_t whichsol, int32_t* prosta, int32_t* solsta,
                           double* primalobj, double* maxpbi, double* maxpcni, double* maxpeqi,
                           double* maxinti, double* dualobj, double* maxdbi, double* maxdcni,
                           double* maxdeqi) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PROLOGUE(task);
    vlr::SolInf inf;
    const int32_t r = vlr::VLR_opt_chksol(t, whichsol, &inf);
    if (r != VLR_RES_OK) return r;
    const vlr::SolRec& s = t->sols->sol[whichsol];
    const struct {
      double* out;
      double value;
    } items[] = {{primalobj, inf.primalobj}, {maxpbi, inf.maxpbi},   {maxpcni, inf.maxpcni},
                 {maxpeqi, inf.maxpeqi},     {maxinti, inf.maxinti}, {dualobj, inf.dualobj},
                 {maxdbi, inf.maxdbi},       {maxdcni, inf.maxdcni}, {maxdeqi, inf.maxdeqi}};
    for (const auto& it : items) {
      if (it.out != nullptr) *it.out = it.value;
    }
    if (prosta != nullptr) *prosta = s.prosta;
    if (solsta != nullptr) *solsta = s.solsta;
    return VLR_RES_OK;
  });
}

int32_t VLR_getpbi(VLRtask_t task, int32_t whichsol, int32_t accmode, const int32_t* sub,
                   int32_t len, double* pbi, int32_t normalize) {
  return vlr::api_guard([&]() -> int32_t {
    return vlr::solinf_list(task, whichsol, accmode, sub, len, pbi, normalize, vlr::kPbi);
  });
}

int32_t VLR_getpeqi(VLRtask_t task, int32_t whichsol, const int32_t* sub, int32_t len, double* peqi,
                    int32_t normalize) {
  return vlr::api_guard([&]() -> int32_t {
    return vlr::solinf_list(task, whichsol, VLR_ACC_CON, sub, len, peqi, normalize, vlr::kPeqi);
  });
}

int32_t VLR_getpcni(VLRtask_t task, int32_t whichsol, const int32_t* sub, int32_t len,
                    double* pcni) {
  return vlr::api_guard([&]() -> int32_t {
    return vlr::solinf_list(task, whichsol, 2, sub, len, pcni, 0, vlr::kPcni);
  });
}

int32_t VLR_getinti(VLRtask_t task, int32_t whichsol, const int32_t* sub, int32_t len,
                    double* inti) {
  return vlr::api_guard([&]() -> int32_t {
    return vlr::solinf_list(task, whichsol, VLR_ACC_VAR, sub, len, inti, 0, vlr::kInti);
  });
}

int32_t VLR_getdbi(VLRtask_t task, int32_t whichsol, int32_t accmode, const int32_t* sub,
                   int32_t len, double* dbi, int32_t normalize) {
  return vlr::api_guard([&]() -> int32_t {
    return vlr::solinf_list(task, whichsol, accmode, sub, len, dbi, normalize, vlr::kDbi);
  });
}

int32_t VLR_getdeqi(VLRtask_t task, int32_t whichsol, int32_t accmode, const int32_t* sub,
                    int32_t len, double* deqi, int32_t normalize) {
  return vlr::api_guard([&]() -> int32_t {
    return vlr::solinf_list(task, whichsol, accmode, sub, len, deqi, normalize, vlr::kDeqi);
  });
}

int32_t VLR_getdcni(VLRtask_t task, int32_t whichsol, const int32_t* sub, int32_t len,
                    double* dcni) {
  return vlr::api_guard([&]() -> int32_t {
    return vlr::solinf_list(task, whichsol, 2, sub, len, dcni, 0, vlr::kDcni);
  });
}

int32_t VLR_updatesolutioninfo(VLRtask_t task, int32_t whichsol) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PROLOGUE(task);
    vlr::SolInf inf;
    const int32_t r = vlr::VLR_opt_chksol(t, whichsol, &inf);
    if (r != VLR_RES_OK) return r;
    const vlr::SolRec& s = t->sols->sol[whichsol];
    auto put = [&](int32_t item, double value) {
      if (item >= 0) vlr::VLRP_putdouinf(t, item, value);
    };
    if (whichsol == VLR_SOL_ITR) {
      put(VLR_DINF_SOL_ITR_PRIMAL_OBJ, inf.primalobj);
      put(VLR_DINF_SOL_ITR_MAX_PBI, inf.maxpbi);
      put(VLR_DINF_SOL_ITR_MAX_PCNI, inf.maxpcni);
      put(VLR_DINF_SOL_ITR_MAX_PEQI, inf.maxpeqi);
      put(VLR_DINF_SOL_ITR_MAX_PINTI, inf.maxinti);
      put(VLR_DINF_SOL_ITR_DUAL_OBJ, inf.dualobj);
      put(VLR_DINF_SOL_ITR_MAX_DBI, inf.maxdbi);
      put(VLR_DINF_SOL_ITR_MAX_DCNI, inf.maxdcni);
      put(VLR_DINF_SOL_ITR_MAX_DEQI, inf.maxdeqi);
      vlr::VLRP_putintinf(t, VLR_IINF_SOL_ITR_PROSTA, s.prosta);
      vlr::VLRP_putintinf(t, VLR_IINF_SOL_ITR_SOLSTA, s.solsta);
    } else if (whichsol == VLR_SOL_BAS) {
      put(VLR_DINF_SOL_BAS_PRIMAL_OBJ, inf.primalobj);
      put(VLR_DINF_SOL_BAS_MAX_PBI, inf.maxpbi);
      put(VLR_DINF_SOL_BAS_MAX_PEQI, inf.maxpeqi);
      put(VLR_DINF_SOL_BAS_MAX_PINTI, inf.maxinti);
      put(VLR_DINF_SOL_BAS_DUAL_OBJ, inf.dualobj);
      put(VLR_DINF_SOL_BAS_MAX_DBI, inf.maxdbi);
      put(VLR_DINF_SOL_BAS_MAX_DEQI, inf.maxdeqi);
      vlr::VLRP_putintinf(t, VLR_IINF_SOL_BAS_PROSTA, s.prosta);
      vlr::VLRP_putintinf(t, VLR_IINF_SOL_BAS_SOLSTA, s.solsta);
    } else {
      put(VLR_DINF_SOL_INT_PRIMAL_OBJ, inf.primalobj);
      put(VLR_DINF_SOL_INT_MAX_PBI, inf.maxpbi);
      put(VLR_DINF_SOL_INT_MAX_PEQI, inf.maxpeqi);
      put(VLR_DINF_SOL_INT_MAX_PINTI, inf.maxinti);
      vlr::VLRP_putintinf(t, VLR_IINF_SOL_INT_PROSTA, s.prosta);
      vlr::VLRP_putintinf(t, VLR_IINF_SOL_INT_SOLSTA, s.solsta);
    }
    return VLR_RES_OK;
  });
}
