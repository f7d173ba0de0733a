// src/velor/solfile.cpp: the solution file: statuses and objective values, then one line per
// constraint and per variable with its name, status key, value, bounds and duals; written from a
// task's solution and read back into it.
// SPDX-License-Identifier: Apache-2.0
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "velor/datafile.h"
#include "velor/filebuf.h"
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

// ---- Reading back ----------------------------------------------------------------------------

// What a read holds until the whole file has passed its checks: for constraints [0, m), then
// variables [m, m + n), the key, the value and the duals of the two sides.
struct SolFileData {
  int32_t prosta, solsta;  // -1 until the head gives them
  int32_t duals;           // 1 when the head has a dual objective, and so the lines their duals
  int32_t* keys;           // [m + n]
  double *x, *sl, *su;     // [m + n] each
};

struct SolReader {
  Task* task;
  const char* fname;
  SysFile* f;
  NameBuffer line;  // the current line, its end of line and trailing blanks cut
  int32_t lineno;   // from 1
  int32_t eof;      // 1 once a read found nothing left
  int32_t whole;    // 1 when the line ended in a line feed, 0 when the file ended inside it
};

bool solread_blank(char c) {
  return c == ' ' || c == '\t' || c == '\r';
}

// Tells on the error stream where the file is wrong and why, then raises code with arg.
int32_t solread_fail(SolReader* rd, int32_t code, const char* arg, const char* why, ...)
    VLR_PRINTF(4, 5);
int32_t solread_fail(SolReader* rd, int32_t code, const char* arg, const char* why, ...) {
  char text[256];
  va_list ap;
  va_start(ap, why);
  std::vsnprintf(text, sizeof text, why, ap);
  va_end(ap);
  VLRP_echotask(rd->task, VLR_STREAM_ERR, "%s:%d: %s\n", rd->fname, rd->lineno, text);
  return VLR_RAISE(rd->task, code, arg);
}

// The next line, whatever its length; at the end of the file an empty line with eof set.
int32_t solread_next(SolReader* rd) {
  NameBuffer* nb = &rd->line;
  VLR_NameBuffer_clear(nb);
  char chunk[1024];
  size_t len = 0;
  bool got = false;
  for (;;) {
    const int32_t r = VLR_sysenv_fgets(rd->f, chunk, sizeof chunk, &len);
    if (r == kSysEndOfFile) break;
    if (r != kSysOk) return VLR_RAISE(rd->task, VLR_RES_ERR_FILE_READ, rd->fname);
    got = true;
    const bool whole = len > 0 && chunk[len - 1] == '\n';
    rd->whole = whole ? 1 : 0;
    for (size_t k = 0; k < len - (whole ? 1 : 0); ++k) {
      if (VLR_NameBuffer_putc(nb, chunk[k]) != kSysOk)
        return VLR_RAISE(rd->task, VLR_RES_ERR_SPACE);
    }
    if (whole) break;
  }
  if (!got) {
    rd->eof = 1;
    return VLR_RES_OK;
  }
  ++rd->lineno;
  while (nb->size > 0 && solread_blank(nb->buf[nb->size - 1]))
    nb->buf[--nb->size] = '\0';
  return VLR_RES_OK;
}

// A number as the writer prints it. Decimal digits only: strtod would also take "inf", "nan"
// and hexadecimal, none of which belongs in a solution.
bool solread_number(const char* s, double* value) {
  if (*s == '\0' || s[std::strspn(s, "0123456789+-.eE")] != '\0') return false;
  char* end = nullptr;
  const double v = std::strtod(s, &end);
  if (*end != '\0' || !std::isfinite(v)) return false;
  *value = v;
  return true;
}

// Cuts the last count blank-separated fields off text[0, *end), ends each with a zero, puts
// their starts in field[0, count) and moves *end to the start of the first. False when the text
// has fewer fields.
bool solread_cutright(char* text, int64_t* end, int32_t count, char** field) {
  int64_t at = *end;
  for (int32_t k = count - 1; k >= 0; --k) {
    while (at > 0 && solread_blank(text[at - 1]))
      --at;
    if (at == 0) return false;
    const int64_t stop = at;
    while (at > 0 && !solread_blank(text[at - 1]))
      --at;
    text[stop] = '\0';
    field[k] = text + at;
  }
  *end = at;
  return true;
}

// The head: "KEY : value" lines up to the first blank line. The statuses are kept; the
// objectives must be numbers, and are otherwise left to be computed again from the values. A
// dual objective marks a file with duals: the integer solution has neither.
int32_t solread_head(SolReader* rd, SolFileData* out) {
  VLRtask_t h = VLR_taskhandle(rd->task);
  char text[VLR_MAX_STR_LEN];
  for (;;) {
    int32_t r = solread_next(rd);
    if (r != VLR_RES_OK) return r;
    if (rd->eof) return solread_fail(rd, VLR_RES_ERR_END_OF_FILE, "", "the file ends in its head");
    char* key = rd->line.buf;
    if (key[0] == '\0') break;
    char* value = std::strchr(key, ':');
    if (value == nullptr) {
      return solread_fail(rd, VLR_RES_ERR_FILE_READ, rd->fname, "'KEY : value' expected");
    }
    for (char* c = value; c > key && (c[0] == ':' || solread_blank(c[0])); --c)
      c[0] = '\0';
    for (++value; solread_blank(*value);)
      ++value;
    if (std::strcmp(key, "PROBLEM STATUS") == 0) {
      for (int32_t p = VLR_PRO_STA_UNKNOWN; p <= VLR_PRO_STA_PRIM_INFEAS_OR_UNBOUNDED; ++p) {
        VLR_prostatostr(h, p, text);
        if (std::strcmp(text, value) == 0) out->prosta = p;
      }
      if (out->prosta < 0) {
        return solread_fail(rd, VLR_RES_ERR_FILE_READ, rd->fname, "'%s' is no problem status",
                            value);
      }
    } else if (std::strcmp(key, "SOLUTION STATUS") == 0) {
      for (int32_t s = VLR_SOL_STA_UNKNOWN; s <= VLR_SOL_STA_NEAR_INTEGER_OPTIMAL; ++s) {
        VLR_solstatostr(h, s, text);
        if (std::strcmp(text, value) == 0) out->solsta = s;
      }
      if (out->solsta < 0) {
        return solread_fail(rd, VLR_RES_ERR_FILE_READ, rd->fname, "'%s' is no solution status",
                            value);
      }
    } else if (std::strcmp(key, "PRIMAL OBJECTIVE") == 0 ||
               std::strcmp(key, "DUAL OBJECTIVE") == 0) {
      if (key[0] == 'D') out->duals = 1;
      double v = 0.0;
      if (!solread_number(value, &v)) {
        return solread_fail(rd, VLR_RES_ERR_SOL_FILE_INVALID_NUMBER, value, "bad %s", key);
      }
    } else if (std::strcmp(key, "NAME") != 0 && std::strcmp(key, "OBJECTIVE NAME") != 0) {
      return solread_fail(rd, VLR_RES_ERR_FILE_READ, rd->fname, "unknown key '%s'", key);
    }
  }
  if (out->prosta < 0 || out->solsta < 0) {
    return solread_fail(rd, VLR_RES_ERR_FILE_READ, rd->fname, "the head lacks a status");
  }
  return VLR_RES_OK;
}

// One item line: "INDEX NAME KEY VALUE LOWER UPPER [DUAL-LOWER DUAL-UPPER]". The fields are
// taken from the right, so that a name may hold blanks.
int32_t solread_item(SolReader* rd, bool con, int32_t k, bool duals, int32_t at, SolFileData* out) {
  Task* task = rd->task;
  char* text = rd->line.buf;
  int64_t end = rd->line.size;
  char* field[6] = {};
  const int32_t nfield = duals ? 6 : 4;
  if (!solread_cutright(text, &end, nfield, field) || end == 0) {
    return solread_fail(rd, VLR_RES_ERR_FILE_READ, rd->fname, "%d fields after the name expected",
                        nfield);
  }
  text[end - 1] = '\0';  // a blank
  char* index = text;
  while (solread_blank(*index))
    ++index;
  char* name = index;
  while (*name != '\0' && !solread_blank(*name))
    ++name;
  if (*name != '\0') *name++ = '\0';
  while (solread_blank(*name))
    ++name;
  for (int64_t c = static_cast<int64_t>(std::strlen(name)); c > 0 && solread_blank(name[c - 1]);)
    name[--c] = '\0';
  if (name[0] == '\0') {
    return solread_fail(rd, VLR_RES_ERR_FILE_READ, rd->fname, "%d fields after the name expected",
                        nfield);
  }
  char* stop = nullptr;
  const long i = std::strtol(index, &stop, 10);
  if (index[0] == '\0' || *stop != '\0' || i != k) {
    return solread_fail(rd, VLR_RES_ERR_FILE_READ, rd->fname, "index '%s' where %d belongs", index,
                        k);
  }
  char generic[32];
  const char* want = VLR_getnamex(task, con ? VLR_PI_CON : VLR_PI_VAR, k, generic);
  if (std::strcmp(name, want) != 0) {
    return solread_fail(rd, VLR_RES_ERR_INVALID_NAME_IN_SOL_FILE, name,
                        "the problem's %s %d is '%s'", con ? "constraint" : "variable", k, want);
  }
  int32_t sk = 0;
  if (VLR_strtosk(VLR_taskhandle(task), field[0], &sk) != VLR_RES_OK) {
    return solread_fail(rd, VLR_RES_ERR_INV_SK_STR, field[0], "bad status key");
  }
  out->keys[at] = sk;
  double lim = 0.0;
  double* dest[6] = {nullptr, &out->x[at], &lim, &lim, &out->sl[at], &out->su[at]};
  for (int32_t f = 1; f < nfield; ++f) {
    const bool limit = f == 2 || f == 3;
    if (limit && std::strcmp(field[f], "NONE") == 0) continue;
    if (!solread_number(field[f], dest[f])) {
      return solread_fail(rd, VLR_RES_ERR_SOL_FILE_INVALID_NUMBER, field[f], "bad number in %s %d",
                          con ? "constraint" : "variable", k);
    }
  }
  return VLR_RES_OK;
}

// One block: its title, the column heads, then one line per item in index order up to a blank
// line or the end of the file; exactly count of them. A solution with duals needs a file that
// has them.
int32_t solread_block(SolReader* rd, bool con, int32_t count, int32_t base, bool needduals,
                      SolFileData* out) {
  const char* title = con ? "CONSTRAINTS" : "VARIABLES";
  const char* what = con ? "constraint" : "variable";
  int32_t r = VLR_RES_OK;
  do {
    r = solread_next(rd);
  } while (r == VLR_RES_OK && !rd->eof && rd->line.size == 0);
  if (r != VLR_RES_OK) return r;
  if (rd->eof) return solread_fail(rd, VLR_RES_ERR_END_OF_FILE, "", "no %s block", title);
  if (std::strcmp(rd->line.buf, title) != 0) {
    return solread_fail(rd, VLR_RES_ERR_FILE_READ, rd->fname, "'%s' expected", title);
  }
  r = solread_next(rd);
  if (r != VLR_RES_OK) return r;
  if (std::strncmp(rd->line.buf, "INDEX", 5) != 0) {
    return solread_fail(rd, VLR_RES_ERR_FILE_READ, rd->fname, "column heads expected");
  }
  const bool duals = out->duals != 0;
  if (needduals && !duals) {
    return solread_fail(rd, VLR_RES_ERR_FILE_READ, rd->fname, "the file has no duals");
  }
  int32_t k = 0;
  for (;; ++k) {
    r = solread_next(rd);
    if (r != VLR_RES_OK) return r;
    if (rd->eof || rd->line.size == 0) break;
    if (k == count) {
      return solread_fail(rd, VLR_RES_ERR_FILE_READ, rd->fname, "more than the problem's %d %ss",
                          count, what);
    }
    // A file cut inside the last number could still read as a number; a whole line cannot.
    if (!rd->whole) return solread_fail(rd, VLR_RES_ERR_END_OF_FILE, "", "the file ends in a line");
    r = solread_item(rd, con, k, duals, base + k, out);
    if (r != VLR_RES_OK) return r;
  }
  if (k < count) {
    return solread_fail(rd, rd->eof ? VLR_RES_ERR_END_OF_FILE : VLR_RES_ERR_FILE_READ, rd->fname,
                        "%d %s lines for the problem's %d", k, what, count);
  }
  return VLR_RES_OK;
}

// The checked values become the solution: keys, values, the duals of the sides and y = slc - suc;
// the interior solution's snx and cone keys, which the file does not hold, become 0 and unknown.
int32_t solread_apply(Task* task, int32_t whichsol, const SolFileData& in) {
  const int32_t r = VLR_makesolution(task, whichsol);
  if (r != VLR_RES_OK) return r;
  const TaskData* d = task->data;
  const int32_t m = d->numcon, n = d->numvar;
  SolRec& s = task->sols->sol[whichsol];
  int32_t* skc = VLR_solkeyptr(task, whichsol, VLR_ACC_CON);
  int32_t* skx = VLR_solkeyptr(task, whichsol, VLR_ACC_VAR);
  double* xc = VLR_solitemptr(task, whichsol, VLR_SOL_ITEM_XC);
  double* xx = VLR_solitemptr(task, whichsol, VLR_SOL_ITEM_XX);
  for (int32_t i = 0; i < m; ++i) {
    skc[i] = in.keys[i];
    xc[i] = in.x[i];
  }
  for (int32_t j = 0; j < n; ++j) {
    skx[j] = in.keys[m + j];
    xx[j] = in.x[m + j];
  }
  if (whichsol != VLR_SOL_ITG) {
    double* y = VLR_solitemptr(task, whichsol, VLR_SOL_ITEM_Y);
    double* slc = VLR_solitemptr(task, whichsol, VLR_SOL_ITEM_SLC);
    double* suc = VLR_solitemptr(task, whichsol, VLR_SOL_ITEM_SUC);
    double* slx = VLR_solitemptr(task, whichsol, VLR_SOL_ITEM_SLX);
    double* sux = VLR_solitemptr(task, whichsol, VLR_SOL_ITEM_SUX);
    for (int32_t i = 0; i < m; ++i) {
      slc[i] = in.sl[i];
      suc[i] = in.su[i];
      y[i] = in.sl[i] - in.su[i];
    }
    for (int32_t j = 0; j < n; ++j) {
      slx[j] = in.sl[m + j];
      sux[j] = in.su[m + j];
    }
  }
  if (whichsol == VLR_SOL_ITR) {
    double* snx = VLR_solitemptr(task, whichsol, VLR_SOL_ITEM_SNX);
    for (int32_t j = 0; j < n; ++j)
      snx[j] = 0.0;
    int32_t* skn = VLR_solkeyptr(task, whichsol, 2);
    for (int32_t k = 0; k < d->numcone; ++k)
      skn[k] = VLR_SK_UNK;
  }
  s.prosta = in.prosta;
  s.solsta = in.solsta;
  s.defined = 1;
  return VLR_RES_OK;
}

// Reads the whole file into buffers of the reader's own and checks it; only then does the task's
// solution change, so a refused file leaves every solution as it was.
int32_t sol_read(Task* task, int32_t whichsol, const char* fname) {
  const TaskData* d = task->data;
  const int64_t nt = int64_t{d->numcon} + d->numvar;
  SysBuf<int32_t> keys(task->sys, VLR_HERE, nt > 0 ? nt : 1);
  SysBuf<double> vals(task->sys, VLR_HERE, nt > 0 ? 3 * nt : 1);
  if (!keys || !vals) return VLR_RAISE(task, VLR_RES_ERR_SPACE);
  SolFileData data{.prosta = -1,
                   .solsta = -1,
                   .duals = 0,
                   .keys = keys.get(),
                   .x = vals.get(),
                   .sl = vals.get() + nt,
                   .su = vals.get() + 2 * nt};
  SolReader rd{
      .task = task, .fname = fname, .f = nullptr, .line = {}, .lineno = 0, .eof = 0, .whole = 0};
  if (VLR_NameBuffer_new(task->sys, &rd.line) != kSysOk) return VLR_RAISE(task, VLR_RES_ERR_SPACE);
  int32_t r = VLR_RES_OK;
  rd.f = VLR_fopentask(task, fname, 1, 0, 0, 0, &r);
  if (r == VLR_RES_OK) r = solread_head(&rd, &data);
  const bool duals = whichsol != VLR_SOL_ITG;
  if (r == VLR_RES_OK) r = solread_block(&rd, true, d->numcon, 0, duals, &data);
  if (r == VLR_RES_OK) r = solread_block(&rd, false, d->numvar, d->numcon, duals, &data);
  while (r == VLR_RES_OK && !rd.eof) {
    if (rd.line.size > 0) {
      r = solread_fail(&rd, VLR_RES_ERR_FILE_READ, fname, "text after the variables");
    } else {
      r = solread_next(&rd);
    }
  }
  if (rd.f != nullptr) VLR_sysenv_fclose(task->sys, &rd.f);
  VLR_NameBuffer_delete(&rd.line);
  if (r != VLR_RES_OK) return r;
  return solread_apply(task, whichsol, data);
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

int32_t VLR_readsolution(VLRtask_t task, int32_t whichsol, const char* filename) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PUTPROLOGUE(task);
    const int32_t r = vlr::VLR_checkwhichsol(t, whichsol);
    if (r != VLR_RES_OK) return r;
    static constexpr int32_t kNameParam[3] = {
        VLR_SPAR_ITR_SOL_FILE_NAME, VLR_SPAR_BAS_SOL_FILE_NAME, VLR_SPAR_INT_SOL_FILE_NAME};
    const char* name = filename;
    if (name == nullptr || name[0] == '\0') name = t->sparam[kNameParam[whichsol]];
    if (name[0] == '\0') return VLR_RAISE(t, VLR_RES_ERR_INVALID_SOL_FILE_NAME, "");
    return vlr::sol_read(t, whichsol, name);
  });
}
