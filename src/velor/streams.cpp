// src/velor/streams.cpp: the four streams of envs and tasks: echo, links to functions and files.
// SPDX-License-Identifier: Apache-2.0
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "velor/task.h"

namespace vlr {

namespace {

// System log lines of a task's or env's SysEnv go to its log stream.
void VLR_echototask(void* handle, const char* text) {
  VLR_echostream(static_cast<Task*>(handle)->streams, VLR_STREAM_LOG, text);
}

void VLR_echotoenv(void* handle, const char* text) {
  VLR_echostream(static_cast<Env*>(handle)->streams, VLR_STREAM_LOG, text);
}

// asctime without its newline.
void stream_now(char* buf, size_t size) {
  const time_t t = std::time(nullptr);
  struct tm tmv;
  localtime_r(&t, &tmv);
  char text[64];
  asctime_r(&tmv, text);
  char* nl = std::strchr(text, '\n');
  if (nl != nullptr) *nl = '\0';
  std::snprintf(buf, size, "%s", text);
}

// Links a file to a stream of a set: closes the present one with its closing line (unless the
// new one appends), opens the new one and writes its opening line. A null name only closes.
int32_t linkafiletoastream(StreamSet* set, int32_t stream, const char* name, int32_t append,
                           Task* task, Env* env) {
  char now[64];
  stream_now(now, sizeof now);
  SysFile* old = VLR_stream_getfile(set, stream);
  if (old != nullptr && !append) {
    VLR_stream_flush(set, stream);
    VLR_sysenv_fprintf(old, "\nFile closed: %s\n", now);
  }
  VLR_stream_linkfile(set, stream, nullptr);
  if (name == nullptr) return VLR_RES_OK;
  int32_t res = VLR_RES_OK;
  SysFile* f = task != nullptr ? VLR_fopentask(task, name, 0, 1, append, 0, &res)
                               : VLR_fopenenv(env, name, 0, 1, append, 0, &res);
  if (f == nullptr) return res;
  VLR_sysenv_fprintf(f, append ? "\nFile reopened at %s" : "\nFile opened at %s", now);
  if (set->banner[0] != '\0') VLR_sysenv_fprintf(f, " by %s", set->banner);
  VLR_sysenv_fputs(f, "\n");
  VLR_sysenv_fflush(f);
  VLR_stream_linkfile(set, stream, f);
  return VLR_RES_OK;
}

}  // namespace

int32_t VLR_initstreamsenv(Env* env) {
  char banner[256];
  VLR_getvstr(banner, sizeof banner);
  env->streams = VLR_streams_make(env->sys, banner);
  if (env->streams == nullptr) return VLR_RES_ERR_SPACE;
  VLR_sysenv_linkfunctostream(env->sys, 0, env, VLR_echotoenv);
  return VLR_RES_OK;
}

void VLR_destroystreamsenv(Env* env) {
  if (env->sys != nullptr) VLR_sysenv_unlinkfuncfromstream(env->sys, 0, VLR_echotoenv);
  VLR_streams_delete(&env->streams);
}

int32_t VLR_initstreamstask(Task* task) {
  char banner[256];
  VLR_getvstr(banner, sizeof banner);
  task->streams = VLR_streams_make(task->sys, banner);
  if (task->streams == nullptr) return VLR_RES_ERR_SPACE;
  VLR_sysenv_unlinkfuncfromstream(task->sys, 0, VLR_echototask);
  VLR_sysenv_linkfunctostream(task->sys, 0, task, VLR_echototask);
  return VLR_RES_OK;
}

void VLR_destroystreamstask(Task* task) {
  if (task->sys != nullptr) VLR_sysenv_unlinkfuncfromstream(task->sys, 0, VLR_echototask);
  VLR_streams_delete(&task->streams);
}

int32_t VLR_echotaskva(Task* task, int32_t stream, const char* format, va_list ap) {
  if (stream < 0 || stream >= kNumStreams) {
    return VLR_RAISE(task, VLR_RES_ERR_INVALID_STREAM, stream);
  }
  char text[4048];
  std::vsnprintf(text, sizeof text, format, ap);
  VLR_echostream(task->streams, stream, text);
  return VLR_RES_OK;
}

int32_t VLRP_echotask(Task* task, int32_t stream, const char* format, ...) {
  va_list ap;
  va_start(ap, format);
  const int32_t r = VLR_echotaskva(task, stream, format, ap);
  va_end(ap);
  return r;
}

int32_t VLR_outfmtvatask(Task* task, int32_t stream, const char* format, va_list ap) {
  if (stream < 0 || stream >= kNumStreams) {
    return VLR_RAISE(task, VLR_RES_ERR_INVALID_STREAM, stream);
  }
  if (stream == VLR_STREAM_LOG) return VLR_stream_formatva(task->streams, stream, format, ap);
  va_list copy;
  va_copy(copy, ap);
  VLR_stream_formatva(task->streams, stream, format, ap);
  VLR_stream_formatva(task->streams, VLR_STREAM_LOG, format, copy);
  va_end(copy);
  return VLR_RES_OK;
}

int32_t VLR_outfmttask(Task* task, int32_t stream, const char* format, ...) {
  va_list ap;
  va_start(ap, format);
  const int32_t r = VLR_outfmtvatask(task, stream, format, ap);
  va_end(ap);
  return r;
}

}  // namespace vlr

using vlr::Env;
using vlr::Task;

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
int32_t VLR_echotask(VLRtask_t task, int32_t whichstream, const char* format, ...) {
  va_list ap;
  va_start(ap, format);
  const int32_t r = vlr::api_guard([&]() -> int32_t {
    const int32_t r0 = VLR_checktask(task);
    if (r0 != VLR_RES_OK) return r0;
    if (format == nullptr)
      return VLR_RAISE(vlr::VLR_taskcast(task), VLR_RES_ERR_NULL_POINTER, "format");
    return vlr::VLR_echotaskva(vlr::VLR_taskcast(task), whichstream, format, ap);
  });
  va_end(ap);
  return r;
}

int32_t VLR_echoenv(VLRenv_t henv, int32_t whichstream, const char* format, ...) {
  va_list ap;
  va_start(ap, format);
  const int32_t r = vlr::api_guard([&]() -> int32_t {
    const int32_t r0 = VLR_checkenv(henv);
    if (r0 != VLR_RES_OK) return r0;
    Env* env = vlr::VLR_envcast(henv);
    if (format == nullptr) return VLR_RAISEENV(env, VLR_RES_ERR_NULL_POINTER, "format");
    if (whichstream < 0 || whichstream >= vlr::kNumStreams) {
      return VLR_RAISEENV(env, VLR_RES_ERR_INVALID_STREAM, whichstream);
    }
    char text[4048];
    std::vsnprintf(text, sizeof text, format, ap);
    vlr::VLR_echostream(env->streams, whichstream, text);
    return VLR_RES_OK;
  });
  va_end(ap);
  return r;
}
#pragma GCC diagnostic pop

int32_t VLR_echointro(VLRenv_t henv, int32_t longver) {
  return vlr::api_guard([&]() -> int32_t {
    const int32_t r = VLR_checkenv(henv);
    if (r != VLR_RES_OK) return r;
    char date[VLR_MAX_STR_LEN];
    VLR_getbuildinfo(nullptr, date, nullptr);
    VLR_echoenv(henv, VLR_STREAM_MSG, "%s Version %d.%d.%d.%d (Build date: %s)\n", "VELOR",
                vlr::kVersionMajor, vlr::kVersionMinor, vlr::kVersionBuild, vlr::kVersionRevision,
                date);
    if (longver) {
      VLR_echoenv(henv, VLR_STREAM_MSG, "64 bit architecture.\n");
      VLR_echoenv(henv, VLR_STREAM_MSG, "\nOperating system variables\n");
      const char* value = std::getenv("LD_LIBRARY_PATH");
      if (value == nullptr) value = "";
      // Each directory of the search path on a line of its own.
      const char* p = value;
      do {
        const char* sep = std::strchr(p, ':');
        const size_t n = sep != nullptr ? static_cast<size_t>(sep - p) : std::strlen(p);
        VLR_echoenv(henv, VLR_STREAM_MSG, "%-25s: %.*s\n", "LD_LIBRARY_PATH", static_cast<int>(n),
                    p);
        p = sep != nullptr ? sep + 1 : nullptr;
      } while (p != nullptr);
    }
    return VLR_RES_OK;
  });
}

int32_t VLR_linkfunctotaskstream(VLRtask_t task, int32_t whichstream, void* handle,
                                 VLRstreamfunc func) {
  return vlr::api_guard([&]() -> int32_t {
    const int32_t r = VLR_checktask(task);
    if (r != VLR_RES_OK) return r;
    Task* t = vlr::VLR_taskcast(task);
    if (whichstream < 0 || whichstream >= vlr::kNumStreams) {
      return VLR_RAISE(t, VLR_RES_ERR_INVALID_STREAM, whichstream);
    }
    vlr::VLR_stream_linkfunc(t->streams, whichstream, handle, func);
    return VLR_RES_OK;
  });
}

int32_t VLR_linkfunctoenvstream(VLRenv_t henv, int32_t whichstream, void* handle,
                                VLRstreamfunc func) {
  return vlr::api_guard([&]() -> int32_t {
    const int32_t r = VLR_checkenv(henv);
    if (r != VLR_RES_OK) return r;
    Env* env = vlr::VLR_envcast(henv);
    if (whichstream < 0 || whichstream >= vlr::kNumStreams) {
      return VLR_RAISEENV(env, VLR_RES_ERR_INVALID_STREAM, whichstream);
    }
    vlr::VLR_stream_linkfunc(env->streams, whichstream, handle, func);
    return VLR_RES_OK;
  });
}

int32_t VLR_unlinkfuncfromtaskstream(VLRtask_t task, int32_t whichstream) {
  return VLR_linkfunctotaskstream(task, whichstream, nullptr, nullptr);
}

int32_t VLR_unlinkfuncfromenvstream(VLRenv_t env, int32_t whichstream) {
  return VLR_linkfunctoenvstream(env, whichstream, nullptr, nullptr);
}

int32_t VLR_linkfiletotaskstream(VLRtask_t task, int32_t whichstream, const char* filename,
                                 int32_t append) {
  return vlr::api_guard([&]() -> int32_t {
    const int32_t r = VLR_checktask(task);
    if (r != VLR_RES_OK) return r;
    Task* t = vlr::VLR_taskcast(task);
    if (whichstream < 0 || whichstream >= vlr::kNumStreams) {
      return VLR_RAISE(t, VLR_RES_ERR_INVALID_STREAM, whichstream);
    }
    return vlr::linkafiletoastream(t->streams, whichstream, filename, append, t, nullptr);
  });
}

int32_t VLR_linkfiletoenvstream(VLRenv_t henv, int32_t whichstream, const char* filename,
                                int32_t append) {
  return vlr::api_guard([&]() -> int32_t {
    const int32_t r = VLR_checkenv(henv);
    if (r != VLR_RES_OK) return r;
    Env* env = vlr::VLR_envcast(henv);
    if (whichstream < 0 || whichstream >= vlr::kNumStreams) {
      return VLR_RAISEENV(env, VLR_RES_ERR_INVALID_STREAM, whichstream);
    }
    return vlr::linkafiletoastream(env->streams, whichstream, filename, append, nullptr, env);
  });
}

int32_t VLR_utf8towchar(size_t outputsize, size_t* len, size_t* conv, wchar_t* output,
                        const char* input) {
  return vlr::api_guard([&]() -> int32_t {
    if (output == nullptr || input == nullptr) return VLR_RES_ERR_NULL_POINTER;
    return vlr::VLR_UTF8toWChar(outputsize, len, conv, output, input) == 0
               ? VLR_RES_OK
               : VLR_RES_ERR_INVALID_UTF8;
  });
}

int32_t VLR_wchartoutf8(size_t outputsize, size_t* len, size_t* conv, char* output,
                        const wchar_t* input) {
  return vlr::api_guard([&]() -> int32_t {
    if (output == nullptr || input == nullptr) return VLR_RES_ERR_NULL_POINTER;
    return vlr::VLR_WCharToUTF8(outputsize, len, conv, output, input) == 0
               ? VLR_RES_OK
               : VLR_RES_ERR_INVALID_WCHAR;
  });
}
