#ifndef VIMO_UTIL_TESTS_CONFIG_DUMP_H
#define VIMO_UTIL_TESTS_CONFIG_DUMP_H

#include "vimo_util/config/CommaSeparatedValues.h"
#include "vimo_util/config/CppProperties.h"

// Contents in one line: "key>value;" for each entry, "[cell][cell]" for a row, "[cell][cell];" for
// each row of a table.
inline std::string dump(vimo::util::config::CppProperties& properties) {
  std::vector<std::string> keys;
  properties.getKeys(keys);
  std::string all;
  for (const std::string& key : keys) all += key + '>' + properties.getProperty(key) + ';';
  return all;
}
inline std::string dump(const vimo::util::config::CommaSeparatedValues::Column& row) {
  std::string all;
  for (const std::string& cell : row.cells) all += '[' + cell + ']';
  return all;
}
inline std::string dump(vimo::util::config::CommaSeparatedValues& table) {
  std::string all;
  for (std::uint32_t row = 0; row < table.size(); ++row) {
    all +=
        table.columnCount(row) == table[row]->cells.size() ? dump(*table[row]) + ';' : "miscounted";
  }
  return all;
}

#endif
