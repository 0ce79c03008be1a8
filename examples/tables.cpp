// SPDX-License-Identifier: MIT
#include <cstdio>
#include <sstream>
#include <string>

#include "vimo_util/config/CommaSeparatedValues.h"

using vimo::util::config::CommaSeparatedValues;

int main() {
  std::istringstream in(
      "#sensor,unit,factor\n"
      "pressure,bar,\n"
      "speed,,0.5\n"
      "\"a,b\"\n");
  CommaSeparatedValues table;
  table.load(in);
  for (int row = 0; row < static_cast<int>(table.size()); ++row) {
    std::printf("row %d:", row);
    for (const std::string& cell : table[row]->cells) std::printf(" [%s]", cell.c_str());
    std::printf("\n");
  }
}
