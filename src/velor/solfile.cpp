// src/velor/solfile.cpp: the solution file: statuses and objective values, then one line per
// constraint and per variable with its name, status key, value, bounds and duals.
// SPDX-License-Identifier: Apache-2.0
#include <cstdio>
#include <cstring>

#include "velor/datafile.h"
#include "velor/probdata.h"

namespace vlr {

namespace {

// One block of items (constraints or variables): the arrays hold the solution's items for them.
struct SolBlock {
  int32_t accmode;
  int32_t count;
  const int32_t* keys;
  const double* level;
  const double* dlow;  // null for the integer solution, which has no duals
  const double* dupp;
};

void sol_limit(const Task* task, int32_t accmode, int32_t i, bool lower, char* buf) {
  int32_t bk = 0;
  double bl = 0.0, bu = 0.0;
  VLRP_getbound(task, accmode, i, &bk, &bl, &bu);
  const bool finite = lower ? VLR_bkhaslow(bk) : VLR_bkhasupp(bk);
  if (finite) {
    std::snprintf(buf, 32, "%-18.10e", lower ? bl : bu);
  } else {
    std::snprintf(buf, 32, "%-18s", "NONE");
  }
}

void sol_block(Task* task, SysFile* f, const SolBlock& b) {
  const bool con = b.accmode == VLR_ACC_CON;
  VLR_sysenv_fprintf(f, "%s\n", con ? "CONSTRAINTS" : "VARIABLES");
  VLR_sysenv_fprintf(f, "%-10s %-20s %-3s %-18s %-18s %-18s %-18s %-18s\n", "INDEX", "NAME", "AT",
                     "ACTIVITY", "LOWER LIMIT", "UPPER LIMIT", "DUAL LOWER", "DUAL UPPER");
  char name[32], key[VLR_MAX_STR_LEN], lo[32], up[32];
  for (int32_t i = 0; i < b.count; ++i) {
    VLR_sktostr(VLR_taskhandle(task), b.keys[i], key);
    sol_limit(task, b.accmode, i, true, lo);
    sol_limit(task, b.accmode, i, false, up);
    VLR_sysenv_fprintf(f, "%-10d %-20s %-3s %-18.10e %s %s", i,
                       VLR_getnamex(task, con ? VLR_PI_CON : VLR_PI_VAR, i, name), key, b.level[i],
                       lo, up);
    if (b.dlow != nullptr) VLR_sysenv_fprintf(f, " %-18.10e %-18.10e", b.dlow[i], b.dupp[i]);
    VLR_sysenv_fprintf(f, "\n");
  }
}

int32_t sol_write(Task* task, int32_t whichsol, SysFile* f) {
  VLRtask_t h = VLR_taskhandle(task);
  const TaskData* d = task->data;
  int32_t prosta = 0, solsta = 0;
  double pobj = 0.0, dobj = 0.0;
  int32_t r = VLR_getsolutionstatus(h, whichsol, &prosta, &solsta);
  if (r == VLR_RES_OK) r = VLR_getprimalobj(h, whichsol, &pobj);
  if (r == VLR_RES_OK && whichsol != VLR_SOL_ITG) r = VLR_getdualobj(h, whichsol, &dobj);
  if (r != VLR_RES_OK) return r;
  char pro[VLR_MAX_STR_LEN], sol[VLR_MAX_STR_LEN];
  VLR_prostatostr(h, prosta, pro);
  VLR_solstatostr(h, solsta, sol);
  VLR_sysenv_fprintf(f, "%-20s: %s\n", "NAME", task->name != nullptr ? task->name : "");
  VLR_sysenv_fprintf(f, "%-20s: %s\n", "PROBLEM STATUS", pro);
  VLR_sysenv_fprintf(f, "%-20s: %s\n", "SOLUTION STATUS", sol);
  VLR_sysenv_fprintf(f, "%-20s: %s\n", "OBJECTIVE NAME", d->objname != nullptr ? d->objname : "");
  VLR_sysenv_fprintf(f, "%-20s: %-24.16e\n", "PRIMAL OBJECTIVE", pobj);
  if (whichsol != VLR_SOL_ITG) VLR_sysenv_fprintf(f, "%-20s: %-24.16e\n", "DUAL OBJECTIVE", dobj);
  VLR_sysenv_fprintf(f, "\n");
  const bool duals = whichsol != VLR_SOL_ITG;
  const SolBlock blocks[2] = {{VLR_ACC_CON, d->numcon, VLR_solkeyptr(task, whichsol, VLR_ACC_CON),
                               VLR_solitemptr(task, whichsol, VLR_SOL_ITEM_XC),
                               duals ? VLR_solitemptr(task, whichsol, VLR_SOL_ITEM_SLC) : nullptr,
                               duals ? VLR_solitemptr(task, whichsol, VLR_SOL_ITEM_SUC) : nullptr},
                              {VLR_ACC_VAR, d->numvar, VLR_solkeyptr(task, whichsol, VLR_ACC_VAR),
                               VLR_solitemptr(task, whichsol, VLR_SOL_ITEM_XX),
                               duals ? VLR_solitemptr(task, whichsol, VLR_SOL_ITEM_SLX) : nullptr,
                               duals ? VLR_solitemptr(task, whichsol, VLR_SOL_ITEM_SUX) : nullptr}};
  for (const SolBlock& b : blocks) {
    if (b.count > 0 && (b.keys == nullptr || b.level == nullptr)) {
      return VLR_RAISE(task, VLR_RES_ERR_UNDEF_SOLUTION, whichsol);
    }
    sol_block(task, f, b);
    VLR_sysenv_fprintf(f, "\n");
  }
  return VLR_RES_OK;
}

}  // namespace

}  // namespace vlr

int32_t VLR_writesolution(VLRtask_t task, int32_t whichsol, const char* filename) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PROLOGUE(task);
    int32_t r = vlr::VLR_checkwhichsol(t, whichsol);
    if (r != VLR_RES_OK) return r;
    if (!vlr::VLR_solutiondefrec(t, whichsol)) {
      return VLR_RAISE(t, VLR_RES_ERR_UNDEF_SOLUTION, whichsol);
    }
    const bool gz = filename != nullptr && [&] {
      int32_t row = 0;
      vlr::VLR_lastfileext(0, vlr::kCompressExtTable, filename, &row);
      return row == 0;
    }();
    vlr::SysFile* f = vlr::VLR_fopentaskreplace(t, filename, gz ? 1 : 0, &r);
    if (f == nullptr) return r;
    r = vlr::sol_write(t, whichsol, f);
    if (r != VLR_RES_OK) {
      vlr::VLR_sysenv_fdiscard(t->sys, &f);
    } else if (vlr::VLR_sysenv_fclose(t->sys, &f) != vlr::kSysOk) {
      r = VLR_RAISE(t, VLR_RES_ERR_FILE_WRITE, filename);
    }
    return r;
  });
}
