// src/cpub/sysenvrec.h: the SysEnv record; private to the system layer.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "cpub/sysenv.h"

namespace vlr {

struct LogHook {
  void* handle;
  LogFunc func;  // null: the slot is free
};

struct SysEnv {
  int32_t initialised;  // machine facts valid
  int32_t multithread;  // 1 for an env, 0 for a task
  MemMan* memman;
  struct {
    void* handle;
    ExitFunc func;
  } exit_hook;
  MachInfo mach;
  LogHook log_hooks[10];  // the system log line fan-out
  int32_t timer_on;       // starts at 1
};

}  // namespace vlr
