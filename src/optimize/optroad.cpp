// src/optimize/optroad.cpp: the choice of road of an optimise, by the optimiser asked for and the
// problem's type.
// SPDX-License-Identifier: Apache-2.0
#include "optimize/optimize.h"
#include "velor.h"

namespace vlr {

int32_t VLR_opt_chooseroad(const OptChoice& c) {
  if (c.optimizer == VLR_OPTIMIZER_CONCURRENT) return kOptRoadConcurrent;
  if (c.optimizer == VLR_OPTIMIZER_NONCONVEX) return kOptRoadMixedInteger;
  if (c.numintvar >= 1 && c.miomode != 0) return kOptRoadMixedInteger;
  const bool quadratic = c.probtype == VLR_PROBTYPE_QO || c.probtype == VLR_PROBTYPE_QCQO;
  if (quadratic && (c.optimizer == VLR_OPTIMIZER_CONIC || c.qoseparate == 1)) {
    return kOptRoadInvalid;
  }
  // Continuous problems. A linear problem with the free choice or the interior-point one takes
  // the interior-point road, which ends in a basis when VLR_IPAR_INTPNT_BASIS asks; the conic
  // choices end in their code until that road exists.
  const bool simplex =
      c.optimizer >= VLR_OPTIMIZER_PRIMAL_SIMPLEX && c.optimizer <= VLR_OPTIMIZER_FREE_SIMPLEX;
  const bool linear = c.probtype == VLR_PROBTYPE_LO;
  if (simplex) return linear ? kOptRoadSimplex : kOptRoadInvalid;
  const bool interior = c.optimizer == VLR_OPTIMIZER_FREE || c.optimizer == VLR_OPTIMIZER_INTPNT;
  if (interior && linear && c.numcone == 0) return kOptRoadIntpnt;
  if (c.probtype == VLR_PROBTYPE_MIXED) return kOptRoadMixedProblem;
  return kOptRoadInvalid;
}

}  // namespace vlr
