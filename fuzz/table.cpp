// CommaSeparatedValues against a plain reading of its rules.

#include <algorithm>
#include <cstdlib>
#include <sstream>

#include "vimo_util/config/CommaSeparatedValues.h"

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

extern "C" int LLVMFuzzerTestOneInput(const char* data, std::size_t size) {
  const std::string text(data, size);
  std::istringstream in(text), again(text);
  vimo::util::config::CommaSeparatedValues table;
  vimo::util::config::CommaSeparatedValues::Column column;
  table.load(in);
  column.load(again);
  if (column.cells != cellsOf(text)) std::abort();

  std::uint32_t row = 0;
  for (const std::string& line : split(text, '\n')) {
    if (line[0] == '#') continue;
    if (row == table.size()) std::abort();
    if (table[row++]->cells != cellsOf(line.substr(0, line.find('\0')))) std::abort();
  }
  if (row != table.size()) std::abort();
  return 0;
}
