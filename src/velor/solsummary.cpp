// src/velor/solsummary.cpp: the solution summary: statuses, objectives and violations of every
// defined solution.
// SPDX-License-Identifier: Apache-2.0
#include "velor/probdata.h"
#include "velor/task.h"

using vlr::Task;

int32_t VLR_solutionsummary(VLRtask_t task, int32_t whichstream) {
  return vlr::api_guard([&]() -> int32_t {
    const int32_t r = VLR_checktask(task);
    if (r != VLR_RES_OK) return r;
    Task* t = vlr::VLR_taskcast(task);
    if (whichstream < 0 || whichstream >= vlr::kNumStreams) {
      return VLR_RAISE(t, VLR_RES_ERR_INVALID_STREAM, whichstream);
    }
    if (t->sols == nullptr) return VLR_RES_OK;
    const int32_t s = whichstream;
    static const char* const kTitles[3] = {"  Interior-point solution\n", "  Basic solution\n",
                                           "  Integer solution\n"};
    vlr::VLRP_echotask(t, s, "\nSolution summary\n");
    for (int32_t w = VLR_SOL_ITR; w <= VLR_SOL_ITG; ++w) {
      if (!vlr::VLR_solutiondefrec(t, w)) continue;
      const vlr::SolRec& sol = t->sols->sol[w];
      char prosta[VLR_MAX_STR_LEN], solsta[VLR_MAX_STR_LEN];
      VLR_prostatostr(task, sol.prosta, prosta);
      VLR_solstatostr(task, sol.solsta, solsta);
      vlr::SolInf inf;
      const int32_t rc = vlr::VLR_opt_chksol(t, w, &inf);
      if (rc != VLR_RES_OK) return rc;
      vlr::VLRP_echotask(t, s, "%s", kTitles[w]);
      vlr::VLRP_echotask(t, s, "    Problem status  : %-s\n", prosta);
      vlr::VLRP_echotask(t, s, "    Solution status : %-s\n", solsta);
      // Equation violation: the worse of the rows' and the cones' residuals.
      if (w == VLR_SOL_BAS) {
        vlr::VLRP_echotask(
            t, s, "    %-6s - objective: %-18.10e eq. inf.: %-8.2e max bound inf.: %-8.2e\n",
            "Primal", inf.primalobj, inf.maxpeqi, inf.maxpbi);
      } else {
        vlr::VLRP_echotask(t, s,
                           "    %-6s - objective: %-18.10e eq. inf.: %-8.2e max bound inf.: %-8.2e "
                           "cone inf.: %-8.2e\n",
                           "Primal", inf.primalobj, inf.maxpeqi, inf.maxpbi, inf.maxpcni);
      }
      if (w == VLR_SOL_ITG) continue;  // an integer solution has no duals
      if (w == VLR_SOL_BAS) {
        vlr::VLRP_echotask(
            t, s, "    %-6s - objective: %-18.10e eq. inf.: %-8.2e max bound inf.: %-8.2e\n",
            "Dual", inf.dualobj, inf.maxdeqi, inf.maxdbi);
      } else {
        vlr::VLRP_echotask(t, s,
                           "    %-6s - objective: %-18.10e eq. inf.: %-8.2e max bound inf.: %-8.2e "
                           "cone inf.: %-8.2e\n",
                           "Dual", inf.dualobj, inf.maxdeqi, inf.maxdbi, inf.maxdcni);
      }
    }
    return VLR_RES_OK;
  });
}
