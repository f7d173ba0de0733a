// src/velor/lpread.cpp: the LP format reader: a tokenizer over the file buffer and a hand-written
// parser of the objective, constraints, bounds and integer sections that fills the task.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>
#include <cstring>
#include <type_traits>

#include "velor/filebuf.h"
#include "velor/lpfile.h"
#include "velor/probdata.h"

namespace vlr {

const char* const LPTokenTypeEnum_str[TOKEN_NA + 1] = {
    "TOKEN_PLUS",        "TOKEN_MINUS",      "TOKEN_ASTERISK",    "TOKEN_HAT",
    "TOKEN_EQ",          "TOKEN_LE",         "TOKEN_LEQ",         "TOKEN_GE",
    "TOKEN_GEQ",         "TOKEN_COLON",      "TOKEN_LBRACKET",    "TOKEN_RBRACKET",
    "TOKEN_DIVIDE",      "TOKEN_KW_BOUNDS",  "TOKEN_KW_SUCHTHAT", "TOKEN_KW_INFINITY",
    "TOKEN_KW_BINARY",   "TOKEN_KW_GENERAL", "TOKEN_KW_MINIMIZE", "TOKEN_KW_MAXIMIZE",
    "TOKEN_KW_ALLOTHER", "TOKEN_KW_END",     "TOKEN_LABEL",       "TOKEN_DCLABEL",
    "TOKEN_STRING",      "TOKEN_QSTRING",    "TOKEN_INTEGER",     "TOKEN_FLOAT",
    "TOKEN_ERROR",       "TOKEN_NA"};

namespace {

struct Keyword {
  const char* word;
  int32_t type;
};
constexpr Keyword kKeywords[] = {
    {"infinity", TOKEN_KW_INFINITY}, {"inf", TOKEN_KW_INFINITY},     {"max", TOKEN_KW_MAXIMIZE},
    {"maximize", TOKEN_KW_MAXIMIZE}, {"maximum", TOKEN_KW_MAXIMIZE}, {"min", TOKEN_KW_MINIMIZE},
    {"minimize", TOKEN_KW_MINIMIZE}, {"minimum", TOKEN_KW_MINIMIZE}, {"bound", TOKEN_KW_BOUNDS},
    {"bounds", TOKEN_KW_BOUNDS},     {"bin", TOKEN_KW_BINARY},       {"binary", TOKEN_KW_BINARY},
    {"binaries", TOKEN_KW_BINARY},   {"gen", TOKEN_KW_GENERAL},      {"general", TOKEN_KW_GENERAL},
    {"generals", TOKEN_KW_GENERAL},  {"integer", TOKEN_KW_GENERAL},  {"integers", TOKEN_KW_GENERAL},
    {"end", TOKEN_KW_END},           {"s.t.", TOKEN_KW_SUCHTHAT},    {"st", TOKEN_KW_SUCHTHAT}};

bool lp_isalpha(int32_t c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
bool lp_isdigit(int32_t c) {
  return c >= '0' && c <= '9';
}
bool lp_isspace(int32_t c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v';
}
int32_t lp_lower(int32_t c) {
  return c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c;
}
bool lp_sameword(const char* a, const char* b) {
  for (; *a != '\0' && *b != '\0'; ++a, ++b) {
    if (lp_lower(static_cast<unsigned char>(*a)) != *b) return false;
  }
  return *a == *b;
}

bool isNameChar(int32_t c) {
  return lp_isalpha(c) || lp_isdigit(c) ||
         (c > 0 && c < 128 && std::strchr("!@#$%&()/,.;?_'`{}|~", c) != nullptr);
}

// ---- Tokenizer --------------------------------------------------------------------------------

struct Tokenizer {
  FileBuffer* fb;
  FileBufferCursor cur;  // the second cursor, for look-ahead
  NameBuffer text;       // the token's text; a quoted name without its quotes
  int32_t type;
  int32_t line, col;  // where the token starts
  int32_t quoted;     // double quotes delimit names
  int32_t nospace;    // the text could not grow
};

void tk_put(Tokenizer* tk, int32_t c) {
  if (VLR_NameBuffer_putc(&tk->text, c) != kSysOk) tk->nospace = 1;
}

void tk_digits(Tokenizer* tk) {
  while (lp_isdigit(VLR_FileBuffer_peekahead(tk->fb)))
    tk_put(tk, VLR_FileBuffer_getc(tk->fb));
}

// A digit or a point starts a number; a point or an exponent makes it a float. An exponent needs
// digits after its optional sign.
int32_t tk_number(Tokenizer* tk, int32_t c) {
  FileBuffer* fb = tk->fb;
  bool isfloat = c == '.';
  tk_put(tk, c);
  tk_digits(tk);
  if (!isfloat && VLR_FileBuffer_peekahead(fb) == '.') {
    isfloat = true;
    tk_put(tk, VLR_FileBuffer_getc(fb));
    tk_digits(tk);
  }
  const int32_t e = VLR_FileBuffer_peekahead(fb);
  if (e == 'e' || e == 'E') {
    isfloat = true;
    tk_put(tk, VLR_FileBuffer_getc(fb));
    const int32_t s = VLR_FileBuffer_peekahead(fb);
    if (s == '+' || s == '-') tk_put(tk, VLR_FileBuffer_getc(fb));
    if (!lp_isdigit(VLR_FileBuffer_peekahead(fb))) return TOKEN_ERROR;
    tk_digits(tk);
  }
  return isfloat ? TOKEN_FLOAT : TOKEN_INTEGER;
}

// A name followed by a colon is a label, by two a double label; the colons are consumed.
int32_t tk_label(Tokenizer* tk) {
  FileBufferCursor* cur = &tk->cur;
  VLR_FileBufferCursor_reset(cur);
  int32_t c = VLR_FileBufferCursor_getc(cur);
  while (lp_isspace(c))
    c = VLR_FileBufferCursor_getc(cur);
  if (c != ':') return TOKEN_STRING;
  int64_t end = VLR_FileBufferCursor_getpos(cur);
  int32_t type = TOKEN_LABEL;
  if (VLR_FileBufferCursor_getc(cur) == ':') {
    type = TOKEN_DCLABEL;
    end = VLR_FileBufferCursor_getpos(cur);
  }
  VLR_FileBuffer_skipahead(tk->fb, end - tk->fb->pos);
  return type;
}

// "subj" and "subject" open the constraints when the next word starts with "to".
bool tk_subjectto(Tokenizer* tk) {
  FileBufferCursor* cur = &tk->cur;
  VLR_FileBufferCursor_reset(cur);
  int32_t c = VLR_FileBufferCursor_getc(cur);
  while (lp_isspace(c))
    c = VLR_FileBufferCursor_getc(cur);
  if (lp_lower(c) != 't' || lp_lower(VLR_FileBufferCursor_getc(cur)) != 'o') return false;
  VLR_FileBuffer_skipahead(tk->fb, VLR_FileBufferCursor_getpos(cur) - tk->fb->pos);
  return true;
}

int32_t tk_name(Tokenizer* tk, int32_t c) {
  tk_put(tk, c);
  while (isNameChar(VLR_FileBuffer_peekahead(tk->fb)))
    tk_put(tk, VLR_FileBuffer_getc(tk->fb));
  const char* word = VLR_NameBuffer_get(&tk->text);
  if ((lp_sameword(word, "subject") || lp_sameword(word, "subj")) && tk_subjectto(tk)) {
    return TOKEN_KW_SUCHTHAT;
  }
  const int32_t kw = VLR_lpkeyword(word);
  return kw >= 0 ? kw : tk_label(tk);  // a keyword is never a label
}

// A name between double quotes, without escapes; with quoted names off a quote is no token.
int32_t tk_quoted(Tokenizer* tk) {
  if (!tk->quoted) return TOKEN_ERROR;
  for (;;) {
    const int32_t c = VLR_FileBuffer_getc(tk->fb);
    if (c < 0) return TOKEN_ERROR;  // no closing quote
    if (c == '"') break;
    tk_put(tk, c);
  }
  if (VLR_NameBuffer_size(&tk->text) == 0) return TOKEN_ERROR;
  const int32_t type = tk_label(tk);
  return type == TOKEN_STRING ? TOKEN_QSTRING : type;
}

int32_t tk_relation(FileBuffer* fb, int32_t c) {
  const int32_t n = VLR_FileBuffer_peekahead(fb);
  if (c == '=') {
    if (n != '<' && n != '>') return TOKEN_EQ;
    VLR_FileBuffer_getc(fb);
    return n == '<' ? TOKEN_LEQ : TOKEN_GEQ;
  }
  if (n != '=') return c == '<' ? TOKEN_LE : TOKEN_GE;
  VLR_FileBuffer_getc(fb);
  return c == '<' ? TOKEN_LEQ : TOKEN_GEQ;
}

void Tokenizer_next(Tokenizer* tk) {
  FileBuffer* fb = tk->fb;
  VLR_NameBuffer_clear(&tk->text);
  int32_t c = -1;
  for (;;) {
    tk->line = fb->line;
    tk->col = fb->col;
    c = VLR_FileBuffer_getc(fb);
    if (c == '\\') {
      VLR_FileBuffer_skipto(fb, '\n');  // a comment runs to the end of the line
    } else if (c < 0 || !lp_isspace(c)) {
      break;
    }
  }
  switch (c) {
    case -1:
      tk->type = TOKEN_NA;
      return;
    case '+':
    case '-':
    case '*':
    case '^':
    case ':':
    case '[':
    case ']':
    case '/': {
      static constexpr char kSingle[] = "+-*^:[]/";
      static constexpr int32_t kType[] = {TOKEN_PLUS,     TOKEN_MINUS, TOKEN_ASTERISK,
                                          TOKEN_HAT,      TOKEN_COLON, TOKEN_LBRACKET,
                                          TOKEN_RBRACKET, TOKEN_DIVIDE};
      tk_put(tk, c);
      tk->type = kType[std::strchr(kSingle, c) - kSingle];
      return;
    }
    case '=':
    case '<':
    case '>':
      tk->type = tk_relation(fb, c);
      return;
    default:
      break;
  }
  if (c == '"') {
    tk->type = tk_quoted(tk);
  } else if (lp_isdigit(c) || c == '.') {
    tk->type = tk_number(tk, c);
  } else if (isNameChar(c)) {
    tk->type = tk_name(tk, c);
  } else {
    tk->type = TOKEN_ERROR;
  }
  if (tk->nospace) tk->type = TOKEN_ERROR;
}

inline int32_t Tokenizer_gettype(const Tokenizer* tk) {
  return tk->type;
}
inline const char* Tokenizer_getstr(const Tokenizer* tk) {
  return VLR_NameBuffer_get(&tk->text);
}
inline int32_t Tokenizer_getline(const Tokenizer* tk) {
  return tk->line;
}
inline int32_t Tokenizer_getcol(const Tokenizer* tk) {
  return tk->col;
}

// ---- Parser state -----------------------------------------------------------------------------

struct LpSource {
  SysFile* file;
  int32_t failed;  // the file could not be read (a damaged gzip stream)
};

int64_t lp_readfile(void* arg, char* buf, int64_t size) {
  auto* src = static_cast<LpSource*>(arg);
  size_t got = 0;
  const int32_t r = VLR_sysenv_fread(src->file, buf, static_cast<size_t>(size), &got);
  if (r == kSysOk) return static_cast<int64_t>(got);
  if (r == kSysEndOfFile) return 0;
  src->failed = 1;
  return -1;
}

// A side given to a variable in the bounds section, stored when the section ends.
struct BoundRec {
  int32_t j;
  int32_t kind;  // 'L' lower, 'U' upper, 'F' fixed, 'R' free
  double v;
};

struct LpRead {
  Task* task;
  Tokenizer tk;
  LpSource src;
  int32_t* lsub;  // [lcap] linear terms of the expression being read
  double* lval;
  int64_t nl, lcap;
  int32_t *qi, *qj;  // [qcap] its quadratic terms, larger index first
  double* qv;
  int64_t nq, qcap;
  double qabs;    // sum of the magnitudes of the quadratic terms: bounds every sum of them
  int32_t* mark;  // [mcap] position + 1 of each variable among the linear terms; 0 none
  int64_t mcap;
  BoundRec* brec;  // [bcap]
  int64_t nb, bcap;
  // A's elements wait here until every row and column exists: appending a row or a column
  // flushes A's element cache, and a cache made again for each row costs its whole capacity.
  int32_t *ai, *aj;  // [acap]
  double* av;
  int64_t na, acap;
};

// Grows every array of a list to hold need entries; false when out of space, with the arrays
// still valid (those already grown are larger than *cap says).
template <class... T>
bool lp_reserve(SysEnv* sys, int64_t* cap, int64_t need, T**... arrays) {
  if (need <= *cap) return true;
  const int64_t n = std::max<int64_t>(need, std::max<int64_t>(2 * *cap, 64));
  bool ok = true;
  auto grow = [&](auto** p) {
    using E = std::remove_reference_t<decltype(**p)>;
    if (!ok) return;
    auto* q = static_cast<E*>(VLR_sysenv_reallocdbg(sys, VLR_HERE, *p,
                                                    sizeof(E) * static_cast<size_t>(*cap),
                                                    sizeof(E) * static_cast<size_t>(n)));
    if (q == nullptr) {
      ok = false;
      return;
    }
    std::memset(q + *cap, 0, sizeof(E) * static_cast<size_t>(n - *cap));
    *p = q;
  };
  (grow(arrays), ...);
  if (ok) *cap = n;
  return ok;
}

// A syntax error names its place: the code's own text gives line and column, and this line adds
// the file, in the form editors jump to.
int32_t lp_where(LpRead* lp, int32_t code, int32_t line, int32_t col) {
  if (code != VLR_RES_OK) {
    VLRP_echotask(lp->task, VLR_STREAM_ERR, "%s:%d:%d: syntax error\n",
                  VLR_sysenv_fname(lp->src.file), line, col);
  }
  return code;
}

// The error of the current token: out of space, a failed read, or a syntax error at its place.
int32_t lp_syntax(LpRead* lp) {
  Task* task = lp->task;
  if (lp->tk.nospace || (lp->tk.fb->failed && !lp->src.failed)) {
    return VLR_RAISE(task, VLR_RES_ERR_SPACE);
  }
  if (lp->src.failed) return VLR_RAISE(task, VLR_RES_ERR_FILE_READ, VLR_sysenv_fname(lp->src.file));
  const int32_t line = Tokenizer_getline(&lp->tk), col = Tokenizer_getcol(&lp->tk);
  return lp_where(lp, VLR_RAISE(task, VLR_RES_ERR_LP_FILE_FORMAT, line, col), line, col);
}

// The same, except that input which ends early lacks its "end".
int32_t lp_error(LpRead* lp) {
  if (Tokenizer_gettype(&lp->tk) == TOKEN_NA && !lp->src.failed && !lp->tk.fb->failed) {
    const int32_t line = Tokenizer_getline(&lp->tk);
    return lp_where(lp, VLR_RAISE(lp->task, VLR_RES_ERR_READ_LP_MISSING_END_TAG, line), line,
                    Tokenizer_getcol(&lp->tk));
  }
  return lp_syntax(lp);
}

bool lp_isname(int32_t type) {
  return type == TOKEN_STRING || type == TOKEN_QSTRING;
}
bool lp_isnumber(int32_t type) {
  return type == TOKEN_INTEGER || type == TOKEN_FLOAT;
}
// Tokens that end a section: the keywords that open one and the end of the input.
bool lp_issection(int32_t type) {
  return type == TOKEN_KW_SUCHTHAT || type == TOKEN_KW_BOUNDS || type == TOKEN_KW_BINARY ||
         type == TOKEN_KW_GENERAL || type == TOKEN_KW_END || type == TOKEN_KW_MINIMIZE ||
         type == TOKEN_KW_MAXIMIZE || type == TOKEN_NA;
}
// 'L' for less, 'G' for greater, 'E' for equal, 0 for no relation.
int32_t lp_relation(int32_t type) {
  if (type == TOKEN_LE || type == TOKEN_LEQ) return 'L';
  if (type == TOKEN_GE || type == TOKEN_GEQ) return 'G';
  return type == TOKEN_EQ ? 'E' : 0;
}

// The index of a variable by name; a new name is appended with the bound 0 <= x.
int32_t lp_var(LpRead* lp, const char* name, int32_t* j) {
  Task* task = lp->task;
  int32_t r = VLR_getnameindexrec(task, VLR_PI_VAR, name, j);
  if (r != VLR_RES_OK || *j >= 0) return r;
  r = VLR_core_append(task, VLR_ACC_VAR, 1, j);
  if (r == VLR_RES_OK) r = VLRP_putbound(task, VLR_ACC_VAR, *j, VLR_BK_LO, 0.0, kInfinity);
  if (r == VLR_RES_OK) r = VLRP_putname(task, VLR_PI_VAR, *j, name);
  return r;
}

int32_t lp_number(LpRead* lp, double* v) {
  NameBuffer* t = &lp->tk.text;
  if (!lp_isnumber(Tokenizer_gettype(&lp->tk)) || !VLR_NameBuffer_to_double(t, v)) {
    return lp_error(lp);
  }
  return VLR_RES_OK;
}

// A signed number or signed infinity; *inf is 0, or the sign of an infinity.
int32_t lp_value(LpRead* lp, double* v, int32_t* inf) {
  double sign = 1.0;
  const int32_t t = Tokenizer_gettype(&lp->tk);
  if (t == TOKEN_PLUS || t == TOKEN_MINUS) {
    sign = t == TOKEN_MINUS ? -1.0 : 1.0;
    Tokenizer_next(&lp->tk);
  }
  *inf = 0;
  if (Tokenizer_gettype(&lp->tk) == TOKEN_KW_INFINITY) {
    *inf = sign > 0 ? 1 : -1;
    *v = sign * kInfinity;
  } else {
    const int32_t r = lp_number(lp, v);
    if (r != VLR_RES_OK) return r;
    *v *= sign;
  }
  Tokenizer_next(&lp->tk);
  return VLR_RES_OK;
}

// ---- Expressions ------------------------------------------------------------------------------

int32_t lp_addlin(LpRead* lp, int32_t j, double v) {
  SysEnv* sys = lp->task->sys;
  if (!lp_reserve(sys, &lp->mcap, int64_t{j} + 1, &lp->mark) ||
      !lp_reserve(sys, &lp->lcap, lp->nl + 1, &lp->lsub, &lp->lval)) {
    return VLR_RAISE(lp->task, VLR_RES_ERR_SPACE);
  }
  if (lp->mark[j] != 0) {
    double& sum = lp->lval[lp->mark[j] - 1];
    sum += v;  // a variable named twice: the coefficients add up, and must stay finite
    if (!std::isfinite(sum)) return lp_syntax(lp);
  } else {
    lp->lsub[lp->nl] = j;
    lp->lval[lp->nl] = v;
    lp->mark[j] = static_cast<int32_t>(++lp->nl);
  }
  return VLR_RES_OK;
}

int32_t lp_addquad(LpRead* lp, int32_t i, int32_t j, double v) {
  if (!lp_reserve(lp->task->sys, &lp->qcap, lp->nq + 1, &lp->qi, &lp->qj, &lp->qv)) {
    return VLR_RAISE(lp->task, VLR_RES_ERR_SPACE);
  }
  lp->qabs += std::fabs(v);
  if (!std::isfinite(lp->qabs)) return lp_syntax(lp);  // the store adds up repeated pairs
  lp->qi[lp->nq] = std::max(i, j);
  lp->qj[lp->nq] = std::min(i, j);
  lp->qv[lp->nq++] = v;
  return VLR_RES_OK;
}

// An optional number, then a name at the current token.
int32_t lp_coefname(LpRead* lp, double sign, double* coef, int32_t* j) {
  *coef = sign;
  if (lp_isnumber(Tokenizer_gettype(&lp->tk))) {
    double v = 0.0;
    const int32_t r = lp_number(lp, &v);
    if (r != VLR_RES_OK) return r;
    *coef = sign * v;
    Tokenizer_next(&lp->tk);
  }
  if (!lp_isname(Tokenizer_gettype(&lp->tk))) return lp_error(lp);  // a number without a name
  const int32_t r = lp_var(lp, Tokenizer_getstr(&lp->tk), j);
  if (r == VLR_RES_OK) Tokenizer_next(&lp->tk);
  return r;
}

int32_t parseLP_LExp(LpRead* lp, double sign) {
  double coef = 0.0;
  int32_t j = -1;
  const int32_t r = lp_coefname(lp, sign, &coef, &j);
  return r == VLR_RES_OK ? lp_addlin(lp, j, coef) : r;
}

// A square "x ^ 2" keeps its coefficient; a product "x * y" gets half of it. Only the first
// character of the exponent is looked at.
int32_t parseLP_QExp(LpRead* lp, double sign) {
  double coef = 0.0;
  int32_t j = -1, k = -1;
  int32_t r = lp_coefname(lp, sign, &coef, &j);
  if (r != VLR_RES_OK) return r;
  const int32_t t = Tokenizer_gettype(&lp->tk);
  if (t == TOKEN_HAT) {
    Tokenizer_next(&lp->tk);
    if (Tokenizer_gettype(&lp->tk) != TOKEN_INTEGER || Tokenizer_getstr(&lp->tk)[0] != '2') {
      return lp_error(lp);
    }
    Tokenizer_next(&lp->tk);
    return lp_addquad(lp, j, j, coef);
  }
  if (t != TOKEN_ASTERISK) return lp_error(lp);
  Tokenizer_next(&lp->tk);
  if (!lp_isname(Tokenizer_gettype(&lp->tk))) return lp_error(lp);
  r = lp_var(lp, Tokenizer_getstr(&lp->tk), &k);
  if (r != VLR_RES_OK) return r;
  Tokenizer_next(&lp->tk);
  return lp_addquad(lp, j, k, 0.5 * coef);
}

// "[ terms ]" then "/ 2". Without "/ 2" the block's two index lists are halved and truncated:
// the indices change, not the values, so such a block refers to other variables.
int32_t lp_quadblock(LpRead* lp, double sign) {
  Tokenizer* tk = &lp->tk;
  const int64_t first = lp->nq;
  Tokenizer_next(tk);
  for (bool start = true; Tokenizer_gettype(tk) != TOKEN_RBRACKET; start = false) {
    double s = sign;
    const int32_t t = Tokenizer_gettype(tk);
    if (t == TOKEN_PLUS || t == TOKEN_MINUS) {
      s = t == TOKEN_MINUS ? -sign : sign;
      Tokenizer_next(tk);
    } else if (!start) {
      return lp_error(lp);
    }
    const int32_t r = parseLP_QExp(lp, s);
    if (r != VLR_RES_OK) return r;
  }
  Tokenizer_next(tk);
  if (Tokenizer_gettype(tk) == TOKEN_DIVIDE) {
    Tokenizer_next(tk);
    if (Tokenizer_gettype(tk) != TOKEN_INTEGER || Tokenizer_getstr(tk)[0] != '2') {
      return lp_error(lp);
    }
    Tokenizer_next(tk);
    return VLR_RES_OK;
  }
  for (int64_t k = first; k < lp->nq; ++k) {
    lp->qi[k] = static_cast<int32_t>(lp->qi[k] * 0.5);
    lp->qj[k] = static_cast<int32_t>(lp->qj[k] * 0.5);
  }
  return VLR_RAISE(lp->task, VLR_RES_WRN_LP_OLD_QUAD_FORMAT);
}

// An optional sign and terms joined by signs, with quadratic blocks among them; the first token
// that is no sign after a term ends it. It may be empty.
int32_t parseLP_Expressions(LpRead* lp) {
  Tokenizer* tk = &lp->tk;
  for (bool start = true;; start = false) {
    double sign = 1.0;
    int32_t t = Tokenizer_gettype(tk);
    const bool signed_term = t == TOKEN_PLUS || t == TOKEN_MINUS;
    if (signed_term) {
      sign = t == TOKEN_MINUS ? -1.0 : 1.0;
      Tokenizer_next(tk);
      t = Tokenizer_gettype(tk);
    } else if (!start) {
      return VLR_RES_OK;
    }
    int32_t r = VLR_RES_OK;
    if (t == TOKEN_LBRACKET) {
      r = lp_quadblock(lp, sign);
    } else if (lp_isnumber(t) || lp_isname(t)) {
      r = parseLP_LExp(lp, sign);
    } else {
      return signed_term ? lp_error(lp) : VLR_RES_OK;
    }
    if (r != VLR_RES_OK) return r;
  }
}

void lp_clearexpr(LpRead* lp) {
  for (int64_t k = 0; k < lp->nl; ++k)
    lp->mark[lp->lsub[k]] = 0;
  lp->nl = 0;
  lp->nq = 0;
  lp->qabs = 0.0;
}

// ---- Sections ---------------------------------------------------------------------------------

int32_t lp_objective(LpRead* lp) {
  Task* task = lp->task;
  Tokenizer* tk = &lp->tk;
  const int32_t t = Tokenizer_gettype(tk);
  if (t != TOKEN_KW_MINIMIZE && t != TOKEN_KW_MAXIMIZE) return lp_syntax(lp);
  int32_t r =
      VLR_putobjsense(VLR_taskhandle(task), t == TOKEN_KW_MINIMIZE ? VLR_OBJECTIVE_SENSE_MINIMIZE
                                                                   : VLR_OBJECTIVE_SENSE_MAXIMIZE);
  if (r != VLR_RES_OK) return r;
  Tokenizer_next(tk);
  const bool label = Tokenizer_gettype(tk) == TOKEN_LABEL;
  r = VLR_putobjname(VLR_taskhandle(task), label ? Tokenizer_getstr(tk) : "obj");
  if (r != VLR_RES_OK) return r;
  if (label) Tokenizer_next(tk);
  r = parseLP_Expressions(lp);
  const TaskData* d = task->data;
  for (int64_t k = 0; r == VLR_RES_OK && k < lp->nl; ++k)
    r = VLRP_putcj(task, lp->lsub[k], d->c[lp->lsub[k]] + lp->lval[k]);
  if (r == VLR_RES_OK && lp->nq > 0) r = VLRP_putqobj(task, lp->nq, lp->qi, lp->qj, lp->qv);
  lp_clearexpr(lp);
  return r;
}

// The sides of a constraint as its relations give them.
struct Sides {
  bool lo = false, up = false, eq = false;
  double bl = -kInfinity, bu = kInfinity;
};

// Gives side 'L' (lower), 'U' (upper) or 'E' (both) the value v. A side may be given once, and
// infinity only with the sign that leaves the side empty.
bool lp_side(Sides* s, int32_t which, double v, int32_t inf) {
  if ((which != 'U' && (s->lo || inf > 0)) || (which != 'L' && (s->up || inf < 0))) return false;
  if (which != 'U') {
    s->lo = true;
    s->bl = v;
  }
  if (which != 'L') {
    s->up = true;
    s->bu = v;
  }
  s->eq = which == 'E';
  return true;
}

// Stores the elements of A read so far.
int32_t lp_storea(LpRead* lp) {
  int32_t r = VLR_RES_OK;
  for (int64_t k = 0; r == VLR_RES_OK && k < lp->na; ++k)
    r = VLRP_putaij(lp->task, lp->ai[k], lp->aj[k], lp->av[k]);
  lp->na = 0;
  return r;
}

int32_t lp_storecon(LpRead* lp, int32_t i, const Sides& s) {
  Task* task = lp->task;
  if (!lp_reserve(task->sys, &lp->acap, lp->na + lp->nl, &lp->ai, &lp->aj, &lp->av)) {
    return VLR_RAISE(task, VLR_RES_ERR_SPACE);
  }
  for (int64_t k = 0; k < lp->nl; ++k) {
    lp->ai[lp->na] = i;
    lp->aj[lp->na] = lp->lsub[k];
    lp->av[lp->na++] = lp->lval[k];
  }
  int32_t r = VLR_RES_OK;
  if (lp->nq > 0) r = VLRP_putqconk(task, i, lp->nq, lp->qi, lp->qj, lp->qv);
  if (r != VLR_RES_OK) return r;
  const bool lo = s.lo && s.bl > -kInfinity, up = s.up && s.bu < kInfinity;
  const int32_t bk = s.eq ? VLR_BK_FX
                     : lo ? (up ? VLR_BK_RA : VLR_BK_LO)
                     : up ? VLR_BK_UP
                          : VLR_BK_FR;
  return VLRP_putbound(task, VLR_ACC_CON, i, bk, s.bl, s.bu);
}

// [label] expression relation value, or double-label value relation expression relation value.
int32_t lp_constraint(LpRead* lp) {
  Task* task = lp->task;
  Tokenizer* tk = &lp->tk;
  int32_t i = -1;
  int32_t r = VLR_core_append(task, VLR_ACC_CON, 1, &i);
  if (r != VLR_RES_OK) return r;
  Sides s;
  double v = 0.0;
  int32_t inf = 0;
  const int32_t t = Tokenizer_gettype(tk);
  if (t == TOKEN_LABEL || t == TOKEN_DCLABEL) {
    r = VLRP_putname(task, VLR_PI_CON, i, Tokenizer_getstr(tk));
    if (r != VLR_RES_OK) return r;
    Tokenizer_next(tk);
  }
  if (t == TOKEN_DCLABEL) {
    r = lp_value(lp, &v, &inf);
    if (r != VLR_RES_OK) return r;
    // "v <= expression" gives the lower side, "v >= expression" the upper.
    const int32_t rel = lp_relation(Tokenizer_gettype(tk));
    if (rel == 0 || !lp_side(&s, rel == 'L' ? 'L' : rel == 'G' ? 'U' : 'E', v, inf)) {
      return lp_error(lp);
    }
    Tokenizer_next(tk);
  }
  r = parseLP_Expressions(lp);
  if (r != VLR_RES_OK) return r;
  const int32_t rel = lp_relation(Tokenizer_gettype(tk));
  if (rel == 0) return lp_error(lp);
  Tokenizer_next(tk);
  const int32_t line = Tokenizer_getline(tk), col = Tokenizer_getcol(tk);
  r = lp_value(lp, &v, &inf);
  if (r != VLR_RES_OK) return r;
  if (!lp_side(&s, rel == 'L' ? 'U' : rel == 'G' ? 'L' : 'E', v, inf)) {
    return lp_where(lp, VLR_RAISE(task, VLR_RES_ERR_LP_FILE_FORMAT, line, col), line, col);
  }
  r = lp_storecon(lp, i, s);
  lp_clearexpr(lp);
  return r;
}

int32_t lp_constraints(LpRead* lp) {
  Tokenizer_next(&lp->tk);
  while (!lp_issection(Tokenizer_gettype(&lp->tk))) {
    const int32_t r = lp_constraint(lp);
    if (r != VLR_RES_OK) return r;
  }
  return VLR_RES_OK;
}

// Applies the sides gathered in the bounds section, in the order they were given.
int32_t lp_storebounds(LpRead* lp) {
  Task* task = lp->task;
  for (int64_t k = 0; k < lp->nb; ++k) {
    const BoundRec& b = lp->brec[k];
    int32_t bk = 0;
    double bl = 0.0, bu = 0.0;
    VLRP_getbound(task, VLR_ACC_VAR, b.j, &bk, &bl, &bu);
    if (b.kind == 'L' || b.kind == 'F' || b.kind == 'R') bl = b.kind == 'R' ? -kInfinity : b.v;
    if (b.kind == 'U' || b.kind == 'F' || b.kind == 'R') bu = b.kind == 'R' ? kInfinity : b.v;
    const bool lo = bl > -kInfinity, up = bu < kInfinity;
    bk = b.kind == 'F' ? VLR_BK_FX : lo ? (up ? VLR_BK_RA : VLR_BK_LO) : up ? VLR_BK_UP : VLR_BK_FR;
    const int32_t r = VLRP_putbound(task, VLR_ACC_VAR, b.j, bk, bl, bu);
    if (r != VLR_RES_OK) return r;
  }
  lp->nb = 0;
  return VLR_RES_OK;
}

// Records side `which` of variable j ('L', 'U', 'F' or 'R'), checking the sign of an infinity;
// j below 0 is a dropped variable.
int32_t lp_bound(LpRead* lp, int32_t j, int32_t which, double v, int32_t inf, int32_t line,
                 int32_t col) {
  if ((which == 'L' && inf > 0) || (which == 'U' && inf < 0) || (which == 'F' && inf != 0)) {
    return lp_where(lp, VLR_RAISE(lp->task, VLR_RES_ERR_LP_FILE_FORMAT, line, col), line, col);
  }
  if (j < 0) return VLR_RES_OK;
  if (!lp_reserve(lp->task->sys, &lp->bcap, lp->nb + 1, &lp->brec)) {
    return VLR_RAISE(lp->task, VLR_RES_ERR_SPACE);
  }
  lp->brec[lp->nb++] = BoundRec{j, which, v};
  return VLR_RES_OK;
}

// The variable of a bound line; an unknown name is appended, or dropped with a warning when
// VLR_IPAR_READ_LP_DROP_NEW_VARS_IN_BOU is on (*j is then -1).
int32_t lp_boundvar(LpRead* lp, int32_t* j) {
  Task* task = lp->task;
  const char* name = Tokenizer_getstr(&lp->tk);
  int32_t r = VLR_getnameindexrec(task, VLR_PI_VAR, name, j);
  if (r == VLR_RES_OK && *j < 0) {
    if (VLRP_getintparam(task, VLR_IPAR_READ_LP_DROP_NEW_VARS_IN_BOU) != 0) {
      r = VLR_RAISE(task, VLR_RES_WRN_LP_DROP_VARIABLE, name);
    } else {
      r = lp_var(lp, name, j);
    }
  }
  if (r == VLR_RES_OK) Tokenizer_next(&lp->tk);
  return r;
}

// "value rel x [rel value]", "x rel value" or "x free".
int32_t lp_boundline(LpRead* lp) {
  Tokenizer* tk = &lp->tk;
  double v = 0.0;
  int32_t inf = 0, j = -1, r = VLR_RES_OK;
  int32_t line = Tokenizer_getline(tk), col = Tokenizer_getcol(tk);
  if (!lp_isname(Tokenizer_gettype(tk))) {
    r = lp_value(lp, &v, &inf);
    if (r != VLR_RES_OK) return r;
    const int32_t rel = lp_relation(Tokenizer_gettype(tk));
    if (rel == 0) return lp_error(lp);
    Tokenizer_next(tk);
    if (!lp_isname(Tokenizer_gettype(tk))) return lp_error(lp);
    r = lp_boundvar(lp, &j);
    if (r == VLR_RES_OK)
      r = lp_bound(lp, j, rel == 'L' ? 'L' : rel == 'G' ? 'U' : 'F', v, inf, line, col);
    if (r != VLR_RES_OK || lp_relation(Tokenizer_gettype(tk)) == 0) return r;
  } else {
    r = lp_boundvar(lp, &j);
    if (r != VLR_RES_OK) return r;
    if (Tokenizer_gettype(tk) == TOKEN_STRING && lp_sameword(Tokenizer_getstr(tk), "free")) {
      Tokenizer_next(tk);
      return lp_bound(lp, j, 'R', 0.0, 0, line, col);
    }
  }
  const int32_t rel = lp_relation(Tokenizer_gettype(tk));
  if (rel == 0) return lp_error(lp);
  Tokenizer_next(tk);
  line = Tokenizer_getline(tk);
  col = Tokenizer_getcol(tk);
  r = lp_value(lp, &v, &inf);
  if (r != VLR_RES_OK) return r;
  return lp_bound(lp, j, rel == 'L' ? 'U' : rel == 'G' ? 'L' : 'F', v, inf, line, col);
}

int32_t lp_bounds(LpRead* lp) {
  Tokenizer_next(&lp->tk);
  while (!lp_issection(Tokenizer_gettype(&lp->tk))) {
    const int32_t r = lp_boundline(lp);
    if (r != VLR_RES_OK) return r;
  }
  return lp_storebounds(lp);
}

// A list of names: binary ones get the bounds [0, 1]; both kinds are marked integer.
int32_t lp_integers(LpRead* lp, bool binary) {
  Task* task = lp->task;
  Tokenizer* tk = &lp->tk;
  Tokenizer_next(tk);
  while (!lp_issection(Tokenizer_gettype(tk))) {
    if (!lp_isname(Tokenizer_gettype(tk))) return lp_error(lp);
    int32_t j = -1;
    int32_t r = lp_var(lp, Tokenizer_getstr(tk), &j);
    if (r == VLR_RES_OK && binary) r = VLRP_putbound(task, VLR_ACC_VAR, j, VLR_BK_RA, 0.0, 1.0);
    if (r == VLR_RES_OK) r = VLRP_putvartype(task, j, VLR_VAR_TYPE_INT);
    if (r != VLR_RES_OK) return r;
    Tokenizer_next(tk);
  }
  return VLR_RES_OK;
}

// The writer carries a constant objective term as a variable "CFIX" fixed at 1 and used nowhere
// else; such a last variable turns back into the constant.
int32_t lp_foldcfix(LpRead* lp) {
  Task* task = lp->task;
  TaskData* d = task->data;
  int32_t j = -1;
  int32_t r = VLR_getnameindexrec(task, VLR_PI_VAR, "CFIX", &j);
  if (r != VLR_RES_OK || j < 0 || j != d->numvar - 1) return r;
  int32_t nz = 0;
  if (VLR_sprmat_getcolnzj(d->a, j, &nz) != kSprOk || nz != 0) return VLR_RES_OK;
  if (d->bkx[j] != VLR_BK_RA || d->blx[j] != 1.0 || d->bux[j] != 1.0) return VLR_RES_OK;
  if (d->vartype != nullptr && d->vartype[j] == VLR_VAR_TYPE_INT) return VLR_RES_OK;
  for (int64_t k = d->qobjb; k < d->qobje; ++k) {
    if (d->qsubi[k] == j) return VLR_RES_OK;  // the larger index comes first: j is the last
  }
  for (int32_t i = 0; d->qconb != nullptr && i < d->numcon; ++i) {
    for (int64_t k = d->qconb[i]; k < d->qcone[i]; ++k) {
      if (d->qsubi[k] == j) return VLR_RES_OK;
    }
  }
  r = VLRP_putcfix(task, d->cfix + d->c[j]);
  return r == VLR_RES_OK ? VLRP_remove(task, VLR_ACC_VAR, 1, &j) : r;
}

int32_t parseLP_File(LpRead* lp) {
  Tokenizer* tk = &lp->tk;
  Tokenizer_next(tk);
  int32_t r = lp_objective(lp);
  while (r == VLR_RES_OK) {
    switch (Tokenizer_gettype(tk)) {
      case TOKEN_KW_SUCHTHAT:
        r = lp_constraints(lp);
        break;
      case TOKEN_KW_BOUNDS:
        r = lp_bounds(lp);
        break;
      case TOKEN_KW_BINARY:
      case TOKEN_KW_GENERAL:
        r = lp_integers(lp, Tokenizer_gettype(tk) == TOKEN_KW_BINARY);
        break;
      case TOKEN_KW_END:
        r = lp_storea(lp);
        return r == VLR_RES_OK ? lp_foldcfix(lp) : r;
      default:
        return lp_error(lp);
    }
  }
  return r;
}

void lp_free(LpRead* lp) {
  SysEnv* sys = lp->task->sys;
  for (void* p :
       {static_cast<void*>(lp->lsub), static_cast<void*>(lp->lval), static_cast<void*>(lp->qi),
        static_cast<void*>(lp->qj), static_cast<void*>(lp->qv), static_cast<void*>(lp->mark),
        static_cast<void*>(lp->brec), static_cast<void*>(lp->ai), static_cast<void*>(lp->aj),
        static_cast<void*>(lp->av)}) {
    VLR_sysenv_freedbg(sys, VLR_HERE, p);
  }
  VLR_NameBuffer_delete(&lp->tk.text);
}

}  // namespace

int32_t VLR_lpkeyword(const char* word) {
  for (const Keyword& k : kKeywords) {
    if (lp_sameword(word, k.word)) return k.type;
  }
  return -1;
}

int32_t VLR_readlpfile(Task* task, SysFile* file) {
  const auto par = [task](int32_t p) { return VLRP_getintparam(task, p); };
  int32_t r = VLR_resizetask64(VLR_taskhandle(task), par(VLR_IPAR_READ_CON), par(VLR_IPAR_READ_VAR),
                               0, par(VLR_IPAR_READ_ANZ), par(VLR_IPAR_READ_QNZ));
  if (r != VLR_RES_OK) return r;
  LpRead lp{};
  lp.task = task;
  lp.src.file = file;
  FileBuffer fb{};
  if (VLR_FileBuffer_new(task->sys, &lp.src, lp_readfile, &fb) != kSysOk) {
    return VLR_RAISE(task, VLR_RES_ERR_SPACE);
  }
  lp.tk.fb = &fb;
  lp.tk.quoted = par(VLR_IPAR_READ_LP_QUOTED_NAMES);
  VLR_FileBufferCursor_new(&fb, &lp.tk.cur);
  if (VLR_NameBuffer_new(task->sys, &lp.tk.text) != kSysOk) {
    r = VLR_RAISE(task, VLR_RES_ERR_SPACE);
  } else {
    r = parseLP_File(&lp);
    if (r != VLR_RES_OK) lp_storea(&lp);  // the task keeps what was read before the error
  }
  lp_free(&lp);
  VLR_FileBuffer_delete(&fb);
  for (int32_t w = VLR_PI_VAR; w <= VLR_PI_CONE; ++w)
    VLR_deletenamemap(task, w);
  return r;
}

}  // namespace vlr
