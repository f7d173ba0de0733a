// bench/mcfgen.h: a family of multicommodity-flow problems of growing size, for the growth of
// the simplex's time with the size of the model.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>

#include "velor.h"

// Number of sizes McfWrite knows (level 1 .. kMcfLevels).
constexpr int kMcfLevels = 6;

// Builds the multicommodity-flow problem of the given level (1: about 10^4 non-zeros, each level
// about 2.4 times the last, 6: about 7e5) in a task of env and writes it to path (the format
// follows the name). Returns VLR_RES_OK and the problem's name, or the first failing response.
int32_t McfWrite(VLRenv_t env, int level, const std::string& path, std::string* name);
