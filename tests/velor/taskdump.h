// tests/velor/taskdump.h: a text picture of everything a task's problem store holds, read only
// through the C interface, so that two tasks (or one before and after a call) can be compared.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <string>
#include <vector>

#include "velor.h"

namespace vlrtest {

inline void DumpAdd(std::string* s, const char* format, ...) __attribute__((format(printf, 2, 3)));
inline void DumpAdd(std::string* s, const char* format, ...) {
  char buf[512];
  va_list ap;
  va_start(ap, format);
  std::vsnprintf(buf, sizeof buf, format, ap);
  va_end(ap);
  *s += buf;
}

// Counts, objective, bounds, A by columns, names, Q, cones, integer and branching data, and the
// defined solutions. Capacities are left out: a refused call may have grown them.
inline std::string Dump(VLRtask_t task) {
  std::string s;
  int32_t m = 0, n = 0, k = 0, sense = 0;
  EXPECT_EQ(VLR_getnumcon(task, &m), VLR_RES_OK);
  EXPECT_EQ(VLR_getnumvar(task, &n), VLR_RES_OK);
  EXPECT_EQ(VLR_getnumcone(task, &k), VLR_RES_OK);
  EXPECT_EQ(VLR_getobjsense(task, &sense), VLR_RES_OK);
  double cfix = 0;
  EXPECT_EQ(VLR_getcfix(task, &cfix), VLR_RES_OK);
  DumpAdd(&s, "m %d n %d k %d sense %d cfix %.17g\n", m, n, k, sense, cfix);
  char name[256];
  for (int32_t i = 0; i < m; ++i) {
    int32_t bk = 0;
    double bl = 0, bu = 0;
    EXPECT_EQ(VLR_getbound(task, VLR_ACC_CON, i, &bk, &bl, &bu), VLR_RES_OK);
    EXPECT_EQ(VLR_getconname(task, i, sizeof name, name), VLR_RES_OK);
    DumpAdd(&s, "con %d %s %d %.17g %.17g\n", i, name, bk, bl, bu);
  }
  std::vector<int32_t> sub(size_t(m) + 1);
  std::vector<double> val(size_t(m) + 1);
  for (int32_t j = 0; j < n; ++j) {
    int32_t bk = 0, nz = 0, type = 0, pri = 0, dir = 0;
    double bl = 0, bu = 0, c = 0;
    EXPECT_EQ(VLR_getbound(task, VLR_ACC_VAR, j, &bk, &bl, &bu), VLR_RES_OK);
    EXPECT_EQ(VLR_getcslice(task, j, j + 1, &c), VLR_RES_OK);
    EXPECT_EQ(VLR_getvarname(task, j, sizeof name, name), VLR_RES_OK);
    EXPECT_EQ(VLR_getvartype(task, j, &type), VLR_RES_OK);
    EXPECT_EQ(VLR_getvarbranchorder(task, j, &pri, &dir), VLR_RES_OK);
    DumpAdd(&s, "var %d %s %d %.17g %.17g c %.17g type %d br %d %d col", j, name, bk, bl, bu, c,
            type, pri, dir);
    EXPECT_EQ(VLR_getavec(task, VLR_ACC_VAR, j, &nz, sub.data(), val.data()), VLR_RES_OK);
    // Order inside a column is not promised: list the column densely.
    std::vector<double> col(size_t(m), 0.0);
    for (int32_t p = 0; p < nz; ++p)
      col[size_t(sub[size_t(p)])] = val[size_t(p)];
    for (int32_t i = 0; i < m; ++i) {
      if (col[size_t(i)] != 0) DumpAdd(&s, " %d:%.17g", i, col[size_t(i)]);
    }
    s += "\n";
  }
  int32_t qnz = 0;
  EXPECT_EQ(VLR_getnumqobjnz(task, &qnz), VLR_RES_OK);
  for (int32_t a = 0; a < n; ++a) {
    for (int32_t b = 0; b <= a && qnz > 0; ++b) {
      double q = 0;
      EXPECT_EQ(VLR_getqobjij(task, a, b, &q), VLR_RES_OK);
      if (q != 0) DumpAdd(&s, "qobj %d %d %.17g\n", a, b, q);
    }
  }
  for (int32_t i = 0; i < m; ++i) {
    int32_t nq = 0;
    EXPECT_EQ(VLR_getnumqconknz(task, i, &nq), VLR_RES_OK);
    std::vector<int32_t> qi(size_t(nq) + 1), qj(size_t(nq) + 1);
    std::vector<double> qv(size_t(nq) + 1);
    EXPECT_EQ(VLR_getqconk(task, i, nq, &nq, qi.data(), qj.data(), qv.data()), VLR_RES_OK);
    for (int32_t p = 0; p < nq; ++p)
      DumpAdd(&s, "qcon %d %d %d %.17g\n", i, qi[size_t(p)], qj[size_t(p)], qv[size_t(p)]);
  }
  for (int32_t c = 0; c < k; ++c) {
    int32_t type = 0, nm = 0;
    double par = 0;
    std::vector<int32_t> mem(size_t(n) + 1);
    EXPECT_EQ(VLR_getcone(task, c, &type, &par, &nm, mem.data()), VLR_RES_OK);
    EXPECT_EQ(VLR_getname(task, VLR_PI_CONE, c, sizeof name, nullptr, name), VLR_RES_OK);
    DumpAdd(&s, "cone %d %s %d %.17g:", c, name, type, par);
    for (int32_t p = 0; p < nm; ++p)
      DumpAdd(&s, " %d", mem[size_t(p)]);
    s += "\n";
  }
  for (int32_t w = VLR_SOL_ITR; w <= VLR_SOL_ITG; ++w) {
    int32_t def = 0;
    EXPECT_EQ(VLR_solutiondef(task, w, &def), VLR_RES_OK);
    if (!def) continue;
    int32_t prosta = 0, solsta = 0;
    EXPECT_EQ(VLR_getsolutionstatus(task, w, &prosta, &solsta), VLR_RES_OK);
    DumpAdd(&s, "sol %d %d %d\n", w, prosta, solsta);
    const int32_t nitems = w == VLR_SOL_ITR ? 8 : w == VLR_SOL_BAS ? 7 : 2;
    for (int32_t item = 0; item < nitems; ++item) {
      const bool var = item == VLR_SOL_ITEM_XX || item >= VLR_SOL_ITEM_SLX;
      std::vector<double> v(size_t(var ? n : m) + 1);
      EXPECT_EQ(VLR_getsolutionslice(task, w, item, 0, var ? n : m, v.data()), VLR_RES_OK);
      DumpAdd(&s, " item %d:", item);
      for (int32_t p = 0; p < (var ? n : m); ++p)
        DumpAdd(&s, " %.17g", v[size_t(p)]);
    }
    std::vector<int32_t> sk(size_t(std::max(m, n)) + 1);
    EXPECT_EQ(VLR_getsolutionstatuskeyslice(task, VLR_ACC_CON, w, 0, m, sk.data()), VLR_RES_OK);
    s += "\n skc:";
    for (int32_t p = 0; p < m; ++p)
      DumpAdd(&s, " %d", sk[size_t(p)]);
    EXPECT_EQ(VLR_getsolutionstatuskeyslice(task, VLR_ACC_VAR, w, 0, n, sk.data()), VLR_RES_OK);
    s += "\n skx:";
    for (int32_t p = 0; p < n; ++p)
      DumpAdd(&s, " %d", sk[size_t(p)]);
    s += "\n";
  }
  char obj[256];
  EXPECT_EQ(VLR_getobjname(task, sizeof obj, nullptr, obj), VLR_RES_OK);
  DumpAdd(&s, "objname %s\n", obj);
  return s;
}

// A small LP: 3 constraints, 4 variables, loaded through VLR_inputdata; gives its code.
inline int32_t LoadSmallLpCode(VLRtask_t task) {
  const double c[4] = {3, 1, 5, 1};
  const int32_t aptrb[4] = {0, 2, 5, 7}, aptre[4] = {2, 5, 7, 9};
  const int32_t asub[9] = {0, 1, 0, 1, 2, 0, 1, 1, 2};
  const double aval[9] = {3, 2, 1, 1, 2, 2, 3, 1, 3};
  const int32_t bkc[3] = {VLR_BK_FX, VLR_BK_LO, VLR_BK_UP};
  const double blc[3] = {30, 15, -VLR_INFINITY}, buc[3] = {30, VLR_INFINITY, 25};
  const int32_t bkx[4] = {VLR_BK_LO, VLR_BK_RA, VLR_BK_LO, VLR_BK_LO};
  const double blx[4] = {0, 0, 0, 0}, bux[4] = {VLR_INFINITY, 10, VLR_INFINITY, VLR_INFINITY};
  return VLR_inputdata(task, 3, 4, 3, 4, c, 2.0, aptrb, aptre, asub, aval, bkc, blc, buc, bkx, blx,
                       bux);
}

inline void LoadSmallLp(VLRtask_t task) {
  ASSERT_EQ(LoadSmallLpCode(task), VLR_RES_OK);
}

}  // namespace vlrtest
