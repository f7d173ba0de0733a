// src/velor/mpsread.cpp: the MPS reader: a first pass that checks the section order and counts,
// then a second pass that stores rows, columns, right-hand sides, ranges, bounds, Q and cones into
// a task sized exactly, and the clean-up of free rows at the end.
// SPDX-License-Identifier: Apache-2.0
#include <cmath>
#include <cstring>

#include "velor/datafile.h"
#include "velor/param.h"
#include "velor/probdata.h"

namespace vlr {

namespace {

constexpr int64_t kProgressStep = 1000000;  // A non-zeros between two progress lines

// What the first pass counts, for the sizes of the second.
struct MpsCounts {
  int32_t numcon = 0, numvar = 0, numcone = 0;
  int64_t numanz = 0;    // pairs in COLUMNS, the objective row's included
  int64_t numqnz = 0;    // entries of every Q section
  int64_t maxqsec = 0;   // entries of the largest Q section
  int64_t maxcolnz = 0;  // pairs of the longest column
  int64_t namebytes = 0;
};

// One of the vectors of RHS, RANGES and BOUNDS: the first line (or the parameter) chooses it.
struct VecSel {
  bool chosen = false;
  bool away = false;  // lines of another vector came since the last line of the chosen one
  char* name = nullptr;
};

struct MpsRead {
  Task* task;
  const char* fname;  // the file's name, for messages
  MpsLineReader* rm;
  int32_t width;
  int32_t pass;  // 1 counts, 2 stores
  int32_t next;  // lowest section number still allowed
  int32_t sec;   // current section; -1 before the first head
  MpsCounts cnt;
  char* prev;  // [width + 1] the name of the column being read
  int64_t colnz, qsec;
  // Second pass.
  int32_t objrow;     // -1 until the end of ROWS
  int8_t* rowtype;    // [numcon] key given in ROWS
  uint8_t* qseen;     // [numcon] the row had a Q section
  int32_t curcol;     // -1 before the first column
  bool intblock;      // between 'INTORG' and 'INTEND' markers
  int32_t* colpos;    // [numcon] position + 1 of the row in the column being read; 0 none
  int32_t* colsub;    // [maxcolnz]
  double* colval;     // [maxcolnz]
  int64_t anzread;    // non-zeros stored, for progress lines
  VecSel vec[3];      // RHS, RANGES, BOUNDS
  double cfix;        // from the objective row's right-hand side
  int32_t qrow;       // row of the Q section being read
  int32_t *qi, *qj;   // [maxqsec]
  double* qv;         // [maxqsec]
  int64_t nq;         // entries of the Q section being read
  int32_t* conemark;  // [numvar] cone + 1 of each variable; 0 none
  int32_t* conemem;   // [numvar]
  int32_t nmem, conetype;
  double conepar;
  char* conename;  // [width + 1]
};

void mps_log(Task* task, const char* format, ...) VLR_PRINTF(2, 3);
void mps_log(Task* task, const char* format, ...) {
  if (VLRP_getintparam(task, VLR_IPAR_LOG) < 1 || VLRP_getintparam(task, VLR_IPAR_LOG_FILE) < 1) {
    return;
  }
  va_list ap;
  va_start(ap, format);
  VLR_echotaskva(task, VLR_STREAM_LOG, format, ap);
  va_end(ap);
}

// The line source of the splitter: one line of a file without its line end and carriage returns.
int32_t mps_readline(void* arg, char* buf, int32_t size, int32_t* len) {
  size_t got = 0;
  const int32_t r =
      VLR_sysenv_fgets(static_cast<SysFile*>(arg), buf, static_cast<size_t>(size), &got);
  if (r == kSysEndOfFile) return kRmEof;
  if (r != kSysOk) return kRmReadError;
  if (got > 0 && buf[got - 1] == '\n') {
    --got;
  } else if (got + 1 == static_cast<size_t>(size)) {
    *len = size;  // cut short: longer than the splitter takes
    return kRmData;
  }
  size_t n = 0;
  for (size_t p = 0; p < got; ++p) {
    if (buf[p] != '\r') buf[n++] = buf[p];
  }
  buf[n] = '\0';
  *len = static_cast<int32_t>(n);
  return kRmData;
}

// Turns a splitter code into a response code.
int32_t mps_procresp(MpsRead* m, int32_t code) {
  Task* task = m->task;
  switch (code) {
    case kRmData:
    case kRmSection:
    case kRmEmpty:
      return VLR_RES_OK;
    case kRmEof:
      return VLR_RAISE(task, VLR_RES_ERR_END_OF_FILE);
    case kRmTooMany:
      return VLR_RES_ERR_MPS_FILE;  // the line below tells what is wrong
    case kRmTabField1:
      return VLR_RAISE(task, VLR_RES_ERR_MPS_TAB_IN_FIELD2);
    case kRmTabField2:
      return VLR_RAISE(task, VLR_RES_ERR_MPS_TAB_IN_FIELD3);
    case kRmTabField4:
      return VLR_RAISE(task, VLR_RES_ERR_MPS_TAB_IN_FIELD5);
    default:
      if (code > kRmBadField0 && code < kRmTooMany) {
        return VLR_RAISE(task, VLR_RES_ERR_MPS_INV_FIELD, code - kRmBadField0);
      }
      return VLR_RAISE(task, VLR_RES_ERR_MPS_FILE);
  }
}

// Every failure names the line it happened on.
int32_t mps_fileerr(MpsRead* m, int32_t r) {
  if (r == VLR_RES_OK) return r;
  VLRP_echotask(m->task, VLR_STREAM_ERR, "The error occured at line(%d):\n",
                VLR_rm_getlinenumber(m->rm));
  VLRP_echotask(m->task, VLR_STREAM_ERR, "%s\n", VLR_rm_getline(m->rm));
  VLRP_echotask(m->task, VLR_STREAM_ERR, "%s:%d: the record above, in section %s\n", m->fname,
                VLR_rm_getlinenumber(m->rm), m->sec >= 0 ? kMpsSectionNames[m->sec] : "(none)");
  return r;
}

// QUADOBJ, QSECTION and CSECTION may repeat once COLUMNS is passed; every other section comes at
// most once and in order. SETS leaves the order as it was.
int32_t mps_checkorder(MpsRead* m, int32_t s) {
  const bool q = s == kSecQuadobj || s == kSecQsection || s == kSecCsection;
  const bool ok = q ? m->next >= kSecRhs : s >= m->next;
  if (!ok) return VLR_RAISE(m->task, VLR_RES_ERR_MPS_INV_SEC_ORDER, kMpsSectionNames[s]);
  if (s != kSecSets) m->next = s + 1;
  return VLR_RES_OK;
}

bool mps_pair(const MpsRead* m, int32_t k) {
  return VLR_rm_field(m->rm, k)[0] != '\0' || VLR_rm_number(m->rm, k + 1) != 0.0;
}

// ---- First pass --------------------------------------------------------------------------------

void est_data(MpsRead* m) {
  MpsCounts& c = m->cnt;
  const char* f1 = VLR_rm_field(m->rm, 1);
  switch (m->sec) {
    case kSecRows:
      ++c.numcon;
      c.namebytes += static_cast<int64_t>(std::strlen(f1)) + 1;
      break;
    case kSecColumns: {
      if (std::strcmp(VLR_rm_field(m->rm, 2), "'MARKER'") == 0) break;
      if (c.numvar == 0 || std::strcmp(f1, m->prev) != 0) {
        ++c.numvar;
        c.namebytes += static_cast<int64_t>(std::strlen(f1)) + 1;
        std::strcpy(m->prev, f1);
        m->colnz = 0;
      }
      for (int32_t k = 2; k <= 4; k += 2) {
        if (!mps_pair(m, k)) continue;
        ++c.numanz;
        if (++m->colnz > c.maxcolnz) c.maxcolnz = m->colnz;
        if (c.numanz % kProgressStep == 0) {
          mps_log(m->task, "Read %lld %s.\n", static_cast<long long>(c.numanz), "A nonzeros");
        }
      }
      break;
    }
    case kSecQuadobj:
    case kSecQsection:
      for (int32_t k = 2; k <= 4; k += 2) {
        if (!mps_pair(m, k)) continue;
        ++c.numqnz;
        if (++m->qsec > c.maxqsec) c.maxqsec = m->qsec;
      }
      break;
    default:
      break;
  }
}

int32_t est_head(MpsRead* m) {
  int32_t s = 0;
  if (VLR_rm_checksechead(m->rm, &s) != kRmData) return mps_procresp(m, kRmBadField0 + 1);
  const int32_t r = mps_checkorder(m, s);
  if (r != VLR_RES_OK) return r;
  m->sec = s;
  m->qsec = 0;
  if (s == kSecRows) mps_log(m->task, "Estimating number of %s.\n", "constraints");
  if (s == kSecColumns) mps_log(m->task, "Estimating number of %s.\n", "variables and A nonzeros");
  if (s == kSecCsection) {
    ++m->cnt.numcone;
    m->cnt.namebytes += static_cast<int64_t>(std::strlen(VLR_rm_field(m->rm, 2))) + 1;
  }
  return VLR_RES_OK;
}

// A data line outside any section, or inside NAME, has no meaning.
int32_t mps_strayline(MpsRead* m) {
  return m->sec < 0 || m->sec == kSecName ? VLR_RAISE(m->task, VLR_RES_ERR_MPS_FILE) : VLR_RES_OK;
}

int32_t VLR_estimatesize(MpsRead* m) {
  const double start = VLR_sysenv_getwctime(m->task->sys);
  mps_log(m->task, "Estimating problem size.\n");
  for (;;) {
    const int32_t code = VLR_rm_read(m->rm, m->sec);
    int32_t r = VLR_RES_OK;
    if (code == kRmEmpty) continue;
    if (code == kRmSection) {
      r = est_head(m);
      if (r == VLR_RES_OK && m->sec == kSecEndata) break;
    } else if (code == kRmData) {
      r = mps_strayline(m);
      if (r == VLR_RES_OK) est_data(m);
    } else {
      r = mps_procresp(m, code);
    }
    if (r != VLR_RES_OK) return mps_fileerr(m, r);
  }
  mps_log(m->task, "Finished estimating problem size. Time: %-.2f\n",
          VLR_sysenv_diffwctime(m->task->sys, -1.0, start));
  return VLR_RES_OK;
}

// ---- Second pass -------------------------------------------------------------------------------

int32_t rd_findname(MpsRead* m, int32_t which, const char* name, int32_t* index) {
  *index = -1;
  if (name[0] == '\0') return VLR_RES_OK;
  return VLR_getnameindexrec(m->task, which, name, index);
}

int32_t rd_findrow(MpsRead* m, const char* name, int32_t* i) {
  int32_t r = rd_findname(m, VLR_PI_CON, name, i);
  if (r == VLR_RES_OK && *i < 0) r = VLR_RAISE(m->task, VLR_RES_ERR_MPS_UNDEF_CON_NAME, name);
  return r;
}

int32_t rd_findcol(MpsRead* m, const char* name, int32_t* j) {
  int32_t r = rd_findname(m, VLR_PI_VAR, name, j);
  if (r == VLR_RES_OK && *j < 0) r = VLR_RAISE(m->task, VLR_RES_ERR_MPS_UNDEF_VAR_NAME, name);
  return r;
}

// An infinite sum of two finite bounds is a missing side.
double rd_finite(double x) {
  return std::isfinite(x) ? x : (x > 0 ? kInfinity : -kInfinity);
}

int32_t rd_row(MpsRead* m) {
  Task* task = m->task;
  const char* code = VLR_rm_field(m->rm, 0);
  const char* name = VLR_rm_field(m->rm, 1);
  int32_t bk = 0;
  switch (code[0]) {
    case 'E':
      bk = VLR_BK_FX;
      break;
    case 'G':
      bk = VLR_BK_LO;
      break;
    case 'L':
      bk = VLR_BK_UP;
      break;
    case 'N':
      bk = VLR_BK_FR;
      break;
    default:
      return VLR_RAISE(task, VLR_RES_ERR_MPS_INV_CON_KEY, code, name);
  }
  if (name[0] == '\0') return VLR_RAISE(task, VLR_RES_ERR_MPS_NULL_CON_NAME);
  int32_t i = -1;
  int32_t r = rd_findname(m, VLR_PI_CON, name, &i);
  if (r == VLR_RES_OK && i >= 0) r = VLR_RAISE(task, VLR_RES_ERR_MPS_MUL_CON_NAME, name);
  if (r == VLR_RES_OK) r = VLR_core_append(task, VLR_ACC_CON, 1, &i);
  if (r == VLR_RES_OK) r = VLRP_putname(task, VLR_PI_CON, i, name);
  if (r == VLR_RES_OK) r = VLRP_putbound(task, VLR_ACC_CON, i, bk, 0.0, 0.0);
  if (r == VLR_RES_OK) m->rowtype[i] = static_cast<int8_t>(bk);
  return r;
}

// The objective is the row named by the parameter, or else the first free row.
int32_t rd_endrows(MpsRead* m) {
  Task* task = m->task;
  TaskData* d = task->data;
  const char* want = VLRP_getstrparam(task, VLR_SPAR_READ_MPS_OBJ_NAME);
  size_t n = std::strlen(want);
  while (n > 0 && want[n - 1] == ' ')
    --n;
  if (n > 0) {
    for (int32_t i = 0; i < d->numcon && m->objrow < 0; ++i) {
      char buf[32];
      const char* name = VLR_getnamex(task, VLR_PI_CON, i, buf);
      if (std::strlen(name) == n && std::strncmp(name, want, n) == 0) m->objrow = i;
    }
    if (m->objrow < 0) return VLR_RAISE(task, VLR_RES_ERR_MPS_INVALID_OBJ_NAME, want);
  } else {
    for (int32_t i = 0; i < d->numcon && m->objrow < 0; ++i) {
      if (m->rowtype[i] == VLR_BK_FR) m->objrow = i;
    }
    if (m->objrow < 0) return VLR_RAISE(task, VLR_RES_ERR_MPS_NO_OBJECTIVE);
  }
  char buf[32];
  const char* objname = VLR_getnamex(task, VLR_PI_CON, m->objrow, buf);
  char* copy = VLR_sysenv_strdupdbg(task->sys, VLR_HERE, objname);
  if (copy == nullptr) return VLR_RAISE(task, VLR_RES_ERR_SPACE);
  VLR_taskfree(task, d->objname);
  d->objname = copy;
  mps_log(task, "Using '%s' as %s vector\n", objname, "objective");
  return VLR_RES_OK;
}

// The column read so far goes to the task: its objective entry to c, the whole vector to A.
int32_t rd_flushcol(MpsRead* m) {
  if (m->curcol < 0) return VLR_RES_OK;
  Task* task = m->task;
  int32_t r = VLR_RES_OK;
  if (m->objrow >= 0 && m->colpos[m->objrow] != 0) {
    const double cj = m->colval[m->colpos[m->objrow] - 1];
    r = std::isfinite(cj) ? VLRP_putcj(task, m->curcol, cj)
                          : VLR_RAISE(task, VLR_RES_ERR_NAN_IN_C, m->prev, m->curcol);
  }
  if (r == VLR_RES_OK)
    r = VLRP_putavec(task, VLR_ACC_VAR, m->curcol, m->colnz, m->colsub, m->colval);
  for (int64_t k = 0; k < m->colnz; ++k)
    m->colpos[m->colsub[k]] = 0;
  const int64_t before = m->anzread;
  m->anzread += m->colnz;
  m->colnz = 0;
  if (before / kProgressStep != m->anzread / kProgressStep) {
    mps_log(task, "Read %lld %s.\n", static_cast<long long>(m->anzread), "A nonzeros");
  }
  return r;
}

int32_t rd_newcol(MpsRead* m, const char* name) {
  Task* task = m->task;
  int32_t r = rd_flushcol(m);
  int32_t j = -1;
  if (r == VLR_RES_OK) r = rd_findname(m, VLR_PI_VAR, name, &j);
  if (r == VLR_RES_OK && j >= 0) return VLR_RAISE(task, VLR_RES_ERR_MPS_SPLITTED_VAR, name);
  if (r == VLR_RES_OK) r = VLR_core_append(task, VLR_ACC_VAR, 1, &j);
  if (r == VLR_RES_OK) r = VLRP_putname(task, VLR_PI_VAR, j, name);
  if (r != VLR_RES_OK) return r;
  m->curcol = j;
  std::strcpy(m->prev, name);
  if (m->intblock) {
    r = VLRP_putbound(task, VLR_ACC_VAR, j, VLR_BK_RA, 0.0, 1.0);
    if (r == VLR_RES_OK) r = VLRP_putvartype(task, j, VLR_VAR_TYPE_INT);
    return r;
  }
  return VLRP_putbound(task, VLR_ACC_VAR, j, VLR_BK_LO, 0.0, kInfinity);
}

int32_t rd_column(MpsRead* m) {
  Task* task = m->task;
  const char* f1 = VLR_rm_field(m->rm, 1);
  if (std::strcmp(VLR_rm_field(m->rm, 2), "'MARKER'") == 0) {
    const char* f4 = VLR_rm_field(m->rm, 4);
    if (!m->intblock) {
      m->intblock = std::strcmp(f4, "'INTORG'") == 0;
    } else if (std::strcmp(f4, "'INTEND'") != 0) {
      return VLR_RAISE(task, VLR_RES_ERR_MPS_INV_MARKER);
    } else {
      m->intblock = false;
    }
    return VLR_RES_OK;
  }
  if (f1[0] == '\0') return VLR_RAISE(task, VLR_RES_ERR_MPS_NULL_VAR_NAME);
  if (m->curcol < 0 || std::strcmp(f1, m->prev) != 0) {
    const int32_t r = rd_newcol(m, f1);
    if (r != VLR_RES_OK) return r;
  }
  for (int32_t k = 2; k <= 4; k += 2) {
    if (!mps_pair(m, k)) continue;
    int32_t i = -1;
    const int32_t r = rd_findrow(m, VLR_rm_field(m->rm, k), &i);
    if (r != VLR_RES_OK) return r;
    const double v = VLR_rm_number(m->rm, k + 1);
    if (v == 0.0) continue;
    if (m->colpos[i] != 0) {
      m->colval[m->colpos[i] - 1] += v;
    } else {
      m->colsub[m->colnz] = i;
      m->colval[m->colnz] = v;
      m->colpos[i] = static_cast<int32_t>(++m->colnz);
    }
  }
  return VLR_RES_OK;
}

// Whether a line of RHS, RANGES or BOUNDS belongs to the chosen vector. The first line chooses,
// unless the parameter names another; a return to the chosen vector after others warns.
bool rd_selectvec(MpsRead* m, int32_t which, int32_t* r) {
  static const struct {
    int32_t spar;
    const char* what;
    int32_t warning;
  } kVec[3] = {{VLR_SPAR_READ_MPS_RHS_NAME, "rhs", VLR_RES_WRN_MPS_SPLIT_RHS_VECTOR},
               {VLR_SPAR_READ_MPS_RAN_NAME, "range", VLR_RES_WRN_MPS_SPLIT_RAN_VECTOR},
               {VLR_SPAR_READ_MPS_BOU_NAME, "bound", VLR_RES_WRN_MPS_SPLIT_BOU_VECTOR}};
  VecSel& v = m->vec[which];
  const char* name = VLR_rm_field(m->rm, 1);
  if (!v.chosen) {
    const char* want = VLRP_getstrparam(m->task, kVec[which].spar);
    size_t n = std::strlen(want);
    while (n > 0 && want[n - 1] == ' ')
      --n;
    if (n > 0 && (std::strlen(name) != n || std::strncmp(name, want, n) != 0)) return false;
    std::strcpy(v.name, name);
    v.chosen = true;
    mps_log(m->task, "Using '%s' as %s vector\n", name, kVec[which].what);
    return true;
  }
  if (std::strcmp(name, v.name) != 0) {
    v.away = true;
    return false;
  }
  if (v.away) {
    v.away = false;
    *r = VLR_RAISE(m->task, kVec[which].warning, name);
  }
  return true;
}

int32_t rd_rhspair(MpsRead* m, int32_t k) {
  Task* task = m->task;
  const char* name = VLR_rm_field(m->rm, k);
  const double v = VLR_rm_number(m->rm, k + 1);
  if (name[0] == '\0') {
    if (k == 4 && v == 0.0) return VLR_RES_OK;
    return VLR_RAISE(task, VLR_RES_ERR_MPS_NULL_CON_NAME);
  }
  int32_t i = -1;
  int32_t r = rd_findrow(m, name, &i);
  if (r != VLR_RES_OK) return r;
  switch (m->rowtype[i]) {
    case VLR_BK_LO:
      r = VLRP_putbound(task, VLR_ACC_CON, i, VLR_BK_LO, v, kInfinity);
      break;
    case VLR_BK_UP:
      r = VLRP_putbound(task, VLR_ACC_CON, i, VLR_BK_UP, -kInfinity, v);
      break;
    case VLR_BK_FX:
      r = VLRP_putbound(task, VLR_ACC_CON, i, VLR_BK_FX, v, v);
      break;
    default:
      if (i == m->objrow) m->cfix = -v;
      return VLR_RES_OK;
  }
  // Only the second pair of a line is checked for size.
  if (r == VLR_RES_OK && k == 4 &&
      std::fabs(v) >= VLRP_getdouparam(task, VLR_DPAR_DATA_TOL_BOUND_WRN)) {
    r = VLR_RAISE(task, VLR_RES_WRN_LARGE_BOUND, v, "constraint", name, i);
  }
  return r;
}

int32_t rd_rangepair(MpsRead* m, int32_t k) {
  Task* task = m->task;
  const char* name = VLR_rm_field(m->rm, k);
  const double rv = VLR_rm_number(m->rm, k + 1);
  if (name[0] == '\0') {
    return rv == 0.0 ? VLR_RES_OK : VLR_RAISE(task, VLR_RES_ERR_MPS_NULL_CON_NAME);
  }
  int32_t i = -1;
  const int32_t r = rd_findrow(m, name, &i);
  if (r != VLR_RES_OK) return r;
  int32_t bk = 0;
  double bl = 0.0, bu = 0.0;
  VLRP_getbound(task, VLR_ACC_CON, i, &bk, &bl, &bu);
  const double ar = std::fabs(rv);
  switch (bk) {
    case VLR_BK_LO:
      if (ar > 0.0) return VLRP_putbound(task, VLR_ACC_CON, i, VLR_BK_RA, bl, rd_finite(bl + ar));
      return VLRP_putbound(task, VLR_ACC_CON, i, VLR_BK_FX, bl, bl);
    case VLR_BK_UP:
      if (ar > 0.0) return VLRP_putbound(task, VLR_ACC_CON, i, VLR_BK_RA, rd_finite(bu - ar), bu);
      return VLRP_putbound(task, VLR_ACC_CON, i, VLR_BK_FX, bu, bu);
    case VLR_BK_FX:
      if (rv > 0.0) return VLRP_putbound(task, VLR_ACC_CON, i, VLR_BK_RA, bl, rd_finite(bu + rv));
      if (rv < 0.0) return VLRP_putbound(task, VLR_ACC_CON, i, VLR_BK_RA, rd_finite(bl + rv), bu);
      return VLR_RES_OK;
    default:
      return VLR_RES_OK;
  }
}

int32_t rd_bound(MpsRead* m) {
  Task* task = m->task;
  const char* type = VLR_rm_field(m->rm, 0);
  const char* colname = VLR_rm_field(m->rm, 2);
  const double v = VLR_rm_number(m->rm, 3);
  int32_t j = -1;
  int32_t r = rd_findcol(m, colname, &j);
  if (r != VLR_RES_OK) return r;
  int32_t bk = 0;
  double bl = 0.0, bu = 0.0;
  VLRP_getbound(task, VLR_ACC_VAR, j, &bk, &bl, &bu);
  bool haslo = VLR_bkhaslow(bk), hasup = VLR_bkhasupp(bk), isint = false;
  if (std::strcmp(type, "FX") == 0) return VLRP_putbound(task, VLR_ACC_VAR, j, VLR_BK_FX, v, v);
  if (std::strcmp(type, "MI") == 0) {
    haslo = false;
  } else if (std::strcmp(type, "PL") == 0) {
    hasup = false;
  } else if (std::strcmp(type, "BV") == 0) {
    isint = haslo = hasup = true;
    bl = 0.0;
    bu = 1.0;
  } else if (std::strcmp(type, "FR") == 0) {
    haslo = hasup = false;
  } else if (std::strcmp(type, "LO") == 0) {
    haslo = true;
    bl = v;
  } else if (std::strcmp(type, "LI") == 0) {
    isint = haslo = true;
    bl = std::ceil(v);
  } else if (std::strcmp(type, "UP") == 0) {
    hasup = true;
    bu = v;
  } else if (std::strcmp(type, "UI") == 0) {
    isint = hasup = true;
    bu = std::floor(v);
  } else {
    return VLR_RAISE(task, VLR_RES_ERR_MPS_INV_BOUND_KEY, type, colname);
  }
  const int32_t key = haslo ? (hasup ? VLR_BK_RA : VLR_BK_LO) : (hasup ? VLR_BK_UP : VLR_BK_FR);
  r = VLRP_putbound(task, VLR_ACC_VAR, j, key, haslo ? bl : -kInfinity, hasup ? bu : kInfinity);
  if (r == VLR_RES_OK && isint) r = VLRP_putvartype(task, j, VLR_VAR_TYPE_INT);
  return r;
}

int32_t rd_qline(MpsRead* m) {
  Task* task = m->task;
  if (VLR_rm_field(m->rm, 0)[0] != '\0') {
    return VLR_RAISE(task, VLR_RES_ERR_MPS_INV_BOUND_KEY, VLR_rm_field(m->rm, 0));
  }
  int32_t j1 = -1;
  int32_t r = rd_findcol(m, VLR_rm_field(m->rm, 1), &j1);
  const double tol = VLRP_getdouparam(task, VLR_DPAR_DATA_TOL_QIJ);
  for (int32_t k = 2; k <= 4 && r == VLR_RES_OK; k += 2) {
    if (!mps_pair(m, k)) continue;
    int32_t j2 = -1;
    r = rd_findcol(m, VLR_rm_field(m->rm, k), &j2);
    const double v = VLR_rm_number(m->rm, k + 1);
    if (r != VLR_RES_OK || !(std::fabs(v) > tol)) continue;
    m->qi[m->nq] = j1;
    m->qj[m->nq] = j2;
    m->qv[m->nq] = v;
    ++m->nq;
  }
  return r;
}

int32_t rd_qhead(MpsRead* m, int32_t s) {
  Task* task = m->task;
  m->nq = 0;
  int32_t i = m->objrow;
  if (s == kSecQsection) {
    const int32_t r = rd_findrow(m, VLR_rm_field(m->rm, 2), &i);
    if (r != VLR_RES_OK) return r;
  } else if (i < 0) {
    return VLR_RAISE(task, VLR_RES_ERR_MPS_NO_OBJECTIVE);
  }
  if (m->qseen[i]) {
    char buf[32];
    return VLR_RAISE(task, VLR_RES_ERR_MPS_MUL_QSEC, VLR_getnamex(task, VLR_PI_CON, i, buf));
  }
  m->qrow = i;
  return VLR_RES_OK;
}

// The entries of a Q section go to the row as a lower triangle. In the dropping modes the walk
// over the entries counts in the place of the row index, so the block lands on the row whose index
// is the number of entries read; files have always been read so.
int32_t rd_qend(MpsRead* m) {
  Task* task = m->task;
  const int32_t mode = VLRP_getintparam(task, VLR_IPAR_READ_Q_MODE);
  double total = 0.0;
  int64_t kept = 0;
  for (int64_t k = 0; k < m->nq; ++k) {
    const bool keep = mode == VLR_Q_READ_DROP_LOWER   ? m->qi[k] < m->qj[k]
                      : mode == VLR_Q_READ_DROP_UPPER ? m->qi[k] > m->qj[k]
                                                      : true;
    if (!keep) continue;
    const int32_t a = m->qi[k], b = m->qj[k];
    m->qi[kept] = a > b ? a : b;
    m->qj[kept] = a > b ? b : a;
    m->qv[kept] = m->qv[k];
    total += std::fabs(m->qv[k]);
    ++kept;
  }
  // Repeated entries are summed by the store: a finite sum of magnitudes keeps every sum finite.
  if (!std::isfinite(total)) return VLR_RAISE(task, VLR_RES_ERR_INV_QCON_VAL, total, 0);
  if (m->nq > 0) m->qseen[m->qrow] = 1;
  int32_t row = m->qrow;
  if (mode != VLR_Q_READ_ADD) {
    row = static_cast<int32_t>(m->nq);
    if (row == m->objrow && kept < m->nq) {
      const int32_t r =
          VLR_RAISE(task, VLR_RES_WRN_DROPPED_NZ_QOBJ, static_cast<int>(m->nq - kept));
      if (r != VLR_RES_OK) return r;
    }
  }
  if (kept == 0 && mode == VLR_Q_READ_ADD) return VLR_RES_OK;
  return VLRP_putqconk(task, row, kept, m->qi, m->qj, m->qv);
}

int32_t rd_conehead(MpsRead* m) {
  Task* task = m->task;
  const char* name = VLR_rm_field(m->rm, 2);
  const char* type = VLR_rm_field(m->rm, 4);
  if (std::strcmp(type, "QUAD") == 0) {
    m->conetype = VLR_CT_QUAD;
  } else if (std::strcmp(type, "RQUAD") == 0) {
    m->conetype = VLR_CT_RQUAD;
  } else {
    return VLR_RAISE(task, VLR_RES_ERR_MPS_CONE_TYPE, type);
  }
  int32_t k = -1;
  const int32_t r = rd_findname(m, VLR_PI_CONE, name, &k);
  if (r != VLR_RES_OK) return r;
  if (k >= 0) return VLR_RAISE(task, VLR_RES_ERR_MPS_MUL_CSEC, name);
  std::strcpy(m->conename, name);
  m->conepar = VLR_rm_number(m->rm, 3);
  m->nmem = 0;
  return VLR_RES_OK;
}

int32_t rd_coneline(MpsRead* m) {
  Task* task = m->task;
  if (VLR_rm_field(m->rm, 0)[0] != '\0') {
    return VLR_RAISE(task, VLR_RES_ERR_MPS_INV_BOUND_KEY, VLR_rm_field(m->rm, 0));
  }
  const char* var = VLR_rm_field(m->rm, 1);
  int32_t j = -1;
  const int32_t r = rd_findcol(m, var, &j);
  if (r != VLR_RES_OK) return r;
  const int32_t self = task->data->numcone + 1;
  if (m->conemark[j] == self) return VLR_RAISE(task, VLR_RES_ERR_MPS_CONE_REPEAT, var, m->conename);
  if (m->conemark[j] != 0) {
    char buf[32];
    return VLR_RAISE(task, VLR_RES_ERR_MPS_CONE_OVERLAP, var, m->conename,
                     VLR_getnamex(task, VLR_PI_CONE, m->conemark[j] - 1, buf));
  }
  m->conemark[j] = self;
  m->conemem[m->nmem++] = j;
  return VLR_RES_OK;
}

int32_t rd_coneend(MpsRead* m) {
  Task* task = m->task;
  int32_t r = VLRP_appendcone(task, m->conetype, m->conepar, m->nmem, m->conemem);
  if (r == VLR_RES_OK) r = VLRP_putname(task, VLR_PI_CONE, task->data->numcone - 1, m->conename);
  return r;
}

int32_t rd_endsection(MpsRead* m) {
  switch (m->sec) {
    case kSecRows:
      return rd_endrows(m);
    case kSecColumns:
      return rd_flushcol(m);
    case kSecQuadobj:
    case kSecQsection:
      return rd_qend(m);
    case kSecCsection:
      return rd_coneend(m);
    default:
      return VLR_RES_OK;
  }
}

int32_t rd_objsense(MpsRead* m, const char* word) {
  Task* task = m->task;
  int32_t sense = 0;
  if (std::strcmp(word, "MAX") == 0 || std::strcmp(word, "MAXIMIZE") == 0) {
    sense = VLR_OBJECTIVE_SENSE_MAXIMIZE;
  } else if (std::strcmp(word, "MIN") == 0 || std::strcmp(word, "MINIMIZE") == 0) {
    sense = VLR_OBJECTIVE_SENSE_MINIMIZE;
  } else {
    return VLR_RAISE(task, VLR_RES_ERR_MPS_INVALID_OBJSENSE, word);
  }
  // The sense is kept as information: the signs of the data are never changed.
  if (VLRP_getintparam(task, VLR_IPAR_READ_MPS_OBJ_SENSE) != 0) task->data->objsense = sense;
  return VLR_RES_OK;
}

int32_t rd_head(MpsRead* m) {
  Task* task = m->task;
  int32_t s = 0;
  if (VLR_rm_checksechead(m->rm, &s) != kRmData) return mps_procresp(m, kRmBadField0 + 1);
  int32_t r = mps_checkorder(m, s);
  if (r == VLR_RES_OK) r = rd_endsection(m);
  if (r != VLR_RES_OK) return r;
  m->sec = s;
  switch (s) {
    case kSecName: {
      const char* title = "";
      VLR_rm_readtitle(m->rm, &title);
      char* copy = VLR_sysenv_strdupdbg(task->sys, VLR_HERE, title);
      if (copy == nullptr) return VLR_RAISE(task, VLR_RES_ERR_SPACE);
      VLR_sysenv_freedbg(task->sys, VLR_HERE, task->name);
      task->name = copy;
      return VLR_RES_OK;
    }
    case kSecObjsense: {
      // Free files often give the sense on the head line itself.
      const char* rest = VLR_rm_headrest(m->rm);
      return rest[0] != '\0' ? rd_objsense(m, rest) : VLR_RES_OK;
    }
    case kSecColumns:
      mps_log(task, "Reading %s.\n", "variables and A nonzeros");
      return VLR_RES_OK;
    case kSecQuadobj:
    case kSecQsection:
      return rd_qhead(m, s);
    case kSecCsection:
      return rd_conehead(m);
    default:
      return VLR_RES_OK;
  }
}

int32_t rd_data(MpsRead* m) {
  Task* task = m->task;
  int32_t r = mps_strayline(m);
  if (r != VLR_RES_OK) return r;
  switch (m->sec) {
    case kSecObjsense:
      return rd_objsense(m, VLR_rm_field(m->rm, 1));
    case kSecObjname:
      if (VLR_rm_field(m->rm, 0)[0] != '\0') return VLR_RAISE(task, VLR_RES_ERR_MPS_INV_FIELD, 1);
      return VLR_putstrparamrec(task, VLR_SPAR_READ_MPS_OBJ_NAME, VLR_rm_field(m->rm, 1));
    case kSecRows:
      return rd_row(m);
    case kSecColumns:
      return rd_column(m);
    case kSecRhs:
      if (!rd_selectvec(m, 0, &r)) return VLR_RES_OK;
      if (r == VLR_RES_OK) r = rd_rhspair(m, 2);
      if (r == VLR_RES_OK) r = rd_rhspair(m, 4);
      return r;
    case kSecRanges:
      if (!rd_selectvec(m, 1, &r)) return VLR_RES_OK;
      if (r == VLR_RES_OK) r = rd_rangepair(m, 2);
      if (r == VLR_RES_OK) r = rd_rangepair(m, 4);
      return r;
    case kSecBounds:
      if (!rd_selectvec(m, 2, &r)) return VLR_RES_OK;
      return r == VLR_RES_OK ? rd_bound(m) : r;
    case kSecQuadobj:
    case kSecQsection:
      return rd_qline(m);
    case kSecCsection:
      return rd_coneline(m);
    default:
      return VLR_RES_OK;  // SETS: read and ignored
  }
}

// After ENDATA: the fixed term, integrality, the objective's Q, and the free rows go.
int32_t rd_finish(MpsRead* m) {
  Task* task = m->task;
  TaskData* d = task->data;
  int32_t r = VLRP_putcfix(task, m->cfix);
  if (r == VLR_RES_OK && VLRP_getintparam(task, VLR_IPAR_READ_MPS_KEEP_INT) == 0) {
    for (int32_t j = 0; j < d->numvar && r == VLR_RES_OK && d->vartype != nullptr; ++j)
      r = VLRP_putvartype(task, j, VLR_VAR_TYPE_CONT);
  }
  const bool keepfree = VLRP_getintparam(task, VLR_IPAR_READ_KEEP_FREE_CON) != 0;
  const int32_t obj = m->objrow;
  if (r == VLR_RES_OK && obj >= 0 && d->qconb != nullptr && d->qcone[obj] > d->qconb[obj]) {
    const int64_t b = d->qconb[obj], nz = d->qcone[obj] - b;
    r = VLRP_putqobj(task, nz, d->qsubi + b, d->qsubj + b, d->qval + b);
    if (r == VLR_RES_OK && !keepfree) r = VLRP_putqconk(task, obj, 0, nullptr, nullptr, nullptr);
  }
  if (r == VLR_RES_OK && !keepfree) {
    int32_t nfree = 0;
    for (int32_t i = 0; i < d->numcon; ++i) {
      if (m->rowtype[i] == VLR_BK_FR) m->colpos[nfree++] = i;
    }
    r = VLRP_remove(task, VLR_ACC_CON, nfree, m->colpos);
    for (int32_t k = 0; k < nfree; ++k)
      m->colpos[k] = 0;
  }
  for (int32_t w = VLR_PI_VAR; w <= VLR_PI_CONE; ++w)
    VLR_deletenamemap(task, w);
  return r;
}

int32_t VLR_readmpsfile(MpsRead* m) {
  for (;;) {
    const int32_t code = VLR_rm_read(m->rm, m->sec);
    int32_t r = VLR_RES_OK;
    if (code == kRmEmpty) continue;
    if (code == kRmSection) {
      r = rd_head(m);
      if (r == VLR_RES_OK && m->sec == kSecEndata) break;
    } else if (code == kRmData) {
      r = rd_data(m);
    } else {
      r = mps_procresp(m, code);
    }
    if (r != VLR_RES_OK) return mps_fileerr(m, r);
  }
  return rd_finish(m);
}

// Sizes the task from the counts and runs the second pass with scratch arrays of exact sizes.
int32_t mps_secondpass(MpsRead* m, VLRtask_t handle) {
  Task* task = m->task;
  const MpsCounts& c = m->cnt;
  const auto add = [task](int32_t par) { return VLRP_getintparam(task, par); };
  const int64_t maxcon = int64_t{c.numcon} + add(VLR_IPAR_READ_ADD_CON);
  const int64_t maxvar = int64_t{c.numvar} + add(VLR_IPAR_READ_ADD_VAR);
  const int64_t maxcone = int64_t{c.numcone} + add(VLR_IPAR_READ_ADD_CONE);
  if (maxcon > INT32_MAX || maxvar > INT32_MAX || maxcone > INT32_MAX) {
    return VLR_RAISE(task, VLR_RES_ERR_SPACE);
  }
  // A's pool keeps two elements free behind its last vector, and the objective's Q is moved out of
  // its row at the end: room for one more element and one more Q section.
  int32_t r =
      VLR_resizetask64(handle, static_cast<int32_t>(maxcon), static_cast<int32_t>(maxvar),
                       static_cast<int32_t>(maxcone), c.numanz + 2 + add(VLR_IPAR_READ_ADD_ANZ),
                       c.numqnz + c.maxqsec + add(VLR_IPAR_READ_ADD_QNZ));
  if (r == VLR_RES_OK) r = VLR_reservenames(task, c.namebytes);
  if (r != VLR_RES_OK) return r;
  SysEnv* sys = task->sys;
  SysBuf<int8_t> rowtype(sys, VLR_HERE, c.numcon);
  SysBuf<uint8_t> qseen(sys, VLR_HERE, c.numcon);
  SysBuf<int32_t> colpos(sys, VLR_HERE, c.numcon);
  SysBuf<int32_t> colsub(sys, VLR_HERE, c.maxcolnz);
  SysBuf<double> colval(sys, VLR_HERE, c.maxcolnz);
  SysBuf<int32_t> qi(sys, VLR_HERE, c.maxqsec), qj(sys, VLR_HERE, c.maxqsec);
  SysBuf<double> qv(sys, VLR_HERE, c.maxqsec);
  const int64_t nvcone = c.numcone > 0 ? c.numvar : 0;
  SysBuf<int32_t> conemark(sys, VLR_HERE, nvcone), conemem(sys, VLR_HERE, nvcone);
  SysBuf<char> names(sys, VLR_HERE, 4 * (int64_t{m->width} + 1));
  const bool ok = (c.numcon == 0 || (rowtype && qseen && colpos)) &&
                  (c.maxcolnz == 0 || (colsub && colval)) && (c.maxqsec == 0 || (qi && qj && qv)) &&
                  (nvcone == 0 || (conemark && conemem)) && names;
  if (!ok) return VLR_RAISE(task, VLR_RES_ERR_SPACE);
  m->rowtype = rowtype.get();
  m->qseen = qseen.get();
  m->colpos = colpos.get();
  m->colsub = colsub.get();
  m->colval = colval.get();
  m->qi = qi.get();
  m->qj = qj.get();
  m->qv = qv.get();
  m->conemark = conemark.get();
  m->conemem = conemem.get();
  for (int32_t k = 0; k < 3; ++k)
    m->vec[k].name = names.get() + k * (int64_t{m->width} + 1);
  m->conename = names.get() + 3 * (int64_t{m->width} + 1);
  return VLR_readmpsfile(m);
}

}  // namespace

int32_t VLR_readmps(Task* task, int32_t format, SysFile* file) {
  const int32_t width = VLRP_getintparam(task, VLR_IPAR_READ_MPS_WIDTH);
  const int32_t quoted = VLRP_getintparam(task, VLR_IPAR_READ_MPS_QUOTED_NAMES);
  SysBuf<char> prev(task->sys, VLR_HERE, int64_t{width} + 1);
  if (!prev) return VLR_RAISE(task, VLR_RES_ERR_SPACE);
  MpsRead m{};
  m.task = task;
  m.fname = VLR_sysenv_fname(file);
  m.width = width;
  m.prev = prev.get();
  m.pass = 1;
  m.sec = -1;
  m.rm = VLR_rm_make(task->sys, format, quoted, width, file, mps_readline);
  if (m.rm == nullptr) return VLR_RAISE(task, VLR_RES_ERR_SPACE);
  int32_t r = VLR_estimatesize(&m);
  VLR_rm_del(&m.rm);
  if (r != VLR_RES_OK) return r;
  if (VLR_sysenv_frewind(file) != kSysOk) {
    return VLR_RAISE(task, VLR_RES_ERR_FILE_READ, VLR_sysenv_fname(file));
  }
  const MpsCounts counts = m.cnt;
  m = MpsRead{};
  m.task = task;
  m.fname = VLR_sysenv_fname(file);
  m.width = width;
  m.prev = prev.get();
  m.pass = 2;
  m.sec = -1;
  m.cnt = counts;
  m.objrow = -1;
  m.curcol = -1;
  m.qrow = -1;
  m.rm = VLR_rm_make(task->sys, format, quoted, width, file, mps_readline);
  if (m.rm == nullptr) return VLR_RAISE(task, VLR_RES_ERR_SPACE);
  r = mps_secondpass(&m, VLR_taskhandle(task));
  VLR_rm_del(&m.rm);
  return r;
}

}  // namespace vlr
