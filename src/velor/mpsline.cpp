// src/velor/mpsline.cpp: the MPS line splitter: comment and head lines, fields by column in the
// strict and relaxed forms, tokens in the free form, and the number text of data files.
// SPDX-License-Identifier: Apache-2.0
#include <charconv>
#include <cstring>

#include "velor/datafile.h"

namespace vlr {

const char* const kMpsSectionNames[kNumMpsSections] = {
    "NAME",   "OBJSENSE", "OBJNAME", "ROWS",     "COLUMNS",  "RHS",   "RANGES",
    "BOUNDS", "SETS",     "QUADOBJ", "QSECTION", "CSECTION", "ENDATA"};

struct MpsLineReader {
  SysEnv* sys;
  RmReadLineFunc readline;
  void* arg;
  int32_t format;  // VLR_MPS_FORMAT_...
  int32_t quoted;  // free form: names in double quotes may hold blanks
  int32_t width;   // longest line accepted, and the size of every field
  int32_t len;     // length of line
  int32_t linenum;
  char* line;     // [width + 3] the current line; room for the line end that tells a long line
  char* work;     // [width + 1] the line being split
  char* fld[6];   // [width + 1] each: the text of the fields
  double num[6];  // values of fields 3 and 5
};

namespace {

// Start columns of the six fields of the fixed forms, and where a field after the last would start.
constexpr int32_t kStart[7] = {1, 4, 14, 24, 39, 49, 62};
constexpr int32_t kWidth[6] = {2, 8, 8, 12, 8, 12};

bool rm_isnumfield(int32_t k) {
  return k == 3 || k == 5;
}

bool rm_allblank(const char* s, int32_t from, int32_t to, bool tabs) {
  for (int32_t p = from; p < to; ++p) {
    if (s[p] != ' ' && !(tabs && s[p] == '\t')) return false;
  }
  return true;
}

void rm_setfield(MpsLineReader* rm, int32_t k, const char* s, int32_t n) {
  std::memcpy(rm->fld[k], s, static_cast<size_t>(n));
  rm->fld[k][n] = '\0';
}

// Fields by column. A name field keeps its columns without the blanks at its end; a number in the
// relaxed form starts at its first non-blank and runs to the next blank, and when it reaches the
// next field's start the rest of the line must be blank.
int32_t rm_splitfixed(MpsLineReader* rm, const char* s, int32_t len) {
  for (int32_t k = 0; k < 6; ++k) {
    const int32_t start = kStart[k], next = kStart[k + 1];
    if (start >= len) return kRmData;
    const int32_t fend = start + kWidth[k] < len ? start + kWidth[k] : len;
    int32_t q = fend;
    if (rm_isnumfield(k) && rm->format != VLR_MPS_FORMAT_STRICT) {
      int32_t p = start;
      while (p < fend && s[p] == ' ')
        ++p;
      if (p < fend) {
        q = p;
        while (q < len && s[q] != ' ')
          ++q;
        rm_setfield(rm, k, s + p, q - p);
        if (q >= next) return rm_allblank(s, q, len, false) ? kRmData : kRmBadField0 + k;
      }
    } else {
      int32_t b = start, e = fend;
      while (e > b && s[e - 1] == ' ')
        --e;
      // The code field is a word, not a name: "  N NOBJ" has the code "N".
      while (k == 0 && b < e && s[b] == ' ')
        ++b;
      rm_setfield(rm, k, s + b, e - b);
    }
    if (!rm_allblank(s, q, next < len ? next : len, false)) return kRmBadField0 + k;
  }
  return rm_allblank(s, kStart[6], len, false) ? kRmData : kRmBadField0 + 5;
}

// Tokens separated by blanks and tabs, filling fields from `first` on. In COLUMNS the token after
// "'MARKER'" goes to field 4.
int32_t rm_splitfree(MpsLineReader* rm, const char* s, int32_t len, int32_t first, bool columns) {
  int32_t k = first, p = 0;
  for (;;) {
    while (p < len && (s[p] == ' ' || s[p] == '\t'))
      ++p;
    if (p >= len) return kRmData;
    if (k > 5) return kRmTooMany;
    if (rm->quoted && (k == 1 || k == 2 || k == 4) && s[p] == '"') {
      int32_t q = p + 1;
      while (q < len && s[q] != '"')
        ++q;
      if (q >= len) return kRmBadField0 + k;  // no closing quote
      rm_setfield(rm, k, s + p + 1, q - p - 1);
      p = q + 1;
    } else {
      int32_t q = p;
      while (q < len && s[q] != ' ' && s[q] != '\t')
        ++q;
      rm_setfield(rm, k, s + p, q - p);
      p = q;
    }
    k = columns && k == 2 && std::strcmp(rm->fld[2], "'MARKER'") == 0 ? 4 : k + 1;
  }
}

int32_t rm_split(MpsLineReader* rm, const char* s, int32_t len, int32_t first, bool columns) {
  for (int32_t k = 0; k < 6; ++k) {
    rm->fld[k][0] = '\0';
    rm->num[k] = 0.0;
  }
  const int32_t r = rm->format == VLR_MPS_FORMAT_STRICT || rm->format == VLR_MPS_FORMAT_RELAXED
                        ? rm_splitfixed(rm, s, len)
                        : rm_splitfree(rm, s, len, first, columns);
  if (r != kRmData) return r;
  for (int32_t k = 3; k <= 5; k += 2) {
    if (rm->fld[k][0] != '\0' && !VLR_rm_strtonum(rm->fld[k], &rm->num[k])) {
      return kRmBadField0 + k;
    }
  }
  // Tabs separate tokens in the free form; in a fixed column they are an error.
  if (std::strchr(rm->fld[1], '\t') != nullptr) return kRmTabField1;
  if (std::strchr(rm->fld[2], '\t') != nullptr) return kRmTabField2;
  if (std::strchr(rm->fld[4], '\t') != nullptr) return kRmTabField4;
  return kRmData;
}

}  // namespace

bool VLR_rm_strtonum(const char* text, double* value) {
  char buf[128];
  size_t n = 0;
  for (const char* s = text; *s != '\0'; ++s) {
    if (*s == ' ') continue;
    if (n + 2 >= sizeof buf) return false;
    const char c = *s == 'D' ? 'E' : *s;
    // Only the characters of a decimal number: no hexadecimal, "nan" or "inf".
    if (!((c >= '0' && c <= '9') || c == '.' || c == 'e' || c == 'E' || c == '+' || c == '-')) {
      return false;
    }
    if (c == '.' && (n == 0 || (n == 1 && (buf[0] == '+' || buf[0] == '-')))) buf[n++] = '0';
    buf[n++] = c;
  }
  buf[n] = '\0';
  const char* b = buf;
  if (*b == '+') ++b;  // from_chars takes no plus sign
  if (*b == '\0' || *b == '+') return false;
  double v = 0.0;
  const auto res = std::from_chars(b, buf + n, v);
  if (res.ptr != buf + n) return false;
  if (res.ec == std::errc::result_out_of_range) {
    // Too small is zero; too large has no value.
    const char* e = std::strpbrk(b, "eE");
    if (e == nullptr || e[1] != '-') return false;
    v = 0.0;
  } else if (res.ec != std::errc()) {
    return false;
  }
  *value = v;
  return true;
}

MpsLineReader* VLR_rm_make(SysEnv* sys, int32_t format, int32_t quoted, int32_t width, void* arg,
                           RmReadLineFunc readline) {
  if (width < 0) width = 0;
  auto* rm =
      static_cast<MpsLineReader*>(VLR_sysenv_callocdbg(sys, VLR_HERE, 1, sizeof(MpsLineReader)));
  if (rm == nullptr) return nullptr;
  const int64_t w = int64_t{width} + 1;
  rm->line = static_cast<char*>(VLR_sysenv_callocdbg(sys, VLR_HERE, 8 * w + 2, 1));
  if (rm->line == nullptr) {
    VLR_sysenv_freedbg(sys, VLR_HERE, rm);
    return nullptr;
  }
  rm->work = rm->line + w + 2;
  for (int32_t k = 0; k < 6; ++k)
    rm->fld[k] = rm->work + (k + 1) * w;
  rm->sys = sys;
  rm->readline = readline;
  rm->arg = arg;
  rm->format = format;
  rm->quoted = quoted;
  rm->width = width;
  return rm;
}

void VLR_rm_del(MpsLineReader** rm) {
  if (*rm == nullptr) return;
  VLR_sysenv_freedbg((*rm)->sys, VLR_HERE, (*rm)->line);
  VLR_sysenv_freedbg((*rm)->sys, VLR_HERE, *rm);
  *rm = nullptr;
}

int32_t VLR_rm_read(MpsLineReader* rm, int32_t sec) {
  const bool free = rm->format != VLR_MPS_FORMAT_STRICT && rm->format != VLR_MPS_FORMAT_RELAXED;
  for (;;) {
    int32_t len = 0;
    const int32_t r = rm->readline(rm->arg, rm->line, rm->width + 3, &len);
    if (r == kRmEof) return kRmEof;
    ++rm->linenum;
    if (r != kRmData || len > rm->width) {
      rm->len = len < rm->width ? len : rm->width;
      rm->line[rm->len] = '\0';
      return kRmReadError;
    }
    rm->len = len;
    rm->line[len] = '\0';
    if (len > 0 && rm->line[0] == '*') continue;
    if (rm_allblank(rm->line, 0, len, true)) return kRmEmpty;
    std::memcpy(rm->work, rm->line, static_cast<size_t>(len) + 1);
    if (rm->line[0] != ' ' && !(free && rm->line[0] == '\t')) {
      int32_t head = 0;
      if (VLR_rm_checksechead(rm, &head) == kRmData &&
          (head == kSecQsection || head == kSecCsection)) {
        // The keyword is blanked and the rest split as a data line whose first name is field 2.
        std::memset(rm->work, ' ', std::strlen(kMpsSectionNames[head]));
        const int32_t code = rm_split(rm, rm->work, len, 2, false);
        if (code != kRmData) return code;
      }
      return kRmSection;
    }
    const int32_t first = sec == kSecRows || sec == kSecBounds ? 0 : 1;
    return rm_split(rm, rm->work, len, first, sec == kSecColumns);
  }
}

int32_t VLR_rm_checksechead(const MpsLineReader* rm, int32_t* sec) {
  for (int32_t s = 0; s < kNumMpsSections; ++s) {
    const char* key = kMpsSectionNames[s];
    if (std::strncmp(rm->line, key, std::strlen(key)) == 0) {
      *sec = s;
      return kRmData;
    }
  }
  return kRmBadField0 + 1;
}

int32_t VLR_rm_readtitle(const MpsLineReader* rm, const char** title) {
  if (std::strncmp(rm->line, "NAME", 4) != 0) return kRmBadTitle;
  const char* s = rm->line;
  while (*s != '\0' && *s != ' ' && *s != '\t')
    ++s;
  while (*s == ' ' || *s == '\t')
    ++s;
  *title = s;
  return kRmData;
}

const char* VLR_rm_headrest(MpsLineReader* rm) {
  char* s = rm->line;
  while (*s != '\0' && *s != ' ' && *s != '\t')
    ++s;
  while (*s == ' ' || *s == '\t')
    ++s;
  char* e = s + std::strlen(s);
  while (e > s && (e[-1] == ' ' || e[-1] == '\t'))
    *--e = '\0';
  return s;
}

const char* VLR_rm_field(const MpsLineReader* rm, int32_t k) {
  return rm->fld[k];
}

double VLR_rm_number(const MpsLineReader* rm, int32_t k) {
  return rm->num[k];
}

int32_t VLR_rm_getlinenumber(const MpsLineReader* rm) {
  return rm->linenum;
}

const char* VLR_rm_getline(const MpsLineReader* rm) {
  return rm->line;
}

}  // namespace vlr
