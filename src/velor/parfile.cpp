// src/velor/parfile.cpp: the parameter file: read into a task, written from a task.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>

#include "velor/param.h"
#include "velor/tables.h"
#include "velor/task.h"

namespace vlr {

namespace {

constexpr size_t kParLineLen = 1024;

bool parfile_islog(const Task* task) {
  return task->iparam[VLR_IPAR_LOG] != 0 && task->iparam[VLR_IPAR_LOG_FILE] != 0;
}

// Applies one line; returns the response of the put (0 for a skipped line).
int32_t parfile_line(Task* task, char* line, char comment) {
  size_t n = std::strlen(line);
  while (n > 0 && (line[n - 1] == '\n' || line[n - 1] == '\r'))
    line[--n] = '\0';
  char* p = line;
  while (*p == ' ' || *p == '\t')
    ++p;
  if (*p == '\0' || *p == comment) return VLR_RES_OK;
  char* name = p;
  while (*p != '\0' && *p != ' ' && *p != '\t' && *p != comment)
    ++p;
  const char stop = *p;
  *p = '\0';
  char* value = stop == '\0' || stop == comment ? p : p + 1;
  if (stop == comment) *value = '\0';
  while (*value == ' ' || *value == '\t')
    ++value;
  // A quoted value may hold the comment character; the comment starts after the closing quote.
  char* from = value;
  if (*value == '"') {
    ++from;
    while (*from != '\0' && !(*from == '"' && from[-1] != '\\'))
      ++from;
  }
  char* cut = std::strchr(from, comment);
  if (cut != nullptr) *cut = '\0';
  size_t m = std::strlen(value);
  while (m > 0 && (value[m - 1] == ' ' || value[m - 1] == '\t'))
    value[--m] = '\0';
  if (task->iparam[VLR_IPAR_PARAM_READ_CASE_NAME] == 0) {
    for (char* c = name; *c != '\0'; ++c)
      *c = static_cast<char>(std::toupper(*c));
  }
  if (task->iparam[VLR_IPAR_LOG_PARAM] != 0) {
    VLRP_echotask(task, VLR_STREAM_MSG, "%-36s %-s\n", name, value);
  }
  return VLR_putparamrec(task, name, value);
}

int32_t parfile_read(Task* task, const char* fname) {
  const char comment = [&] {
    const char* sign = task->sparam[VLR_SPAR_PARAM_COMMENT_SIGN];
    while (*sign == ' ' || *sign == '\t')
      ++sign;
    return *sign != '\0' ? *sign : '%';
  }();
  if (parfile_islog(task))
    VLRP_echotask(task, VLR_STREAM_MSG, "Reading %s file - %s\n", "par", fname);
  const double start = VLR_sysenv_getwctime(task->sys);
  int32_t code = 0;
  VLR_msg_openfile(task, fname);
  SysFile* f = VLR_sysenv_fopen(task->sys, fname, 0, 1, 0, 0, 0, 0, &code);
  if (f == nullptr) return VLR_RAISE(task, VLR_RES_WRN_OPEN_PARAM_FILE, fname);
  char line[kParLineLen + 1];
  size_t len = 0;
  // With a "BEGIN VELOR" line only what stands between it and "END VELOR" counts.
  bool sectioned = false;
  while (VLR_sysenv_fgets(f, line, sizeof line, &len) == kSysOk) {
    if (std::strncmp(line, "BEGIN VELOR", 11) == 0) {
      sectioned = true;
      break;
    }
  }
  if (!sectioned) VLR_sysenv_frewind(f);
  int32_t result = VLR_RES_OK;
  while (VLR_sysenv_fgets(f, line, sizeof line, &len) == kSysOk) {
    if (sectioned && std::strncmp(line, "END VELOR", 9) == 0) break;
    char copy[kParLineLen + 1];
    std::memcpy(copy, line, len + 1);
    const int32_t r = parfile_line(task, line, comment);
    if (r == VLR_RES_OK) continue;
    if (r == VLR_RES_ERR_PARAM_NAME || r == VLR_RES_ERR_PARAM_VALUE_STR) {
      VLRP_echotask(task, VLR_STREAM_ERR, "The error occured in line:\n%s", copy);
      if (len == 0 || copy[len - 1] != '\n') VLRP_echotask(task, VLR_STREAM_ERR, "\n");
    }
    if (task->iparam[VLR_IPAR_PARAM_READ_IGN_ERROR] == 0) {
      result = r;
      break;
    }
  }
  VLR_sysenv_fclose(task->sys, &f);
  if (parfile_islog(task)) {
    VLRP_echotask(task, VLR_STREAM_MSG, "done reading. Time: %.2f\n\n",
                  VLR_sysenv_getwctime(task->sys) - start);
  }
  return result;
}

// A string value as the writer writes it: quoted (with \" for a quote) when it holds blanks,
// quotes, the comment sign or a per cent sign, so that the reader gives back the same string.
bool parfile_quote(const Task* task, const char* v) {
  const char* sign = task->sparam[VLR_SPAR_PARAM_COMMENT_SIGN];
  return std::strpbrk(v, " \t\"") != nullptr ||
         (sign[0] != '\0' && std::strchr(v, sign[0]) != nullptr) ||
         std::strchr(v, '%') != nullptr || v[0] == '\0';
}

// Length of the line the writer makes for a string parameter, its end of line included.
size_t parfile_strlinelen(const Task* task, int32_t k) {
  const char* v = task->sparam[k];
  size_t n = std::max<size_t>(std::strlen(kStrParams[k].name), 48) + 1 + std::strlen(v) + 1;
  if (parfile_quote(task, v)) {
    n += 2;
    for (const char* c = v; *c != '\0'; ++c)
      n += *c == '"';
  }
  return n;
}

int32_t parfile_write(Task* task, const char* fname) {
  // The reader takes lines of at most kParLineLen characters: a value that would not fit is
  // refused before the file is touched, rather than written to be read back cut.
  for (int32_t k = 0; k < kNumStrParams; ++k) {
    if (parfile_strlinelen(task, k) > kParLineLen) {
      VLR_RAISE(task, VLR_RES_WRN_SPAR_MAX_LEN);
      return VLR_RAISE(task, VLR_RES_ERR_FILE_WRITE, fname);
    }
  }
  if (parfile_islog(task)) {
    VLRP_echotask(task, VLR_STREAM_MSG, "Writing %s file:  %s\n", "par", fname);
  }
  const double start = VLR_sysenv_getwctime(task->sys);
  int32_t res = VLR_RES_OK;
  SysFile* f = VLR_fopentaskreplace(task, fname, 0, &res);
  if (f == nullptr) return res;
  int32_t bad = 0;
  bad |= VLR_sysenv_fprintf(f, "BEGIN VELOR\n\n");
  for (int32_t k = 0; k < kNumIntParams; ++k) {
    bad |= VLR_sysenv_fprintf(f, "%-48s %-18d\n", kIntParams[k].name, task->iparam[k]);
  }
  bad |= VLR_sysenv_fprintf(f, "\n");
  for (int32_t k = 0; k < kNumDouParams; ++k) {
    bad |= VLR_sysenv_fprintf(f, "%-48s %-18.8e\n", kDouParams[k].name, task->dparam[k]);
  }
  bad |= VLR_sysenv_fprintf(f, "\n");
  for (int32_t k = 0; k < kNumStrParams; ++k) {
    // Quotes keep blanks and an empty value in place when the file is read back.
    const char* v = task->sparam[k];
    if (parfile_quote(task, v)) {
      bad |= VLR_sysenv_fprintf(f, "%-48s \"", kStrParams[k].name);
      for (const char* c = v; *c != '\0'; ++c) {
        bad |= *c == '"' ? VLR_sysenv_fputs(f, "\\\"") : VLR_sysenv_fputc(f, *c);
      }
      bad |= VLR_sysenv_fputs(f, "\"\n");
    } else {
      bad |= VLR_sysenv_fprintf(f, "%-48s %-s\n", kStrParams[k].name, v);
    }
  }
  bad |= VLR_sysenv_fprintf(f, "\nEND VELOR\n");
  const int32_t rc = VLR_sysenv_fclose(task->sys, &f);
  if (bad != 0 || rc != 0) return VLR_RAISE(task, VLR_RES_ERR_FILE_WRITE, fname);
  if (parfile_islog(task)) {
    VLRP_echotask(task, VLR_STREAM_MSG, "done writing. Time: %.2f\n\n",
                  VLR_sysenv_getwctime(task->sys) - start);
  }
  return VLR_RES_OK;
}

}  // namespace

}  // namespace vlr

int32_t VLR_readparamfile(VLRtask_t task) {
  return vlr::api_guard([&]() -> int32_t {
    const int32_t r = VLR_checktask(task);
    if (r != VLR_RES_OK) return r;
    vlr::Task* t = vlr::VLR_taskcast(task);
    if (const int32_t busy = vlr::VLR_checktaskidle(t); busy != VLR_RES_OK) return busy;
    const char* fname = t->sparam[VLR_SPAR_PARAM_READ_FILE_NAME];
    if (fname[0] == '\0') return VLR_RES_OK;
    // The name is copied: reading may set the parameter that holds it.
    char name[VLR_MAX_STR_LEN + 1];
    std::snprintf(name, sizeof name, "%s", fname);
    return vlr::parfile_read(t, name);
  });
}

int32_t VLR_writeparamfile(VLRtask_t task, const char* filename) {
  return vlr::api_guard([&]() -> int32_t {
    const int32_t r = VLR_checktask(task);
    if (r != VLR_RES_OK) return r;
    vlr::Task* t = vlr::VLR_taskcast(task);
    const char* name = filename;
    if (name == nullptr || name[0] == '\0') name = t->sparam[VLR_SPAR_PARAM_WRITE_FILE_NAME];
    if (name[0] == '\0') return VLR_RAISE(t, VLR_RES_ERR_INVALID_FILE_NAME, "");
    return vlr::parfile_write(t, name);
  });
}
