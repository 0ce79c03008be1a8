// SPDX-License-Identifier: MIT
#include "vimo_util/config/CommaSeparatedValues.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <memory>
#include <utility>

namespace vimo {
namespace util {
namespace config {

namespace {

void destroy(std::vector<CommaSeparatedValues::Column*>& rows) {
  for (CommaSeparatedValues::Column* row : rows) delete row;
  rows.clear();
}

void dropEmptyLast(std::vector<std::string>& cells) {
  if (!cells.empty() && cells.back().empty()) cells.pop_back();
}

constexpr std::size_t blockSize = 1024;

// Whether the last getline() filled its block before it met the delimiter.
bool isBlockFull(const std::istream& in) {
  return in.rdstate() == std::ios::failbit && in.gcount() == blockSize - 1;
}

// Reads text of any length up to `delimiter`. Not std::getline(), which turns std::bad_alloc into
// badbit.
void readPiece(std::istream& in, char delimiter, std::string& piece) {
  char block[blockSize];
  piece.clear();
  for (bool full = true; full;) {
    try {
      in.getline(block, blockSize, delimiter);
    } catch (const std::ios::failure&) {  // by the exceptions mask
      if (!isBlockFull(in)) throw;
    }
    full = isBlockFull(in);
    const std::streamsize count = in.good() ? in.gcount() - 1 : in.gcount();
    if (full) in.clear();
    piece.append(block, count);
  }
}

// At the end of input a failed read only means an empty last piece.
bool isCutShort(const std::istream& in) { return in.fail() && !in.eof(); }

// The first `c` from `begin` on, or `end`.
const char* find(const char* begin, const char* end, char c) {
  const void* const found = std::memchr(begin, c, end - begin);
  return found ? static_cast<const char*>(found) : end;
}

// Divides a line as Column::load() does. A stream would take more than twice as long.
void cut(const std::string& line, std::vector<std::string>& cells) {
  const char* begin = line.c_str();
  const char* const end = begin + std::strlen(begin);
  const char* cr = find(begin, end, '\r');
  cells.reserve(std::count(begin, end, ',') + 1);
  for (;;) {
    const char* const comma = find(begin, end, ',');
    cells.emplace_back(begin, std::min(comma, cr));
    if (comma == end) break;
    begin = comma + 1;
    if (cr < begin) cr = find(begin, end, '\r');
  }
  dropEmptyLast(cells);
}

}  // namespace

std::istream& CommaSeparatedValues::Column::load(std::istream& in) {
  std::string piece;
  while (!in.eof()) {
    readPiece(in, ',', piece);
    if (isCutShort(in)) return in;
    cells.emplace_back(piece, 0, piece.find_first_of("\r\n\0", 0, 3));
  }
  dropEmptyLast(cells);
  return in;
}

CommaSeparatedValues::CommaSeparatedValues() {}

CommaSeparatedValues::~CommaSeparatedValues() { destroy(rows); }

CommaSeparatedValues::CommaSeparatedValues(CommaSeparatedValues&& other) noexcept {
  rows.swap(other.rows);
}

CommaSeparatedValues& CommaSeparatedValues::operator=(CommaSeparatedValues&& other) noexcept {
  CommaSeparatedValues taken(std::move(other));
  rows.swap(taken.rows);
  return *this;
}

bool CommaSeparatedValues::load(const std::string& path) {
  std::ifstream file(path, std::ios::in);
  if (file.fail()) return false;
  load(file);
  return true;
}

std::istream& CommaSeparatedValues::load(std::istream& in) {
  destroy(rows);
  std::string line;
  while (!in.eof()) {
    readPiece(in, '\n', line);
    if (isCutShort(in)) return in;
    if (line[0] == '#') continue;

    std::unique_ptr<Column> row(new Column);
    cut(line, row->cells);
    rows.push_back(nullptr);
    rows.back() = row.release();
  }
  return in;
}

CommaSeparatedValues::Column* CommaSeparatedValues::operator[](int row) { return rows[row]; }

std::uint32_t CommaSeparatedValues::size() { return rows.size(); }

std::uint32_t CommaSeparatedValues::rowCount() { return size(); }

std::uint32_t CommaSeparatedValues::columnCount(int row) { return rows[row]->cells.size(); }

}  // namespace config
}  // namespace util
}  // namespace vimo
