// bench/mpsmatrix.cpp: benchmark helper: reads the matrix of a fixed MPS file, nothing else.
// SPDX-License-Identifier: Apache-2.0
#include "mpsmatrix.h"

#include <zlib.h>

#include <cstdlib>
#include <sstream>
#include <unordered_map>

namespace bench {

bool ReadMpsMatrix(const std::string& path, MpsMatrix* a) {
  gzFile f = gzopen(path.c_str(), "rb");
  if (f == nullptr) return false;
  std::unordered_map<std::string, int32_t> rows;
  std::string objective;
  std::string section, lastcol;
  std::vector<std::vector<std::pair<int32_t, double>>> cols;
  char buf[4096];
  while (gzgets(f, buf, sizeof buf) != nullptr) {
    std::string line(buf);
    while (!line.empty() && (line.back() == '\n' || line.back() == '\r'))
      line.pop_back();
    if (line.empty() || line[0] == '*') continue;
    if (line[0] != ' ') {
      std::istringstream hs(line);
      hs >> section;
      if (section == "RHS" || section == "ENDATA") break;
      continue;
    }
    std::istringstream ls(line);
    if (section == "ROWS") {
      std::string type, name;
      ls >> type >> name;
      if (type == "N") {
        if (objective.empty()) objective = name;
        continue;
      }
      rows.emplace(name, static_cast<int32_t>(rows.size()));
    } else if (section == "COLUMNS") {
      std::string col, rname;
      ls >> col;
      if (line.find("'MARKER'") != std::string::npos) continue;
      if (col != lastcol) {
        cols.emplace_back();
        lastcol = col;
      }
      double v = 0.0;
      while (ls >> rname >> v) {
        auto it = rows.find(rname);
        if (it != rows.end() && v != 0.0) cols.back().emplace_back(it->second, v);
      }
    }
  }
  gzclose(f);
  a->m = static_cast<int32_t>(rows.size());
  a->n = static_cast<int32_t>(cols.size());
  a->beg.assign(1, 0);
  a->idx.clear();
  a->val.clear();
  for (const auto& c : cols) {
    for (const auto& e : c) {
      a->idx.push_back(e.first);
      a->val.push_back(e.second);
    }
    a->beg.push_back(static_cast<int64_t>(a->idx.size()));
  }
  return true;
}

}  // namespace bench
