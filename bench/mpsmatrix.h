// bench/mpsmatrix.h: benchmark helper: the constraint matrix of a fixed MPS file (gzip or plain).
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace bench {

// Column-wise matrix of the constraint rows (the objective row left out).
struct MpsMatrix {
  int32_t m = 0, n = 0;
  std::vector<int64_t> beg;  // [n+1]
  std::vector<int32_t> idx;
  std::vector<double> val;
};

// Reads the ROWS and COLUMNS sections only; false when the file cannot be read.
bool ReadMpsMatrix(const std::string& path, MpsMatrix* a);

}  // namespace bench
