// CommaSeparatedValues against a plain reading of its rules.

#include <algorithm>
#include <vector>

#include "fuzzing.h"
#include "vimo_util/config/CommaSeparatedValues.h"

namespace {

using vimo::util::config::CommaSeparatedValues;
using Cells = std::vector<std::string>;

std::vector<std::string> split(const std::string& text, char at) {
  std::vector<std::string> pieces(1);
  for (const char c : text) {
    if (c == at) {
      pieces.emplace_back();
    } else {
      pieces.back() += c;
    }
  }
  return pieces;
}

Cells cellsOf(const std::string& text) {
  Cells cells = split(text, ',');
  for (std::string& cell : cells) {
    cell.erase(std::min(cell.find_first_of(std::string("\r\n\0", 3)), cell.size()));
  }
  if (cells.back().empty()) cells.pop_back();
  return cells;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Input input(data, size);
  CommaSeparatedValues table;
  Chunks in(input);
  table.load(in);

  int row = 0;
  for (const std::string& line : split(input.bytes, '\n')) {
    if (line[0] == '#') continue;
    require(row < static_cast<int>(table.size()), "a row each line");
    const std::string text = line.substr(0, line.find('\0'));
    require(table[row]->cells == cellsOf(text), "the cells of a line");
    require(table.columnCount(row) == table[row]->cells.size(), "columnCount()");
    ++row;
  }
  require(row == static_cast<int>(table.rowCount()), "no other rows");

  CommaSeparatedValues::Column column;
  Chunks whole(input);
  column.load(whole);
  require(column.cells == cellsOf(input.bytes), "the pieces of a whole stream");
  return 0;
}
