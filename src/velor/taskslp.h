// src/velor/taskslp.h: the task's linear problem in the simplex's form, for the optimisers'
// glue; the arrays live as long as the record.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <vector>

#include "optimize/optimize.h"
#include "velor/task.h"

namespace vlr {

template <class T>
using TaskVec = std::vector<T, MemAllocator<T>>;

struct TaskSimLp {
  explicit TaskSimLp(SysEnv* sys)
      : abeg(MemAllocator<int64_t>(sys)),
        aidx(MemAllocator<int32_t>(sys)),
        aval(MemAllocator<double>(sys)),
        c(MemAllocator<double>(sys)),
        bk(MemAllocator<int32_t>(sys)),
        bl(MemAllocator<double>(sys)),
        bu(MemAllocator<double>(sys)) {}
  TaskVec<int64_t> abeg;
  TaskVec<int32_t> aidx;
  TaskVec<double> aval;
  TaskVec<double> c;
  TaskVec<int32_t> bk;
  TaskVec<double> bl, bu;
  SimLp lp;
  double sense = 1.0;  // -1 for a maximisation, solved as the minimisation of -c
};

// The task's presolve parameters, the same for every optimiser road.
void VLR_taskprslvuser(const Task* task, PrslvUser* user);

// Fills out from the task (A by columns without explicit zeros). A response code; throws
// std::bad_alloc when out of space.
int32_t VLR_tasksimlp(Task* task, TaskSimLp* out);

// A solution of lp written to the task as solution whichsol, in the task's sense: the duals of a
// maximisation change sign, a certificate keeps its own; a basis is kept beside a certificate.
// Returns the response of making the solution.
int32_t VLR_putsimsol(Task* task, int32_t whichsol, const SimLp& lp, const SimSol& sol,
                      int32_t prosta, int32_t solsta, double sense);

}  // namespace vlr
