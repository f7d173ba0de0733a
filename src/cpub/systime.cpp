// src/cpub/systime.cpp: process and wall-clock timers in seconds, and the local time stamp.
// SPDX-License-Identifier: Apache-2.0
#include <ctime>

#include "cpub/sysenv.h"
#include "cpub/sysenvrec.h"

namespace vlr {

namespace {

double clock_seconds(clockid_t clock) {
  timespec ts{};
  if (clock_gettime(clock, &ts) != 0) return 0.0;
  return static_cast<double>(ts.tv_sec) + 1e-9 * static_cast<double>(ts.tv_nsec);
}

// With the timer off every reading is 0, so that two runs print the same log.
bool timer_on(const SysEnv* sys) {
  return sys == nullptr || sys->timer_on != 0;
}

}  // namespace

double VLR_sysenv_gettime(SysEnv* sys) {
  return timer_on(sys) ? clock_seconds(CLOCK_PROCESS_CPUTIME_ID) : 0.0;
}

// A monotonic clock: a wall-clock interval never goes negative when the system clock is set.
double VLR_sysenv_getwctime(SysEnv* sys) {
  return timer_on(sys) ? clock_seconds(CLOCK_MONOTONIC) : 0.0;
}

double VLR_sysenv_difftime(SysEnv* sys, double end, double start) {
  if (end < 0.0) end = VLR_sysenv_gettime(sys);
  return end - start;
}

double VLR_sysenv_diffwctime(SysEnv* sys, double end, double start) {
  if (end < 0.0) end = VLR_sysenv_getwctime(sys);
  return end - start;
}

void VLR_sysenv_wctimetostr(double t, char* buffer, size_t size) {
  std::snprintf(buffer, size, "%.2f", t);
}

void VLR_sysenv_localtime(char* buffer, size_t size) {
  if (size == 0) return;
  const time_t now = std::time(nullptr);
  tm parts{};
  if (localtime_r(&now, &parts) == nullptr ||
      std::strftime(buffer, size, "%Y-%m-%d %H:%M:%S", &parts) == 0) {
    buffer[0] = '\0';
  }
}

void VLR_sysenv_settimer(SysEnv* sys, int32_t on) {
  sys->timer_on = on != 0;
}

}  // namespace vlr
