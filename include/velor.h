/* include/velor.h: the C interface of the VELOR optimisation library. */
/* SPDX-License-Identifier: Apache-2.0 */
#ifndef VELOR_H
#define VELOR_H

#include <stddef.h>
#include <stdint.h>

#include "velor_export.h"

#define VLR_API VELOR_EXPORT

/* BEGIN GENERATED CONSTANTS: written by tools/gentables.py; edit the tables, not this block. */
/* clang-format off */
#define VLR_INFINITY 1.0e30

enum VLR_accmode_enum {
  VLR_ACC_VAR = 0,
  VLR_ACC_CON = 1,
};
typedef int32_t VLR_accmode;

enum VLR_adopcode_enum {
  VLR_ADOP_ADD = 0,
  VLR_ADOP_SUB = 1,
  VLR_ADOP_MUL = 2,
  VLR_ADOP_DIV = 3,
  VLR_ADOP_POW = 4,
  VLR_ADOP_EXP = 5,
  VLR_ADOP_LOG = 6,
  VLR_ADOP_RET = 7,
};
typedef int32_t VLR_adopcode;

enum VLR_adoptype_enum {
  VLR_ADOPTYPE_NONE      = 0,
  VLR_ADOPTYPE_CONSTANT  = 1,
  VLR_ADOPTYPE_VARIABLE  = 2,
  VLR_ADOPTYPE_REFERENCE = 3,
};
typedef int32_t VLR_adoptype;

enum VLR_basindtype_enum {
  VLR_BI_NEVER       = 0,
  VLR_BI_ALWAYS      = 1,
  VLR_BI_NO_ERROR    = 2,
  VLR_BI_IF_FEASIBLE = 3,
  VLR_BI_OTHER       = 4,
};
typedef int32_t VLR_basindtype;

enum VLR_boundkey_enum {
  VLR_BK_LO = 0,
  VLR_BK_UP = 1,
  VLR_BK_FX = 2,
  VLR_BK_FR = 3,
  VLR_BK_RA = 4,
};
typedef int32_t VLR_boundkey;

enum VLR_branchdir_enum {
  VLR_BRANCH_DIR_FREE = 0,
  VLR_BRANCH_DIR_UP   = 1,
  VLR_BRANCH_DIR_DOWN = 2,
};
typedef int32_t VLR_branchdir;

enum VLR_callbackcode_enum {
  VLR_CALLBACK_BEGIN_BI                      = 0,
  VLR_CALLBACK_BEGIN_CONCURRENT              = 1,
  VLR_CALLBACK_BEGIN_CONIC                   = 2,
  VLR_CALLBACK_BEGIN_DUAL_BI                 = 3,
  VLR_CALLBACK_BEGIN_DUAL_SENSITIVITY        = 4,
  VLR_CALLBACK_BEGIN_DUAL_SETUP_BI           = 5,
  VLR_CALLBACK_BEGIN_DUAL_SIMPLEX            = 6,
  VLR_CALLBACK_BEGIN_DUAL_SIMPLEX_BI         = 7,
  VLR_CALLBACK_BEGIN_FULL_CONVEXITY_CHECK    = 8,
  VLR_CALLBACK_BEGIN_INFEAS_ANA              = 9,
  VLR_CALLBACK_BEGIN_INTPNT                  = 10,
  VLR_CALLBACK_BEGIN_MIO                     = 11,
  VLR_CALLBACK_BEGIN_NETWORK_DUAL_SIMPLEX    = 12,
  VLR_CALLBACK_BEGIN_NETWORK_PRIMAL_SIMPLEX  = 13,
  VLR_CALLBACK_BEGIN_NETWORK_SIMPLEX         = 14,
  VLR_CALLBACK_BEGIN_NONCONVEX               = 15,
  VLR_CALLBACK_BEGIN_OPTIMIZER               = 16,
  VLR_CALLBACK_BEGIN_PRESOLVE                = 17,
  VLR_CALLBACK_BEGIN_PRIMAL_BI               = 18,
  VLR_CALLBACK_BEGIN_PRIMAL_DUAL_SIMPLEX     = 19,
  VLR_CALLBACK_BEGIN_PRIMAL_DUAL_SIMPLEX_BI  = 20,
  VLR_CALLBACK_BEGIN_PRIMAL_SENSITIVITY      = 21,
  VLR_CALLBACK_BEGIN_PRIMAL_SETUP_BI         = 22,
  VLR_CALLBACK_BEGIN_PRIMAL_SIMPLEX          = 23,
  VLR_CALLBACK_BEGIN_PRIMAL_SIMPLEX_BI       = 24,
  VLR_CALLBACK_BEGIN_QCQO_REFORMULATE        = 25,
  VLR_CALLBACK_BEGIN_READ                    = 26,
  VLR_CALLBACK_BEGIN_SIMPLEX                 = 27,
  VLR_CALLBACK_BEGIN_SIMPLEX_BI              = 28,
  VLR_CALLBACK_BEGIN_SIMPLEX_NETWORK_DETECT  = 29,
  VLR_CALLBACK_BEGIN_WRITE                   = 30,
  VLR_CALLBACK_CONIC                         = 31,
  VLR_CALLBACK_DUAL_SIMPLEX                  = 32,
  VLR_CALLBACK_END_BI                        = 33,
  VLR_CALLBACK_END_CONCURRENT                = 34,
  VLR_CALLBACK_END_CONIC                     = 35,
  VLR_CALLBACK_END_DUAL_BI                   = 36,
  VLR_CALLBACK_END_DUAL_SENSITIVITY          = 37,
  VLR_CALLBACK_END_DUAL_SETUP_BI             = 38,
  VLR_CALLBACK_END_DUAL_SIMPLEX              = 39,
  VLR_CALLBACK_END_DUAL_SIMPLEX_BI           = 40,
  VLR_CALLBACK_END_FULL_CONVEXITY_CHECK      = 41,
  VLR_CALLBACK_END_INFEAS_ANA                = 42,
  VLR_CALLBACK_END_INTPNT                    = 43,
  VLR_CALLBACK_END_MIO                       = 44,
  VLR_CALLBACK_END_NETWORK_DUAL_SIMPLEX      = 45,
  VLR_CALLBACK_END_NETWORK_PRIMAL_SIMPLEX    = 46,
  VLR_CALLBACK_END_NETWORK_SIMPLEX           = 47,
  VLR_CALLBACK_END_NONCONVEX                 = 48,
  VLR_CALLBACK_END_OPTIMIZER                 = 49,
  VLR_CALLBACK_END_PRESOLVE                  = 50,
  VLR_CALLBACK_END_PRIMAL_BI                 = 51,
  VLR_CALLBACK_END_PRIMAL_DUAL_SIMPLEX       = 52,
  VLR_CALLBACK_END_PRIMAL_DUAL_SIMPLEX_BI    = 53,
  VLR_CALLBACK_END_PRIMAL_SENSITIVITY        = 54,
  VLR_CALLBACK_END_PRIMAL_SETUP_BI           = 55,
  VLR_CALLBACK_END_PRIMAL_SIMPLEX            = 56,
  VLR_CALLBACK_END_PRIMAL_SIMPLEX_BI         = 57,
  VLR_CALLBACK_END_QCQO_REFORMULATE          = 58,
  VLR_CALLBACK_END_READ                      = 59,
  VLR_CALLBACK_END_SIMPLEX                   = 60,
  VLR_CALLBACK_END_SIMPLEX_BI                = 61,
  VLR_CALLBACK_END_SIMPLEX_NETWORK_DETECT    = 62,
  VLR_CALLBACK_END_WRITE                     = 63,
  VLR_CALLBACK_IM_BI                         = 64,
  VLR_CALLBACK_IM_CONIC                      = 65,
  VLR_CALLBACK_IM_DUAL_BI                    = 66,
  VLR_CALLBACK_IM_DUAL_SENSIVITY             = 67,
  VLR_CALLBACK_IM_DUAL_SIMPLEX               = 68,
  VLR_CALLBACK_IM_FULL_CONVEXITY_CHECK       = 69,
  VLR_CALLBACK_IM_INTPNT                     = 70,
  VLR_CALLBACK_IM_LU                         = 71,
  VLR_CALLBACK_IM_MIO                        = 72,
  VLR_CALLBACK_IM_MIO_DUAL_SIMPLEX           = 73,
  VLR_CALLBACK_IM_MIO_INTPNT                 = 74,
  VLR_CALLBACK_IM_MIO_PRESOLVE               = 75,
  VLR_CALLBACK_IM_MIO_PRIMAL_SIMPLEX         = 76,
  VLR_CALLBACK_IM_NETWORK_DUAL_SIMPLEX       = 77,
  VLR_CALLBACK_IM_NETWORK_PRIMAL_SIMPLEX     = 78,
  VLR_CALLBACK_IM_NONCONVEX                  = 79,
  VLR_CALLBACK_IM_ORDER                      = 80,
  VLR_CALLBACK_IM_PRESOLVE                   = 81,
  VLR_CALLBACK_IM_PRIMAL_BI                  = 82,
  VLR_CALLBACK_IM_PRIMAL_DUAL_SIMPLEX        = 83,
  VLR_CALLBACK_IM_PRIMAL_SENSIVITY           = 84,
  VLR_CALLBACK_IM_PRIMAL_SIMPLEX             = 85,
  VLR_CALLBACK_IM_QO_REFORMULATE             = 86,
  VLR_CALLBACK_IM_SIMPLEX                    = 87,
  VLR_CALLBACK_IM_SIMPLEX_BI                 = 88,
  VLR_CALLBACK_INTPNT                        = 89,
  VLR_CALLBACK_NEW_INT_MIO                   = 90,
  VLR_CALLBACK_NONCOVEX                      = 91,
  VLR_CALLBACK_PRIMAL_SIMPLEX                = 92,
  VLR_CALLBACK_QCONE                         = 93,
  VLR_CALLBACK_READ_ADD_ANZ                  = 94,
  VLR_CALLBACK_READ_ADD_CONES                = 95,
  VLR_CALLBACK_READ_ADD_CONS                 = 96,
  VLR_CALLBACK_READ_ADD_QNZ                  = 97,
  VLR_CALLBACK_READ_ADD_VARS                 = 98,
  VLR_CALLBACK_READ_OPF                      = 99,
  VLR_CALLBACK_READ_OPF_SECTION              = 100,
  VLR_CALLBACK_UPDATE_DUAL_BI                = 101,
  VLR_CALLBACK_UPDATE_DUAL_SIMPLEX           = 102,
  VLR_CALLBACK_UPDATE_DUAL_SIMPLEX_BI        = 103,
  VLR_CALLBACK_UPDATE_NETWORK_DUAL_SIMPLEX   = 104,
  VLR_CALLBACK_UPDATE_NETWORK_PRIMAL_SIMPLEX = 105,
  VLR_CALLBACK_UPDATE_NONCONVEX              = 106,
  VLR_CALLBACK_UPDATE_PRESOLVE               = 107,
  VLR_CALLBACK_UPDATE_PRIMAL_BI              = 108,
  VLR_CALLBACK_UPDATE_PRIMAL_DUAL_SIMPLEX    = 109,
  VLR_CALLBACK_UPDATE_PRIMAL_DUAL_SIMPLEX_BI = 110,
  VLR_CALLBACK_UPDATE_PRIMAL_SIMPLEX         = 111,
  VLR_CALLBACK_UPDATE_PRIMAL_SIMPLEX_BI      = 112,
  VLR_CALLBACK_WRITE_OPF                     = 113,
};
typedef int32_t VLR_callbackcode;

enum VLR_checkconvexitytype_enum {
  VLR_CHECK_CONVEXITY_NONE   = 0,
  VLR_CHECK_CONVEXITY_SIMPLE = 1,
  VLR_CHECK_CONVEXITY_FULL   = 2,
};
typedef int32_t VLR_checkconvexitytype;

enum VLR_compresstype_enum {
  VLR_COMPRESS_NONE = 0,
  VLR_COMPRESS_FREE = 1,
  VLR_COMPRESS_GZIP = 2,
};
typedef int32_t VLR_compresstype;

enum VLR_conetype_enum {
  VLR_CT_QUAD  = 0,
  VLR_CT_RQUAD = 1,
};
typedef int32_t VLR_conetype;

enum VLR_cputype_enum {
  VLR_CPU_UNKNOWN        = 0,
  VLR_CPU_GENERIC        = 1,
  VLR_CPU_INTEL_P3       = 2,
  VLR_CPU_INTEL_P4       = 3,
  VLR_CPU_AMD_ATHLON     = 4,
  VLR_CPU_HP_PARISC20    = 5,
  VLR_CPU_INTEL_ITANIUM2 = 6,
  VLR_CPU_AMD_OPTERON    = 7,
  VLR_CPU_POWERPC_G5     = 8,
  VLR_CPU_INTEL_PM       = 9,
  VLR_CPU_INTEL_CORE2    = 10,
};
typedef int32_t VLR_cputype;

enum VLR_dataformat_enum {
  VLR_DATA_FORMAT_EXTENSION = 0,
  VLR_DATA_FORMAT_MPS       = 1,
  VLR_DATA_FORMAT_LP        = 2,
  VLR_DATA_FORMAT_MBT       = 3,
  VLR_DATA_FORMAT_OP        = 4,
  VLR_DATA_FORMAT_XML       = 5,
  VLR_DATA_FORMAT_FREE_MPS  = 6,
};
typedef int32_t VLR_dataformat;

enum VLR_dinfitem_enum {
  VLR_DINF_BI_CLEAN_DUAL_TIME         = 0,
  VLR_DINF_BI_CLEAN_PRIMAL_DUAL_TIME  = 1,
  VLR_DINF_BI_CLEAN_PRIMAL_TIME       = 2,
  VLR_DINF_BI_CLEAN_TIME              = 3,
  VLR_DINF_BI_DUAL_TIME               = 4,
  VLR_DINF_BI_PRIMAL_TIME             = 5,
  VLR_DINF_BI_TIME                    = 6,
  VLR_DINF_CONCURRENT_TIME            = 7,
  VLR_DINF_INTPNT_DUAL_FEAS           = 8,
  VLR_DINF_INTPNT_DUAL_OBJ            = 9,
  VLR_DINF_INTPNT_FACTOR_NUM_FLOPS    = 10,
  VLR_DINF_INTPNT_KAP_DIV_TAU         = 11,
  VLR_DINF_INTPNT_ORDER_TIME          = 12,
  VLR_DINF_INTPNT_PRIMAL_FEAS         = 13,
  VLR_DINF_INTPNT_PRIMAL_OBJ          = 14,
  VLR_DINF_INTPNT_TIME                = 15,
  VLR_DINF_MIO_CONSTRUCT_SOLUTION_OBJ = 16,
  VLR_DINF_MIO_HEURISTIC_TIME         = 17,
  VLR_DINF_MIO_OBJ_ABS_GAP            = 18,
  VLR_DINF_MIO_OBJ_BOUND              = 19,
  VLR_DINF_MIO_OBJ_INT                = 20,
  VLR_DINF_MIO_OBJ_REL_GAP            = 21,
  VLR_DINF_MIO_OPTIMIZER_TIME         = 22,
  VLR_DINF_MIO_ROOT_OPTIMIZER_TIME    = 23,
  VLR_DINF_MIO_ROOT_PRESOLVE_TIME     = 24,
  VLR_DINF_MIO_TIME                   = 25,
  VLR_DINF_MIO_USER_OBJ_CUT           = 26,
  VLR_DINF_OPTIMIZER_TIME             = 27,
  VLR_DINF_PRESOLVE_ELI_TIME          = 28,
  VLR_DINF_PRESOLVE_LINDEP_TIME       = 29,
  VLR_DINF_PRESOLVE_TIME              = 30,
  VLR_DINF_QCQO_REFORMULATE_TIME      = 31,
  VLR_DINF_RD_TIME                    = 32,
  VLR_DINF_SIM_DUAL_TIME              = 33,
  VLR_DINF_SIM_FEAS                   = 34,
  VLR_DINF_SIM_NETWORK_DUAL_TIME      = 35,
  VLR_DINF_SIM_NETWORK_PRIMAL_TIME    = 36,
  VLR_DINF_SIM_NETWORK_TIME           = 37,
  VLR_DINF_SIM_OBJ                    = 38,
  VLR_DINF_SIM_PRIMAL_DUAL_TIME       = 39,
  VLR_DINF_SIM_PRIMAL_TIME            = 40,
  VLR_DINF_SIM_TIME                   = 41,
  VLR_DINF_SOL_BAS_DUAL_OBJ           = 42,
  VLR_DINF_SOL_BAS_MAX_DBI            = 43,
  VLR_DINF_SOL_BAS_MAX_DEQI           = 44,
  VLR_DINF_SOL_BAS_MAX_PBI            = 45,
  VLR_DINF_SOL_BAS_MAX_PEQI           = 46,
  VLR_DINF_SOL_BAS_MAX_PINTI          = 47,
  VLR_DINF_SOL_BAS_PRIMAL_OBJ         = 48,
  VLR_DINF_SOL_INT_MAX_PBI            = 49,
  VLR_DINF_SOL_INT_MAX_PEQI           = 50,
  VLR_DINF_SOL_INT_MAX_PINTI          = 51,
  VLR_DINF_SOL_INT_PRIMAL_OBJ         = 52,
  VLR_DINF_SOL_ITR_DUAL_OBJ           = 53,
  VLR_DINF_SOL_ITR_MAX_DBI            = 54,
  VLR_DINF_SOL_ITR_MAX_DCNI           = 55,
  VLR_DINF_SOL_ITR_MAX_DEQI           = 56,
  VLR_DINF_SOL_ITR_MAX_PBI            = 57,
  VLR_DINF_SOL_ITR_MAX_PCNI           = 58,
  VLR_DINF_SOL_ITR_MAX_PEQI           = 59,
  VLR_DINF_SOL_ITR_MAX_PINTI          = 60,
  VLR_DINF_SOL_ITR_PRIMAL_OBJ         = 61,
};
typedef int32_t VLR_dinfitem;

enum VLR_dparam_enum {
  VLR_DPAR_ANA_SOL_INFEAS_TOL            = 0,
  VLR_DPAR_BASIS_REL_TOL_S               = 1,
  VLR_DPAR_BASIS_TOL_S                   = 2,
  VLR_DPAR_BASIS_TOL_X                   = 3,
  VLR_DPAR_CALLBACK_FREQ                 = 4,
  VLR_DPAR_CHECK_CONVEXITY_REL_TOL       = 5,
  VLR_DPAR_DATA_TOL_AIJ                  = 6,
  VLR_DPAR_DATA_TOL_AIJ_HUGE             = 7,
  VLR_DPAR_DATA_TOL_AIJ_LARGE            = 8,
  VLR_DPAR_DATA_TOL_BOUND_INF            = 9,
  VLR_DPAR_DATA_TOL_BOUND_WRN            = 10,
  VLR_DPAR_DATA_TOL_C_HUGE               = 11,
  VLR_DPAR_DATA_TOL_CJ_LARGE             = 12,
  VLR_DPAR_DATA_TOL_QIJ                  = 13,
  VLR_DPAR_DATA_TOL_X                    = 14,
  VLR_DPAR_FEASREPAIR_TOL                = 15,
  VLR_DPAR_INTPNT_CO_TOL_DFEAS           = 16,
  VLR_DPAR_INTPNT_CO_TOL_INFEAS          = 17,
  VLR_DPAR_INTPNT_CO_TOL_MU_RED          = 18,
  VLR_DPAR_INTPNT_CO_TOL_NEAR_REL        = 19,
  VLR_DPAR_INTPNT_CO_TOL_PFEAS           = 20,
  VLR_DPAR_INTPNT_CO_TOL_REL_GAP         = 21,
  VLR_DPAR_INTPNT_NL_MERIT_BAL           = 22,
  VLR_DPAR_INTPNT_NL_TOL_DFEAS           = 23,
  VLR_DPAR_INTPNT_NL_TOL_MU_RED          = 24,
  VLR_DPAR_INTPNT_NL_TOL_NEAR_REL        = 25,
  VLR_DPAR_INTPNT_NL_TOL_PFEAS           = 26,
  VLR_DPAR_INTPNT_NL_TOL_REL_GAP         = 27,
  VLR_DPAR_INTPNT_NL_TOL_REL_STEP        = 28,
  VLR_DPAR_INTPNT_TOL_DFEAS              = 29,
  VLR_DPAR_INTPNT_TOL_DSAFE              = 30,
  VLR_DPAR_INTPNT_TOL_INFEAS             = 31,
  VLR_DPAR_INTPNT_TOL_MU_RED             = 32,
  VLR_DPAR_INTPNT_TOL_PATH               = 33,
  VLR_DPAR_INTPNT_TOL_PFEAS              = 34,
  VLR_DPAR_INTPNT_TOL_PSAFE              = 35,
  VLR_DPAR_INTPNT_TOL_REL_GAP            = 36,
  VLR_DPAR_INTPNT_TOL_REL_STEP           = 37,
  VLR_DPAR_INTPNT_TOL_STEP_SIZE          = 38,
  VLR_DPAR_LOWER_OBJ_CUT                 = 39,
  VLR_DPAR_LOWER_OBJ_CUT_FINITE_TRH      = 40,
  VLR_DPAR_MIO_DISABLE_TERM_TIME         = 41,
  VLR_DPAR_MIO_HEURISTIC_TIME            = 42,
  VLR_DPAR_MIO_MAX_TIME                  = 43,
  VLR_DPAR_MIO_MAX_TIME_APRX_OPT         = 44,
  VLR_DPAR_MIO_NEAR_TOL_ABS_GAP          = 45,
  VLR_DPAR_MIO_NEAR_TOL_REL_GAP          = 46,
  VLR_DPAR_MIO_REL_ADD_CUT_LIMITED       = 47,
  VLR_DPAR_MIO_REL_GAP_CONST             = 48,
  VLR_DPAR_MIO_TOL_ABS_GAP               = 49,
  VLR_DPAR_MIO_TOL_ABS_RELAX_INT         = 50,
  VLR_DPAR_MIO_TOL_FEAS                  = 51,
  VLR_DPAR_MIO_TOL_REL_GAP               = 52,
  VLR_DPAR_MIO_TOL_REL_RELAX_INT         = 53,
  VLR_DPAR_MIO_TOL_X                     = 54,
  VLR_DPAR_NONCONVEX_TOL_FEAS            = 55,
  VLR_DPAR_NONCONVEX_TOL_OPT             = 56,
  VLR_DPAR_OPTIMIZER_MAX_TIME            = 57,
  VLR_DPAR_PRESOLVE_TOL_AIJ              = 58,
  VLR_DPAR_PRESOLVE_TOL_LIN_DEP          = 59,
  VLR_DPAR_PRESOLVE_TOL_S                = 60,
  VLR_DPAR_PRESOLVE_TOL_X                = 61,
  VLR_DPAR_QCQO_REFORMULATE_REL_DROP_TOL = 62,
  VLR_DPAR_SIM_LU_TOL_REL_PIV            = 63,
  VLR_DPAR_SIMPLEX_ABS_TOL_PIV           = 64,
  VLR_DPAR_UPPER_OBJ_CUT                 = 65,
  VLR_DPAR_UPPER_OBJ_CUT_FINITE_TRH      = 66,
};
typedef int32_t VLR_dparam;

enum VLR_feasrepairtype_enum {
  VLR_FEASREPAIR_OPTIMIZE_NONE     = 0,
  VLR_FEASREPAIR_OPTIMIZE_PENALTY  = 1,
  VLR_FEASREPAIR_OPTIMIZE_COMBINED = 2,
};
typedef int32_t VLR_feasrepairtype;

enum VLR_iinfitem_enum {
  VLR_IINF_ANA_PRO_NUM_CON                  = 0,
  VLR_IINF_ANA_PRO_NUM_CON_EQ               = 1,
  VLR_IINF_ANA_PRO_NUM_CON_FR               = 2,
  VLR_IINF_ANA_PRO_NUM_CON_LO               = 3,
  VLR_IINF_ANA_PRO_NUM_CON_RA               = 4,
  VLR_IINF_ANA_PRO_NUM_CON_UP               = 5,
  VLR_IINF_ANA_PRO_NUM_VAR                  = 6,
  VLR_IINF_ANA_PRO_NUM_VAR_BIN              = 7,
  VLR_IINF_ANA_PRO_NUM_VAR_CONT             = 8,
  VLR_IINF_ANA_PRO_NUM_VAR_EQ               = 9,
  VLR_IINF_ANA_PRO_NUM_VAR_FR               = 10,
  VLR_IINF_ANA_PRO_NUM_VAR_INT              = 11,
  VLR_IINF_ANA_PRO_NUM_VAR_LO               = 12,
  VLR_IINF_ANA_PRO_NUM_VAR_RA               = 13,
  VLR_IINF_ANA_PRO_NUM_VAR_UP               = 14,
  VLR_IINF_CACHE_SIZE_L1                    = 15,
  VLR_IINF_CACHE_SIZE_L2                    = 16,
  VLR_IINF_CONCURRENT_FASTEST_OPTIMIZER     = 17,
  VLR_IINF_CPU_TYPE                         = 18,
  VLR_IINF_INTPNT_FACTOR_NUM_OFFCOL         = 19,
  VLR_IINF_INTPNT_ITER                      = 20,
  VLR_IINF_INTPNT_NUM_THREADS               = 21,
  VLR_IINF_INTPNT_SOLVE_DUAL                = 22,
  VLR_IINF_MIO_CONSTRUCT_SOLUTION           = 23,
  VLR_IINF_MIO_INITIAL_SOLUTION             = 24,
  VLR_IINF_MIO_NUM_ACTIVE_NODES             = 25,
  VLR_IINF_MIO_NUM_BRANCH                   = 26,
  VLR_IINF_MIO_NUM_CUTS                     = 27,
  VLR_IINF_MIO_NUM_INT_SOLUTIONS            = 28,
  VLR_IINF_MIO_NUM_RELAX                    = 29,
  VLR_IINF_MIO_NUMCON                       = 30,
  VLR_IINF_MIO_NUMINT                       = 31,
  VLR_IINF_MIO_NUMVAR                       = 32,
  VLR_IINF_MIO_TOTAL_NUM_BASIS_CUTS         = 33,
  VLR_IINF_MIO_TOTAL_NUM_BRANCH             = 34,
  VLR_IINF_MIO_TOTAL_NUM_CARDGUB_CUTS       = 35,
  VLR_IINF_MIO_TOTAL_NUM_CLIQUE_CUTS        = 36,
  VLR_IINF_MIO_TOTAL_NUM_COEF_REDC_CUTS     = 37,
  VLR_IINF_MIO_TOTAL_NUM_CONTRA_CUTS        = 38,
  VLR_IINF_MIO_TOTAL_NUM_CUTS               = 39,
  VLR_IINF_MIO_TOTAL_NUM_DISAGG_CUTS        = 40,
  VLR_IINF_MIO_TOTAL_NUM_FLOW_COVER_CUTS    = 41,
  VLR_IINF_MIO_TOTAL_NUM_GCD_CUTS           = 42,
  VLR_IINF_MIO_TOTAL_NUM_GOMORY_CUTS        = 43,
  VLR_IINF_MIO_TOTAL_NUM_GUB_COVER_CUTS     = 44,
  VLR_IINF_MIO_TOTAL_NUM_KNAPSUR_COVER_CUTS = 45,
  VLR_IINF_MIO_TOTAL_NUM_LATTICE_CUTS       = 46,
  VLR_IINF_MIO_TOTAL_NUM_LIFT_CUTS          = 47,
  VLR_IINF_MIO_TOTAL_NUM_OBJ_CUTS           = 48,
  VLR_IINF_MIO_TOTAL_NUM_PLAN_LOC_CUTS      = 49,
  VLR_IINF_MIO_TOTAL_NUM_RELAX              = 50,
  VLR_IINF_MIO_USER_OBJ_CUT                 = 51,
  VLR_IINF_OPT_NUMCON                       = 52,
  VLR_IINF_OPT_NUMVAR                       = 53,
  VLR_IINF_OPTIMIZE_RESPONSE                = 54,
  VLR_IINF_RD_NUMCON                        = 55,
  VLR_IINF_RD_NUMCONE                       = 56,
  VLR_IINF_RD_NUMINTVAR                     = 57,
  VLR_IINF_RD_NUMQ                          = 58,
  VLR_IINF_RD_NUMVAR                        = 59,
  VLR_IINF_RD_PROTYPE                       = 60,
  VLR_IINF_SIM_DUAL_DEG_ITER                = 61,
  VLR_IINF_SIM_DUAL_HOTSTART                = 62,
  VLR_IINF_SIM_DUAL_HOTSTART_LU             = 63,
  VLR_IINF_SIM_DUAL_INF_ITER                = 64,
  VLR_IINF_SIM_DUAL_ITER                    = 65,
  VLR_IINF_SIM_NETWORK_DUAL_DEG_ITER        = 66,
  VLR_IINF_SIM_NETWORK_DUAL_HOTSTART        = 67,
  VLR_IINF_SIM_NETWORK_DUAL_HOTSTART_LU     = 68,
  VLR_IINF_SIM_NETWORK_DUAL_INF_ITER        = 69,
  VLR_IINF_SIM_NETWORK_DUAL_ITER            = 70,
  VLR_IINF_SIM_NETWORK_PRIMAL_DEG_ITER      = 71,
  VLR_IINF_SIM_NETWORK_PRIMAL_HOTSTART      = 72,
  VLR_IINF_SIM_NETWORK_PRIMAL_HOTSTART_LU   = 73,
  VLR_IINF_SIM_NETWORK_PRIMAL_INF_ITER      = 74,
  VLR_IINF_SIM_NETWORK_PRIMAL_ITER          = 75,
  VLR_IINF_SIM_NUMCON                       = 76,
  VLR_IINF_SIM_NUMVAR                       = 77,
  VLR_IINF_SIM_PRIMAL_DEG_ITER              = 78,
  VLR_IINF_SIM_PRIMAL_DUAL_DEG_ITER         = 79,
  VLR_IINF_SIM_PRIMAL_DUAL_HOTSTART         = 80,
  VLR_IINF_SIM_PRIMAL_DUAL_HOTSTART_LU      = 81,
  VLR_IINF_SIM_PRIMAL_DUAL_INF_ITER         = 82,
  VLR_IINF_SIM_PRIMAL_DUAL_ITER             = 83,
  VLR_IINF_SIM_PRIMAL_HOTSTART              = 84,
  VLR_IINF_SIM_PRIMAL_HOTSTART_LU           = 85,
  VLR_IINF_SIM_PRIMAL_INF_ITER              = 86,
  VLR_IINF_SIM_PRIMAL_ITER                  = 87,
  VLR_IINF_SIM_SOLVE_DUAL                   = 88,
  VLR_IINF_SOL_BAS_PROSTA                   = 89,
  VLR_IINF_SOL_BAS_SOLSTA                   = 90,
  VLR_IINF_SOL_INT_PROSTA                   = 91,
  VLR_IINF_SOL_INT_SOLSTA                   = 92,
  VLR_IINF_SOL_ITR_PROSTA                   = 93,
  VLR_IINF_SOL_ITR_SOLSTA                   = 94,
  VLR_IINF_STO_NUM_A_CACHE_FLUSHES          = 95,
  VLR_IINF_STO_NUM_A_REALLOC                = 96,
  VLR_IINF_STO_NUM_A_TRANSPOSES             = 97,
};
typedef int32_t VLR_iinfitem;

enum VLR_inftype_enum {
  VLR_INF_DOU_TYPE  = 0,
  VLR_INF_INT_TYPE  = 1,
  VLR_INF_LINT_TYPE = 2,
};
typedef int32_t VLR_inftype;

enum VLR_iomode_enum {
  VLR_IOMODE_READ      = 0,
  VLR_IOMODE_WRITE     = 1,
  VLR_IOMODE_READWRITE = 2,
};
typedef int32_t VLR_iomode;

enum VLR_iparam_enum {
  VLR_IPAR_ALLOC_ADD_QNZ                      = 0,
  VLR_IPAR_ANA_SOL_BASIS                      = 1,
  VLR_IPAR_ANA_SOL_PRINT_VIOLATED             = 2,
  VLR_IPAR_AUTO_SORT_A_BEFORE_OPT             = 3,
  VLR_IPAR_AUTO_UPDATE_SOL_INFO               = 4,
  VLR_IPAR_BASIS_SOLVE_USE_PLUS_ONE           = 5,
  VLR_IPAR_BI_CLEAN_OPTIMIZER                 = 6,
  VLR_IPAR_BI_IGNORE_MAX_ITER                 = 7,
  VLR_IPAR_BI_IGNORE_NUM_ERROR                = 8,
  VLR_IPAR_BI_MAX_ITERATIONS                  = 9,
  VLR_IPAR_CACHE_SIZE_L1                      = 10,
  VLR_IPAR_CACHE_SIZE_L2                      = 11,
  VLR_IPAR_CHECK_CONVEXITY                    = 12,
  VLR_IPAR_CHECK_TASK_DATA                    = 13,
  VLR_IPAR_CONCURRENT_NUM_OPTIMIZERS          = 14,
  VLR_IPAR_CONCURRENT_PRIORITY_DUAL_SIMPLEX   = 15,
  VLR_IPAR_CONCURRENT_PRIORITY_FREE_SIMPLEX   = 16,
  VLR_IPAR_CONCURRENT_PRIORITY_INTPNT         = 17,
  VLR_IPAR_CONCURRENT_PRIORITY_PRIMAL_SIMPLEX = 18,
  VLR_IPAR_CPU_TYPE                           = 19,
  VLR_IPAR_DATA_CHECK                         = 20,
  VLR_IPAR_FEASREPAIR_OPTIMIZE                = 21,
  VLR_IPAR_INFEAS_GENERIC_NAMES               = 22,
  VLR_IPAR_INFEAS_PREFER_PRIMAL               = 23,
  VLR_IPAR_INFEAS_REPORT_AUTO                 = 24,
  VLR_IPAR_INFEAS_REPORT_LEVEL                = 25,
  VLR_IPAR_INTPNT_BASIS                       = 26,
  VLR_IPAR_INTPNT_DIFF_STEP                   = 27,
  VLR_IPAR_INTPNT_FACTOR_DEBUG_LVL            = 28,
  VLR_IPAR_INTPNT_FACTOR_METHOD               = 29,
  VLR_IPAR_INTPNT_MAX_ITERATIONS              = 30,
  VLR_IPAR_INTPNT_MAX_NUM_COR                 = 31,
  VLR_IPAR_INTPNT_MAX_NUM_REFINEMENT_STEPS    = 32,
  VLR_IPAR_INTPNT_NUM_THREADS                 = 33,
  VLR_IPAR_INTPNT_OFF_COL_TRH                 = 34,
  VLR_IPAR_INTPNT_ORDER_METHOD                = 35,
  VLR_IPAR_INTPNT_REGULARIZATION_USE          = 36,
  VLR_IPAR_INTPNT_SCALING                     = 37,
  VLR_IPAR_INTPNT_SOLVE_FORM                  = 38,
  VLR_IPAR_INTPNT_STARTING_POINT              = 39,
  VLR_IPAR_LOG                                = 40,
  VLR_IPAR_LOG_BI                             = 41,
  VLR_IPAR_LOG_BI_FREQ                        = 42,
  VLR_IPAR_LOG_CHECK_CONVEXITY                = 43,
  VLR_IPAR_LOG_CONCURRENT                     = 44,
  VLR_IPAR_LOG_CUT_SECOND_OPT                 = 45,
  VLR_IPAR_LOG_FACTOR                         = 46,
  VLR_IPAR_LOG_FEASREPAIR                     = 47,
  VLR_IPAR_LOG_FILE                           = 48,
  VLR_IPAR_LOG_HEAD                           = 49,
  VLR_IPAR_LOG_INFEAS_ANA                     = 50,
  VLR_IPAR_LOG_INTPNT                         = 51,
  VLR_IPAR_LOG_MIO                            = 52,
  VLR_IPAR_LOG_MIO_FREQ                       = 53,
  VLR_IPAR_LOG_NONCONVEX                      = 54,
  VLR_IPAR_LOG_OPTIMIZER                      = 55,
  VLR_IPAR_LOG_ORDER                          = 56,
  VLR_IPAR_LOG_PARAM                          = 57,
  VLR_IPAR_LOG_PRESOLVE                       = 58,
  VLR_IPAR_LOG_RESPONSE                       = 59,
  VLR_IPAR_LOG_SENSITIVITY                    = 60,
  VLR_IPAR_LOG_SENSITIVITY_OPT                = 61,
  VLR_IPAR_LOG_SIM                            = 62,
  VLR_IPAR_LOG_SIM_FREQ                       = 63,
  VLR_IPAR_LOG_SIM_MINOR                      = 64,
  VLR_IPAR_LOG_SIM_NETWORK_FREQ               = 65,
  VLR_IPAR_LOG_STORAGE                        = 66,
  VLR_IPAR_LP_WRITE_IGNORE_INCOMPATIBLE_ITEMS = 67,
  VLR_IPAR_MAX_NUM_WARNINGS                   = 68,
  VLR_IPAR_MIO_BRANCH_DIR                     = 69,
  VLR_IPAR_MIO_BRANCH_PRIORITIES_USE          = 70,
  VLR_IPAR_MIO_CONSTRUCT_SOL                  = 71,
  VLR_IPAR_MIO_CONT_SOL                       = 72,
  VLR_IPAR_MIO_CUT_LEVEL_ROOT                 = 73,
  VLR_IPAR_MIO_CUT_LEVEL_TREE                 = 74,
  VLR_IPAR_MIO_FEASPUMP_LEVEL                 = 75,
  VLR_IPAR_MIO_HEURISTIC_LEVEL                = 76,
  VLR_IPAR_MIO_HOTSTART                       = 77,
  VLR_IPAR_MIO_KEEP_BASIS                     = 78,
  VLR_IPAR_MIO_LOCAL_BRANCH_NUMBER            = 79,
  VLR_IPAR_MIO_MAX_NUM_BRANCHES               = 80,
  VLR_IPAR_MIO_MAX_NUM_RELAXS                 = 81,
  VLR_IPAR_MIO_MAX_NUM_SOLUTIONS              = 82,
  VLR_IPAR_MIO_MODE                           = 83,
  VLR_IPAR_MIO_NODE_OPTIMIZER                 = 84,
  VLR_IPAR_MIO_NODE_SELECTION                 = 85,
  VLR_IPAR_MIO_OPTIMIZER_MODE                 = 86,
  VLR_IPAR_MIO_PRESOLVE_AGGREGATE             = 87,
  VLR_IPAR_MIO_PRESOLVE_PROBING               = 88,
  VLR_IPAR_MIO_PRESOLVE_USE                   = 89,
  VLR_IPAR_MIO_ROOT_OPTIMIZER                 = 90,
  VLR_IPAR_MIO_STRONG_BRANCH                  = 91,
  VLR_IPAR_NONCONVEX_MAX_ITERATIONS           = 92,
  VLR_IPAR_OBJECTIVE_SENSE                    = 93,
  VLR_IPAR_OPF_MAX_TERMS_PER_LINE             = 94,
  VLR_IPAR_OPF_WRITE_HEADER                   = 95,
  VLR_IPAR_OPF_WRITE_HINTS                    = 96,
  VLR_IPAR_OPF_WRITE_PARAMETERS               = 97,
  VLR_IPAR_OPF_WRITE_PROBLEM                  = 98,
  VLR_IPAR_OPF_WRITE_SOL_BAS                  = 99,
  VLR_IPAR_OPF_WRITE_SOL_ITG                  = 100,
  VLR_IPAR_OPF_WRITE_SOL_ITR                  = 101,
  VLR_IPAR_OPF_WRITE_SOLUTIONS                = 102,
  VLR_IPAR_OPTIMIZER                          = 103,
  VLR_IPAR_PARAM_READ_CASE_NAME               = 104,
  VLR_IPAR_PARAM_READ_IGN_ERROR               = 105,
  VLR_IPAR_PRESOLVE_ELIM_FILL                 = 106,
  VLR_IPAR_PRESOLVE_ELIMINATOR_MAX_NUM_TRIES  = 107,
  VLR_IPAR_PRESOLVE_ELIMINATOR_USE            = 108,
  VLR_IPAR_PRESOLVE_LEVEL                     = 109,
  VLR_IPAR_PRESOLVE_LINDEP_USE                = 110,
  VLR_IPAR_PRESOLVE_LINDEP_WORK_LIM           = 111,
  VLR_IPAR_PRESOLVE_USE                       = 112,
  VLR_IPAR_QO_SEPARABLE_REFORMULATION         = 113,
  VLR_IPAR_READ_ADD_ANZ                       = 114,
  VLR_IPAR_READ_ADD_CON                       = 115,
  VLR_IPAR_READ_ADD_CONE                      = 116,
  VLR_IPAR_READ_ADD_QNZ                       = 117,
  VLR_IPAR_READ_ADD_VAR                       = 118,
  VLR_IPAR_READ_ANZ                           = 119,
  VLR_IPAR_READ_CON                           = 120,
  VLR_IPAR_READ_CONE                          = 121,
  VLR_IPAR_READ_DATA_COMPRESSED               = 122,
  VLR_IPAR_READ_DATA_FORMAT                   = 123,
  VLR_IPAR_READ_KEEP_FREE_CON                 = 124,
  VLR_IPAR_READ_LP_DROP_NEW_VARS_IN_BOU       = 125,
  VLR_IPAR_READ_LP_QUOTED_NAMES               = 126,
  VLR_IPAR_READ_MPS_FORMAT                    = 127,
  VLR_IPAR_READ_MPS_KEEP_INT                  = 128,
  VLR_IPAR_READ_MPS_OBJ_SENSE                 = 129,
  VLR_IPAR_READ_MPS_QUOTED_NAMES              = 130,
  VLR_IPAR_READ_MPS_RELAX                     = 131,
  VLR_IPAR_READ_MPS_WIDTH                     = 132,
  VLR_IPAR_READ_Q_MODE                        = 133,
  VLR_IPAR_READ_QNZ                           = 134,
  VLR_IPAR_READ_TASK_IGNORE_PARAM             = 135,
  VLR_IPAR_READ_VAR                           = 136,
  VLR_IPAR_SENSITIVITY_ALL                    = 137,
  VLR_IPAR_SENSITIVITY_OPTIMIZER              = 138,
  VLR_IPAR_SENSITIVITY_TYPE                   = 139,
  VLR_IPAR_SIM_BASIS_FACTOR_USE               = 140,
  VLR_IPAR_SIM_DEGEN                          = 141,
  VLR_IPAR_SIM_DUAL_CRASH                     = 142,
  VLR_IPAR_SIM_DUAL_PHASEONE_METHOD           = 143,
  VLR_IPAR_SIM_DUAL_RESTRICT_SELECTION        = 144,
  VLR_IPAR_SIM_DUAL_SELECTION                 = 145,
  VLR_IPAR_SIM_EXPLOIT_DUPVEC                 = 146,
  VLR_IPAR_SIM_HOTSTART                       = 147,
  VLR_IPAR_SIM_HOTSTART_LU                    = 148,
  VLR_IPAR_SIM_INTEGER                        = 149,
  VLR_IPAR_SIM_MAX_ITERATIONS                 = 150,
  VLR_IPAR_SIM_MAX_NUM_SETBACKS               = 151,
  VLR_IPAR_SIM_NETWORK_DETECT                 = 152,
  VLR_IPAR_SIM_NETWORK_DETECT_HOTSTART        = 153,
  VLR_IPAR_SIM_NETWORK_DETECT_METHOD          = 154,
  VLR_IPAR_SIM_NON_SINGULAR                   = 155,
  VLR_IPAR_SIM_PRIMAL_CRASH                   = 156,
  VLR_IPAR_SIM_PRIMAL_PHASEONE_METHOD         = 157,
  VLR_IPAR_SIM_PRIMAL_RESTRICT_SELECTION      = 158,
  VLR_IPAR_SIM_PRIMAL_SELECTION               = 159,
  VLR_IPAR_SIM_REFACTOR_FREQ                  = 160,
  VLR_IPAR_SIM_REFORMULATION                  = 161,
  VLR_IPAR_SIM_SAVE_LU                        = 162,
  VLR_IPAR_SIM_SCALING                        = 163,
  VLR_IPAR_SIM_SCALING_METHOD                 = 164,
  VLR_IPAR_SIM_SOLVE_FORM                     = 165,
  VLR_IPAR_SIM_STABILITY_PRIORITY             = 166,
  VLR_IPAR_SIM_SWITCH_OPTIMIZER               = 167,
  VLR_IPAR_SOL_FILTER_KEEP_BASIC              = 168,
  VLR_IPAR_SOL_FILTER_KEEP_RANGED             = 169,
  VLR_IPAR_SOL_QUOTED_NAMES                   = 170,
  VLR_IPAR_SOL_READ_NAME_WIDTH                = 171,
  VLR_IPAR_SOL_READ_WIDTH                     = 172,
  VLR_IPAR_SOLUTION_CALLBACK                  = 173,
  VLR_IPAR_TIMING_LEVEL                       = 174,
  VLR_IPAR_WARNING_LEVEL                      = 175,
  VLR_IPAR_WRITE_BAS_CONSTRAINTS              = 176,
  VLR_IPAR_WRITE_BAS_HEAD                     = 177,
  VLR_IPAR_WRITE_BAS_VARIABLES                = 178,
  VLR_IPAR_WRITE_DATA_COMPRESSED              = 179,
  VLR_IPAR_WRITE_DATA_FORMAT                  = 180,
  VLR_IPAR_WRITE_DATA_PARAM                   = 181,
  VLR_IPAR_WRITE_FREE_CON                     = 182,
  VLR_IPAR_WRITE_GENERIC_NAMES                = 183,
  VLR_IPAR_WRITE_GENERIC_NAMES_IO             = 184,
  VLR_IPAR_WRITE_INT_CONSTRAINTS              = 185,
  VLR_IPAR_WRITE_INT_HEAD                     = 186,
  VLR_IPAR_WRITE_INT_VARIABLES                = 187,
  VLR_IPAR_WRITE_LP_LINE_WIDTH                = 188,
  VLR_IPAR_WRITE_LP_QUOTED_NAMES              = 189,
  VLR_IPAR_WRITE_LP_STRICT_FORMAT             = 190,
  VLR_IPAR_WRITE_LP_TERMS_PER_LINE            = 191,
  VLR_IPAR_WRITE_MPS_INT                      = 192,
  VLR_IPAR_WRITE_MPS_OBJ_SENSE                = 193,
  VLR_IPAR_WRITE_MPS_QUOTED_NAMES             = 194,
  VLR_IPAR_WRITE_MPS_STRICT                   = 195,
  VLR_IPAR_WRITE_PRECISION                    = 196,
  VLR_IPAR_WRITE_SOL_CONSTRAINTS              = 197,
  VLR_IPAR_WRITE_SOL_HEAD                     = 198,
  VLR_IPAR_WRITE_SOL_VARIABLES                = 199,
  VLR_IPAR_WRITE_TASK_INC_SOL                 = 200,
  VLR_IPAR_WRITE_XML_MODE                     = 201,
};
typedef int32_t VLR_iparam;

enum VLR_language_enum {
  VLR_LANG_ENG = 0,
  VLR_LANG_DAN = 1,
};
typedef int32_t VLR_language;

enum VLR_liinfitem_enum {
  VLR_LIINF_BI_CLEAN_DUAL_DEG_ITER        = 0,
  VLR_LIINF_BI_CLEAN_DUAL_ITER            = 1,
  VLR_LIINF_BI_CLEAN_PRIMAL_DEG_ITER      = 2,
  VLR_LIINF_BI_CLEAN_PRIMAL_DUAL_DEG_ITER = 3,
  VLR_LIINF_BI_CLEAN_PRIMAL_DUAL_ITER     = 4,
  VLR_LIINF_BI_CLEAN_PRIMAL_DUAL_SUB_ITER = 5,
  VLR_LIINF_BI_CLEAN_PRIMAL_ITER          = 6,
  VLR_LIINF_BI_DUAL_ITER                  = 7,
  VLR_LIINF_BI_PRIMAL_ITER                = 8,
  VLR_LIINF_INTPNT_FACTOR_NUM_NZ          = 9,
  VLR_LIINF_MIO_INTPNT_ITER               = 10,
  VLR_LIINF_MIO_SIMPLEX_ITER              = 11,
  VLR_LIINF_RD_NUMANZ                     = 12,
  VLR_LIINF_RD_NUMQNZ                     = 13,
};
typedef int32_t VLR_liinfitem;

enum VLR_mark_enum {
  VLR_MARK_LO = 0,
  VLR_MARK_UP = 1,
};
typedef int32_t VLR_mark;

enum VLR_miocontsoltype_enum {
  VLR_MIO_CONT_SOL_NONE    = 0,
  VLR_MIO_CONT_SOL_ROOT    = 1,
  VLR_MIO_CONT_SOL_ITG     = 2,
  VLR_MIO_CONT_SOL_ITG_REL = 3,
};
typedef int32_t VLR_miocontsoltype;

enum VLR_miomode_enum {
  VLR_MIO_MODE_IGNORED   = 0,
  VLR_MIO_MODE_SATISFIED = 1,
  VLR_MIO_MODE_LAZY      = 2,
};
typedef int32_t VLR_miomode;

enum VLR_mionodeseltype_enum {
  VLR_MIO_NODE_SELECTION_FREE   = 0,
  VLR_MIO_NODE_SELECTION_FIRST  = 1,
  VLR_MIO_NODE_SELECTION_BEST   = 2,
  VLR_MIO_NODE_SELECTION_WORST  = 3,
  VLR_MIO_NODE_SELECTION_HYBRID = 4,
  VLR_MIO_NODE_SELECTION_PSEUDO = 5,
};
typedef int32_t VLR_mionodeseltype;

enum VLR_mpsformat_enum {
  VLR_MPS_FORMAT_STRICT  = 0,
  VLR_MPS_FORMAT_RELAXED = 1,
  VLR_MPS_FORMAT_FREE    = 2,
};
typedef int32_t VLR_mpsformat;

enum VLR_msgkey_enum {
  VLR_MSG_READING_FILE = 1000,
  VLR_MSG_WRITING_FILE = 1001,
  VLR_MSG_MPS_SELECTED = 1100,
};
typedef int32_t VLR_msgkey;

enum VLR_networkdetect_enum {
  VLR_NETWORK_DETECT_FREE     = 0,
  VLR_NETWORK_DETECT_SIMPLE   = 1,
  VLR_NETWORK_DETECT_ADVANCED = 2,
};
typedef int32_t VLR_networkdetect;

enum VLR_objsense_enum {
  VLR_OBJECTIVE_SENSE_UNDEFINED = 0,
  VLR_OBJECTIVE_SENSE_MINIMIZE  = 1,
  VLR_OBJECTIVE_SENSE_MAXIMIZE  = 2,
};
typedef int32_t VLR_objsense;

enum VLR_onoffkey_enum {
  VLR_OFF = 0,
  VLR_ON  = 1,
};
typedef int32_t VLR_onoffkey;

enum VLR_optimizertype_enum {
  VLR_OPTIMIZER_FREE                = 0,
  VLR_OPTIMIZER_INTPNT              = 1,
  VLR_OPTIMIZER_CONIC               = 2,
  VLR_OPTIMIZER_QCONE               = 3,
  VLR_OPTIMIZER_PRIMAL_SIMPLEX      = 4,
  VLR_OPTIMIZER_DUAL_SIMPLEX        = 5,
  VLR_OPTIMIZER_PRIMAL_DUAL_SIMPLEX = 6,
  VLR_OPTIMIZER_FREE_SIMPLEX        = 7,
  VLR_OPTIMIZER_MIXED_INT           = 8,
  VLR_OPTIMIZER_NONCONVEX           = 9,
  VLR_OPTIMIZER_CONCURRENT          = 10,
};
typedef int32_t VLR_optimizertype;

enum VLR_orderingtype_enum {
  VLR_ORDER_METHOD_FREE       = 0,
  VLR_ORDER_METHOD_APPMINLOC1 = 1,
  VLR_ORDER_METHOD_APPMINLOC2 = 2,
  VLR_ORDER_METHOD_GRAPHPAR1  = 3,
  VLR_ORDER_METHOD_GRAPHPAR2  = 4,
  VLR_ORDER_METHOD_NONE       = 5,
};
typedef int32_t VLR_orderingtype;

enum VLR_parametertype_enum {
  VLR_PAR_INVALID_TYPE = 0,
  VLR_PAR_DOU_TYPE     = 1,
  VLR_PAR_INT_TYPE     = 2,
  VLR_PAR_STR_TYPE     = 3,
};
typedef int32_t VLR_parametertype;

enum VLR_presolvemode_enum {
  VLR_PRESOLVE_MODE_OFF  = 0,
  VLR_PRESOLVE_MODE_ON   = 1,
  VLR_PRESOLVE_MODE_FREE = 2,
};
typedef int32_t VLR_presolvemode;

enum VLR_problemitem_enum {
  VLR_PI_VAR  = 0,
  VLR_PI_CON  = 1,
  VLR_PI_CONE = 2,
};
typedef int32_t VLR_problemitem;

enum VLR_problemtype_enum {
  VLR_PROBTYPE_LO    = 0,
  VLR_PROBTYPE_QO    = 1,
  VLR_PROBTYPE_QCQO  = 2,
  VLR_PROBTYPE_GECO  = 3,
  VLR_PROBTYPE_CONIC = 4,
  VLR_PROBTYPE_MIXED = 5,
};
typedef int32_t VLR_problemtype;

enum VLR_prosta_enum {
  VLR_PRO_STA_UNKNOWN                  = 0,
  VLR_PRO_STA_PRIM_AND_DUAL_FEAS       = 1,
  VLR_PRO_STA_PRIM_FEAS                = 2,
  VLR_PRO_STA_DUAL_FEAS                = 3,
  VLR_PRO_STA_PRIM_INFEAS              = 4,
  VLR_PRO_STA_DUAL_INFEAS              = 5,
  VLR_PRO_STA_PRIM_AND_DUAL_INFEAS     = 6,
  VLR_PRO_STA_ILL_POSED                = 7,
  VLR_PRO_STA_NEAR_PRIM_AND_DUAL_FEAS  = 8,
  VLR_PRO_STA_NEAR_PRIM_FEAS           = 9,
  VLR_PRO_STA_NEAR_DUAL_FEAS           = 10,
  VLR_PRO_STA_PRIM_INFEAS_OR_UNBOUNDED = 11,
};
typedef int32_t VLR_prosta;

enum VLR_qreadtype_enum {
  VLR_Q_READ_ADD        = 0,
  VLR_Q_READ_DROP_LOWER = 1,
  VLR_Q_READ_DROP_UPPER = 2,
};
typedef int32_t VLR_qreadtype;

enum VLR_rescode_enum {
  VLR_RES_OK                                     = 0,
  VLR_RES_WRN_OPEN_PARAM_FILE                    = 50,
  VLR_RES_WRN_LARGE_BOUND                        = 51,
  VLR_RES_WRN_LARGE_LO_BOUND                     = 52,
  VLR_RES_WRN_LARGE_UP_BOUND                     = 53,
  VLR_RES_WRN_LARGE_CON_FX                       = 54,
  VLR_RES_WRN_LARGE_CJ                           = 57,
  VLR_RES_WRN_LARGE_AIJ                          = 62,
  VLR_RES_WRN_ZERO_AIJ                           = 63,
  VLR_RES_WRN_NAME_MAX_LEN                       = 65,
  VLR_RES_WRN_SPAR_MAX_LEN                       = 66,
  VLR_RES_WRN_MPS_SPLIT_RHS_VECTOR               = 70,
  VLR_RES_WRN_MPS_SPLIT_RAN_VECTOR               = 71,
  VLR_RES_WRN_MPS_SPLIT_BOU_VECTOR               = 72,
  VLR_RES_WRN_LP_OLD_QUAD_FORMAT                 = 80,
  VLR_RES_WRN_LP_DROP_VARIABLE                   = 85,
  VLR_RES_WRN_NZ_IN_UPR_TRI                      = 200,
  VLR_RES_WRN_DROPPED_NZ_QOBJ                    = 201,
  VLR_RES_WRN_IGNORE_INTEGER                     = 250,
  VLR_RES_WRN_NO_GLOBAL_OPTIMIZER                = 251,
  VLR_RES_WRN_MIO_INFEASIBLE_FINAL               = 270,
  VLR_RES_WRN_SOL_FILTER                         = 300,
  VLR_RES_WRN_UNDEF_SOL_FILE_NAME                = 350,
  VLR_RES_WRN_SOL_FILE_IGNORED_CON               = 351,
  VLR_RES_WRN_SOL_FILE_IGNORED_VAR               = 352,
  VLR_RES_WRN_TOO_FEW_BASIS_VARS                 = 400,
  VLR_RES_WRN_TOO_MANY_BASIS_VARS                = 405,
  VLR_RES_WRN_EMPTY_NAME                         = 502,
  VLR_RES_WRN_USING_GENERIC_NAMES                = 503,
  VLR_RES_WRN_ZEROS_IN_SPARSE_ROW                = 705,
  VLR_RES_WRN_ZEROS_IN_SPARSE_COL                = 710,
  VLR_RES_WRN_INCOMPLETE_LINEAR_DEPENDENCY_CHECK = 800,
  VLR_RES_WRN_ELIMINATOR_SPACE                   = 801,
  VLR_RES_WRN_PRESOLVE_OUTOFSPACE                = 802,
  VLR_RES_WRN_PRESOLVE_BAD_PRECISION             = 803,
  VLR_RES_WRN_WRITE_DISCARDED_CFIX               = 804,
  VLR_RES_WRN_CONSTRUCT_SOLUTION_INFEAS          = 805,
  VLR_RES_WRN_CONSTRUCT_INVALID_SOL_ITG          = 807,
  VLR_RES_WRN_CONSTRUCT_NO_SOL_ITG               = 810,
  VLR_RES_WRN_ANA_LARGE_BOUNDS                   = 900,
  VLR_RES_WRN_ANA_C_ZERO                         = 901,
  VLR_RES_WRN_ANA_EMPTY_COLS                     = 902,
  VLR_RES_WRN_ANA_CLOSE_BOUNDS                   = 903,
  VLR_RES_WRN_ANA_ALMOST_INT_BOUNDS              = 904,
  VLR_RES_ERR_OPEN_DL                            = 1030,
  VLR_RES_ERR_OLDER_DLL                          = 1035,
  VLR_RES_ERR_NEWER_DLL                          = 1036,
  VLR_RES_ERR_LINK_FILE_DLL                      = 1040,
  VLR_RES_ERR_THREAD_MUTEX_INIT                  = 1045,
  VLR_RES_ERR_THREAD_MUTEX_LOCK                  = 1046,
  VLR_RES_ERR_THREAD_MUTEX_UNLOCK                = 1047,
  VLR_RES_ERR_THREAD_CREATE                      = 1048,
  VLR_RES_ERR_THREAD_COND_INIT                   = 1049,
  VLR_RES_ERR_UNKNOWN                            = 1050,
  VLR_RES_ERR_SPACE                              = 1051,
  VLR_RES_ERR_FILE_OPEN                          = 1052,
  VLR_RES_ERR_FILE_READ                          = 1053,
  VLR_RES_ERR_FILE_WRITE                         = 1054,
  VLR_RES_ERR_DATA_FILE_EXT                      = 1055,
  VLR_RES_ERR_INVALID_FILE_NAME                  = 1056,
  VLR_RES_ERR_INVALID_SOL_FILE_NAME              = 1057,
  VLR_RES_ERR_INVALID_MBT_FILE                   = 1058,
  VLR_RES_ERR_END_OF_FILE                        = 1059,
  VLR_RES_ERR_NULL_ENV                           = 1060,
  VLR_RES_ERR_NULL_TASK                          = 1061,
  VLR_RES_ERR_INVALID_STREAM                     = 1062,
  VLR_RES_ERR_NO_INIT_ENV                        = 1063,
  VLR_RES_ERR_INVALID_TASK                       = 1064,
  VLR_RES_ERR_NULL_POINTER                       = 1065,
  VLR_RES_ERR_LIVING_TASKS                       = 1066,
  VLR_RES_ERR_BLANK_NAME                         = 1070,
  VLR_RES_ERR_DUP_NAME                           = 1071,
  VLR_RES_ERR_INVALID_OBJ_NAME                   = 1075,
  VLR_RES_ERR_SPACE_LEAKING                      = 1080,
  VLR_RES_ERR_SPACE_NO_INFO                      = 1081,
  VLR_RES_ERR_READ_FORMAT                        = 1090,
  VLR_RES_ERR_MPS_FILE                           = 1100,
  VLR_RES_ERR_MPS_INV_FIELD                      = 1101,
  VLR_RES_ERR_MPS_INV_MARKER                     = 1102,
  VLR_RES_ERR_MPS_NULL_CON_NAME                  = 1103,
  VLR_RES_ERR_MPS_NULL_VAR_NAME                  = 1104,
  VLR_RES_ERR_MPS_UNDEF_CON_NAME                 = 1105,
  VLR_RES_ERR_MPS_UNDEF_VAR_NAME                 = 1106,
  VLR_RES_ERR_MPS_INV_CON_KEY                    = 1107,
  VLR_RES_ERR_MPS_INV_BOUND_KEY                  = 1108,
  VLR_RES_ERR_MPS_INV_SEC_NAME                   = 1109,
  VLR_RES_ERR_MPS_NO_OBJECTIVE                   = 1110,
  VLR_RES_ERR_MPS_SPLITTED_VAR                   = 1111,
  VLR_RES_ERR_MPS_MUL_CON_NAME                   = 1112,
  VLR_RES_ERR_MPS_MUL_QSEC                       = 1113,
  VLR_RES_ERR_MPS_MUL_QOBJ                       = 1114,
  VLR_RES_ERR_MPS_INV_SEC_ORDER                  = 1115,
  VLR_RES_ERR_MPS_MUL_CSEC                       = 1116,
  VLR_RES_ERR_MPS_CONE_TYPE                      = 1117,
  VLR_RES_ERR_MPS_CONE_OVERLAP                   = 1118,
  VLR_RES_ERR_MPS_CONE_REPEAT                    = 1119,
  VLR_RES_ERR_MPS_INVALID_OBJSENSE               = 1122,
  VLR_RES_ERR_MPS_TAB_IN_FIELD2                  = 1125,
  VLR_RES_ERR_MPS_TAB_IN_FIELD3                  = 1126,
  VLR_RES_ERR_MPS_TAB_IN_FIELD5                  = 1127,
  VLR_RES_ERR_MPS_INVALID_OBJ_NAME               = 1128,
  VLR_RES_ERR_ORD_INVALID_BRANCH_DIR             = 1130,
  VLR_RES_ERR_ORD_INVALID                        = 1131,
  VLR_RES_ERR_LP_INCOMPATIBLE                    = 1150,
  VLR_RES_ERR_LP_EMPTY                           = 1151,
  VLR_RES_ERR_LP_DUP_SLACK_NAME                  = 1152,
  VLR_RES_ERR_WRITE_MPS_INVALID_NAME             = 1153,
  VLR_RES_ERR_LP_INVALID_VAR_NAME                = 1154,
  VLR_RES_ERR_LP_FREE_CONSTRAINT                 = 1155,
  VLR_RES_ERR_WRITE_OPF_INVALID_VAR_NAME         = 1156,
  VLR_RES_ERR_LP_FILE_FORMAT                     = 1157,
  VLR_RES_ERR_WRITE_LP_FORMAT                    = 1158,
  VLR_RES_ERR_READ_LP_MISSING_END_TAG            = 1159,
  VLR_RES_ERR_LP_FORMAT                          = 1160,
  VLR_RES_ERR_WRITE_LP_NON_UNIQUE_NAME           = 1161,
  VLR_RES_ERR_READ_LP_NONEXISTING_NAME           = 1162,
  VLR_RES_ERR_LP_WRITE_CONIC_PROBLEM             = 1163,
  VLR_RES_ERR_LP_WRITE_GECO_PROBLEM              = 1164,
  VLR_RES_ERR_WRITING_FILE                       = 1166,
  VLR_RES_ERR_OPF_FORMAT                         = 1168,
  VLR_RES_ERR_OPF_NEW_VARIABLE                   = 1169,
  VLR_RES_ERR_INVALID_NAME_IN_SOL_FILE           = 1170,
  VLR_RES_ERR_LP_INVALID_CON_NAME                = 1171,
  VLR_RES_ERR_OPF_PREMATURE_EOF                  = 1172,
  VLR_RES_ERR_ARGUMENT_LENNEQ                    = 1197,
  VLR_RES_ERR_ARGUMENT_TYPE                      = 1198,
  VLR_RES_ERR_NR_ARGUMENTS                       = 1199,
  VLR_RES_ERR_IN_ARGUMENT                        = 1200,
  VLR_RES_ERR_ARGUMENT_DIMENSION                 = 1201,
  VLR_RES_ERR_INDEX_IS_TOO_SMALL                 = 1203,
  VLR_RES_ERR_INDEX_IS_TOO_LARGE                 = 1204,
  VLR_RES_ERR_PARAM_NAME                         = 1205,
  VLR_RES_ERR_PARAM_NAME_DOU                     = 1206,
  VLR_RES_ERR_PARAM_NAME_INT                     = 1207,
  VLR_RES_ERR_PARAM_NAME_STR                     = 1208,
  VLR_RES_ERR_PARAM_INDEX                        = 1210,
  VLR_RES_ERR_PARAM_IS_TOO_LARGE                 = 1215,
  VLR_RES_ERR_PARAM_IS_TOO_SMALL                 = 1216,
  VLR_RES_ERR_PARAM_VALUE_STR                    = 1217,
  VLR_RES_ERR_PARAM_TYPE                         = 1218,
  VLR_RES_ERR_INF_DOU_INDEX                      = 1219,
  VLR_RES_ERR_INF_INT_INDEX                      = 1220,
  VLR_RES_ERR_INDEX_ARR_IS_TOO_SMALL             = 1221,
  VLR_RES_ERR_INDEX_ARR_IS_TOO_LARGE             = 1222,
  VLR_RES_ERR_INF_LINT_INDEX                     = 1225,
  VLR_RES_ERR_INF_DOU_NAME                       = 1230,
  VLR_RES_ERR_INF_INT_NAME                       = 1231,
  VLR_RES_ERR_INF_TYPE                           = 1232,
  VLR_RES_ERR_INF_LINT_NAME                      = 1234,
  VLR_RES_ERR_INDEX                              = 1235,
  VLR_RES_ERR_WHICHSOL                           = 1236,
  VLR_RES_ERR_SOLITEM                            = 1237,
  VLR_RES_ERR_WHICHITEM_NOT_ALLOWED              = 1238,
  VLR_RES_ERR_MAXNUMCON                          = 1240,
  VLR_RES_ERR_MAXNUMVAR                          = 1241,
  VLR_RES_ERR_MAXNUMQNZ                          = 1243,
  VLR_RES_ERR_NUMCONLIM                          = 1250,
  VLR_RES_ERR_NUMVARLIM                          = 1251,
  VLR_RES_ERR_TOO_SMALL_MAXNUMANZ                = 1252,
  VLR_RES_ERR_INV_APTRE                          = 1253,
  VLR_RES_ERR_MUL_A_ELEMENT                      = 1254,
  VLR_RES_ERR_INV_BK                             = 1255,
  VLR_RES_ERR_INV_BKC                            = 1256,
  VLR_RES_ERR_INV_BKX                            = 1257,
  VLR_RES_ERR_INV_VAR_TYPE                       = 1258,
  VLR_RES_ERR_SOLVER_PROBTYPE                    = 1259,
  VLR_RES_ERR_OBJECTIVE_RANGE                    = 1260,
  VLR_RES_ERR_FIRST                              = 1261,
  VLR_RES_ERR_LAST                               = 1262,
  VLR_RES_ERR_NEGATIVE_SURPLUS                   = 1263,
  VLR_RES_ERR_NEGATIVE_APPEND                    = 1264,
  VLR_RES_ERR_UNDEF_SOLUTION                     = 1265,
  VLR_RES_ERR_BASIS                              = 1266,
  VLR_RES_ERR_INV_SKC                            = 1267,
  VLR_RES_ERR_INV_SKX                            = 1268,
  VLR_RES_ERR_INV_SK_STR                         = 1269,
  VLR_RES_ERR_INV_SK                             = 1270,
  VLR_RES_ERR_INV_CONE_TYPE_STR                  = 1271,
  VLR_RES_ERR_INV_CONE_TYPE                      = 1272,
  VLR_RES_ERR_INV_SKN                            = 1274,
  VLR_RES_ERR_INVALID_SURPLUS                    = 1275,
  VLR_RES_ERR_INV_NAME_ITEM                      = 1280,
  VLR_RES_ERR_PRO_ITEM                           = 1281,
  VLR_RES_ERR_INVALID_FORMAT_TYPE                = 1283,
  VLR_RES_ERR_FIRSTI                             = 1285,
  VLR_RES_ERR_LASTI                              = 1286,
  VLR_RES_ERR_FIRSTJ                             = 1287,
  VLR_RES_ERR_LASTJ                              = 1288,
  VLR_RES_ERR_NONLINEAR_EQUALITY                 = 1290,
  VLR_RES_ERR_NONCONVEX                          = 1291,
  VLR_RES_ERR_NONLINEAR_RANGED                   = 1292,
  VLR_RES_ERR_CON_Q_NOT_PSD                      = 1293,
  VLR_RES_ERR_CON_Q_NOT_NSD                      = 1294,
  VLR_RES_ERR_OBJ_Q_NOT_PSD                      = 1295,
  VLR_RES_ERR_OBJ_Q_NOT_NSD                      = 1296,
  VLR_RES_ERR_ARGUMENT_PERM_ARRAY                = 1299,
  VLR_RES_ERR_CONE_INDEX                         = 1300,
  VLR_RES_ERR_CONE_SIZE                          = 1301,
  VLR_RES_ERR_CONE_OVERLAP                       = 1302,
  VLR_RES_ERR_CONE_REP_VAR                       = 1303,
  VLR_RES_ERR_MAXNUMCONE                         = 1304,
  VLR_RES_ERR_CONE_TYPE                          = 1305,
  VLR_RES_ERR_CONE_TYPE_STR                      = 1306,
  VLR_RES_ERR_REMOVE_CONE_VARIABLE               = 1310,
  VLR_RES_ERR_SOL_FILE_INVALID_NUMBER            = 1350,
  VLR_RES_ERR_HUGE_C                             = 1375,
  VLR_RES_ERR_HUGE_AIJ                           = 1380,
  VLR_RES_ERR_INFINITE_BOUND                     = 1400,
  VLR_RES_ERR_INV_QOBJ_SUBI                      = 1401,
  VLR_RES_ERR_INV_QOBJ_SUBJ                      = 1402,
  VLR_RES_ERR_INV_QOBJ_VAL                       = 1403,
  VLR_RES_ERR_INV_QCON_SUBK                      = 1404,
  VLR_RES_ERR_INV_QCON_SUBI                      = 1405,
  VLR_RES_ERR_INV_QCON_SUBJ                      = 1406,
  VLR_RES_ERR_INV_QCON_VAL                       = 1407,
  VLR_RES_ERR_QCON_SUBI_TOO_SMALL                = 1408,
  VLR_RES_ERR_QCON_SUBI_TOO_LARGE                = 1409,
  VLR_RES_ERR_QOBJ_UPPER_TRIANGLE                = 1415,
  VLR_RES_ERR_QCON_UPPER_TRIANGLE                = 1417,
  VLR_RES_ERR_FIXED_BOUND_VALUES                 = 1425,
  VLR_RES_ERR_USER_FUNC_RET                      = 1430,
  VLR_RES_ERR_USER_FUNC_RET_DATA                 = 1431,
  VLR_RES_ERR_USER_NLO_FUNC                      = 1432,
  VLR_RES_ERR_USER_NLO_EVAL                      = 1433,
  VLR_RES_ERR_USER_NLO_EVAL_HESSUBI              = 1440,
  VLR_RES_ERR_USER_NLO_EVAL_HESSUBJ              = 1441,
  VLR_RES_ERR_INVALID_OBJECTIVE_SENSE            = 1445,
  VLR_RES_ERR_UNDEFINED_OBJECTIVE_SENSE          = 1446,
  VLR_RES_ERR_Y_IS_UNDEFINED                     = 1449,
  VLR_RES_ERR_NAN_IN_DOUBLE_DATA                 = 1450,
  VLR_RES_ERR_NAN_IN_BLC                         = 1461,
  VLR_RES_ERR_NAN_IN_BUC                         = 1462,
  VLR_RES_ERR_NAN_IN_C                           = 1470,
  VLR_RES_ERR_NAN_IN_BLX                         = 1471,
  VLR_RES_ERR_NAN_IN_BUX                         = 1472,
  VLR_RES_ERR_NAN_IN_AIJ                         = 1473,
  VLR_RES_ERR_INV_PROBLEM                        = 1500,
  VLR_RES_ERR_MIXED_PROBLEM                      = 1501,
  VLR_RES_ERR_INV_OPTIMIZER                      = 1550,
  VLR_RES_ERR_MIO_NO_OPTIMIZER                   = 1551,
  VLR_RES_ERR_NO_OPTIMIZER_VAR_TYPE              = 1552,
  VLR_RES_ERR_MIO_NOT_LOADED                     = 1553,
  VLR_RES_ERR_POSTSOLVE                          = 1580,
  VLR_RES_ERR_OVERFLOW                           = 1590,
  VLR_RES_ERR_NO_BASIS_SOL                       = 1600,
  VLR_RES_ERR_BASIS_FACTOR                       = 1610,
  VLR_RES_ERR_BASIS_SINGULAR                     = 1615,
  VLR_RES_ERR_FACTOR                             = 1650,
  VLR_RES_ERR_FEASREPAIR_CANNOT_RELAX            = 1700,
  VLR_RES_ERR_FEASREPAIR_SOLVING_RELAXED         = 1701,
  VLR_RES_ERR_FEASREPAIR_INCONSISTENT_BOUND      = 1702,
  VLR_RES_ERR_NAME_MAX_LEN                       = 1750,
  VLR_RES_ERR_NAME_IS_NULL                       = 1760,
  VLR_RES_ERR_INVALID_COMPRESSION                = 1800,
  VLR_RES_ERR_INVALID_IOMODE                     = 1801,
  VLR_RES_ERR_NO_PRIMAL_INFEAS_CER               = 2000,
  VLR_RES_ERR_NO_DUAL_INFEAS_CER                 = 2001,
  VLR_RES_ERR_NO_SOLUTION_IN_CALLBACK            = 2500,
  VLR_RES_ERR_INV_MARKI                          = 2501,
  VLR_RES_ERR_INV_MARKJ                          = 2502,
  VLR_RES_ERR_INV_NUMI                           = 2503,
  VLR_RES_ERR_INV_NUMJ                           = 2504,
  VLR_RES_ERR_CANNOT_CLONE_NL                    = 2505,
  VLR_RES_ERR_CANNOT_HANDLE_NL                   = 2506,
  VLR_RES_ERR_INVALID_ACCMODE                    = 2520,
  VLR_RES_ERR_MBT_INCOMPATIBLE                   = 2550,
  VLR_RES_ERR_LU_MAX_NUM_TRIES                   = 2800,
  VLR_RES_ERR_INVALID_UTF8                       = 2900,
  VLR_RES_ERR_INVALID_WCHAR                      = 2901,
  VLR_RES_ERR_NO_DUAL_FOR_ITG_SOL                = 2950,
  VLR_RES_ERR_INTERNAL                           = 3000,
  VLR_RES_ERR_API_ARRAY_TOO_SMALL                = 3001,
  VLR_RES_ERR_API_CB_CONNECT                     = 3002,
  VLR_RES_ERR_API_FATAL_ERROR                    = 3005,
  VLR_RES_ERR_SEN_FORMAT                         = 3050,
  VLR_RES_ERR_SEN_UNDEF_NAME                     = 3051,
  VLR_RES_ERR_SEN_INDEX_RANGE                    = 3052,
  VLR_RES_ERR_SEN_BOUND_INVALID_UP               = 3053,
  VLR_RES_ERR_SEN_BOUND_INVALID_LO               = 3054,
  VLR_RES_ERR_SEN_INDEX_INVALID                  = 3055,
  VLR_RES_ERR_SEN_INVALID_REGEXP                 = 3056,
  VLR_RES_ERR_SEN_SOLUTION_STATUS                = 3057,
  VLR_RES_ERR_SEN_NUMERICAL                      = 3058,
  VLR_RES_ERR_CONCURRENT_OPTIMIZER               = 3059,
  VLR_RES_ERR_UNB_STEP_SIZE                      = 3100,
  VLR_RES_ERR_IDENTICAL_TASKS                    = 3101,
  VLR_RES_ERR_AD_INVALID_CODELIST                = 3102,
  VLR_RES_ERR_AD_INVALID_OPERATOR                = 3103,
  VLR_RES_ERR_AD_INVALID_OPERAND                 = 3104,
  VLR_RES_ERR_AD_MISSING_OPERAND                 = 3105,
  VLR_RES_ERR_AD_MISSING_RETURN                  = 3106,
  VLR_RES_ERR_TASK_IN_USE                        = 3110,
  VLR_RES_ERR_INVALID_BRANCH_DIRECTION           = 3200,
  VLR_RES_ERR_INVALID_BRANCH_PRIORITY            = 3201,
  VLR_RES_ERR_INTERNAL_TEST_FAILED               = 3500,
  VLR_RES_ERR_XML_INVALID_PROBLEM_TYPE           = 3600,
  VLR_RES_ERR_INVALID_AMPL_STUB                  = 3700,
  VLR_RES_ERR_INT64_TO_INT32_CAST                = 3800,
  VLR_RES_ERR_INFEAS_UNDEFINED                   = 3910,
  VLR_RES_ERR_API_INTERNAL                       = 3999,
  VLR_RES_TRM_MAX_ITERATIONS                     = 4000,
  VLR_RES_TRM_MAX_TIME                           = 4001,
  VLR_RES_TRM_OBJECTIVE_RANGE                    = 4002,
  VLR_RES_TRM_MIO_NEAR_REL_GAP                   = 4003,
  VLR_RES_TRM_MIO_NEAR_ABS_GAP                   = 4004,
  VLR_RES_TRM_USER_BREAK                         = 4005,
  VLR_RES_TRM_STALL                              = 4006,
  VLR_RES_TRM_USER_CALLBACK                      = 4007,
  VLR_RES_TRM_MIO_NUM_RELAXS                     = 4008,
  VLR_RES_TRM_MIO_NUM_BRANCHES                   = 4009,
  VLR_RES_TRM_NUM_MAX_NUM_INT_SOLUTIONS          = 4015,
  VLR_RES_TRM_MAX_NUM_SETBACKS                   = 4020,
  VLR_RES_TRM_NUMERICAL_PROBLEM                  = 4025,
  VLR_RES_TRM_INTERNAL                           = 4030,
  VLR_RES_TRM_INTERNAL_STOP                      = 4031,
};
typedef int32_t VLR_rescode;

enum VLR_rescodetype_enum {
  VLR_RESPONSE_OK  = 0,
  VLR_RESPONSE_WRN = 1,
  VLR_RESPONSE_TRM = 2,
  VLR_RESPONSE_ERR = 3,
  VLR_RESPONSE_UNK = 4,
};
typedef int32_t VLR_rescodetype;

enum VLR_scalingmethod_enum {
  VLR_SCALING_METHOD_POW2 = 0,
  VLR_SCALING_METHOD_FREE = 1,
};
typedef int32_t VLR_scalingmethod;

enum VLR_scalingtype_enum {
  VLR_SCALING_FREE       = 0,
  VLR_SCALING_NONE       = 1,
  VLR_SCALING_MODERATE   = 2,
  VLR_SCALING_AGGRESSIVE = 3,
};
typedef int32_t VLR_scalingtype;

enum VLR_sensitivitytype_enum {
  VLR_SENSITIVITY_TYPE_BASIS             = 0,
  VLR_SENSITIVITY_TYPE_OPTIMAL_PARTITION = 1,
};
typedef int32_t VLR_sensitivitytype;

enum VLR_simdegen_enum {
  VLR_SIM_DEGEN_NONE       = 0,
  VLR_SIM_DEGEN_FREE       = 1,
  VLR_SIM_DEGEN_AGGRESSIVE = 2,
  VLR_SIM_DEGEN_MODERATE   = 3,
  VLR_SIM_DEGEN_MINIMUM    = 4,
};
typedef int32_t VLR_simdegen;

enum VLR_simdupvec_enum {
  VLR_SIM_EXPLOIT_DUPVEC_OFF  = 0,
  VLR_SIM_EXPLOIT_DUPVEC_ON   = 1,
  VLR_SIM_EXPLOIT_DUPVEC_FREE = 2,
};
typedef int32_t VLR_simdupvec;

enum VLR_simhotstart_enum {
  VLR_SIM_HOTSTART_NONE        = 0,
  VLR_SIM_HOTSTART_FREE        = 1,
  VLR_SIM_HOTSTART_STATUS_KEYS = 2,
};
typedef int32_t VLR_simhotstart;

enum VLR_simreform_enum {
  VLR_SIM_REFORMULATION_OFF        = 0,
  VLR_SIM_REFORMULATION_ON         = 1,
  VLR_SIM_REFORMULATION_FREE       = 2,
  VLR_SIM_REFORMULATION_AGGRESSIVE = 3,
};
typedef int32_t VLR_simreform;

enum VLR_simseltype_enum {
  VLR_SIM_SELECTION_FREE    = 0,
  VLR_SIM_SELECTION_FULL    = 1,
  VLR_SIM_SELECTION_ASE     = 2,
  VLR_SIM_SELECTION_DEVEX   = 3,
  VLR_SIM_SELECTION_SE      = 4,
  VLR_SIM_SELECTION_PARTIAL = 5,
};
typedef int32_t VLR_simseltype;

enum VLR_solitem_enum {
  VLR_SOL_ITEM_XC  = 0,
  VLR_SOL_ITEM_XX  = 1,
  VLR_SOL_ITEM_Y   = 2,
  VLR_SOL_ITEM_SLC = 3,
  VLR_SOL_ITEM_SUC = 4,
  VLR_SOL_ITEM_SLX = 5,
  VLR_SOL_ITEM_SUX = 6,
  VLR_SOL_ITEM_SNX = 7,
};
typedef int32_t VLR_solitem;

enum VLR_solsta_enum {
  VLR_SOL_STA_UNKNOWN                 = 0,
  VLR_SOL_STA_OPTIMAL                 = 1,
  VLR_SOL_STA_PRIM_FEAS               = 2,
  VLR_SOL_STA_DUAL_FEAS               = 3,
  VLR_SOL_STA_PRIM_AND_DUAL_FEAS      = 4,
  VLR_SOL_STA_PRIM_INFEAS_CER         = 5,
  VLR_SOL_STA_DUAL_INFEAS_CER         = 6,
  VLR_SOL_STA_NEAR_OPTIMAL            = 8,
  VLR_SOL_STA_NEAR_PRIM_FEAS          = 9,
  VLR_SOL_STA_NEAR_DUAL_FEAS          = 10,
  VLR_SOL_STA_NEAR_PRIM_AND_DUAL_FEAS = 11,
  VLR_SOL_STA_NEAR_PRIM_INFEAS_CER    = 12,
  VLR_SOL_STA_NEAR_DUAL_INFEAS_CER    = 13,
  VLR_SOL_STA_INTEGER_OPTIMAL         = 14,
  VLR_SOL_STA_NEAR_INTEGER_OPTIMAL    = 15,
};
typedef int32_t VLR_solsta;

enum VLR_soltype_enum {
  VLR_SOL_ITR = 0,
  VLR_SOL_BAS = 1,
  VLR_SOL_ITG = 2,
};
typedef int32_t VLR_soltype;

enum VLR_solveform_enum {
  VLR_SOLVE_FREE   = 0,
  VLR_SOLVE_PRIMAL = 1,
  VLR_SOLVE_DUAL   = 2,
};
typedef int32_t VLR_solveform;

enum VLR_sparam_enum {
  VLR_SPAR_BAS_SOL_FILE_NAME         = 0,
  VLR_SPAR_DATA_FILE_NAME            = 1,
  VLR_SPAR_DEBUG_FILE_NAME           = 2,
  VLR_SPAR_FEASREPAIR_NAME_PREFIX    = 3,
  VLR_SPAR_FEASREPAIR_NAME_SEPARATOR = 4,
  VLR_SPAR_FEASREPAIR_NAME_WSUMVIOL  = 5,
  VLR_SPAR_INT_SOL_FILE_NAME         = 6,
  VLR_SPAR_ITR_SOL_FILE_NAME         = 7,
  VLR_SPAR_PARAM_COMMENT_SIGN        = 8,
  VLR_SPAR_PARAM_READ_FILE_NAME      = 9,
  VLR_SPAR_PARAM_WRITE_FILE_NAME     = 10,
  VLR_SPAR_READ_MPS_BOU_NAME         = 11,
  VLR_SPAR_READ_MPS_OBJ_NAME         = 12,
  VLR_SPAR_READ_MPS_RAN_NAME         = 13,
  VLR_SPAR_READ_MPS_RHS_NAME         = 14,
  VLR_SPAR_SENSITIVITY_FILE_NAME     = 15,
  VLR_SPAR_SENSITIVITY_RES_FILE_NAME = 16,
  VLR_SPAR_SOL_FILTER_XC_LOW         = 17,
  VLR_SPAR_SOL_FILTER_XC_UPR         = 18,
  VLR_SPAR_SOL_FILTER_XX_LOW         = 19,
  VLR_SPAR_SOL_FILTER_XX_UPR         = 20,
  VLR_SPAR_STAT_FILE_NAME            = 21,
  VLR_SPAR_STAT_KEY                  = 22,
  VLR_SPAR_STAT_NAME                 = 23,
  VLR_SPAR_WRITE_LP_GEN_VAR_NAME     = 24,
};
typedef int32_t VLR_sparam;

enum VLR_stakey_enum {
  VLR_SK_UNK    = 0,
  VLR_SK_BAS    = 1,
  VLR_SK_SUPBAS = 2,
  VLR_SK_LOW    = 3,
  VLR_SK_UPR    = 4,
  VLR_SK_FIX    = 5,
  VLR_SK_INF    = 6,
};
typedef int32_t VLR_stakey;

enum VLR_startpointtype_enum {
  VLR_STARTING_POINT_FREE           = 0,
  VLR_STARTING_POINT_GUESS          = 1,
  VLR_STARTING_POINT_CONSTANT       = 2,
  VLR_STARTING_POINT_SATISFY_BOUNDS = 3,
};
typedef int32_t VLR_startpointtype;

enum VLR_streamtype_enum {
  VLR_STREAM_LOG = 0,
  VLR_STREAM_MSG = 1,
  VLR_STREAM_ERR = 2,
  VLR_STREAM_WRN = 3,
};
typedef int32_t VLR_streamtype;

enum VLR_value_enum {
  VLR_MAX_STR_LEN = 1024,
};
typedef int32_t VLR_value;

enum VLR_variabletype_enum {
  VLR_VAR_TYPE_CONT = 0,
  VLR_VAR_TYPE_INT  = 1,
};
typedef int32_t VLR_variabletype;

enum VLR_xmlwriteroutputtype_enum {
  VLR_WRITE_XML_MODE_ROW = 0,
  VLR_WRITE_XML_MODE_COL = 1,
};
typedef int32_t VLR_xmlwriteroutputtype;

/* clang-format on */
/* END GENERATED CONSTANTS */

#ifdef __cplusplus
extern "C" {
#endif

/* Opaque handles. */
typedef struct VLRenv_s* VLRenv_t;
typedef struct VLRtask_s* VLRtask_t;

/* Allocator given to VLR_makeenv: both or neither. */
typedef void* (*VLRmallocfunc)(void* usrptr, size_t size);
typedef void (*VLRfreefunc)(void* usrptr, void* block);
/* Receives one line (or a whole delivery) of a stream. */
typedef void (*VLRstreamfunc)(void* handle, const char* text);
/* Progress callback: a non-zero result asks the optimiser to stop. Must not throw or longjmp. */
typedef int32_t (*VLRcallbackfunc)(VLRtask_t task, void* handle, int32_t caller);
/* Response handler: sees every warning and error with its message; for a warning its result
   replaces the code. Must not throw or longjmp. */
typedef int32_t (*VLRresponsefunc)(void* handle, int32_t code, const char* message);
/* Called instead of abort on a fatal stop. */
typedef void (*VLRexitfunc)(void* handle, const char* file, int32_t line, const char* message);

/* BEGIN CODES AND SYMBOLS */
/// Gives the symbolic name and the description of a response code. An unknown code leaves both
/// buffers as they were.
/// @param code    the response code
/// @param symname receives the name, e.g. "VLR_RES_ERR_SPACE"; a caller buffer of
///                VLR_MAX_STR_LEN characters, or null
/// @param str     receives the description; a caller buffer of VLR_MAX_STR_LEN, or null
/// @return VLR_RES_OK
VLR_API int32_t VLR_getcodedesc(VLR_rescode code, char* symname, char* str);
/// The same as VLR_getcodedesc, under its second name.
/// @param code    the response code
/// @param symname receives the name; VLR_MAX_STR_LEN characters, or null
/// @param str     receives the description; VLR_MAX_STR_LEN characters, or null
/// @return VLR_RES_OK
VLR_API int32_t VLR_getcodedisc(VLR_rescode code, char* symname, char* str);
/// Classifies a response code by its number: VLR_RESPONSE_OK for 0, VLR_RESPONSE_WRN below 1000,
/// VLR_RESPONSE_ERR below 4000 and VLR_RESPONSE_TRM from 4000 on.
/// @param r  the response code
/// @param rc receives the class
/// @return VLR_RES_OK, or VLR_RES_ERR_NULL_POINTER for a null rc
VLR_API int32_t VLR_getresponseclass(VLR_rescode r, VLR_rescodetype* rc);
/// Gives the name of a bound key without its prefix: "LO", "UP", "FX", "FR" or "RA"; an empty
/// string for a key that is not one.
/// @param task the task, for the exception path
/// @param bk   the bound key
/// @param str  receives the name; a caller buffer of VLR_MAX_STR_LEN characters
/// @return VLR_RES_OK, or an error code
VLR_API int32_t VLR_bktostr(VLRtask_t task, VLR_boundkey bk, char* str);
/// Gives the name of a status key without its prefix: "UNK", "BAS", "SUPBAS", "LOW", "UPR",
/// "FIX" or "INF". Any other key raises VLR_RES_ERR_INV_SK.
/// @param task the task, for the exception path
/// @param sk   the status key
/// @param str  receives the name; a caller buffer of VLR_MAX_STR_LEN characters
/// @return VLR_RES_OK, or an error code
VLR_API int32_t VLR_sktostr(VLRtask_t task, VLR_stakey sk, char* str);
/// Reads a status key from its name as VLR_sktostr writes it ("BAS", ...).
/// @param task the task
/// @param str  the name; borrowed
/// @param sk   receives the status key
/// @return VLR_RES_OK, or VLR_RES_ERR_INV_SK_STR (without a message) for an unknown name
VLR_API int32_t VLR_strtosk(VLRtask_t task, const char* str, VLR_stakey* sk);
/// Gives the symbolic name of a cone type: "VLR_CT_QUAD" or "VLR_CT_RQUAD". Any other type
/// raises VLR_RES_ERR_INV_CONE_TYPE.
/// @param task     the task, for the exception path
/// @param conetype the cone type
/// @param str      receives the name; a caller buffer of VLR_MAX_STR_LEN characters
/// @return VLR_RES_OK, or an error code
VLR_API int32_t VLR_conetypetostr(VLRtask_t task, VLR_conetype conetype, char* str);
/// Reads a cone type from its symbolic name ("VLR_CT_QUAD", "VLR_CT_RQUAD"). An unknown name
/// raises VLR_RES_ERR_CONE_TYPE_STR.
/// @param task     the task, for the exception path
/// @param str      the name; borrowed
/// @param conetype receives the cone type
/// @return VLR_RES_OK, or an error code
VLR_API int32_t VLR_strtoconetype(VLRtask_t task, const char* str, VLR_conetype* conetype);
/// Describes a problem type, e.g. "LO (linear optimization problem)"; "INVALID" for a type
/// that is not one.
/// @param task     the task, for the exception path
/// @param probtype the problem type
/// @param str      receives the text; a caller buffer of VLR_MAX_STR_LEN characters
/// @return VLR_RES_OK, or an error code
VLR_API int32_t VLR_probtypetostr(VLRtask_t task, VLR_problemtype probtype, char* str);
/// Describes a problem status, e.g. "PRIMAL_AND_DUAL_FEASIBLE"; "INVALID CODE(<n>)" for a
/// status that is not one.
/// @param task   the task, for the exception path
/// @param prosta the problem status
/// @param str    receives the text; a caller buffer of VLR_MAX_STR_LEN characters
/// @return VLR_RES_OK, or an error code
VLR_API int32_t VLR_prostatostr(VLRtask_t task, VLR_prosta prosta, char* str);
/// Describes a solution status, e.g. "OPTIMAL"; "INVALID code(<n>)" for a status that is not
/// one.
/// @param task   the task, for the exception path
/// @param solsta the solution status
/// @param str    receives the text; a caller buffer of VLR_MAX_STR_LEN characters
/// @return VLR_RES_OK, or an error code
VLR_API int32_t VLR_solstatostr(VLRtask_t task, VLR_solsta solsta, char* str);
/// Names an optimizer for people: "free", "interior-point", "primal simplex", ...; "unknown"
/// for VLR_OPTIMIZER_PRIMAL_DUAL_SIMPLEX and any number that is not an optimizer.
/// @param optimizer the optimizer
/// @param size      the capacity of str in characters, with the terminating zero; a longer
///                  name is cut
/// @param str       receives the name
/// @return VLR_RES_OK, or VLR_RES_ERR_NULL_POINTER when str is null or size is not positive
VLR_API int32_t VLR_optimizertostr(VLR_optimizertype optimizer, int32_t size, char* str);
/// Gives the symbolic name of a callback code, e.g. "VLR_CALLBACK_BEGIN_BI".
/// @param code the callback code
/// @param str  receives the name; a caller buffer of VLR_MAX_STR_LEN characters
/// @return VLR_RES_OK; VLR_RES_ERR_INDEX with an empty name for an unknown code;
///         VLR_RES_ERR_NULL_POINTER for a null str
VLR_API int32_t VLR_callbackcodetostr(VLR_callbackcode code, char* str);
/// Splits an integer parameter and one of its values into three texts: the parameter's name,
/// "VLR_" with the prefix of the value's enumeration, and the value's name, so that the last
/// two joined give its symbolic name ("VLR_OPTIMIZER_" and "FREE"). A parameter without an
/// enumeration, or a value outside it, gives an empty prefix and the value in decimal.
/// @param task     the task, for the exception path
/// @param param    the parameter index
/// @param value    the value
/// @param parname  receives the name; a caller buffer of VLR_MAX_STR_LEN characters
/// @param valpre   receives the prefix; a caller buffer of VLR_MAX_STR_LEN characters
/// @param valname  receives the value's name; a caller buffer of VLR_MAX_STR_LEN characters
/// @return VLR_RES_OK, or VLR_RES_ERR_PARAM_INDEX for a bad index
VLR_API int32_t VLR_iparvaltostr(VLRtask_t task, VLR_iparam param, int32_t value, char* parname,
                                 char* valpre, char* valname);
/// Gives the size of the table of symbolic constants.
/// @param env    the environment
/// @param num    receives the number of constants; may be null
/// @param maxlen receives the length of the longest name, without the terminating zero; may be
///               null
/// @return VLR_RES_OK, or the code of a bad env
VLR_API int32_t VLR_getsymbcondim(VLRenv_t env, int32_t* num, int32_t* maxlen);
/// Reads one entry of the table of symbolic constants, which is sorted by name. A name longer
/// than the buffer is cut and warns VLR_RES_WRN_NAME_MAX_LEN.
/// @param task      the task, for the exception path
/// @param i         the index, from 0 to the number VLR_getsymbcondim gives, less one
/// @param sizevalue the capacity of name in characters, with the terminating zero
/// @param name      receives the name
/// @param value     receives the value
/// @return VLR_RES_OK, the result of the warning, or an error code
VLR_API int32_t VLR_getsymbcon(VLRtask_t task, int32_t i, int32_t sizevalue, char* name,
                               int32_t* value);
/// Looks a symbolic constant up by its exact name and gives its value as decimal text.
/// @param name  the name, e.g. "VLR_ON"; borrowed
/// @param value receives the text; a caller buffer of VLR_MAX_STR_LEN characters, or null
/// @return 1 when found, 0 otherwise (a truth value, not a response code)
VLR_API int32_t VLR_symnamtovalue(const char* name, char* value);
/// Gives the symbolic name of a value of an integer parameter ("VLR_ON", "VLR_OPTIMIZER_FREE"),
/// or an empty string for a parameter without an enumeration or a value outside it.
/// @param env          the environment, for the exception path
/// @param whichparam   the parameter index
/// @param whichvalue   the value
/// @param symbolicname receives the name; a caller buffer of VLR_MAX_STR_LEN characters
/// @return VLR_RES_OK, or VLR_RES_ERR_PARAM_INDEX for a bad index
VLR_API int32_t VLR_iparvaltosymnam(VLRenv_t env, VLR_iparam whichparam, int32_t whichvalue,
                                    char* symbolicname);
/* BEGIN GENERATED NAMETOVALUE: written by tools/gentables.py. */
/* clang-format off */
/// The name-to-value functions, one for each enumeration. Each looks up a symbolic
/// name such as "VLR_BK_LO": it must be "VLR_", the prefix of the enumeration and
/// one of its value names, exactly. They return 1 and set *value (when value is not
/// null) if the name is found, otherwise 0: a truth value, not a response code.
/// The name is borrowed; a null name is not found.

/// The value of a name of VLR_accmode, such as "VLR_ACC_VAR".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_accmodenametovalue(const char* name, VLR_accmode* value);
/// The value of a name of VLR_adopcode, such as "VLR_ADOP_ADD".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_adopcodenametovalue(const char* name, VLR_adopcode* value);
/// The value of a name of VLR_adoptype, such as "VLR_ADOPTYPE_NONE".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_adoptypenametovalue(const char* name, VLR_adoptype* value);
/// The value of a name of VLR_basindtype, such as "VLR_BI_NEVER".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_basindtypenametovalue(const char* name, VLR_basindtype* value);
/// The value of a name of VLR_boundkey, such as "VLR_BK_LO".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_boundkeynametovalue(const char* name, VLR_boundkey* value);
/// The value of a name of VLR_branchdir, such as "VLR_BRANCH_DIR_FREE".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_branchdirnametovalue(const char* name, VLR_branchdir* value);
/// The value of a name of VLR_callbackcode, such as "VLR_CALLBACK_BEGIN_BI".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_callbackcodenametovalue(const char* name, VLR_callbackcode* value);
/// The value of a name of VLR_checkconvexitytype, such as "VLR_CHECK_CONVEXITY_NONE".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_checkconvexitytypenametovalue(const char* name, VLR_checkconvexitytype* value);
/// The value of a name of VLR_compresstype, such as "VLR_COMPRESS_NONE".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_compresstypenametovalue(const char* name, VLR_compresstype* value);
/// The value of a name of VLR_conetype, such as "VLR_CT_QUAD".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_conetypenametovalue(const char* name, VLR_conetype* value);
/// The value of a name of VLR_cputype, such as "VLR_CPU_UNKNOWN".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_cputypenametovalue(const char* name, VLR_cputype* value);
/// The value of a name of VLR_dataformat, such as "VLR_DATA_FORMAT_EXTENSION".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_dataformatnametovalue(const char* name, VLR_dataformat* value);
/// The value of a name of VLR_dinfitem, such as "VLR_DINF_BI_CLEAN_DUAL_TIME".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_dinfitemnametovalue(const char* name, VLR_dinfitem* value);
/// The value of a name of VLR_dparam, such as "VLR_DPAR_ANA_SOL_INFEAS_TOL".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_dparamnametovalue(const char* name, VLR_dparam* value);
/// The value of a name of VLR_feasrepairtype, such as "VLR_FEASREPAIR_OPTIMIZE_NONE".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_feasrepairtypenametovalue(const char* name, VLR_feasrepairtype* value);
/// The value of a name of VLR_iinfitem, such as "VLR_IINF_ANA_PRO_NUM_CON".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_iinfitemnametovalue(const char* name, VLR_iinfitem* value);
/// The value of a name of VLR_inftype, such as "VLR_INF_DOU_TYPE".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_inftypenametovalue(const char* name, VLR_inftype* value);
/// The value of a name of VLR_iomode, such as "VLR_IOMODE_READ".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_iomodenametovalue(const char* name, VLR_iomode* value);
/// The value of a name of VLR_iparam, such as "VLR_IPAR_ALLOC_ADD_QNZ".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_iparamnametovalue(const char* name, VLR_iparam* value);
/// The value of a name of VLR_language, such as "VLR_LANG_ENG".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_languagenametovalue(const char* name, VLR_language* value);
/// The value of a name of VLR_liinfitem, such as "VLR_LIINF_BI_CLEAN_DUAL_DEG_ITER".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_liinfitemnametovalue(const char* name, VLR_liinfitem* value);
/// The value of a name of VLR_mark, such as "VLR_MARK_LO".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_marknametovalue(const char* name, VLR_mark* value);
/// The value of a name of VLR_miocontsoltype, such as "VLR_MIO_CONT_SOL_NONE".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_miocontsoltypenametovalue(const char* name, VLR_miocontsoltype* value);
/// The value of a name of VLR_miomode, such as "VLR_MIO_MODE_IGNORED".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_miomodenametovalue(const char* name, VLR_miomode* value);
/// The value of a name of VLR_mionodeseltype, such as "VLR_MIO_NODE_SELECTION_FREE".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_mionodeseltypenametovalue(const char* name, VLR_mionodeseltype* value);
/// The value of a name of VLR_mpsformat, such as "VLR_MPS_FORMAT_STRICT".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_mpsformatnametovalue(const char* name, VLR_mpsformat* value);
/// The value of a name of VLR_msgkey, such as "VLR_MSG_READING_FILE".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_msgkeynametovalue(const char* name, VLR_msgkey* value);
/// The value of a name of VLR_networkdetect, such as "VLR_NETWORK_DETECT_FREE".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_networkdetectnametovalue(const char* name, VLR_networkdetect* value);
/// The value of a name of VLR_objsense, such as "VLR_OBJECTIVE_SENSE_UNDEFINED".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_objsensenametovalue(const char* name, VLR_objsense* value);
/// The value of a name of VLR_onoffkey, such as "VLR_OFF".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_onoffkeynametovalue(const char* name, VLR_onoffkey* value);
/// The value of a name of VLR_optimizertype, such as "VLR_OPTIMIZER_FREE".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_optimizertypenametovalue(const char* name, VLR_optimizertype* value);
/// The value of a name of VLR_orderingtype, such as "VLR_ORDER_METHOD_FREE".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_orderingtypenametovalue(const char* name, VLR_orderingtype* value);
/// The value of a name of VLR_parametertype, such as "VLR_PAR_INVALID_TYPE".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_parametertypenametovalue(const char* name, VLR_parametertype* value);
/// The value of a name of VLR_presolvemode, such as "VLR_PRESOLVE_MODE_OFF".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_presolvemodenametovalue(const char* name, VLR_presolvemode* value);
/// The value of a name of VLR_problemitem, such as "VLR_PI_VAR".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_problemitemnametovalue(const char* name, VLR_problemitem* value);
/// The value of a name of VLR_problemtype, such as "VLR_PROBTYPE_LO".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_problemtypenametovalue(const char* name, VLR_problemtype* value);
/// The value of a name of VLR_prosta, such as "VLR_PRO_STA_UNKNOWN".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_prostanametovalue(const char* name, VLR_prosta* value);
/// The value of a name of VLR_qreadtype, such as "VLR_Q_READ_ADD".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_qreadtypenametovalue(const char* name, VLR_qreadtype* value);
/// The value of a name of VLR_rescode, such as "VLR_RES_OK".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_rescodenametovalue(const char* name, VLR_rescode* value);
/// The value of a name of VLR_rescodetype, such as "VLR_RESPONSE_OK".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_rescodetypenametovalue(const char* name, VLR_rescodetype* value);
/// The value of a name of VLR_scalingmethod, such as "VLR_SCALING_METHOD_POW2".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_scalingmethodnametovalue(const char* name, VLR_scalingmethod* value);
/// The value of a name of VLR_scalingtype, such as "VLR_SCALING_FREE".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_scalingtypenametovalue(const char* name, VLR_scalingtype* value);
/// The value of a name of VLR_sensitivitytype, such as "VLR_SENSITIVITY_TYPE_BASIS".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_sensitivitytypenametovalue(const char* name, VLR_sensitivitytype* value);
/// The value of a name of VLR_simdegen, such as "VLR_SIM_DEGEN_NONE".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_simdegennametovalue(const char* name, VLR_simdegen* value);
/// The value of a name of VLR_simdupvec, such as "VLR_SIM_EXPLOIT_DUPVEC_OFF".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_simdupvecnametovalue(const char* name, VLR_simdupvec* value);
/// The value of a name of VLR_simhotstart, such as "VLR_SIM_HOTSTART_NONE".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_simhotstartnametovalue(const char* name, VLR_simhotstart* value);
/// The value of a name of VLR_simreform, such as "VLR_SIM_REFORMULATION_OFF".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_simreformnametovalue(const char* name, VLR_simreform* value);
/// The value of a name of VLR_simseltype, such as "VLR_SIM_SELECTION_FREE".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_simseltypenametovalue(const char* name, VLR_simseltype* value);
/// The value of a name of VLR_solitem, such as "VLR_SOL_ITEM_XC".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_solitemnametovalue(const char* name, VLR_solitem* value);
/// The value of a name of VLR_solsta, such as "VLR_SOL_STA_UNKNOWN".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_solstanametovalue(const char* name, VLR_solsta* value);
/// The value of a name of VLR_soltype, such as "VLR_SOL_ITR".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_soltypenametovalue(const char* name, VLR_soltype* value);
/// The value of a name of VLR_solveform, such as "VLR_SOLVE_FREE".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_solveformnametovalue(const char* name, VLR_solveform* value);
/// The value of a name of VLR_sparam, such as "VLR_SPAR_BAS_SOL_FILE_NAME".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_sparamnametovalue(const char* name, VLR_sparam* value);
/// The value of a name of VLR_stakey, such as "VLR_SK_UNK".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_stakeynametovalue(const char* name, VLR_stakey* value);
/// The value of a name of VLR_startpointtype, such as "VLR_STARTING_POINT_FREE".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_startpointtypenametovalue(const char* name, VLR_startpointtype* value);
/// The value of a name of VLR_streamtype, such as "VLR_STREAM_LOG".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_streamtypenametovalue(const char* name, VLR_streamtype* value);
/// The value of a name of VLR_value, such as "VLR_MAX_STR_LEN".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_valuenametovalue(const char* name, VLR_value* value);
/// The value of a name of VLR_variabletype, such as "VLR_VAR_TYPE_CONT".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_variabletypenametovalue(const char* name, VLR_variabletype* value);
/// The value of a name of VLR_xmlwriteroutputtype, such as "VLR_WRITE_XML_MODE_ROW".
/// @param name  the symbolic name; borrowed
/// @param value receives the value; may be null
VLR_API int32_t VLR_xmlwriteroutputtypenametovalue(const char* name,
                                                   VLR_xmlwriteroutputtype* value);
/* clang-format on */
/* END GENERATED NAMETOVALUE */
/* END CODES AND SYMBOLS */

/* ---- Environment and task life cycle ---------------------------------------------------- */

/// Makes an environment. Call VLR_initenv on it before making tasks.
/// @param env out: the new handle, null on failure.
/// @param usrptr passed to the allocator functions.
/// @param usrmalloc, usrfree the allocator of all the library's memory; used only when both
///   are given, otherwise the C allocator.
/// @param dbgfile null: no memory tracking; otherwise every block is tracked, and a non-empty
///   name opens "<dbgfile>.env.txt" (and one file per task) for the tracker's report. Copies.
VLR_API int32_t VLR_makeenv(VLRenv_t* env, void* usrptr, VLRmallocfunc usrmalloc,
                            VLRfreefunc usrfree, const char* dbgfile);
/// Detects the machine and marks the environment usable; a second call does nothing.
/// @param env the environment.
VLR_API int32_t VLR_initenv(VLRenv_t env);
/// Deletes an environment and nulls the handle. With living tasks it fails with
/// VLR_RES_ERR_LIVING_TASKS, unless garbage collection is on: then the environment goes with
/// its last task.
/// @param env in-out: the handle.
VLR_API int32_t VLR_deleteenv(VLRenv_t* env);
/// Lets VLR_deleteenv defer the deletion to the last living task.
/// @param env the environment.
VLR_API int32_t VLR_enablegarcolenv(VLRenv_t env);
/// Keeps (1) or closes (0) the mixed-integer library when the last task goes.
/// @param env the environment. @param keepdlls 0 or 1.
VLR_API int32_t VLR_putkeepdlls(VLRenv_t env, int32_t keepdlls);
/// Sets where the mixed-integer library is looked for.
/// @param env the environment. @param dllpath a directory; copies.
VLR_API int32_t VLR_putdllpath(VLRenv_t env, const char* dllpath);
/// Sets the processor type and cache sizes to assume; call before VLR_initenv.
/// @param env the environment. @param cputype a VLR_cputype; 0 leaves it.
/// @param sizel1, sizel2 cache sizes in bytes; negative leaves them.
VLR_API int32_t VLR_putcpudefaults(VLRenv_t env, int32_t cputype, int32_t sizel1, int32_t sizel2);
/// Checks an environment handle: VLR_RES_ERR_NULL_ENV, VLR_RES_ERR_NO_INIT_ENV or 0. No message.
/// @param env the handle.
VLR_API int32_t VLR_checkenv(VLRenv_t env);
/// Checks a task handle: VLR_RES_ERR_NULL_TASK, VLR_RES_ERR_INVALID_TASK or 0. No message.
/// @param task the handle.
VLR_API int32_t VLR_checktask(VLRtask_t task);

/// Makes a task with room for the given numbers of constraints and variables.
/// @param env an initialised environment. @param maxnumcon, maxnumvar initial capacities.
/// @param task out: the new handle, null on failure.
VLR_API int32_t VLR_maketask(VLRenv_t env, int32_t maxnumcon, int32_t maxnumvar, VLRtask_t* task);
/// VLR_maketask with capacities 0.
/// @param env an initialised environment. @param task out: the new handle.
VLR_API int32_t VLR_makeemptytask(VLRenv_t env, VLRtask_t* task);
/// Deletes a task and nulls the handle; a null handle does nothing.
/// @param task in-out: the handle.
VLR_API int32_t VLR_deletetask(VLRtask_t* task);
/// Makes a deep copy of a task: problem, names, parameters and solutions; not the links of
/// streams, callbacks or the response function.
/// @param task the source. @param clonedtask out: the copy, null on failure.
VLR_API int32_t VLR_clonetask(VLRtask_t task, VLRtask_t* clonedtask);
/// Throws away the problem and sets the capacities.
/// @param task the task. @param maxnumcon, maxnumvar, maxnumcone, maxnumanz, maxnumqnz the
///   capacities.
VLR_API int32_t VLR_resizetask(VLRtask_t task, int32_t maxnumcon, int32_t maxnumvar,
                               int32_t maxnumcone, int32_t maxnumanz, int32_t maxnumqnz);
/// VLR_resizetask with 64-bit non-zero capacities.
/// @param task the task. @param maxnumcon, maxnumvar, maxnumcone, maxnumanz, maxnumqnz the
///   capacities.
VLR_API int32_t VLR_resizetask64(VLRtask_t task, int32_t maxnumcon, int32_t maxnumvar,
                                 int32_t maxnumcone, int64_t maxnumanz, int64_t maxnumqnz);
/// Gives the environment of a task.
/// @param task the task. @param env out: its environment.
VLR_API int32_t VLR_getenv(VLRtask_t task, VLRenv_t* env);
/// Names the task.
/// @param task the task. @param taskname the name; copies.
VLR_API int32_t VLR_puttaskname(VLRtask_t task, const char* taskname);
/// Gives the task's name.
/// @param task the task. @param sizetaskname capacity of taskname.
/// @param taskname out: the name, truncated to fit.
VLR_API int32_t VLR_gettaskname(VLRtask_t task, int32_t sizetaskname, char* taskname);

/* ---- Versions ---------------------------------------------------------------------------- */

/// Gives the library's version numbers.
/// @param major, minor, build, revision out; each may be null.
VLR_API int32_t VLR_getversion(int32_t* major, int32_t* minor, int32_t* build, int32_t* revision);
/// Writes the version as "major.minor.build.revision".
/// @param size capacity of buffer. @param buffer out: the text.
VLR_API int32_t VLR_getversionstring(int32_t size, char* buffer);
/// Compares the library's version with the one asked for: older gives VLR_RES_ERR_OLDER_DLL,
/// newer VLR_RES_ERR_NEWER_DLL.
/// @param env the environment. @param major, minor, build, revision the version expected.
VLR_API int32_t VLR_checkversion(VLRenv_t env, int32_t major, int32_t minor, int32_t build,
                                 int32_t revision);
/// Gives the build tag, the build date ("2012-10-29 13:51:18") and a build description.
/// @param buildstate, builddate, buildtool out: buffers of VLR_MAX_STR_LEN; each may be null.
VLR_API int32_t VLR_getbuildinfo(char* buildstate, char* builddate, char* buildtool);

/* ---- Errors, responses and the exit hook -------------------------------------------------- */

/// Gives the code and text of the last error or warning that was not swallowed.
/// @param task the task. @param lastrescode out: the code (may be null).
/// @param sizelastmsg capacity of lastmsg. @param lastmsglen out: the full length (may be null).
/// @param lastmsg out: the text, truncated to fit (may be null).
VLR_API int32_t VLR_getlasterror(VLRtask_t task, int32_t* lastrescode, int32_t sizelastmsg,
                                 int32_t* lastmsglen, char* lastmsg);
/// VLR_getlasterror with 64-bit sizes.
/// @param task the task. @param lastrescode out. @param sizelastmsg capacity.
/// @param lastmsglen out. @param lastmsg out.
VLR_API int32_t VLR_getlasterror64(VLRtask_t task, int32_t* lastrescode, int64_t sizelastmsg,
                                   int64_t* lastmsglen, char* lastmsg);
/// Sets the task's response handler (null removes it).
/// @param task the task. @param responsefunc the handler. @param handle passed to it; borrows.
VLR_API int32_t VLR_putresponsefunc(VLRtask_t task, VLRresponsefunc responsefunc, void* handle);
/// Sets the environment's response handler for its own errors and warnings.
/// @param env the environment. @param responsefunc the handler. @param handle borrows.
VLR_API int32_t VLR_putexceptionfuncenv(VLRenv_t env, VLRresponsefunc responsefunc, void* handle);
/// Sets the function called instead of abort on a fatal stop.
/// @param env the environment. @param exitfunc the function. @param handle borrows.
VLR_API int32_t VLR_putexitfunc(VLRenv_t env, VLRexitfunc exitfunc, void* handle);
/// Raises a response code on the task's exception path with the code's message filled from
/// the arguments; returns the code to pass on (0 for a swallowed warning).
/// @param task the task. @param code a response code. @param ... the message's arguments.
VLR_API int32_t VLR_exceptiontask(VLRtask_t task, int32_t code, ...);
/// VLR_exceptiontask on an environment.
/// @param env the environment. @param code a response code. @param ... the arguments.
VLR_API int32_t VLR_exceptionenv(VLRenv_t env, int32_t code, ...);

/* ---- Memory -------------------------------------------------------------------------------- */

/* These return the block, or null when out of space, as an allocator must. */

/// Allocates number * size zeroed bytes from the environment; free with VLR_freeenv.
/// @param env the environment. @param number, size the request.
VLR_API void* VLR_callocenv(VLRenv_t env, size_t number, size_t size);
/// VLR_callocenv recording the caller's file and line.
/// @param env the environment. @param number, size the request. @param file, line the caller.
VLR_API void* VLR_callocdbgenv(VLRenv_t env, size_t number, size_t size, const char* file,
                               int32_t line);
/// Frees a block of the environment; null is ignored.
/// @param env the environment. @param buffer the block.
VLR_API void VLR_freeenv(VLRenv_t env, void* buffer);
/// VLR_freeenv recording the caller's file and line.
/// @param env the environment. @param buffer the block. @param file, line the caller.
VLR_API void VLR_freedbgenv(VLRenv_t env, void* buffer, const char* file, int32_t line);
/// Duplicates a string into the environment's memory; null gives null.
/// @param env the environment. @param str the string.
VLR_API char* VLR_strdupenv(VLRenv_t env, const char* str);
/// VLR_strdupenv recording the caller's file and line.
/// @param env the environment. @param str the string. @param file, line the caller.
VLR_API char* VLR_strdupdbgenv(VLRenv_t env, const char* str, const char* file, int32_t line);
/// Allocates number * size zeroed bytes from the task; free with VLR_freetask.
/// @param task the task. @param number, size the request.
VLR_API void* VLR_calloctask(VLRtask_t task, size_t number, size_t size);
/// VLR_calloctask recording the caller's file and line.
/// @param task the task. @param number, size the request. @param file, line the caller.
VLR_API void* VLR_callocdbgtask(VLRtask_t task, size_t number, size_t size, const char* file,
                                int32_t line);
/// Frees a block of the task; null is ignored.
/// @param task the task. @param buffer the block.
VLR_API void VLR_freetask(VLRtask_t task, void* buffer);
/// VLR_freetask recording the caller's file and line.
/// @param task the task. @param buffer the block. @param file, line the caller.
VLR_API void VLR_freedbgtask(VLRtask_t task, void* buffer, const char* file, int32_t line);
/// Duplicates a string into the task's memory; null gives null.
/// @param task the task. @param str the string.
VLR_API char* VLR_strduptask(VLRtask_t task, const char* str);
/// VLR_strduptask recording the caller's file and line.
/// @param task the task. @param str the string. @param file, line the caller.
VLR_API char* VLR_strdupdbgtask(VLRtask_t task, const char* str, const char* file, int32_t line);
/// Checks every tracked block of the environment; a damaged one stops the program.
/// @param env the environment. @param file, line the caller.
VLR_API int32_t VLR_checkmemenv(VLRenv_t env, const char* file, int32_t line);
/// Checks every tracked block of the task; a damaged one stops the program.
/// @param task the task. @param file, line the caller.
VLR_API int32_t VLR_checkmemtask(VLRtask_t task, const char* file, int32_t line);
/// Gives the task's memory in use and its peak, in bytes. Without tracking both are 0 and the
/// call raises VLR_RES_ERR_SPACE_NO_INFO.
/// @param task the task. @param meminuse, maxmemuse out.
VLR_API int32_t VLR_getmemusagetask(VLRtask_t task, int32_t* meminuse, int32_t* maxmemuse);
/// VLR_getmemusagetask with 64-bit counts.
/// @param task the task. @param meminuse, maxmemuse out.
VLR_API int32_t VLR_getmemusagetask64(VLRtask_t task, int64_t* meminuse, int64_t* maxmemuse);
/// Gives the number of threads the interior-point optimiser would use.
/// @param task the task. @param numthreads out.
VLR_API int32_t VLR_getintpntnumthreads(VLRtask_t task, int32_t* numthreads);

/* ---- Streams ------------------------------------------------------------------------------ */

/// Formats a message and writes it to one of the task's streams (and to its log stream).
/// @param task the task. @param whichstream a VLR_streamtype. @param format printf format.
VLR_API int32_t VLR_echotask(VLRtask_t task, int32_t whichstream, const char* format, ...);
/// Formats a message and writes it to one of the environment's streams.
/// @param env the environment. @param whichstream a VLR_streamtype. @param format printf format.
VLR_API int32_t VLR_echoenv(VLRenv_t env, int32_t whichstream, const char* format, ...);
/// Writes the library's name, version and build date on the message stream; with longver also
/// the operating system variables.
/// @param env the environment. @param longver 0 or 1.
VLR_API int32_t VLR_echointro(VLRenv_t env, int32_t longver);
/// Links a function to a task stream; it receives whole lines. Pending text goes out first.
/// @param task the task. @param whichstream a VLR_streamtype. @param handle passed to func;
///   borrows. @param func the receiver.
VLR_API int32_t VLR_linkfunctotaskstream(VLRtask_t task, int32_t whichstream, void* handle,
                                         VLRstreamfunc func);
/// Links a function to an environment stream.
/// @param env the environment. @param whichstream a VLR_streamtype. @param handle borrows.
/// @param func the receiver.
VLR_API int32_t VLR_linkfunctoenvstream(VLRenv_t env, int32_t whichstream, void* handle,
                                        VLRstreamfunc func);
/// Removes the function linked to a task stream.
/// @param task the task. @param whichstream a VLR_streamtype.
VLR_API int32_t VLR_unlinkfuncfromtaskstream(VLRtask_t task, int32_t whichstream);
/// Removes the function linked to an environment stream.
/// @param env the environment. @param whichstream a VLR_streamtype.
VLR_API int32_t VLR_unlinkfuncfromenvstream(VLRenv_t env, int32_t whichstream);
/// Links a file to a task stream; a null name closes the present one.
/// @param task the task. @param whichstream a VLR_streamtype. @param filename the file.
/// @param append 1 appends to an existing file.
VLR_API int32_t VLR_linkfiletotaskstream(VLRtask_t task, int32_t whichstream, const char* filename,
                                         int32_t append);
/// Links a file to an environment stream; a null name closes the present one.
/// @param env the environment. @param whichstream a VLR_streamtype. @param filename the file.
/// @param append 1 appends.
VLR_API int32_t VLR_linkfiletoenvstream(VLRenv_t env, int32_t whichstream, const char* filename,
                                        int32_t append);
/// Converts UTF-8 to a wide string.
/// @param outputsize capacity of output in characters. @param len out: characters written.
/// @param conv out: bytes converted. @param output out. @param input the UTF-8 text.
VLR_API int32_t VLR_utf8towchar(size_t outputsize, size_t* len, size_t* conv, wchar_t* output,
                                const char* input);
/// Converts a wide string to UTF-8.
/// @param outputsize capacity of output in bytes. @param len out: bytes written.
/// @param conv out: characters converted. @param output out. @param input the wide text.
VLR_API int32_t VLR_wchartoutf8(size_t outputsize, size_t* len, size_t* conv, char* output,
                                const wchar_t* input);

/* ---- Parameters --------------------------------------------------------------------------- */

/// Sets every parameter of the task to its default.
/// @param task the task.
VLR_API int32_t VLR_setdefaults(VLRtask_t task);
/// Sets an integer parameter; the value must lie within the parameter's limits.
/// @param task the task. @param param a VLR_iparam. @param parvalue the value.
VLR_API int32_t VLR_putintparam(VLRtask_t task, int32_t param, int32_t parvalue);
/// Gives an integer parameter.
/// @param task the task. @param param a VLR_iparam. @param parvalue out.
VLR_API int32_t VLR_getintparam(VLRtask_t task, int32_t param, int32_t* parvalue);
/// Sets a double parameter; the value must lie within the parameter's limits.
/// @param task the task. @param param a VLR_dparam. @param parvalue the value.
VLR_API int32_t VLR_putdouparam(VLRtask_t task, int32_t param, double parvalue);
/// Gives a double parameter.
/// @param task the task. @param param a VLR_dparam. @param parvalue out.
VLR_API int32_t VLR_getdouparam(VLRtask_t task, int32_t param, double* parvalue);
/// Sets a string parameter; a value in double quotes loses them (\" stands for a quote).
/// @param task the task. @param param a VLR_sparam. @param parvalue the value; copies.
VLR_API int32_t VLR_putstrparam(VLRtask_t task, int32_t param, const char* parvalue);
/// Gives a string parameter.
/// @param task the task. @param param a VLR_sparam. @param maxlen capacity of parvalue.
/// @param len out: the value's length (may be null). @param parvalue out: truncated to fit.
VLR_API int32_t VLR_getstrparam(VLRtask_t task, int32_t param, int32_t maxlen, int32_t* len,
                                char* parvalue);
/// VLR_getstrparam with 64-bit sizes.
/// @param task the task. @param param a VLR_sparam. @param maxlen capacity.
/// @param len out. @param parvalue out.
VLR_API int32_t VLR_getstrparam64(VLRtask_t task, int32_t param, int64_t maxlen, int64_t* len,
                                  char* parvalue);
/// Gives a string parameter in a block of the task's memory; the caller frees it with
/// VLR_freetask.
/// @param task the task. @param param a VLR_sparam. @param numaddchr spare bytes to add.
/// @param value out: the copy.
VLR_API int32_t VLR_getstrparamal(VLRtask_t task, int32_t param, int32_t numaddchr, char** value);
/// Sets an integer parameter given by name.
/// @param task the task. @param paramname e.g. "VLR_IPAR_LOG". @param parvalue the value.
VLR_API int32_t VLR_putnaintparam(VLRtask_t task, const char* paramname, int32_t parvalue);
/// Gives an integer parameter given by name.
/// @param task the task. @param paramname the name. @param parvalue out.
VLR_API int32_t VLR_getnaintparam(VLRtask_t task, const char* paramname, int32_t* parvalue);
/// Sets a double parameter given by name.
/// @param task the task. @param paramname the name. @param parvalue the value.
VLR_API int32_t VLR_putnadouparam(VLRtask_t task, const char* paramname, double parvalue);
/// Gives a double parameter given by name.
/// @param task the task. @param paramname the name. @param parvalue out.
VLR_API int32_t VLR_getnadouparam(VLRtask_t task, const char* paramname, double* parvalue);
/// Sets a string parameter given by name.
/// @param task the task. @param paramname the name. @param parvalue the value; copies.
VLR_API int32_t VLR_putnastrparam(VLRtask_t task, const char* paramname, const char* parvalue);
/// Gives a string parameter given by name.
/// @param task the task. @param paramname the name. @param maxlen capacity of parvalue.
/// @param len out (may be null). @param parvalue out.
VLR_API int32_t VLR_getnastrparam(VLRtask_t task, const char* paramname, int32_t maxlen,
                                  int32_t* len, char* parvalue);
/// Gives a string parameter given by name in a block of the task's memory (free with
/// VLR_freetask).
/// @param task the task. @param paramname the name. @param numaddchr spare bytes.
/// @param value out.
VLR_API int32_t VLR_getnastrparamal(VLRtask_t task, const char* paramname, int32_t numaddchr,
                                    char** value);
/// Sets any parameter from text: a number, or a symbolic value such as "VLR_ON".
/// @param task the task. @param parname the name (blanks around it are ignored).
/// @param parvalue the value as text.
VLR_API int32_t VLR_putparam(VLRtask_t task, const char* parname, const char* parvalue);
/// Looks an integer parameter name up; a name not found gives the count of integer parameters.
/// @param task the task. @param parname the name. @param param out: its index.
VLR_API int32_t VLR_isintparname(VLRtask_t task, const char* parname, int32_t* param);
/// Looks a double parameter name up.
/// @param task the task. @param parname the name. @param param out: its index, or the count.
VLR_API int32_t VLR_isdouparname(VLRtask_t task, const char* parname, int32_t* param);
/// Looks a string parameter name up.
/// @param task the task. @param parname the name. @param param out: its index, or the count.
VLR_API int32_t VLR_isstrparname(VLRtask_t task, const char* parname, int32_t* param);
/// Finds a parameter's type and index by name; type VLR_PAR_INVALID_TYPE when not found.
/// @param task the task. @param parname the name. @param partype out: a VLR_parametertype.
/// @param param out: the index.
VLR_API int32_t VLR_whichparam(VLRtask_t task, const char* parname, int32_t* partype,
                               int32_t* param);
/// Gives a parameter's name.
/// @param task the task. @param partype a VLR_parametertype. @param param the index.
/// @param parname out: a buffer of VLR_MAX_STR_LEN.
VLR_API int32_t VLR_getparamname(VLRtask_t task, int32_t partype, int32_t param, char* parname);
/// Gives the number of parameters of a type.
/// @param task the task. @param partype a VLR_parametertype. @param parammax out.
VLR_API int32_t VLR_getparammax(VLRtask_t task, int32_t partype, int32_t* parammax);
/// As VLR_getparammax, except that for the integer type it gives the double count; use
/// VLR_getparammax to loop over parameters.
/// @param task the task. @param partype a VLR_parametertype. @param numparam out.
VLR_API int32_t VLR_getnumparam(VLRtask_t task, int32_t partype, int32_t* numparam);
/// Copies every parameter of one task to another.
/// @param desttask receives. @param srctask gives.
VLR_API int32_t VLR_copyparam(VLRtask_t desttask, VLRtask_t srctask);
/// Lists every parameter with its value and limits on the message stream.
/// @param task the task.
VLR_API int32_t VLR_printparam(VLRtask_t task);
/// Reads the parameter file named by VLR_SPAR_PARAM_READ_FILE_NAME (nothing when empty).
/// @param task the task.
VLR_API int32_t VLR_readparamfile(VLRtask_t task);
/// Writes every parameter to a file that VLR_readparamfile reads back.
/// @param task the task. @param filename the file; null or empty takes
///   VLR_SPAR_PARAM_WRITE_FILE_NAME.
VLR_API int32_t VLR_writeparamfile(VLRtask_t task, const char* filename);

/* ---- Information items and callbacks ------------------------------------------------------ */

/// Gives a double information item.
/// @param task the task. @param whichdinf a VLR_dinfitem. @param dvalue out.
VLR_API int32_t VLR_getdouinf(VLRtask_t task, int32_t whichdinf, double* dvalue);
/// Gives an integer information item.
/// @param task the task. @param whichiinf a VLR_iinfitem. @param ivalue out.
VLR_API int32_t VLR_getintinf(VLRtask_t task, int32_t whichiinf, int32_t* ivalue);
/// Gives a 64-bit integer information item.
/// @param task the task. @param whichliinf a VLR_liinfitem. @param ivalue out.
VLR_API int32_t VLR_getlintinf(VLRtask_t task, int32_t whichliinf, int64_t* ivalue);
/// Gives a double information item by name.
/// @param task the task. @param infitemname e.g. "VLR_DINF_OPTIMIZER_TIME". @param dvalue out.
VLR_API int32_t VLR_getnadouinf(VLRtask_t task, const char* infitemname, double* dvalue);
/// Gives an integer information item by name.
/// @param task the task. @param infitemname the name. @param ivalue out.
VLR_API int32_t VLR_getnaintinf(VLRtask_t task, const char* infitemname, int32_t* ivalue);
/// Gives the index of an information item by name.
/// @param task the task. @param inftype a VLR_inftype. @param infname the name.
/// @param infindex out.
VLR_API int32_t VLR_getinfindex(VLRtask_t task, int32_t inftype, const char* infname,
                                int32_t* infindex);
/// Gives the name of an information item.
/// @param task the task. @param inftype a VLR_inftype. @param whichinf the index.
/// @param infname out: a buffer of VLR_MAX_STR_LEN.
VLR_API int32_t VLR_getinfname(VLRtask_t task, int32_t inftype, int32_t whichinf, char* infname);
/// Gives the number of information items of a type.
/// @param task the task. @param inftype a VLR_inftype. @param infmax out.
VLR_API int32_t VLR_getinfmax(VLRtask_t task, int32_t inftype, int32_t* infmax);
/// Sets the progress callback (null removes it).
/// @param task the task. @param func the callback. @param handle passed to it; borrows.
VLR_API int32_t VLR_putcallbackfunc(VLRtask_t task, VLRcallbackfunc func, void* handle);
/// Gives the progress callback and its handle.
/// @param task the task. @param func out (may be null). @param handle out (may be null).
VLR_API int32_t VLR_getcallbackfunc(VLRtask_t task, VLRcallbackfunc* func, void** handle);
/// Writes the summary of the last read on a stream.
/// @param task the task. @param whichstream a VLR_streamtype.
VLR_API int32_t VLR_readsummary(VLRtask_t task, int32_t whichstream);
/// Writes the times and iteration counts of the optimisers of the last run on a stream.
/// @param task the task. @param whichstream a VLR_streamtype.
VLR_API int32_t VLR_optimizersummary(VLRtask_t task, int32_t whichstream);
/// Writes, for every defined solution, its problem and solution status, and the primal and dual
/// objective with the largest equation, bound and cone violations, on a stream.
/// @param task the task. @param whichstream a VLR_streamtype.
VLR_API int32_t VLR_solutionsummary(VLRtask_t task, int32_t whichstream);

/* ---- Optimise ----------------------------------------------------------------------------- */

/// Optimises the task's problem with the optimiser VLR_IPAR_OPTIMIZER chooses, and leaves
/// statuses, solutions and information items in the task. A termination code (a stop on a limit
/// or by the callback) comes back as the result.
/// @param task the task.
VLR_API int32_t VLR_optimize(VLRtask_t task);
/// VLR_optimize that returns 0 for a termination and gives its code in trmcode.
/// @param task the task. @param trmcode out: the termination code, or 0 (may be null).
VLR_API int32_t VLR_optimizetrm(VLRtask_t task, int32_t* trmcode);
/// Races optimisers on the task's problem, each on a thread with a copy of it: the task with its
/// own VLR_IPAR_OPTIMIZER, and one racer per task of taskarray with that task's parameters. The
/// first racer (in that order) that ends optimal or with a certificate stops the others; all are
/// joined before the return, and its solutions and information items go to the task, with
/// VLR_IINF_CONCURRENT_FASTEST_OPTIMIZER. The tasks of taskarray lend their parameters only and
/// are left as they were. Optimisers of linear problems only: any other, or integer variables,
/// gives VLR_RES_ERR_CONCURRENT_OPTIMIZER.
/// @param task the task. @param taskarray num tasks (borrows); may be null when num is 0.
/// @param num the number of tasks in taskarray, at most 4.
VLR_API int32_t VLR_optimizeconcurrent(VLRtask_t task, VLRtask_t* taskarray, int32_t num);
/// Optimises the task's linear problem with the network simplex alone. The problem must be a pure
/// network: every column that is not fixed has, in the rows that are not free, one entry of +1 or
/// -1, or two that differ in sign once some rows are multiplied by -1; otherwise the call ends in
/// VLR_RES_ERR_INV_PROBLEM. The basic solution, its statuses (with a certificate when the network
/// is infeasible or unbounded) and the network information items are left in the task, as by
/// VLR_optimize; a termination code comes back as the result.
/// @param task the task.
VLR_API int32_t VLR_netoptimize(VLRtask_t task);
/// Finds the network in the task's linear problem: the whole problem when it is a pure network
/// (see VLR_netoptimize), otherwise a large part by VLR_IPAR_SIM_NETWORK_DETECT_METHOD. Each
/// column of the part has, in the part's rows multiplied by their signs, one entry of +-1 or an
/// entry +1 and an entry -1. Nothing is written when the call fails.
/// @param task the task.
/// @param numcon out: the number of rows in the network.
/// @param numvar out: the number of columns in the network.
/// @param netcon out: the network's rows, ascending; room for the task's number of rows.
/// @param netvar out: the network's columns, ascending; room for the task's number of columns.
/// @param scalcon out: the sign, +1 or -1, of each row in netcon; room as netcon.
VLR_API int32_t VLR_netextraction(VLRtask_t task, int32_t* numcon, int32_t* numvar, int32_t* netcon,
                                  int32_t* netvar, double* scalcon);

/* ---- Problem data ------------------------------------------------------------------------ */

/// Nonlinear structure callback: reports the sparsity of the gradients and the Hessian of the
/// Lagrangian (objective weight yo, constraint weights on ycsub). Must not throw or longjmp.
typedef int32_t (*VLRnlgetspfunc)(void* nlhandle, int32_t* numgrdobjnz, int32_t* grdobjsub,
                                  int32_t i, int32_t* convali, int32_t* grdconinz,
                                  int32_t* grdconisub, int32_t yo, int32_t numycnz,
                                  const int32_t* ycsub, int64_t maxnumhesnz, int64_t* numhesnz,
                                  int32_t* hessubi, int32_t* hessubj);
/// Nonlinear value callback: values of the objective and constraint terms, their gradients and
/// the Hessian of the Lagrangian at xx. Must not throw or longjmp.
typedef int32_t (*VLRnlgetvafunc)(void* nlhandle, const double* xx, double yo, const double* yc,
                                  double* objval, int32_t* numgrdobjnz, int32_t* grdobjsub,
                                  double* grdobjval, int32_t numi, const int32_t* subi,
                                  double* conval, const int32_t* grdconptrb,
                                  const int32_t* grdconptre, int32_t* grdconsub, double* grdconval,
                                  double* grdlag, int64_t maxnumhesnz, int64_t* numhesnz,
                                  int32_t* hessubi, int32_t* hessubj, double* hesval);

/// Gives the number of constraints.
/// @param task the task. @param numcon out.
VLR_API int32_t VLR_getnumcon(VLRtask_t task, int32_t* numcon);
/// Gives the number of variables.
/// @param task the task. @param numvar out.
VLR_API int32_t VLR_getnumvar(VLRtask_t task, int32_t* numvar);
/// Gives the number of cones.
/// @param task the task. @param numcone out.
VLR_API int32_t VLR_getnumcone(VLRtask_t task, int32_t* numcone);
/// Gives the number of variables marked integer.
/// @param task the task. @param numintvar out.
VLR_API int32_t VLR_getnumintvar(VLRtask_t task, int32_t* numintvar);
/// Gives the constraint capacity.
/// @param task the task. @param maxnumcon out.
VLR_API int32_t VLR_getmaxnumcon(VLRtask_t task, int32_t* maxnumcon);
/// Gives the variable capacity.
/// @param task the task. @param maxnumvar out.
VLR_API int32_t VLR_getmaxnumvar(VLRtask_t task, int32_t* maxnumvar);
/// Gives the cone capacity.
/// @param task the task. @param maxnumcone out.
VLR_API int32_t VLR_getmaxnumcone(VLRtask_t task, int32_t* maxnumcone);
/// Gives the number of non-zeros in A; VLR_RES_ERR_INT64_TO_INT32_CAST when it does not fit.
/// @param task the task. @param numanz out.
VLR_API int32_t VLR_getnumanz(VLRtask_t task, int32_t* numanz);
/// Gives the number of non-zeros in A.
/// @param task the task. @param numanz out.
VLR_API int32_t VLR_getnumanz64(VLRtask_t task, int64_t* numanz);
/// Gives the capacity of A's non-zero store.
/// @param task the task. @param maxnumanz out.
VLR_API int32_t VLR_getmaxnumanz(VLRtask_t task, int32_t* maxnumanz);
/// Gives the capacity of A's non-zero store.
/// @param task the task. @param maxnumanz out.
VLR_API int32_t VLR_getmaxnumanz64(VLRtask_t task, int64_t* maxnumanz);
/// Sets the constraint capacity; below the count gives VLR_RES_ERR_MAXNUMCON.
/// @param task the task. @param maxnumcon the capacity.
VLR_API int32_t VLR_putmaxnumcon(VLRtask_t task, int32_t maxnumcon);
/// Sets the variable capacity; below the count gives VLR_RES_ERR_MAXNUMVAR.
/// @param task the task. @param maxnumvar the capacity.
VLR_API int32_t VLR_putmaxnumvar(VLRtask_t task, int32_t maxnumvar);
/// Sets the capacity of A's non-zero store.
/// @param task the task. @param maxnumanz the capacity, at least the present count.
VLR_API int32_t VLR_putmaxnumanz(VLRtask_t task, int32_t maxnumanz);
/// Sets the capacity of A's non-zero store.
/// @param task the task. @param maxnumanz the capacity, at least the present count.
VLR_API int32_t VLR_putmaxnumanz64(VLRtask_t task, int64_t maxnumanz);
/// Appends constraints (free) or variables (fixed at 0), growing the capacity as needed.
/// @param task the task. @param accmode VLR_ACC_CON or VLR_ACC_VAR. @param num how many, >= 0.
VLR_API int32_t VLR_append(VLRtask_t task, int32_t accmode, int32_t num);
/// Removes constraints or variables; the others move down in order, names and solutions too.
/// @param task the task. @param accmode VLR_ACC_CON or VLR_ACC_VAR. @param num list length.
/// @param sub the indices; borrows.
VLR_API int32_t VLR_remove(VLRtask_t task, int32_t accmode, int32_t num, const int32_t* sub);
/// Merges A's cached element writes into its store.
/// @param task the task.
VLR_API int32_t VLR_commitchanges(VLRtask_t task);
/// Gives the problem type (a VLR_problemtype) from the terms present.
/// @param task the task. @param probtype out.
VLR_API int32_t VLR_getprobtype(VLRtask_t task, int32_t* probtype);
/// Checks the data for NaN in c and in the present sides of the bounds.
/// @param task the task.
VLR_API int32_t VLR_checkdata(VLRtask_t task);

/// Sets one bound; the key decides which sides count. Large values warn; a side beyond
/// VLR_DPAR_DATA_TOL_BOUND_INF makes that side missing.
/// @param task the task. @param accmode VLR_ACC_CON or VLR_ACC_VAR. @param i the item.
/// @param bk a VLR_boundkey. @param bl, bu the sides (equal for VLR_BK_FX).
VLR_API int32_t VLR_putbound(VLRtask_t task, int32_t accmode, int32_t i, int32_t bk, double bl,
                             double bu);
/// VLR_putbound for a list, stopping at the first failure.
/// @param task the task. @param accmode the class. @param num list length.
/// @param sub, bk, bl, bu the items and their bounds; borrows.
VLR_API int32_t VLR_putboundlist(VLRtask_t task, int32_t accmode, int32_t num, const int32_t* sub,
                                 const int32_t* bk, const double* bl, const double* bu);
/// VLR_putbound for the items [first, last).
/// @param task the task. @param accmode the class. @param first, last the range.
/// @param bk, bl, bu the bounds; borrows.
VLR_API int32_t VLR_putboundslice(VLRtask_t task, int32_t accmode, int32_t first, int32_t last,
                                  const int32_t* bk, const double* bl, const double* bu);
/// Gives one bound as read by its key (a missing side reads as -1e30 or +1e30).
/// @param task the task. @param accmode the class. @param i the item.
/// @param bk, bl, bu out; each may be null.
VLR_API int32_t VLR_getbound(VLRtask_t task, int32_t accmode, int32_t i, int32_t* bk, double* bl,
                             double* bu);
/// Gives the bounds of the items [first, last).
/// @param task the task. @param accmode the class. @param first, last the range.
/// @param bk, bl, bu out arrays of last - first; each may be null.
VLR_API int32_t VLR_getboundslice(VLRtask_t task, int32_t accmode, int32_t first, int32_t last,
                                  int32_t* bk, double* bl, double* bu);
/// Changes one side of a bound and keeps the other; the key follows.
/// @param task the task. @param accmode the class. @param i the item.
/// @param lower 1 for the lower side. @param finite 0 removes the side. @param value the side.
VLR_API int32_t VLR_chgbound(VLRtask_t task, int32_t accmode, int32_t i, int32_t lower,
                             int32_t finite, double value);
/// Sets one objective coefficient.
/// @param task the task. @param j the variable. @param cj the value.
VLR_API int32_t VLR_putcj(VLRtask_t task, int32_t j, double cj);
/// Sets a list of objective coefficients; all are checked before any is stored.
/// @param task the task. @param num list length. @param subj, val the list; borrows.
VLR_API int32_t VLR_putclist(VLRtask_t task, int32_t num, const int32_t* subj, const double* val);
/// Gives the objective coefficients of all variables.
/// @param task the task. @param c out: numvar values.
VLR_API int32_t VLR_getc(VLRtask_t task, double* c);
/// Gives the objective coefficients of [first, last).
/// @param task the task. @param first, last the range. @param c out.
VLR_API int32_t VLR_getcslice(VLRtask_t task, int32_t first, int32_t last, double* c);
/// Sets the fixed term of the objective.
/// @param task the task. @param cfix the value.
VLR_API int32_t VLR_putcfix(VLRtask_t task, double cfix);
/// Gives the fixed term of the objective.
/// @param task the task. @param cfix out.
VLR_API int32_t VLR_getcfix(VLRtask_t task, double* cfix);
/// Sets the objective sense (a VLR_objsense).
/// @param task the task. @param sense the sense.
VLR_API int32_t VLR_putobjsense(VLRtask_t task, int32_t sense);
/// Gives the objective sense.
/// @param task the task. @param sense out.
VLR_API int32_t VLR_getobjsense(VLRtask_t task, int32_t* sense);

/// Sets one element of A; 0 removes it. Writes in any order cost no pass over A.
/// @param task the task. @param i the constraint. @param j the variable. @param aij the value.
VLR_API int32_t VLR_putaij(VLRtask_t task, int32_t i, int32_t j, double aij);
/// VLR_putaij for a list, stopping at the first failure.
/// @param task the task. @param num list length. @param subi, subj, valij the list; borrows.
VLR_API int32_t VLR_putaijlist(VLRtask_t task, int32_t num, const int32_t* subi,
                               const int32_t* subj, const double* valij);
/// Gives one element of A.
/// @param task the task. @param i, j the position. @param aij out.
VLR_API int32_t VLR_getaij(VLRtask_t task, int32_t i, int32_t j, double* aij);
/// Replaces a row or a column of A; repeated indices are summed.
/// @param task the task. @param accmode VLR_ACC_CON for a row, VLR_ACC_VAR for a column.
/// @param i the row or column. @param nzi list length. @param asub, aval the list; borrows.
VLR_API int32_t VLR_putavec(VLRtask_t task, int32_t accmode, int32_t i, int32_t nzi,
                            const int32_t* asub, const double* aval);
/// VLR_putavec with a 64-bit length.
/// @param task the task. @param accmode the class. @param i the vector. @param nzi length.
/// @param asub, aval the list; borrows.
VLR_API int32_t VLR_putavec64(VLRtask_t task, int32_t accmode, int32_t i, int64_t nzi,
                              const int32_t* asub, const double* aval);
/// Replaces several rows or columns: vector sub[k] is asub, aval over [ptrb[k], ptre[k]).
/// @param task the task. @param accmode the class. @param num count. @param sub the vectors.
/// @param ptrb, ptre, asub, aval the lists; borrows.
VLR_API int32_t VLR_putaveclist(VLRtask_t task, int32_t accmode, int32_t num, const int32_t* sub,
                                const int32_t* ptrb, const int32_t* ptre, const int32_t* asub,
                                const double* aval);
/// VLR_putaveclist with 64-bit positions.
/// @param task the task. @param accmode the class. @param num count. @param sub the vectors.
/// @param ptrb, ptre, asub, aval the lists; borrows.
VLR_API int32_t VLR_putaveclist64(VLRtask_t task, int32_t accmode, int32_t num, const int32_t* sub,
                                  const int64_t* ptrb, const int64_t* ptre, const int32_t* asub,
                                  const double* aval);
/// Gives a row or column of A.
/// @param task the task. @param accmode the class. @param i the vector. @param nzi out: length.
/// @param subi, vali out arrays of the length; each may be null.
VLR_API int32_t VLR_getavec(VLRtask_t task, int32_t accmode, int32_t i, int32_t* nzi, int32_t* subi,
                            double* vali);
/// Gives the length of a row or column of A.
/// @param task the task. @param accmode the class. @param i the vector. @param nzi out.
VLR_API int32_t VLR_getavecnumnz(VLRtask_t task, int32_t accmode, int32_t i, int32_t* nzi);
/// Copies the rows or columns [first, last) of A, filling sub and val from position
/// maxnumnz - *surp on; *surp shrinks by what was written (VLR_RES_ERR_NEGATIVE_SURPLUS when
/// it would not fit).
/// @param task the task. @param accmode the class. @param first, last the range.
/// @param maxnumnz capacity of sub and val. @param surp in-out. @param ptrb, ptre out.
/// @param sub, val out.
VLR_API int32_t VLR_getaslice(VLRtask_t task, int32_t accmode, int32_t first, int32_t last,
                              int32_t maxnumnz, int32_t* surp, int32_t* ptrb, int32_t* ptre,
                              int32_t* sub, double* val);
/// VLR_getaslice with 64-bit positions.
/// @param task the task. @param accmode the class. @param first, last the range.
/// @param maxnumnz capacity. @param surp in-out. @param ptrb, ptre, sub, val out.
VLR_API int32_t VLR_getaslice64(VLRtask_t task, int32_t accmode, int32_t first, int32_t last,
                                int64_t maxnumnz, int64_t* surp, int64_t* ptrb, int64_t* ptre,
                                int32_t* sub, double* val);
/// Gives the number of non-zeros in the rows or columns [first, last).
/// @param task the task. @param accmode the class. @param first, last the range.
/// @param numnz out.
VLR_API int32_t VLR_getaslicenumnz(VLRtask_t task, int32_t accmode, int32_t first, int32_t last,
                                   int32_t* numnz);
/// VLR_getaslicenumnz with a 64-bit count.
/// @param task the task. @param accmode the class. @param first, last the range.
/// @param numnz out.
VLR_API int32_t VLR_getaslicenumnz64(VLRtask_t task, int32_t accmode, int32_t first, int32_t last,
                                     int64_t* numnz);
/// VLR_getaslice as triplets.
/// @param task the task. @param accmode the class. @param first, last the range.
/// @param maxnumnz capacity. @param surp in-out. @param subi, subj, val out.
VLR_API int32_t VLR_getaslicetrip(VLRtask_t task, int32_t accmode, int32_t first, int32_t last,
                                  int32_t maxnumnz, int32_t* surp, int32_t* subi, int32_t* subj,
                                  double* val);
/// Gives the number of non-zeros of A in rows [firsti, lasti) and columns [firstj, lastj).
/// @param task the task. @param firsti, lasti, firstj, lastj the block. @param numnz out.
VLR_API int32_t VLR_getapiecenumnz(VLRtask_t task, int32_t firsti, int32_t lasti, int32_t firstj,
                                   int32_t lastj, int32_t* numnz);
/// Appends variables with their objective coefficients, columns and bounds.
/// @param task the task. @param num count. @param cval coefficients (may be null).
/// @param aptrb, aptre, asub, aval the columns; borrows. @param bkx, blx, bux the bounds.
VLR_API int32_t VLR_appendvars(VLRtask_t task, int32_t num, const double* cval,
                               const int32_t* aptrb, const int32_t* aptre, const int32_t* asub,
                               const double* aval, const int32_t* bkx, const double* blx,
                               const double* bux);
/// Appends constraints with their rows and bounds.
/// @param task the task. @param num count. @param aptrb, aptre, asub, aval the rows; borrows.
/// @param bkc, blc, buc the bounds.
VLR_API int32_t VLR_appendcons(VLRtask_t task, int32_t num, const int32_t* aptrb,
                               const int32_t* aptre, const int32_t* asub, const double* aval,
                               const int32_t* bkc, const double* blc, const double* buc);
/// Replaces the whole problem by a linear one given by columns. Every column is checked first;
/// a refused call leaves the task as it was.
/// @param task the task. @param maxnumcon, maxnumvar capacities. @param numcon, numvar sizes.
/// @param c objective (null: zeros). @param cfix fixed term.
/// @param aptrb, aptre, asub, aval A by columns; borrows.
/// @param bkc, blc, buc, bkx, blx, bux bounds; borrows.
VLR_API int32_t VLR_inputdata(VLRtask_t task, int32_t maxnumcon, int32_t maxnumvar, int32_t numcon,
                              int32_t numvar, const double* c, double cfix, const int32_t* aptrb,
                              const int32_t* aptre, const int32_t* asub, const double* aval,
                              const int32_t* bkc, const double* blc, const double* buc,
                              const int32_t* bkx, const double* blx, const double* bux);
/// VLR_inputdata with 64-bit column positions.
/// @param task the task. @param maxnumcon, maxnumvar, numcon, numvar sizes. @param c, cfix the
///   objective. @param aptrb, aptre, asub, aval A. @param bkc, blc, buc, bkx, blx, bux bounds.
VLR_API int32_t VLR_inputdata64(VLRtask_t task, int32_t maxnumcon, int32_t maxnumvar,
                                int32_t numcon, int32_t numvar, const double* c, double cfix,
                                const int64_t* aptrb, const int64_t* aptre, const int32_t* asub,
                                const double* aval, const int32_t* bkc, const double* blc,
                                const double* buc, const int32_t* bkx, const double* blx,
                                const double* bux);

/* ---- Names ---------------------------------------------------------------------------------- */

/// Names an item; blank names and, among the class, duplicates are refused.
/// @param task the task. @param whichitem a VLR_problemitem. @param i the item.
/// @param name the name; copies.
VLR_API int32_t VLR_putname(VLRtask_t task, int32_t whichitem, int32_t i, const char* name);
/// Names the objective.
/// @param task the task. @param objname the name; copies.
VLR_API int32_t VLR_putobjname(VLRtask_t task, const char* objname);
/// Gives an item's name, or its generic name ("x12", "c3", "k0") when it has none.
/// @param task the task. @param whichitem a VLR_problemitem. @param i the item.
/// @param maxlen capacity of name. @param len out: the length (may be null).
/// @param name out: the name, cut to fit (VLR_RES_ERR_NAME_MAX_LEN then); may be null.
VLR_API int32_t VLR_getname(VLRtask_t task, int32_t whichitem, int32_t i, int32_t maxlen,
                            int32_t* len, char* name);
/// VLR_getname with 64-bit sizes.
/// @param task the task. @param whichitem the class. @param i the item. @param maxlen capacity.
/// @param len out. @param name out.
VLR_API int32_t VLR_getname64(VLRtask_t task, int32_t whichitem, int32_t i, int64_t maxlen,
                              int64_t* len, char* name);
/// Gives the length of an item's name (generic names included).
/// @param task the task. @param whichitem the class. @param i the item. @param len out.
VLR_API int32_t VLR_getnamelen64(VLRtask_t task, int32_t whichitem, int32_t i, int64_t* len);
/// Gives a variable's name.
/// @param task the task. @param j the variable. @param maxlen capacity. @param name out.
VLR_API int32_t VLR_getvarname(VLRtask_t task, int32_t j, int32_t maxlen, char* name);
/// Gives a variable's name.
/// @param task the task. @param j the variable. @param maxlen capacity. @param name out.
VLR_API int32_t VLR_getvarname64(VLRtask_t task, int32_t j, int64_t maxlen, char* name);
/// Gives a constraint's name.
/// @param task the task. @param i the constraint. @param maxlen capacity. @param name out.
VLR_API int32_t VLR_getconname(VLRtask_t task, int32_t i, int32_t maxlen, char* name);
/// Gives a constraint's name.
/// @param task the task. @param i the constraint. @param maxlen capacity. @param name out.
VLR_API int32_t VLR_getconname64(VLRtask_t task, int32_t i, int64_t maxlen, char* name);
/// Gives the objective's name ("" when none).
/// @param task the task. @param maxlen capacity. @param len out (may be null). @param objname out.
VLR_API int32_t VLR_getobjname(VLRtask_t task, int32_t maxlen, int32_t* len, char* objname);
/// Gives the objective's name.
/// @param task the task. @param maxlen capacity. @param len out. @param objname out.
VLR_API int32_t VLR_getobjname64(VLRtask_t task, int64_t maxlen, int64_t* len, char* objname);
/// Gives the task's name.
/// @param task the task. @param maxlen capacity. @param len out. @param taskname out.
VLR_API int32_t VLR_gettaskname64(VLRtask_t task, int64_t maxlen, int64_t* len, char* taskname);
/// Finds the item with a name.
/// @param task the task. @param whichitem the class. @param name the name; borrows.
/// @param asgn out: 1 when found. @param index out: the item (0 when not found).
VLR_API int32_t VLR_getnameindex(VLRtask_t task, int32_t whichitem, const char* name, int32_t* asgn,
                                 int32_t* index);
/// Gives the length of the longest name, generic names included.
/// @param task the task. @param maxlen out.
VLR_API int32_t VLR_getmaxnamelen(VLRtask_t task, int32_t* maxlen);

/* ---- Solutions ------------------------------------------------------------------------------ */

/// Stores a solution given by the caller; null arrays leave the item as it was. For the basic
/// solution a count of VLR_SK_BAS keys other than numcon warns.
/// @param task the task. @param whichsol a VLR_soltype. @param skc, skx, skn status keys.
/// @param xc, xx, y, slc, suc, slx, sux, snx the items; copies.
VLR_API int32_t VLR_putsolution(VLRtask_t task, int32_t whichsol, const int32_t* skc,
                                const int32_t* skx, const int32_t* skn, const double* xc,
                                const double* xx, const double* y, const double* slc,
                                const double* suc, const double* slx, const double* sux,
                                const double* snx);
/// Gives a defined solution; each out may be null, and items the type lacks are left alone.
/// @param task the task. @param whichsol the solution. @param prosta, solsta out.
/// @param skc, skx, skn, xc, xx, y, slc, suc, slx, sux, snx out arrays.
VLR_API int32_t VLR_getsolution(VLRtask_t task, int32_t whichsol, int32_t* prosta, int32_t* solsta,
                                int32_t* skc, int32_t* skx, int32_t* skn, double* xc, double* xx,
                                double* y, double* slc, double* suc, double* slx, double* sux,
                                double* snx);
/// Gives the entries [first, last) of one item of a solution.
/// @param task the task. @param whichsol the solution. @param solitem a VLR_solitem.
/// @param first, last the range. @param values out.
VLR_API int32_t VLR_getsolutionslice(VLRtask_t task, int32_t whichsol, int32_t solitem,
                                     int32_t first, int32_t last, double* values);
/// Gives the status keys [first, last) of constraints or variables.
/// @param task the task. @param accmode the class. @param whichsol the solution.
/// @param first, last the range. @param sk out.
VLR_API int32_t VLR_getsolutionstatuskeyslice(VLRtask_t task, int32_t accmode, int32_t whichsol,
                                              int32_t first, int32_t last, int32_t* sk);
/// Gives the problem and solution status of a solution.
/// @param task the task. @param whichsol the solution. @param prosta, solsta out; may be null.
VLR_API int32_t VLR_getsolutionstatus(VLRtask_t task, int32_t whichsol, int32_t* prosta,
                                      int32_t* solsta);
/// Sets the entries of one constraint or variable in a defined solution.
/// @param task the task. @param accmode the class. @param i the item. @param whichsol the
///   solution. @param sk key. @param x value. @param sl, su multipliers. @param sn cone dual.
VLR_API int32_t VLR_putsolutioni(VLRtask_t task, int32_t accmode, int32_t i, int32_t whichsol,
                                 int32_t sk, double x, double sl, double su, double sn);
/// Sets the dual value y of one constraint.
/// @param task the task. @param i the constraint. @param whichsol the solution. @param y value.
VLR_API int32_t VLR_putsolutionyi(VLRtask_t task, int32_t i, int32_t whichsol, double y);
/// Gives the entries of one constraint or variable.
/// @param task the task. @param accmode the class. @param i the item. @param whichsol the
///   solution. @param sk, x, sl, su, sn out; each may be null.
VLR_API int32_t VLR_getsolutioni(VLRtask_t task, int32_t accmode, int32_t i, int32_t whichsol,
                                 int32_t* sk, double* x, double* sl, double* su, double* sn);
/// Gives slx - sux for the variables [first, last).
/// @param task the task. @param whichsol the solution. @param first, last the range.
/// @param redcosts out.
VLR_API int32_t VLR_getreducedcosts(VLRtask_t task, int32_t whichsol, int32_t first, int32_t last,
                                    double* redcosts);
/// Tells whether a solution is defined.
/// @param task the task. @param whichsol the solution. @param isdef out: 1 or 0.
VLR_API int32_t VLR_solutiondef(VLRtask_t task, int32_t whichsol, int32_t* isdef);
/// Marks a solution undefined; its arrays stay.
/// @param task the task. @param whichsol the solution.
VLR_API int32_t VLR_undefsolution(VLRtask_t task, int32_t whichsol);
/// Frees a solution.
/// @param task the task. @param whichsol the solution.
VLR_API int32_t VLR_deletesolution(VLRtask_t task, int32_t whichsol);
/// Makes a solution defined with unknown statuses, keys VLR_SK_UNK and all values 0.
/// @param task the task. @param whichsol the solution.
VLR_API int32_t VLR_makesolutionstatusunknown(VLRtask_t task, int32_t whichsol);
/// Sets the problem status of a defined solution.
/// @param task the task. @param whichsol the solution. @param prosta a VLR_prosta.
VLR_API int32_t VLR_putprosta(VLRtask_t task, int32_t whichsol, int32_t prosta);
/// Sets the solution status of a defined solution.
/// @param task the task. @param whichsol the solution. @param solsta a VLR_solsta.
VLR_API int32_t VLR_putsolsta(VLRtask_t task, int32_t whichsol, int32_t solsta);
/// Gives the primal objective value of a solution (a certificate leaves out cfix).
/// @param task the task. @param whichsol the solution. @param primalobj out (-1e30 on error).
VLR_API int32_t VLR_getprimalobj(VLRtask_t task, int32_t whichsol, double* primalobj);
/// Gives the dual objective value of a solution.
/// @param task the task. @param whichsol the solution. @param dualobj out (+1e30 on error).
VLR_API int32_t VLR_getdualobj(VLRtask_t task, int32_t whichsol, double* dualobj);
/// Gives the statuses, objective values and largest violations of a solution: bounds (pbi),
/// cones (pcni), equations (peqi), integrality (inti) and their dual counterparts.
/// @param task the task. @param whichsol the solution. @param prosta, solsta, primalobj, maxpbi,
///   maxpcni, maxpeqi, maxinti, dualobj, maxdbi, maxdcni, maxdeqi out; each may be null.
VLR_API int32_t VLR_getsolutioninf(VLRtask_t task, int32_t whichsol, int32_t* prosta,
                                   int32_t* solsta, double* primalobj, double* maxpbi,
                                   double* maxpcni, double* maxpeqi, double* maxinti,
                                   double* dualobj, double* maxdbi, double* maxdcni,
                                   double* maxdeqi);
/// Primal bound violations of listed constraints or variables.
/// @param task the task. @param whichsol the solution. @param accmode the class.
/// @param sub, len the list; borrows. @param pbi out. @param normalize 1: relative to the bound.
VLR_API int32_t VLR_getpbi(VLRtask_t task, int32_t whichsol, int32_t accmode, const int32_t* sub,
                           int32_t len, double* pbi, int32_t normalize);
/// Violations |xc - Ax| of listed constraints.
/// @param task the task. @param whichsol the solution. @param sub, len the list.
/// @param peqi out. @param normalize 1: relative to |xc|.
VLR_API int32_t VLR_getpeqi(VLRtask_t task, int32_t whichsol, const int32_t* sub, int32_t len,
                            double* peqi, int32_t normalize);
/// Primal cone violations of listed cones.
/// @param task the task. @param whichsol the solution. @param sub, len the list. @param pcni out.
VLR_API int32_t VLR_getpcni(VLRtask_t task, int32_t whichsol, const int32_t* sub, int32_t len,
                            double* pcni);
/// Distances to the nearest integer of listed integer variables (0 for continuous ones).
/// @param task the task. @param whichsol the solution. @param sub, len the list. @param inti out.
VLR_API int32_t VLR_getinti(VLRtask_t task, int32_t whichsol, const int32_t* sub, int32_t len,
                            double* inti);
/// Dual bound violations (sign of the multipliers) of listed constraints or variables.
/// @param task the task. @param whichsol the solution. @param accmode the class.
/// @param sub, len the list. @param dbi out. @param normalize accepted for symmetry.
VLR_API int32_t VLR_getdbi(VLRtask_t task, int32_t whichsol, int32_t accmode, const int32_t* sub,
                           int32_t len, double* dbi, int32_t normalize);
/// Dual equation residuals of listed constraints or variables.
/// @param task the task. @param whichsol the solution. @param accmode the class.
/// @param sub, len the list. @param deqi out. @param normalize 1: relative to |c_j|.
VLR_API int32_t VLR_getdeqi(VLRtask_t task, int32_t whichsol, int32_t accmode, const int32_t* sub,
                            int32_t len, double* deqi, int32_t normalize);
/// Dual cone violations of listed cones (interior solution only).
/// @param task the task. @param whichsol the solution. @param sub, len the list. @param dcni out.
VLR_API int32_t VLR_getdcni(VLRtask_t task, int32_t whichsol, const int32_t* sub, int32_t len,
                            double* dcni);
/// Stores the measures of VLR_getsolutioninf in the VLR_DINF_SOL_ and VLR_IINF_SOL_ items.
/// @param task the task. @param whichsol the solution.
VLR_API int32_t VLR_updatesolutioninfo(VLRtask_t task, int32_t whichsol);

/* ---- Quadratic terms, cones and integer data ------------------------------------------------ */

/// Replaces the objective's Q (lower triangle; the term is 0.5 x'Qx). Repeats are summed.
/// @param task the task. @param numqonz count. @param qosubi, qosubj, qoval elements; copies.
VLR_API int32_t VLR_putqobj(VLRtask_t task, int32_t numqonz, const int32_t* qosubi,
                            const int32_t* qosubj, const double* qoval);
/// Sets one element of the objective's Q; (j, i) counts as (i, j), and a tiny value removes it.
/// @param task the task. @param i, j the position. @param qoij the value.
VLR_API int32_t VLR_putqobjij(VLRtask_t task, int32_t i, int32_t j, double qoij);
/// Gives one element of the objective's Q.
/// @param task the task. @param i, j the position. @param qoij out.
VLR_API int32_t VLR_getqobjij(VLRtask_t task, int32_t i, int32_t j, double* qoij);
/// Replaces constraint k's Q (lower triangle).
/// @param task the task. @param k the constraint. @param numqcnz count.
/// @param qcsubi, qcsubj, qcval elements; copies.
VLR_API int32_t VLR_putqconk(VLRtask_t task, int32_t k, int32_t numqcnz, const int32_t* qcsubi,
                             const int32_t* qcsubj, const double* qcval);
/// Replaces every constraint's Q; element e belongs to constraint qcsubk[e].
/// @param task the task. @param numqcnz count. @param qcsubk, qcsubi, qcsubj, qcval; copies.
VLR_API int32_t VLR_putqcon(VLRtask_t task, int32_t numqcnz, const int32_t* qcsubk,
                            const int32_t* qcsubi, const int32_t* qcsubj, const double* qcval);
/// Gives the objective's Q; with all arrays null only the count.
/// @param task the task. @param maxnumqonz capacity. @param numqonz out.
/// @param qosubi, qosubj, qoval out.
VLR_API int32_t VLR_getqobj(VLRtask_t task, int32_t maxnumqonz, int32_t* numqonz, int32_t* qosubi,
                            int32_t* qosubj, double* qoval);
/// VLR_getqobj with 64-bit sizes.
/// @param task the task. @param maxnumqonz capacity. @param numqonz, qosubi, qosubj, qoval out.
VLR_API int32_t VLR_getqobj64(VLRtask_t task, int64_t maxnumqonz, int64_t* numqonz, int32_t* qosubi,
                              int32_t* qosubj, double* qoval);
/// Gives constraint k's Q.
/// @param task the task. @param k the constraint. @param maxnumqcnz capacity.
/// @param numqcnz, qcsubi, qcsubj, qcval out.
VLR_API int32_t VLR_getqconk(VLRtask_t task, int32_t k, int32_t maxnumqcnz, int32_t* numqcnz,
                             int32_t* qcsubi, int32_t* qcsubj, double* qcval);
/// VLR_getqconk with 64-bit sizes.
/// @param task the task. @param k the constraint. @param maxnumqcnz capacity.
/// @param numqcnz, qcsubi, qcsubj, qcval out.
VLR_API int32_t VLR_getqconk64(VLRtask_t task, int32_t k, int64_t maxnumqcnz, int64_t* numqcnz,
                               int32_t* qcsubi, int32_t* qcsubj, double* qcval);
/// Gives the number of elements of the objective's Q.
/// @param task the task. @param numqonz out.
VLR_API int32_t VLR_getnumqobjnz(VLRtask_t task, int32_t* numqonz);
/// Gives the number of elements of the objective's Q.
/// @param task the task. @param numqonz out.
VLR_API int32_t VLR_getnumqobjnz64(VLRtask_t task, int64_t* numqonz);
/// Gives the number of elements of constraint k's Q.
/// @param task the task. @param k the constraint. @param numqcnz out.
VLR_API int32_t VLR_getnumqconknz(VLRtask_t task, int32_t k, int32_t* numqcnz);
/// Gives the number of elements of constraint k's Q.
/// @param task the task. @param k the constraint. @param numqcnz out.
VLR_API int32_t VLR_getnumqconknz64(VLRtask_t task, int32_t k, int64_t* numqcnz);
/// Sets the capacity of the Q pool; below its use gives VLR_RES_ERR_MAXNUMQNZ.
/// @param task the task. @param maxnumqnz the capacity.
VLR_API int32_t VLR_putmaxnumqnz(VLRtask_t task, int32_t maxnumqnz);
/// Sets the capacity of the Q pool.
/// @param task the task. @param maxnumqnz the capacity.
VLR_API int32_t VLR_putmaxnumqnz64(VLRtask_t task, int64_t maxnumqnz);
/// Gives the capacity of the Q pool.
/// @param task the task. @param maxnumqnz out.
VLR_API int32_t VLR_getmaxnumqnz(VLRtask_t task, int32_t* maxnumqnz);
/// Gives the capacity of the Q pool.
/// @param task the task. @param maxnumqnz out.
VLR_API int32_t VLR_getmaxnumqnz64(VLRtask_t task, int64_t* maxnumqnz);
/// Sets the cone capacity (at most maxnumvar); below the count gives VLR_RES_ERR_MAXNUMCONE.
/// @param task the task. @param maxnumcone the capacity.
VLR_API int32_t VLR_putmaxnumcone(VLRtask_t task, int32_t maxnumcone);
/// Appends a cone; a variable may belong to one cone only.
/// @param task the task. @param conetype a VLR_conetype. @param conepar stored as given.
/// @param nummem count. @param submem the members; copies.
VLR_API int32_t VLR_appendcone(VLRtask_t task, int32_t conetype, double conepar, int32_t nummem,
                               const int32_t* submem);
/// Replaces cone k.
/// @param task the task. @param k the cone. @param conetype the type. @param conepar parameter.
/// @param nummem count. @param submem the members; copies.
VLR_API int32_t VLR_putcone(VLRtask_t task, int32_t k, int32_t conetype, double conepar,
                            int32_t nummem, const int32_t* submem);
/// Removes cone k; the later cones move down.
/// @param task the task. @param k the cone.
VLR_API int32_t VLR_removecone(VLRtask_t task, int32_t k);
/// Gives cone k.
/// @param task the task. @param k the cone. @param conetype, conepar, nummem out (may be null).
/// @param submem out: the members (may be null).
VLR_API int32_t VLR_getcone(VLRtask_t task, int32_t k, int32_t* conetype, double* conepar,
                            int32_t* nummem, int32_t* submem);
/// Gives the type, parameter and size of cone k.
/// @param task the task. @param k the cone. @param conetype, conepar, nummem out (may be null).
VLR_API int32_t VLR_getconeinfo(VLRtask_t task, int32_t k, int32_t* conetype, double* conepar,
                                int32_t* nummem);
/// Gives the size of cone k.
/// @param task the task. @param k the cone. @param nummem out.
VLR_API int32_t VLR_getnumconemem(VLRtask_t task, int32_t k, int32_t* nummem);
/// Marks a variable continuous or integer (a VLR_variabletype).
/// @param task the task. @param j the variable. @param vartype the type.
VLR_API int32_t VLR_putvartype(VLRtask_t task, int32_t j, int32_t vartype);
/// VLR_putvartype for a list, read from its last element backwards.
/// @param task the task. @param num count. @param subj, vartype the list; borrows.
VLR_API int32_t VLR_putvartypelist(VLRtask_t task, int32_t num, const int32_t* subj,
                                   const int32_t* vartype);
/// Gives a variable's type.
/// @param task the task. @param j the variable. @param vartype out.
VLR_API int32_t VLR_getvartype(VLRtask_t task, int32_t j, int32_t* vartype);
/// Gives the types of listed variables.
/// @param task the task. @param num count. @param subj the list. @param vartype out.
VLR_API int32_t VLR_getvartypelist(VLRtask_t task, int32_t num, const int32_t* subj,
                                   int32_t* vartype);
/// Sets a variable's branching priority (>= 0) and direction (a VLR_branchdir).
/// @param task the task. @param j the variable. @param priority, direction the values.
VLR_API int32_t VLR_putvarbranchorder(VLRtask_t task, int32_t j, int32_t priority,
                                      int32_t direction);
/// Gives a variable's branching priority and direction.
/// @param task the task. @param j the variable. @param priority, direction out (may be null).
VLR_API int32_t VLR_getvarbranchorder(VLRtask_t task, int32_t j, int32_t* priority,
                                      int32_t* direction);
/// Gives a variable's branching priority.
/// @param task the task. @param j the variable. @param priority out.
VLR_API int32_t VLR_getvarbranchpri(VLRtask_t task, int32_t j, int32_t* priority);
/// Gives a variable's branching direction.
/// @param task the task. @param j the variable. @param direction out.
VLR_API int32_t VLR_getvarbranchdir(VLRtask_t task, int32_t j, int32_t* direction);
/// Sets the nonlinear callbacks (null functions remove them). A task with them cannot be cloned.
/// @param task the task. @param nlhandle passed to both; borrows (must outlive the task's use).
/// @param nlgetsp the structure callback. @param nlgetva the value callback.
VLR_API int32_t VLR_putnlfunc(VLRtask_t task, void* nlhandle, VLRnlgetspfunc nlgetsp,
                              VLRnlgetvafunc nlgetva);
/// Gives the nonlinear callbacks.
/// @param task the task. @param nlhandle, nlgetsp, nlgetva out (may be null).
VLR_API int32_t VLR_getnlfunc(VLRtask_t task, void** nlhandle, VLRnlgetspfunc* nlgetsp,
                              VLRnlgetvafunc* nlgetva);

/* ---- Data files ------------------------------------------------------------------------------ */
/// Reads a problem file into the task, replacing its whole problem. The format comes from
/// VLR_IPAR_READ_DATA_FORMAT or, when that is VLR_DATA_FORMAT_EXTENSION, from the rightmost known
/// extension of the name ("mps", "fmps" for free MPS, "lp", "opf", "mbt", "xml"; none: MPS), so
/// "model.mps.gz" is gzip MPS. A file whose name ends in ".gz" is read through gzip. On success the
/// read statistics (VLR_IINF_RD_..., VLR_LIINF_RD_...) are set; on failure the task keeps what the
/// reader had stored. Formats without a reader give VLR_RES_ERR_READ_FORMAT.
/// @param task the task. @param filename the file; null or "" takes VLR_SPAR_DATA_FILE_NAME.
/// Copies.
VLR_API int32_t VLR_readdata(VLRtask_t task, const char* filename);
/// Writes the task's problem to a file. The format comes from VLR_IPAR_WRITE_DATA_FORMAT or the
/// name's extension (none: MPS). A name with the extension "gz" is written through gzip; otherwise
/// VLR_IPAR_WRITE_DATA_COMPRESSED >= 1 appends ".gz" to the name and compresses. Unnamed items
/// make the writer use generic names, with the warning VLR_RES_WRN_USING_GENERIC_NAMES.
/// @param task the task. @param filename the file; null or "" takes VLR_SPAR_DATA_FILE_NAME.
/// Copies.
VLR_API int32_t VLR_writedata(VLRtask_t task, const char* filename);
/// Writes a defined solution as text: task name, problem and solution status, objective name and
/// values, then one line per constraint and per variable with index, name, status key, value,
/// lower and upper limit ("NONE" for a missing side) and, except for VLR_SOL_ITG, the two duals.
/// A name ending in ".gz" is written through gzip. An undefined solution gives
/// VLR_RES_ERR_UNDEF_SOLUTION.
/// @param task the task. @param whichsol a VLR_soltype. @param filename the file; copies.
VLR_API int32_t VLR_writesolution(VLRtask_t task, int32_t whichsol, const char* filename);
/// Reads a solution file as VLR_writesolution writes it (gzip or plain) into a solution of the
/// task, for the task's current problem: the two statuses, then for each constraint and each
/// variable, in index order and under the task's name (or generic name) for it, the status key,
/// the value and, except for VLR_SOL_ITG, the duals of the two sides; y becomes slc - suc. The
/// limits and objective values in the file are checked as numbers and not used; for
/// VLR_SOL_ITR, snx becomes 0 and the cone keys VLR_SK_UNK. The whole file is checked before the
/// solution changes, so a refused file leaves every solution as it was: a bad number, NaN or
/// infinity gives VLR_RES_ERR_SOL_FILE_INVALID_NUMBER, a name that is not the problem's name of
/// that item VLR_RES_ERR_INVALID_NAME_IN_SOL_FILE, an unknown status key VLR_RES_ERR_INV_SK_STR,
/// a file that ends early VLR_RES_ERR_END_OF_FILE, and any other mismatch (more or fewer lines
/// than items, a missing field or duals) VLR_RES_ERR_FILE_READ; the line is told on the error
/// stream.
/// @param task the task. @param whichsol a VLR_soltype. @param filename the file; null or ""
/// takes VLR_SPAR_ITR_SOL_FILE_NAME, VLR_SPAR_BAS_SOL_FILE_NAME or VLR_SPAR_INT_SOL_FILE_NAME by
/// whichsol, and an empty name there gives VLR_RES_ERR_INVALID_SOL_FILE_NAME. Copies.
VLR_API int32_t VLR_readsolution(VLRtask_t task, int32_t whichsol, const char* filename);

#ifdef __cplusplus
}
#endif

#endif /* VELOR_H */
