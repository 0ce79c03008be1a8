#ifndef VIMO_UTIL_TESTS_CONFIG_OUTCOME_H
#define VIMO_UTIL_TESTS_CONFIG_OUTCOME_H

#include <gtest/gtest.h>

#include "vimo_util/config/CommaSeparatedValues.h"
#include "vimo_util/config/CppProperties.h"

// Contents as one line that can be written down: "key>value;" for each entry,
// "[cell][cell]" for a row, "[cell][cell];" for each row.
inline std::string dump(vimo::util::config::CppProperties& properties) {
  std::vector<std::string> keys;
  properties.getKeys(keys);
  std::string all;
  for (const std::string& key : keys) all += key + '>' + properties.getProperty(key) + ';';
  return all;
}
inline std::string dump(const std::vector<std::string>& cells) {
  std::string all;
  for (const std::string& cell : cells) all += '[' + cell + ']';
  return all;
}
inline std::string dump(vimo::util::config::CommaSeparatedValues::Column& row) {
  return dump(row.cells);
}
inline std::string dump(vimo::util::config::CommaSeparatedValues& table) {
  std::string all;
  for (std::uint32_t row = 0; row < table.size(); ++row) {
    EXPECT_EQ(table[row]->cells.size(), table.columnCount(row));
    all += dump(*table[row]) + ';';
  }
  EXPECT_EQ(table.size(), table.rowCount());
  return all;
}

struct Case {
  std::string input, contents;  // what is read, and what it gives
};

// The code of the VIMOException that `action` throws, 0 if it throws nothing.
template <class Action>
int codeOf(Action action) {
  try {
    action();
  } catch (const std::exception& exception) {
    EXPECT_STREQ("VIMOException", exception.what());
    return static_cast<int>(dynamic_cast<const VIMOException&>(exception).code);
  }
  return 0;
}

#endif
