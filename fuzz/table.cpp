// CommaSeparatedValues against a plain reading of its rules.

#include <algorithm>

#include "fuzzing.h"
#include "vimo_util/config/CommaSeparatedValues.h"

using vimo::util::config::CommaSeparatedValues;

static std::vector<std::string> split(const std::string& text, char at) {
  std::vector<std::string> pieces(1);
  for (const char c : text) c == at ? pieces.emplace_back() : pieces.back().push_back(c);
  return pieces;
}

static std::vector<std::string> cellsOf(const std::string& text) {
  std::vector<std::string> cells = split(text, ',');
  for (std::string& cell : cells) {
    cell.erase(std::min(cell.find_first_of(std::string("\r\n\0", 3)), cell.size()));
  }
  if (cells.back().empty()) cells.pop_back();
  return cells;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input in(data, size), again(data, size);
  CommaSeparatedValues table;
  CommaSeparatedValues::Column column;
  table.load(in);
  column.load(again);
  require(column.cells == cellsOf(in.bytes));

  int row = 0;
  for (const std::string& line : split(in.bytes, '\n')) {
    if (line[0] == '#') continue;
    require(row < static_cast<int>(table.size()));
    require(table[row++]->cells == cellsOf(line.substr(0, line.find('\0'))));
  }
  require(row == static_cast<int>(table.rowCount()));
  return 0;
}
