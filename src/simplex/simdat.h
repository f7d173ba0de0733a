// src/simplex/simdat.h: the working state the pivoting optimisers share: the problem in its
// working form, the basis with its LU, the values, duals and weights, and the sparse work.
// Private to src/simplex.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "cpub/sysenv.h"
#include "lu/lu.h"
#include "simplex/simplex.h"

namespace vlr {

template <class T>
using SimVec = std::vector<T, MemAllocator<T>>;

// The purposes of the sparse solves, each with its own record of density in the LU: the row of
// the inverse, the entering column, the solve of the steepest-edge update and that of the swaps.
enum SimSolveSlot : int32_t { kSolveRow = 0, kSolveColumn = 1, kSolveTau = 2, kSolveSwaps = 3 };

// Status of a variable in the working basis.
enum SimNbStat : int8_t {
  kNbBasic = 0,
  kNbLower = 1,  // non-basic at its lower bound (reduced cost >= 0 when dual feasible)
  kNbUpper = 2,  // non-basic at its upper bound (reduced cost <= 0)
  kNbZero = 3,   // non-basic free variable, held at zero (reduced cost 0)
  kNbFixed = 4,  // non-basic with equal bounds (any reduced cost)
};

// Presolves lp, solves what is left and brings the solution back, then confirms it by a run on
// lp from the postsolved basis. False when presolve proved infeasibility or unboundedness, or
// the reduced problem ended so: the caller then solves lp as given, for its certificate
// (simprslv.cpp).
bool VLR_simplex_presolveandsolve(SysEnv* sys, const SimParam& par, const SimCallbacks& cb,
                                  const SimLp& lp, SimSol* sol, SimInfo* info);

// A sparse vector over a dense array that is zero outside its pattern.
struct SimHVec {
  SimVec<double> val;
  SimVec<int32_t> idx;
  int32_t nz = 0;
  explicit SimHVec(SysEnv* sys) : val(MemAllocator<double>(sys)), idx(MemAllocator<int32_t>(sys)) {}
  void setup(int32_t size) {
    val.assign(static_cast<size_t>(size), 0.0);
    idx.assign(static_cast<size_t>(size) + 1, 0);
    nz = 0;
  }
  void clear() {
    for (int32_t k = 0; k < nz; ++k)
      val[static_cast<size_t>(idx[static_cast<size_t>(k)])] = 0.0;
    nz = 0;
  }
};

// How a run of the dual loop ended.
enum SimLoopEnd : int32_t {
  kLoopOptimal = 0,     // primal feasible within tolerance (phase two: optimal)
  kLoopInfeasible = 1,  // dual unbounded: the primal problem is infeasible, certificate in rho
  kLoopStopped = 2,     // a limit, a stop or a failure: see info->response
  kLoopUnbounded = 3,   // the first phase found the problem dual infeasible, a ray in `ray`
};

// Outcomes of the dual first phase.
enum SimPhaseOne : int32_t {
  kPhaseOneFeasible = 0,    // every reduced cost has the sign its bound wants
  kPhaseOneInfeasible = 1,  // some are left with the wrong sign: the problem is dual infeasible
  kPhaseOneStopped = 2,     // a limit or a failure stopped the loop
};

struct SimEngine {
  SysEnv* sys = nullptr;
  const SimParam* par = nullptr;
  const SimCallbacks* cb = nullptr;
  SimInfo* info = nullptr;

  int32_t m = 0, n = 0, nt = 0;
  const int64_t* abeg = nullptr;  // the working matrix by columns (borrowed)
  const int32_t* aidx = nullptr;
  const double* aval = nullptr;
  // The same by rows, each row split in two: its entries in non-basic columns first (arlen[i]
  // of them), then those in basic columns, so that a pivot row is formed from the non-basic
  // columns alone. arent[t] is the column-wise index of the entry at row position t, and
  // aroff[e] the place of column-wise entry e in its row (from arbeg). The split is rebuilt
  // after each factor and kept in step by every exchange (rowcopyexchange).
  SimVec<int64_t> arbeg;
  SimVec<int32_t> arlen;
  SimVec<int32_t> aridx;
  SimVec<double> arval;
  SimVec<int64_t> arent;
  SimVec<int32_t> aroff;
  int64_t arnbnz = 0;  // entries in non-basic columns, the sum of arlen

  SimVec<double> cost;          // working cost (perturbed or shifted), nt
  SimVec<double> costorg;       // cost of the problem, nt
  SimVec<double> lb, ub;        // working bounds, nt (+-inf where absent)
  SimVec<double> lborg, uborg;  // bounds of the problem
  SimVec<int8_t> artmark;       // 1 for a variable with an implied or artificial bound

  SimVec<int32_t> head;   // variable at each basis position, m
  SimVec<int32_t> pos;    // position of each variable, -1 when non-basic
  SimVec<int8_t> nstat;   // SimNbStat
  SimVec<double> x;       // values of all variables
  SimVec<double> d;       // reduced costs (0 on basic ones)
  SimVec<double> y;       // duals of the rows
  SimVec<double> w;       // dual steepest-edge weights by position
  SimVec<double> infeas;  // squared primal infeasibility of each basic position, 0 if none
  // The positions with an infeasibility, as a heap on infeasibility over weight (the larger
  // first, the smaller position among equals): the top is the leaving row of the dual simplex.
  SimVec<int32_t> inflist;  // the heap, numinf entries
  SimVec<int32_t> infat;    // index of each position in the heap, -1 when not there
  SimVec<double> infkey;    // key of each position in the heap
  // Positions whose infeasibility or weight changed since the heap was last settled.
  SimVec<int32_t> heapdirty;
  SimVec<int8_t> heapmark;  // 1 for the positions on heapdirty
  int32_t numdirty = 0;
  // Whether inflist is in heap order. After many changes at once it is left unordered and the
  // pricing scans it, which costs less than building the heap again; it is built again when
  // the changes become few.
  bool heapordered = false;
  SimVec<double> ray;  // after a dual infeasible first phase: a primal ray, nt

  LuFactor* lu = nullptr;
  SimVec<int32_t> iwork, marker;
  SimVec<double> rwork;
  int32_t updates = 0;  // LU updates since the last factor

  // Sparse work.
  SimHVec rho, col, tau, in, spike;
  SimVec<double> alpha;  // pivot row over all variables
  SimVec<int32_t> alphaidx;
  SimVec<int8_t> alphamark;
  int32_t alphanz = 0;
  // A whole row: alphaidx holds the slack part of the pattern only, and the row runs over every
  // column (a basic one, or one the product missed, is a zero there).
  bool alphawhole = false;
  // The share of the columns that the recent rows of the dense row-wise product filled: the
  // choice between the whole row and its pattern.
  double densefill = 0.0;
  void notedensefill(double f) { densefill = 0.8 * densefill + 0.2 * f; }
  int32_t alpharownz = 0;  // the dual's ratio test: the non-zeros of the row it walked
  SimVec<int32_t> cand;    // ratio test candidates
  SimVec<double> candratio;
  SimVec<double> candabs, candrelax, candmin;  // dual ratio test: |alpha|, relaxed ratio
  SimVec<int32_t> candorder;                   // and the order of the candidates by ratio
  SimVec<int32_t> flips;
  int32_t numflips = 0;
  static constexpr uint64_t kSeed = 0x9e3779b97f4a7c15ULL;
  uint64_t rng = kSeed;  // the state of random01's sequence

  double tolx = 1e-6, tols = 1e-6, tolpiv = 1e-7;
  int32_t costshifted = 0;
  double certsgn = 0.0;    // after kLoopInfeasible: the certificate is certsgn * rho
  bool certfromy = false;  // ... or y, when the primal first phase proved it

  // Primal work (psimplex.cpp).
  SimVec<double> pw;    // devex weights of all variables
  SimVec<int8_t> pref;  // 1 for the variables of the devex reference framework
  SimVec<int32_t> bporder, bppos;
  SimVec<double> bpt, bptr, bprate;  // break points of the ratio test: exact and relaxed
  SimVec<int8_t> bpup;               // ratios, rates and the bound each one reaches
  int32_t pricing = 5;               // kPrice* of the phase without and with infeasibilities
  int32_t numinf = 0;                // entries of inflist
  int32_t ifpricing = 5;
  int32_t partialnext = 0;  // where the next partial scan starts
  // The candidate queue: a pool of attractive non-basic variables that pricing scans between
  // full refills; members that stopped being attractive drop out when met.
  SimVec<int32_t> que;
  SimVec<int8_t> inque;
  SimVec<std::pair<double, int32_t>> quework;
  int32_t quelen = 0, quecap = 0;
  int64_t querefill = 0;     // iteration of the last refill
  int32_t ninf = 0;          // first phase: basic variables outside their bounds
  int32_t kickmode = 0;      // 0 none, 1 to 3 rising readiness to kick (see primalkick)
  bool kicked = false;       // a bound has been moved by a kick
  int32_t dualkickmode = 0;  // the dual's own: 0 none, 2 ready (a hot start), 3 eager
  bool dualkicked = false;   // a cost has been moved by a kick
  bool boundsmoved = false;  // the working bounds differ from the problem's
  int64_t lastlog = 0;       // iteration of the last log line
  double lastlogtime = 0.0;  // wall clock of the last log line; 0 before the first look

  explicit SimEngine(SysEnv* s);
  ~SimEngine();
  SimEngine(const SimEngine&) = delete;
  SimEngine& operator=(const SimEngine&) = delete;

  // Sets up the arrays for lp and the row-wise copy. kSimOk, or kSimNoSpace (containers that
  // run out of memory throw bad_alloc, which the entry catches).
  int32_t setup(const SimLp& lp);
  // The two halves of setup: what a factor, the values and the duals need, and the work of
  // the iterations (the row-wise copy, the pivot row, the ratio tests). An engine that only
  // checks a basis takes the first alone.
  int32_t setupcore(const SimLp& lp);
  void setupwork();
  double random01();  // a number in [0, 1) from the engine's own sequence (repeatable)
  int64_t iterations() const { return info->iter[par->slot]; }

  // ---- Basis (bsimplex.cpp) ----
  // Factors the basis in head; on a short rank puts slacks in and moves the displaced
  // variables to a bound. Returns kSimOk or a response.
  int32_t factor();
  int32_t factorbasis();  // the factor itself, untimed
  // x of the basic variables from the non-basic ones: B xB = -N xN.
  void computexb();
  // The infeasibility of position p, or of all, from x and the bounds; kept in step with every
  // change of a basic value so that the dual pricing reads one array.
  double squaredinfeas(int32_t k) const;  // of variable k beyond the primal tolerance
  void setinfeas(int32_t p);
  void allinfeas();
  // Notes that the infeasibility or the weight of position p changed; heapsettle puts every
  // such position where its key now places it: one by one when they are few, and when they
  // are many (a dense column changes most of them) it only brings the membership up to date.
  // heaptop gives the position with the largest key, the first among equals.
  void heapfix(int32_t p);
  void heapsettle();
  int32_t heaptop() const;
  void heapplace(int32_t p);
  bool infbefore(int32_t a, int32_t b) const;
  void heapup(int32_t at);
  void heapdown(int32_t at);
  // One step of iterative refinement of the basic values against the rows' residual.
  void refinexb();
  // The same for the duals, with the reduced costs recomputed from them.
  void refinedual();
  // d from y and the working cost.
  void pricedual();
  // The reduced cost of variable k from y and the working cost.
  double reducedcost(int32_t k) const;
  // y and d from the working cost.
  void computedual();
  // The slack basis with every column at the bound its status wants.
  void slackbasis();
  // A basis from status keys (VLR_SK_*), repaired to m basic variables.
  void keybasis(const int32_t* sk);
  // Places a non-basic variable at the bound its status names.
  void setnonbasic(int32_t k, int8_t st);
  // Non-basic status that a variable takes by its bounds and, for a boxed one, by the sign of d.
  int8_t boundstatus(int32_t k, double dk) const;
  // Column of variable k into the sparse vector v (row space).
  void loadcolumn(int32_t k, SimHVec* v) const;
  // rho = B^-T e(p); col = B^-1 a(q) keeping the spike for the update; tau = B^-1 rho on the
  // pattern of col (and what that needs), for the weights.
  void btranrow(int32_t p);
  void ftrancol(int32_t q);
  void ftrantau();
  // Mean densities of the recent results of the two ways to tau (-1 before the first).
  double taufull = -1.0, tausel = -1.0;
  static constexpr int64_t kTauProbe = 32;  // iterations between runs of the other way
  // The pivot row alpha(k) = rho' col(k) over the non-basic variables.
  void formrow(bool whole);
  // The split of the row-wise copy by the statuses in pos, from scratch.
  void rowcopysplit();
  // The kept factor: taken when it belongs to the start basis on this matrix (the basis then
  // takes its order, and the weights), and left for the next run.
  bool adoptsavedlu(SimSavedLu* saved);
  void keepsavedlu(SimSavedLu** saved);
  // A hash of the working matrix, which no iteration changes: taken once per run.
  uint64_t matrixkey();
  uint64_t mkey = 0;
  bool mkeyset = false;
  // Column k (a structural one; slacks are not in the copy) moves to the basic part of its
  // rows (entering) or to the non-basic part (leaving).
  void rowcopymove(int32_t k, bool entering);
  // Swaps the row-copy entries at positions at and to of the row that starts at beg.
  void rowcopyswap(int64_t beg, int64_t at, int64_t to);
  // Both moves of an exchange: q entered the basis, leave left it.
  void rowcopyexchange(int32_t q, int32_t leave) {
    rowcopymove(q, true);
    rowcopymove(leave, false);
  }
  // Replaces the variable at position p by q in the LU. Returns the LU status.
  int32_t updatelu(int32_t p);
  // Sums of primal and dual infeasibilities under the working data.
  double primalinf(int32_t* count) const;
  double dualinf(int32_t* count) const;
  // How far the reduced cost of non-basic k lies on the wrong side for its status (<= 0: none).
  double dualviolation(int32_t k) const;
  double objective() const;  // working cost times x

  // ---- Dual simplex (dsimplex.cpp) ----
  // Runs the dual loop on the working data from a dual feasible basis.
  int32_t dualloop(int32_t phase);
  // The steps of the dual loop. After a factor: values and duals from scratch, and wrong signs
  // of reduced costs cleaned by a swap of a boxed variable or a shift of the cost; false (with
  // the response set) on a failure.
  bool dualrefresh();
  // The leaving position: the largest squared infeasibility over its weight; -1 for none.
  int32_t dualprice();
  // The entering variable of the bound-swap ratio test along the pivot row, for a leaving
  // variable that moves by delta (sign sgn); boxed variables passed while the slope stays
  // positive are listed in flips. -1 when every candidate swaps and the row stays infeasible.
  int32_t dualratio(double sgn, double delta);
  bool dualupdate(int32_t p, int32_t q, double sgn, double target, bool tolower, int32_t phase,
                  bool* needfactor);
  // Makes the basis dual feasible: with `big` above 0 first gives the columns their implied
  // bounds, then flips boxed variables, and when other variables have the wrong reduced cost
  // either boxes each at distance `big` from its bound or from zero and puts it on the side it
  // wants, or (`big` 0) runs the first phase on the boxed auxiliary problem. The count of
  // implied and artificial bounds goes to *boxed, their marks to artmark.
  // kPhaseOneFeasible, kPhaseOneInfeasible (wrong signs left) or kPhaseOneStopped.
  int32_t dualphaseone(double big, int32_t* boxed);
  // Gives each column without an upper (lower) bound the one a row implies when the row's other
  // entries are bounded on the side that matters, widened a little; marks it in artmark (which
  // must be sized) and returns the count.
  int32_t impliedbounds();
  static constexpr double kImpliedMax = 1e7;  // a larger implied bound is left out
  // Puts the true bounds back on the marked variables. Returns how many of them were still
  // non-basic at an implied or artificial bound; those go to a true bound (the basic values are
  // then stale, and computexb is the caller's).
  int32_t dualartrestore();
  void perturbcost();
  // Moves the costs of the non-basic variables whose reduced costs are near zero a little
  // further from zero, by a magnitude of the level (1 to 3); the block step chooses the level
  // from the share of zero dual steps in the last block of iterations.
  void dualkick(int32_t level);
  void dualkickblock(int64_t* blocksize, int64_t blockdeg);
  // ---- Primal simplex (psimplex.cpp) ----
  // The primal road from the current basis: pricing choice, bound perturbation unless hot,
  // the phases, and the return to the true bounds. kLoopOptimal, kLoopInfeasible (certificate
  // in y), kLoopUnbounded (ray in `ray`) or kLoopStopped.
  int32_t primalsimplex(bool hot);
  // The primal phases on the working bounds and costs: a composite first phase while basic
  // variables lie outside their bounds, then the true costs.
  int32_t primalloop();
  void primalchoosepricing(bool hot);
  int32_t primalsetphase();  // costs and duals of the phase the values call for; returns it
  int32_t primalprice(int32_t rule);
  // Ratio tests along column col for entering q moving by dir. Each gives the leaving
  // position (-1 for none), the step, and whether the leaving variable goes to its upper
  // bound; *flip when q reaches its own other bound first.
  void primalratio(int32_t q, double dir, int32_t* p, double* step, bool* toupper, bool* flip);
  void primalratioinf(int32_t q, double dir, int32_t* p, double* step, bool* toupper, bool* flip);
  // After the values on col's pattern changed in the first phase: the composite costs that
  // changed, and the duals through one solve with the transposed basis; the reduced costs too
  // unless lazy (partial pricing forms them from the duals).
  void primalcostupdate(bool lazy);
  void primalperturb();
  void primalkick(int32_t level);
  // Steps of the primal loop: the kick check at the end of a block of iterations, the ray of
  // an unbounded problem along the column, and a bound flip of the entering variable.
  void primalkickblock(int64_t* blocksize, int64_t blockdeg);
  void primalray(int32_t q, double dir);
  void primalflip(int32_t q, double move, int32_t phase, bool lazy);
  double primalpivotrow(int32_t p, int32_t q, bool lazy);
  int32_t primalupdate(int32_t p, int32_t q, double dir, double step, bool toupper, double alphar,
                       int32_t phase, bool lazy);
  int32_t primalresetbounds();  // back to the true bounds; returns the count moved
  void devexreset();
  void queinsert(int32_t k);  // adds an attractive variable to the queue when it has room
  int32_t querefillselect(int32_t base);  // refills by a full scan; returns the best
  void removeperturbation();
  void log(const char* format, ...) VLR_PRINTF(2, 3);
  void logline(int32_t phase, bool force);
  bool progress();  // true: stop asked for
  // The iteration limit, and every so many iterations the time limit and the callback; false
  // (with the response set) when the loop must stop.
  bool withinlimits(int64_t* sincecheck);
  // Factor, then values and duals from scratch; false (with the response set) on a failure.
  bool refresh();
  // The recovery of both roads from a bad event (the pivot row and column disagree, or a step
  // that must exist does not): counts it against the limit of set-backs, false (response set)
  // once the limit is passed. With tighten set (a disagreement on a factor without updates, so
  // the factor's own) the LU then pivots against rows and columns with a tighter threshold, and
  // the smallest pivot taken grows. The caller refactors.
  bool badevent(int32_t* count, bool tighten);
  // A pivot whose two computations disagree (the caller factors next): a set-back right after
  // a factor, or within a few iterations of the last one; false when the run must stop.
  bool mismatch(int32_t* count, int64_t* last, bool fresh);
  // Whether the pivot's values from the column (alphac) and the row (alphar) are unfit to take:
  // too small, or disagreeing beyond rounding, on an updated factor also relative to their size.
  bool badpivot(double alphac, double alphar, bool fresh) const;
};

// The kernels of the start (usimplex.cpp).
// Puts structural columns in place of the slacks of a slack basis in a triangular pattern, free
// columns first and then columns without a cost into equations, on at most percent of the rows.
// Returns how many.
int32_t VLR_simplex_triangulize(SimEngine& e, int32_t percent);
// The non-basic status of variable k when it leaves: a ranged one at the side nearer zero.
int8_t VLR_simplex_chooseranged(const SimEngine& e, int32_t k);
// The crash of a cold start: the triangular placement and, when widen is set, the free columns
// it left out that a maximum transversal matches to rows. The factor that follows inserts
// artificials where the basis is numerically short. Returns the columns placed.
int32_t VLR_simplex_crash(SimEngine& e, int32_t percent, bool widen);
// The dual road from the engine's basis (simplex.cpp): the first phase and the dual loop, on
// perturbed costs when perturb is set, with the true costs put back at the end. A kSimLoopEnd;
// kLoopUnbounded leaves the ray in e.ray, kLoopInfeasible the certificate in e.rho or e.y.
int32_t VLR_simplex_dualroad(SimEngine& e, bool perturb);
// The primal-dual road (pdsimplex.cpp): from a cold start, restricted subproblems of the
// columns, the first solved by the dual road and each larger one by the primal loop; from a
// given basis, the dual road. Ends as the dual road does.
int32_t VLR_simplex_primaldualoptimizer(SimEngine& e, bool perturb);

}  // namespace vlr
