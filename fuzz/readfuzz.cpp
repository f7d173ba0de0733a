// fuzz/readfuzz.cpp: a libFuzzer target over VLR_readdata: the input is written to a scratch file
// and read in the format the build chose; a problem that reads is written back as LP and MPS and
// read again, so the writers see every shape the readers let through.
// SPDX-License-Identifier: Apache-2.0
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "velor.h"

namespace {

VLRenv_t g_env = nullptr;
std::string g_in, g_lp, g_mps;

// Sizes far below the defaults: each run reads a few bytes, and large first sizes only slow it.
void Prepare(VLRtask_t task) {
  VLR_putintparam(task, VLR_IPAR_LOG, 0);
  VLR_putintparam(task, VLR_IPAR_READ_CON, 4);
  VLR_putintparam(task, VLR_IPAR_READ_VAR, 4);
  VLR_putintparam(task, VLR_IPAR_READ_ANZ, 16);
  VLR_putintparam(task, VLR_IPAR_READ_QNZ, 4);
  VLR_putintparam(task, VLR_IPAR_READ_DATA_FORMAT, VLR_FUZZ_FORMAT);
  VLR_putintparam(task, VLR_IPAR_READ_MPS_FORMAT, VLR_FUZZ_MPS_FORMAT);
  VLR_putintparam(task, VLR_IPAR_WRITE_PRECISION, 17);
  VLR_putintparam(task, VLR_IPAR_WRITE_MPS_QUOTED_NAMES, 0);
}

void RemoveScratch() {
  for (const std::string* f : {&g_in, &g_lp, &g_mps})
    std::remove(f->c_str());
}

void Check(bool ok, const char* what) {
  if (ok) return;
  std::fprintf(stderr, "fuzz: %s\n", what);
  std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  Check(VLR_makeenv(&g_env, nullptr, nullptr, nullptr, nullptr) == VLR_RES_OK, "makeenv");
  Check(VLR_initenv(g_env) == VLR_RES_OK, "initenv");
  const std::string dir = std::getenv("TMPDIR") != nullptr ? std::getenv("TMPDIR") : "/tmp";
  const std::string stem = dir + "/vlr_fuzz_" + std::to_string(getpid());
  g_in = stem + ".in";
  g_lp = stem + ".lp";
  g_mps = stem + ".mps";
  std::atexit(RemoveScratch);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FILE* f = std::fopen(g_in.c_str(), "wb");
  Check(f != nullptr, "scratch file");
  Check(std::fwrite(data, 1, size, f) == size && std::fclose(f) == 0, "scratch write");
  VLRtask_t task = nullptr;
  Check(VLR_maketask(g_env, 0, 0, &task) == VLR_RES_OK, "maketask");
  Prepare(task);
  if (VLR_readdata(task, g_in.c_str()) == VLR_RES_OK) {
    // The writers may refuse a problem (an empty one, a name they cannot write), never crash.
    for (const std::string* out : {&g_lp, &g_mps}) {
      if (VLR_writedata(task, out->c_str()) != VLR_RES_OK) continue;
      VLRtask_t back = nullptr;
      Check(VLR_maketask(g_env, 0, 0, &back) == VLR_RES_OK, "maketask");
      Prepare(back);
      VLR_putintparam(back, VLR_IPAR_READ_DATA_FORMAT, VLR_DATA_FORMAT_EXTENSION);
      VLR_putintparam(back, VLR_IPAR_READ_MPS_FORMAT, VLR_MPS_FORMAT_RELAXED);
      VLR_readdata(back, out->c_str());
      Check(VLR_deletetask(&back) == VLR_RES_OK, "deletetask");
    }
  }
  Check(VLR_deletetask(&task) == VLR_RES_OK, "deletetask");
  return 0;
}
