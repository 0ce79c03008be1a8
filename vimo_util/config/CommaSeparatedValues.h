// SPDX-License-Identifier: MIT
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

/// A table read from comma-separated text, row by row.
///
///     CommaSeparatedValues table;
///     if (!table.load("limits.csv")) return;
///     for (std::uint32_t row = 0; row < table.size(); ++row) use(table[row]->cells);
///
/// - Lines: each line is a row, except one that starts with `#`. The text after the last newline
///   is a line too, also when it is empty. A NUL ends the text of a line.
/// - Cells: the pieces between the commas, as they are, without quotes, escapes or trimming. A
///   carriage return ends the text of a piece. An empty last piece is no cell, so an empty line
///   is a row without cells.
/// - Ownership: the table owns its rows. It can be moved, not copied.
/// - Threads: several threads may read a table while no thread loads it.
/// - Errors: std::bad_alloc, and what the stream throws by its exceptions mask. The rows that
///   were complete stay.
class VIMO_UTIL_API CommaSeparatedValues {
 public:
  /// A row of the table.
  class VIMO_UTIL_API Column {
   public:
    /// Appends the pieces of `in`, up to its end, to `cells`, and then removes the last cell if
    /// it is empty. Here a newline or a NUL ends the text of a piece too. If `in` fails earlier,
    /// the complete pieces are appended and nothing is removed. Returns `in`.
    std::istream& load(std::istream& in);

    std::vector<std::string> cells;  ///< from left to right; the caller may change them
  };

  /// Makes a table without rows.
  CommaSeparatedValues();
  virtual ~CommaSeparatedValues();

  /// @name Moving
  /// Takes over the rows of `other`, which has none afterwards.
  /// @{
  CommaSeparatedValues(CommaSeparatedValues&& other) noexcept;
  CommaSeparatedValues& operator=(CommaSeparatedValues&& other) noexcept;
  /// @}

  /// Replaces the rows by those of a file. Returns false, and changes nothing, if the file
  /// cannot be opened. A read error ends the rows. The thread may be cancelled in it. If
  /// that happens while the file is being opened, its descriptor is lost.
  bool load(const std::string& path);

  /// Replaces the rows by those of `in`, from its position to its end. If its eofbit is set
  /// already, there are none. If `in` fails earlier, the complete rows stay. Returns `in`. Its
  /// state tells whether it failed.
  std::istream& load(std::istream& in);

  /// The row with the number `row`, from 0 to size() - 1. It belongs to the table, and is valid
  /// until the next load or the end of the table.
  Column* operator[](int row);

  /// @name Sizes
  /// The number of rows, those without cells included; and the number of cells in a row from 0
  /// to size() - 1.
  /// @{
  std::uint32_t size();
  std::uint32_t rowCount();
  std::uint32_t columnCount(int row);
  /// @}

 private:
  std::vector<Column*> rows;
};

}  // namespace config
}  // namespace util
}  // namespace vimo

#endif
