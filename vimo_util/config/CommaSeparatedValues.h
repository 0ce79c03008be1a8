#ifndef VIMO_UTIL_CONFIG_COMMASEPARATEDVALUES_H
#define VIMO_UTIL_CONFIG_COMMASEPARATEDVALUES_H

#include <cstdint>
#include <istream>
#include <string>
#include <vector>

#include "vimo_util/frame/export.h"

namespace vimo {
namespace util {
namespace config {

// A table read from comma-separated text, row by row.
//
// Lines      each line is a row; one that starts with `#` is none. The text
//            behind the last newline is a line too, also when it is empty. A line
//            ends at its first NUL for this class.
// Cells      the pieces between commas, as they are: no quotes, no escapes, no
//            trimming. A piece ends at its first carriage return. A last piece
//            that is empty is no cell, so that an empty line is a row without one.
// Threads    a loaded table may be read from several threads; a load needs the
//            table for itself.
// Errors     from a load std::bad_alloc, and what the stream's exceptions mask
//            asks for; the rows that were complete stay.
class VIMO_UTIL_API CommaSeparatedValues {
 public:
  // A row of the table: its cells from left to right.
  class VIMO_UTIL_API Column {
   public:
    // Appends the pieces of `in`, to its end, to `cells`, of which it then drops
    // the last if that is empty. Here a newline or a NUL ends a piece too. When `in` fails earlier,
    // it appends those that were complete, and drops none.
    std::istream& load(std::istream& in);

    std::vector<std::string> cells;  // from left to right, the caller's to change
  };

  // A table without rows.
  CommaSeparatedValues();
  virtual ~CommaSeparatedValues();

  // A table owns its rows: it moves with them, and leaves an empty one behind.
  CommaSeparatedValues(CommaSeparatedValues&& other) noexcept;
  CommaSeparatedValues& operator=(CommaSeparatedValues&& other) noexcept;

  // Replaces the rows by those of a file. False, and nothing changes, if it
  // cannot be opened. A thread may be cancelled in it.
  bool load(const std::string& path);

  // Replaces the rows by those of `in`, from where it stands to its end; an `in`
  // whose eofbit is set already gives none. When `in` fails earlier, the rows that were
  // complete stay, and its state tells.
  std::istream& load(std::istream& in);

  // The row of that number, from 0 to size() - 1. It is the table's, and good
  // until the next load or the end of the table.
  Column* operator[](int row);

  // The number of rows, those without a cell included.
  std::uint32_t size();
  std::uint32_t rowCount();

  // The number of cells in a row, from 0 to size() - 1.
  std::uint32_t columnCount(int row);

 private:
  std::vector<Column*> rows;
};

}  // namespace config
}  // namespace util
}  // namespace vimo

#endif
