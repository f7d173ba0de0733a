// tests/velor/concurrent_test.cpp: the race of optimisers: the winner's solution and items in the
// main task, the choice of racers by priority and count, the refusals, the stops by the time
// limit and the callback with every thread gone, and many races in a row for the thread
// sanitizer. SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <thread>
#include <vector>

#include "fixture.h"

namespace {

// A transportation problem of s sources and t sinks, costs from a fixed sequence: supplies
// (rows 0..s) at most 3t/2 each, demands (rows s..s+t) at least s each; the minimal cost.
void LoadTransport(VLRtask_t task, int32_t s, int32_t t) {
  const int32_t m = s + t, n = s * t;
  const auto sm = static_cast<size_t>(m), sn = static_cast<size_t>(n);
  std::vector<int32_t> ptrb, ptre, sub, bkc(sm), bkx(sn, VLR_BK_LO);
  std::vector<double> val, c, blc(sm), buc(sm), blx(sn, 0.0), bux(sn, 1e30);
  uint32_t seed = 12345;
  for (int32_t i = 0; i < s; ++i) {
    for (int32_t j = 0; j < t; ++j) {
      ptrb.push_back(int32_t(sub.size()));
      sub.push_back(i);
      val.push_back(1.0);
      sub.push_back(s + j);
      val.push_back(1.0);
      ptre.push_back(int32_t(sub.size()));
      seed = seed * 1103515245u + 12345u;
      c.push_back(1.0 + double((seed >> 8) % 1000) / 10.0);
    }
  }
  for (int32_t i = 0; i < s; ++i)
    bkc[size_t(i)] = VLR_BK_UP, blc[size_t(i)] = -1e30, buc[size_t(i)] = 1.5 * t;
  for (int32_t j = 0; j < t; ++j)
    bkc[size_t(s + j)] = VLR_BK_LO, blc[size_t(s + j)] = s, buc[size_t(s + j)] = 1e30;
  ASSERT_EQ(VLR_inputdata(task, m, n, m, n, c.data(), 0.0, ptrb.data(), ptre.data(), sub.data(),
                          val.data(), bkc.data(), blc.data(), buc.data(), bkx.data(), blx.data(),
                          bux.data()),
            VLR_RES_OK)
      << vlrtest::LastError(task);
}

vlrtest::TaskPtr Transport(VLRenv_t env, int32_t s, int32_t t) {
  auto task = vlrtest::MakeTask(env);
  VLR_putintparam(task.get(), VLR_IPAR_LOG, 0);
  LoadTransport(task.get(), s, t);
  return task;
}

double Optimum(VLRenv_t env, int32_t s, int32_t t) {
  auto task = Transport(env, s, t);
  VLR_putintparam(task.get(), VLR_IPAR_OPTIMIZER, VLR_OPTIMIZER_DUAL_SIMPLEX);
  EXPECT_EQ(VLR_optimize(task.get()), VLR_RES_OK);
  double obj = 0;
  EXPECT_EQ(VLR_getprimalobj(task.get(), VLR_SOL_BAS, &obj), VLR_RES_OK);
  return obj;
}

int32_t Fastest(VLRtask_t task) {
  int32_t v = -1;
  EXPECT_EQ(VLR_getintinf(task, VLR_IINF_CONCURRENT_FASTEST_OPTIMIZER, &v), VLR_RES_OK);
  return v;
}

// The solution of the winner, optimal at obj.
void ExpectWinnerOptimal(VLRtask_t task, double obj) {
  const int32_t win = Fastest(task);
  const int32_t whichsol = win == VLR_OPTIMIZER_INTPNT ? VLR_SOL_ITR : VLR_SOL_BAS;
  int32_t def = 0;
  ASSERT_EQ(VLR_solutiondef(task, whichsol, &def), VLR_RES_OK);
  ASSERT_EQ(def, 1) << "winner " << win;
  int32_t prosta = -1, solsta = -1;
  ASSERT_EQ(VLR_getsolutionstatus(task, whichsol, &prosta, &solsta), VLR_RES_OK);
  EXPECT_EQ(solsta, VLR_SOL_STA_OPTIMAL) << "winner " << win;
  double got = 0;
  ASSERT_EQ(VLR_getprimalobj(task, whichsol, &got), VLR_RES_OK);
  EXPECT_NEAR(got, obj, 1e-6 * std::max(1.0, std::fabs(obj))) << "winner " << win;
}

int32_t OptimizerParam(VLRtask_t task) {
  int32_t v = -1;
  EXPECT_EQ(VLR_getintparam(task, VLR_IPAR_OPTIMIZER, &v), VLR_RES_OK);
  return v;
}

// Threads of this process, from /proc (Linux); -1 elsewhere.
int32_t ThreadCount() {
  std::error_code ec;
  int32_t n = 0;
  for (const auto& e : std::filesystem::directory_iterator("/proc/self/task", ec)) {
    (void)e;
    ++n;
  }
  return ec ? -1 : n;
}

TEST(Concurrent, WinnerSolutionAndItemsReachTheMainTask) {
  auto env = vlrtest::MakeEnv();
  const double obj = Optimum(env.get(), 12, 15);
  auto task = Transport(env.get(), 12, 15);
  VLR_putintparam(task.get(), VLR_IPAR_OPTIMIZER, VLR_OPTIMIZER_CONCURRENT);
  VLR_putintparam(task.get(), VLR_IPAR_CONCURRENT_NUM_OPTIMIZERS, 4);
  ASSERT_EQ(VLR_optimize(task.get()), VLR_RES_OK) << vlrtest::LastError(task.get());
  const int32_t win = Fastest(task.get());
  EXPECT_TRUE(win == VLR_OPTIMIZER_INTPNT || win == VLR_OPTIMIZER_PRIMAL_SIMPLEX ||
              win == VLR_OPTIMIZER_DUAL_SIMPLEX || win == VLR_OPTIMIZER_FREE_SIMPLEX)
      << win;
  ExpectWinnerOptimal(task.get(), obj);
  EXPECT_EQ(OptimizerParam(task.get()), VLR_OPTIMIZER_CONCURRENT);
  double t = -1;
  ASSERT_EQ(VLR_getdouinf(task.get(), VLR_DINF_CONCURRENT_TIME, &t), VLR_RES_OK);
  EXPECT_GE(t, 0.0);
  // The winner's own items come along: a simplex winner counts its iterations.
  if (win != VLR_OPTIMIZER_INTPNT) {
    int32_t it = 0;
    VLR_getintinf(
        task.get(),
        win == VLR_OPTIMIZER_PRIMAL_SIMPLEX ? VLR_IINF_SIM_PRIMAL_ITER : VLR_IINF_SIM_DUAL_ITER,
        &it);
    EXPECT_GT(it, 0);
  }
  // A second race on the same task starts afresh and ends the same way.
  ASSERT_EQ(VLR_optimize(task.get()), VLR_RES_OK) << vlrtest::LastError(task.get());
  ExpectWinnerOptimal(task.get(), obj);
}

TEST(Concurrent, OneRacerRunsTheFirstByPriorityWithTiesInTableOrder) {
  auto env = vlrtest::MakeEnv();
  const double obj = Optimum(env.get(), 5, 7);
  struct Want {
    int32_t pintpnt, pprimal, pdual, pfree, optimizer;
  };
  for (const Want& w :
       {Want{4, 1, 2, 3, VLR_OPTIMIZER_INTPNT}, Want{1, 5, 2, 3, VLR_OPTIMIZER_PRIMAL_SIMPLEX},
        Want{1, 2, 2, 2, VLR_OPTIMIZER_PRIMAL_SIMPLEX},
        Want{0, 0, 7, 7, VLR_OPTIMIZER_DUAL_SIMPLEX}, Want{0, 0, 0, 1, VLR_OPTIMIZER_FREE_SIMPLEX},
        Want{3, 3, 3, 3, VLR_OPTIMIZER_INTPNT}}) {
    auto task = Transport(env.get(), 5, 7);
    VLRtask_t h = task.get();
    VLR_putintparam(h, VLR_IPAR_OPTIMIZER, VLR_OPTIMIZER_CONCURRENT);
    VLR_putintparam(h, VLR_IPAR_CONCURRENT_NUM_OPTIMIZERS, 1);
    VLR_putintparam(h, VLR_IPAR_CONCURRENT_PRIORITY_INTPNT, w.pintpnt);
    VLR_putintparam(h, VLR_IPAR_CONCURRENT_PRIORITY_PRIMAL_SIMPLEX, w.pprimal);
    VLR_putintparam(h, VLR_IPAR_CONCURRENT_PRIORITY_DUAL_SIMPLEX, w.pdual);
    VLR_putintparam(h, VLR_IPAR_CONCURRENT_PRIORITY_FREE_SIMPLEX, w.pfree);
    ASSERT_EQ(VLR_optimize(h), VLR_RES_OK) << vlrtest::LastError(h);
    EXPECT_EQ(Fastest(h), w.optimizer);
    ExpectWinnerOptimal(h, obj);
    // The single racer ran on the main task itself: only its own solution is there.
    int32_t itr = 0;
    VLR_solutiondef(h, VLR_SOL_ITR, &itr);
    EXPECT_EQ(itr == 1, w.optimizer == VLR_OPTIMIZER_INTPNT);
    EXPECT_EQ(OptimizerParam(h), VLR_OPTIMIZER_CONCURRENT);
  }
}

TEST(Concurrent, IntegerVariablesAreRefusedAndTheParameterStays) {
  auto env = vlrtest::MakeEnv();
  auto task = Transport(env.get(), 3, 4);
  VLR_putintparam(task.get(), VLR_IPAR_OPTIMIZER, VLR_OPTIMIZER_CONCURRENT);
  ASSERT_EQ(VLR_putvartype(task.get(), 2, VLR_VAR_TYPE_INT), VLR_RES_OK);
  EXPECT_EQ(VLR_optimize(task.get()), VLR_RES_ERR_CONCURRENT_OPTIMIZER);
  EXPECT_EQ(OptimizerParam(task.get()), VLR_OPTIMIZER_CONCURRENT);
}

struct Stop {
  int32_t code;   // the callback code that asks to stop
  int32_t calls;  // calls with that code
};

int32_t StopAt(VLRtask_t, void* handle, int32_t code) {
  auto* stop = static_cast<Stop*>(handle);
  const bool iterating = code == VLR_CALLBACK_INTPNT || code == VLR_CALLBACK_UPDATE_DUAL_SIMPLEX ||
                         code == VLR_CALLBACK_UPDATE_PRIMAL_SIMPLEX;
  if (code == stop->code || (stop->code < 0 && iterating)) ++stop->calls;
  return code == stop->code || (stop->code < 0 && iterating) ? 1 : 0;
}

TEST(Concurrent, TimeLimitAndCallbackStopTheRaceAndNoThreadIsLeft) {
  auto env = vlrtest::MakeEnv();
  // A sanitizer starts a helper thread of its own with the process's first thread: start one
  // before counting.
  std::thread([] {}).join();
  const int32_t before = ThreadCount();
  auto run = [&](double maxtime, int32_t stopcode, int32_t want) {
    auto task = Transport(env.get(), 150, 150);
    VLRtask_t h = task.get();
    VLR_putintparam(h, VLR_IPAR_OPTIMIZER, VLR_OPTIMIZER_CONCURRENT);
    // The primal simplex on the calling thread (thousands of iterations here), the interior
    // point on the other.
    VLR_putintparam(h, VLR_IPAR_CONCURRENT_NUM_OPTIMIZERS, 2);
    VLR_putintparam(h, VLR_IPAR_CONCURRENT_PRIORITY_PRIMAL_SIMPLEX, 10);
    VLR_putdouparam(h, VLR_DPAR_OPTIMIZER_MAX_TIME, maxtime);
    Stop stop{stopcode, 0};
    VLR_putcallbackfunc(h, StopAt, &stop);
    int32_t trm = -1;
    ASSERT_EQ(VLR_optimizetrm(h, &trm), VLR_RES_OK) << vlrtest::LastError(h);
    EXPECT_EQ(trm, want) << "max time " << maxtime << " stop at " << stopcode;
    EXPECT_EQ(ThreadCount(), before);
    EXPECT_EQ(OptimizerParam(h), VLR_OPTIMIZER_CONCURRENT);
    // The user's function is called by the main racer only, on this thread: once.
    if (stopcode != -2) {
      EXPECT_EQ(stop.calls, 1);
    }
  };
  run(1e-4, -2, VLR_RES_TRM_MAX_TIME);
  run(-1.0, VLR_CALLBACK_BEGIN_CONCURRENT, VLR_RES_TRM_USER_CALLBACK);
  // Inside the race: the main racer stops at its first look at the callback, and the interior
  // point on the other thread at its next iteration.
  run(-1.0, -1, VLR_RES_TRM_USER_CALLBACK);
}

TEST(Concurrent, ExportedRaceTakesTheParametersOfTheGivenTasks) {
  auto env = vlrtest::MakeEnv();
  const double obj = Optimum(env.get(), 6, 8);
  auto task = Transport(env.get(), 6, 8);
  VLR_putintparam(task.get(), VLR_IPAR_OPTIMIZER, VLR_OPTIMIZER_PRIMAL_SIMPLEX);
  auto other = vlrtest::MakeTask(env.get());
  VLR_putintparam(other.get(), VLR_IPAR_OPTIMIZER, VLR_OPTIMIZER_DUAL_SIMPLEX);
  VLRtask_t arr[1] = {other.get()};
  ASSERT_EQ(VLR_optimizeconcurrent(task.get(), arr, 1), VLR_RES_OK)
      << vlrtest::LastError(task.get());
  const int32_t win = Fastest(task.get());
  EXPECT_TRUE(win == VLR_OPTIMIZER_PRIMAL_SIMPLEX || win == VLR_OPTIMIZER_DUAL_SIMPLEX) << win;
  ExpectWinnerOptimal(task.get(), obj);
  int32_t numvar = -1;
  VLR_getnumvar(other.get(), &numvar);
  EXPECT_EQ(numvar, 0);  // the lender of parameters keeps its own (empty) problem
  EXPECT_EQ(OptimizerParam(task.get()), VLR_OPTIMIZER_PRIMAL_SIMPLEX);
  // Refusals: a task twice, a racer that is not an optimiser of linear problems.
  VLRtask_t same[1] = {task.get()};
  EXPECT_EQ(VLR_optimizeconcurrent(task.get(), same, 1), VLR_RES_ERR_IDENTICAL_TASKS);
  VLR_putintparam(other.get(), VLR_IPAR_OPTIMIZER, VLR_OPTIMIZER_CONIC);
  EXPECT_EQ(VLR_optimizeconcurrent(task.get(), arr, 1), VLR_RES_ERR_CONCURRENT_OPTIMIZER);
  EXPECT_EQ(VLR_optimizeconcurrent(task.get(), nullptr, 1), VLR_RES_ERR_NULL_POINTER);
}

// Many races in a row on small problems, each checked; the thread sanitizer runs this one.
TEST(ConcurrentThreads, HundredRacesEndOptimal) {
  auto env = vlrtest::MakeEnv();
  const double obj = Optimum(env.get(), 4, 6);
  for (int32_t race = 0; race < 100; ++race) {
    auto task = Transport(env.get(), 4, 6);
    VLR_putintparam(task.get(), VLR_IPAR_OPTIMIZER, VLR_OPTIMIZER_CONCURRENT);
    VLR_putintparam(task.get(), VLR_IPAR_CONCURRENT_NUM_OPTIMIZERS, 4);
    ASSERT_EQ(VLR_optimize(task.get()), VLR_RES_OK) << vlrtest::LastError(task.get());
    ASSERT_NO_FATAL_FAILURE(ExpectWinnerOptimal(task.get(), obj)) << "race " << race;
  }
}

}  // namespace
