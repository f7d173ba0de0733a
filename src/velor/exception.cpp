// src/velor/exception.cpp: the one path by which every error and warning leaves the library, and
// the fatal stops.
// SPDX-License-Identifier: Apache-2.0
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "velor/task.h"

namespace vlr {

namespace {

// What the exception path needs of an env or a task.
struct ExceptionSink {
  StreamSet* streams;
  VLRresponsefunc func;
  void* handle;
  const int32_t* iparam;
  int32_t* warning_count;
  char* last_msg;  // null for an env
};

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
// Fills the code's message format; the format comes from the code table, not the caller.
void exception_formatbody(int32_t code, va_list ap, char* body, size_t size) {
  const char* format = nullptr;
  VLR_getresmes(code, &format);
  if (format == nullptr) format = "";
  std::vsnprintf(body, size, format, ap);
}
#pragma GCC diagnostic pop

int32_t handleexceptionva(const ExceptionSink& sink, const char* file, int line,
                          const char* function, int32_t code, va_list ap) {
  if (sink.last_msg != nullptr) sink.last_msg[0] = '\0';
  if (code == 0) return 0;
  char head[1024], body[1024];
  if (code < 1001) {
    std::snprintf(head, sizeof head, "VELOR Warning %-6d : ", code);
  } else {
    std::snprintf(head, sizeof head, "VELOR Error %-6d   : ", code);
  }
  exception_formatbody(code, ap, body, sizeof body);
  if (sink.last_msg != nullptr) std::snprintf(sink.last_msg, kLastMsgCap, "%s", body);

  const bool warning = code < kNumWarningCodes;
  bool print = true;
  if (warning) {
    const int32_t count = ++sink.warning_count[code];
    print = count <= sink.iparam[VLR_IPAR_MAX_NUM_WARNINGS];
  }
  if (print && sink.streams != nullptr) {
    const int32_t stream = warning ? VLR_STREAM_WRN : VLR_STREAM_ERR;
    VLR_echostream(sink.streams, stream, head);
    VLR_echostream(sink.streams, stream, body);
    VLR_echostream(sink.streams, stream, "\n");
    if (sink.iparam[VLR_IPAR_LOG] != 0 && sink.iparam[VLR_IPAR_LOG_RESPONSE] != 0) {
      char line_text[1200];
      std::snprintf(line_text, sizeof line_text, "Location of the %s.\n",
                    warning ? "warning" : "error");
      VLR_echostream(sink.streams, stream, line_text);
      std::snprintf(line_text, sizeof line_text, "%-20s: %-s\n", "File",
                    file != nullptr ? file : "");
      VLR_echostream(sink.streams, stream, line_text);
      std::snprintf(line_text, sizeof line_text, "%-20s: %-d\n", "Line", line);
      VLR_echostream(sink.streams, stream, line_text);
      std::snprintf(line_text, sizeof line_text, "%-20s: %-s\n", "Function",
                    function != nullptr ? function : "");
      VLR_echostream(sink.streams, stream, line_text);
    }
  }
  int32_t result = code;
  if (sink.func != nullptr) {
    const int32_t r = sink.func(sink.handle, code, body);
    if (warning) result = r;
  } else if (warning) {
    result = 0;
  }
  return result;
}

}  // namespace

int32_t VLR_exceptiontaskva(const char* file, int line, const char* func, Task* task, int32_t code,
                            va_list ap) {
  const int32_t r = VLR_checktask(VLR_taskhandle(task));
  if (r != VLR_RES_OK) return code;
  const ExceptionSink sink{task->streams, task->response_func, task->response_handle,
                           task->iparam,  task->warning_count, task->last_msg};
  const int32_t result = handleexceptionva(sink, file, line, func, code, ap);
  task->last_res = result;
  task->last_msg_len = static_cast<int32_t>(std::strlen(task->last_msg));
  if (result == 0) {
    task->last_msg_len = 0;
    task->last_msg[0] = '\0';
  }
  return result;
}

int32_t VLR_exceptiontaskdbg(const char* file, int line, const char* func, Task* task, int32_t code,
                             ...) {
  va_list ap;
  va_start(ap, code);
  const int32_t r = VLR_exceptiontaskva(file, line, func, task, code, ap);
  va_end(ap);
  return r;
}

int32_t VLR_exceptionenvva(const char* file, int line, const char* func, Env* env, int32_t code,
                           va_list ap) {
  if (env == nullptr) return code;
  const ExceptionSink sink{env->streams,     env->exception_func, env->exception_handle,
                           env->iparam_dflt, env->warning_count,  nullptr};
  return handleexceptionva(sink, file, line, func, code, ap);
}

int32_t VLR_exceptionenvdbg(const char* file, int line, const char* func, Env* env, int32_t code,
                            ...) {
  va_list ap;
  va_start(ap, code);
  const int32_t r = VLR_exceptionenvva(file, line, func, env, code, ap);
  va_end(ap);
  return r;
}

void VLR_stopenv(Env* env, const char* file, int line, const char* format, ...) {
  char msg[2049];
  va_list ap;
  va_start(ap, format);
  std::vsnprintf(msg, sizeof msg, format, ap);
  va_end(ap);
  if (env != nullptr && env->streams != nullptr) {
    char text[2300];
    StreamSet* s = env->streams;
    VLR_echostream(s, VLR_STREAM_ERR, "VELOR fatal error stopenv.\n");
    std::snprintf(text, sizeof text, "Version : %d.%d.%d.%d\n", kVersionMajor, kVersionMinor,
                  kVersionBuild, kVersionRevision);
    VLR_echostream(s, VLR_STREAM_ERR, text);
    std::snprintf(text, sizeof text, "Platform: %s\n", VLR_sysenv_getplfstr(5));
    VLR_echostream(s, VLR_STREAM_ERR, text);
    std::snprintf(text, sizeof text, "File    : %s\n", file != nullptr ? file : "(NULL)");
    VLR_echostream(s, VLR_STREAM_ERR, text);
    std::snprintf(text, sizeof text, "Line    : %d\n", line);
    VLR_echostream(s, VLR_STREAM_ERR, text);
    std::snprintf(text, sizeof text, "Msg.    : %s\n", msg);
    VLR_echostream(s, VLR_STREAM_ERR, text);
    for (int32_t k = 0; k < kNumStreams; ++k) {
      VLR_stream_flush(s, k);
      VLR_stream_linkfile(s, k, nullptr);
    }
  }
  if (env != nullptr && env->exit_func != nullptr) {
    env->exit_func(env->exit_handle, file, line, msg);
  }
  std::abort();
}

void VLR_stoptask(Task* task, const char* file, int line, const char* format, ...) {
  char msg[2049];
  va_list ap;
  va_start(ap, format);
  std::vsnprintf(msg, sizeof msg, format, ap);
  va_end(ap);
  Env* env = task != nullptr ? task->env : nullptr;
  if (task != nullptr && task->streams != nullptr) {
    char text[2300];
    StreamSet* s = task->streams;
    VLR_echostream(s, VLR_STREAM_ERR, "\n\nVELOR fatal error (stoptask)\n");
    std::snprintf(text, sizeof text, "Version : %d.%d.%d.%d\n", kVersionMajor, kVersionMinor,
                  kVersionBuild, kVersionRevision);
    VLR_echostream(s, VLR_STREAM_ERR, text);
    std::snprintf(text, sizeof text, "Platform: %s\n", VLR_sysenv_getplfstr(5));
    VLR_echostream(s, VLR_STREAM_ERR, text);
    std::snprintf(text, sizeof text, "File    : %s\n", file != nullptr ? file : "(NULL)");
    VLR_echostream(s, VLR_STREAM_ERR, text);
    std::snprintf(text, sizeof text, "Line    : %d\n", line);
    VLR_echostream(s, VLR_STREAM_ERR, text);
    std::snprintf(text, sizeof text, "Msg.    : %s\n", msg);
    VLR_echostream(s, VLR_STREAM_ERR, text);
    VLR_echostream(s, VLR_STREAM_ERR,
                   "Please report this message with the problem and the parameters to "
                   "VELOR support.\n");
    const char* dbgname =
        task->sparam != nullptr ? task->sparam[VLR_SPAR_DEBUG_FILE_NAME] : nullptr;
    if (dbgname != nullptr && dbgname[0] != '\0') {
      FILE* f = std::fopen(dbgname, "wt");
      if (f != nullptr) {
        std::fprintf(f, "VELOR fatal error\n");
        std::fprintf(f, "File : %s\n", file != nullptr ? file : "(NULL)");
        std::fprintf(f, "Line : %d\n", line);
        std::fprintf(f, "Msg. : %s\n", msg);
        std::fclose(f);
      }
    }
    for (int32_t k = 0; k < kNumStreams; ++k) {
      VLR_stream_flush(s, k);
      VLR_stream_linkfile(s, k, nullptr);
    }
  }
  VLR_stopenv(env, file, line, "%s", msg);
}

void VLR_asserttaskdbg(Task* task, const char* file, int line, bool condition) {
  if (!condition) VLR_stoptask(task, file, line, "Assertion failed");
}

void VLR_assertenvdbg(Env* env, const char* file, int line, bool condition) {
  if (!condition) VLR_stopenv(env, file, line, "Assertion failed");
}

int32_t VLR_checkindexdbg(const char* file, int line, Task* task, int64_t index, int64_t n,
                          const char* what) {
  if (index < 0) {
    return VLR_exceptiontaskdbg(file, line, "", task, VLR_RES_ERR_INDEX_IS_TOO_SMALL,
                                static_cast<int>(index), what);
  }
  if (index >= n) {
    return VLR_exceptiontaskdbg(file, line, "", task, VLR_RES_ERR_INDEX_IS_TOO_LARGE,
                                static_cast<int>(index), what);
  }
  return VLR_RES_OK;
}

int32_t VLR_checkindiciesdbg(const char* file, int line, Task* task, const int32_t* sub,
                             int64_t num, int64_t n, const char* what) {
  for (int64_t k = 0; k < num; ++k) {
    if (sub[k] < 0 || sub[k] >= n) return VLR_checkindexdbg(file, line, task, sub[k], n, what);
  }
  return VLR_RES_OK;
}

int32_t VLR_int64to32dbg(Task* task, const char* file, int line, int32_t* out, int64_t value) {
  // Shift the signed range onto [0, 2^32) and compare as unsigned.
  if (static_cast<uint64_t>(value) + 2147483648ULL > 4294967295ULL) {
    return VLR_exceptiontaskdbg(file, line, "", task, VLR_RES_ERR_INT64_TO_INT32_CAST);
  }
  *out = static_cast<int32_t>(value);
  return VLR_RES_OK;
}

int32_t VLR_sysrestores(int32_t syscode) {
  switch (syscode) {
    case kSysOk:
      return VLR_RES_OK;
    case kSysNoSpace:
      return VLR_RES_ERR_SPACE;
    case kSysOpenFailed:
      return VLR_RES_ERR_FILE_OPEN;
    case kSysReadFailed:
      return VLR_RES_ERR_FILE_READ;
    case kSysEndOfFile:
      return VLR_RES_ERR_END_OF_FILE;
    case kSysWriteFailed:
      return VLR_RES_ERR_FILE_WRITE;
    case kSysLeak:
      return VLR_RES_ERR_SPACE_LEAKING;
    case kSysInvalidFileName:
      return VLR_RES_ERR_INVALID_FILE_NAME;
    default:
      return VLR_RES_ERR_INTERNAL;
  }
}

}  // namespace vlr

using vlr::Task;

int32_t VLR_exceptiontask(VLRtask_t task, int32_t code, ...) {
  va_list ap;
  va_start(ap, code);
  const int32_t r = vlr::api_guard([&]() -> int32_t {
    return vlr::VLR_exceptiontaskva(VLR_HERE, "VLR_exceptiontask", vlr::VLR_taskcast(task), code,
                                    ap);
  });
  va_end(ap);
  return r;
}

int32_t VLR_exceptionenv(VLRenv_t env, int32_t code, ...) {
  va_list ap;
  va_start(ap, code);
  const int32_t r = vlr::api_guard([&]() -> int32_t {
    if (VLR_checkenv(env) != VLR_RES_OK) return code;
    return vlr::VLR_exceptionenvva(VLR_HERE, "VLR_exceptionenv", vlr::VLR_envcast(env), code, ap);
  });
  va_end(ap);
  return r;
}

int32_t VLR_getlasterror64(VLRtask_t task, int32_t* lastrescode, int64_t sizelastmsg,
                           int64_t* lastmsglen, char* lastmsg) {
  return vlr::api_guard([&]() -> int32_t {
    const int32_t r = VLR_checktask(task);
    if (r != VLR_RES_OK) return r;
    Task* t = vlr::VLR_taskcast(task);
    if (lastrescode != nullptr) *lastrescode = t->last_res;
    if (lastmsglen != nullptr) *lastmsglen = t->last_msg_len;
    if (lastmsg != nullptr && sizelastmsg > 0) {
      std::snprintf(lastmsg, static_cast<size_t>(sizelastmsg), "%s", t->last_msg);
    }
    return VLR_RES_OK;
  });
}

int32_t VLR_getlasterror(VLRtask_t task, int32_t* lastrescode, int32_t sizelastmsg,
                         int32_t* lastmsglen, char* lastmsg) {
  return vlr::api_guard([&]() -> int32_t {
    int64_t len = 0;
    const int32_t r = VLR_getlasterror64(task, lastrescode, sizelastmsg, &len, lastmsg);
    if (r == VLR_RES_OK && lastmsglen != nullptr) *lastmsglen = static_cast<int32_t>(len);
    return r;
  });
}

int32_t VLR_putresponsefunc(VLRtask_t task, VLRresponsefunc responsefunc, void* handle) {
  return vlr::api_guard([&]() -> int32_t {
    const int32_t r = VLR_checktask(task);
    if (r != VLR_RES_OK) return r;
    Task* t = vlr::VLR_taskcast(task);
    t->response_func = responsefunc;
    t->response_handle = handle;
    return VLR_RES_OK;
  });
}

int32_t VLR_putexceptionfuncenv(VLRenv_t env, VLRresponsefunc responsefunc, void* handle) {
  return vlr::api_guard([&]() -> int32_t {
    if (env == nullptr) return VLR_RES_ERR_NULL_ENV;
    vlr::Env* e = vlr::VLR_envcast(env);
    e->exception_func = responsefunc;
    e->exception_handle = handle;
    return VLR_RES_OK;
  });
}

int32_t VLR_putexitfunc(VLRenv_t env, VLRexitfunc exitfunc, void* handle) {
  return vlr::api_guard([&]() -> int32_t {
    if (env == nullptr) return VLR_RES_ERR_NULL_ENV;
    vlr::Env* e = vlr::VLR_envcast(env);
    e->exit_func = exitfunc;
    e->exit_handle = handle;
    return VLR_RES_OK;
  });
}
