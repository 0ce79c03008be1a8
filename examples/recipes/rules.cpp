// SPDX-License-Identifier: MIT
// A table read line by line: an error names its line, and the file may be larger than memory.
// rules [FILE]
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>

#include "vimo_util/config/CommaSeparatedValues.h"

using Row = vimo::util::config::CommaSeparatedValues::Column;

// What is wrong with a row, which is a suffix and a priority from 0 to 999, or null.
const char* faultOf(const Row& row) {
  if (row.cells.size() != 2) return "not SUFFIX,PRIORITY";
  const std::string& priority = row.cells[1];
  const bool digits = priority.find_first_not_of("0123456789") == std::string::npos;
  if (priority.empty() || priority.size() > 3 || !digits) return "not a priority from 0 to 999";
  return nullptr;
}

int main(int argc, char* argv[]) {
  const char* const path = argc > 1 ? argv[1] : "rules.csv";
  if (argc == 1) {
    std::ofstream(path) << "# suffix,priority\n.alarm,0\n\n.log,900\n.jpg,high\n.tmp\n.txt,500\n";
  }
  errno = 0;
  std::ifstream in(path);
  std::string line;
  for (int number = 1; std::getline(in, line); ++number) {
    std::istringstream text(line);
    Row row;
    row.load(text);
    if (row.cells.empty() || line[0] == '#') continue;
    if (const char* fault = faultOf(row)) {
      std::printf("%s:%d: left out: %s\n", path, number, fault);
    } else {
      std::printf("%s has priority %d\n", row.cells[0].c_str(), std::stoi(row.cells[1]));
    }
  }
  if (!in.is_open() || in.bad()) {
    std::fprintf(stderr, "%s: %s\n", path, std::strerror(errno));
    return 1;
  }
}
