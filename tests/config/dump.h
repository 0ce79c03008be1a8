#ifndef VIMO_UTIL_TESTS_CONFIG_DUMP_H
#define VIMO_UTIL_TESTS_CONFIG_DUMP_H

#include <string>
#include <vector>

#include "vimo_util/config/CommaSeparatedValues.h"
#include "vimo_util/config/CppProperties.h"

// Contents as one line that can be written down: "key>value;" for each entry.
inline std::string dump(vimo::util::config::CppProperties& properties) {
  std::vector<std::string> keys;
  properties.getKeys(keys);
  std::string all;
  for (const std::string& key : keys) all += key + '>' + properties.getProperty(key) + ';';
  return all;
}

// "[cell][cell];" for each row.
inline std::string dump(vimo::util::config::CommaSeparatedValues& table) {
  std::string all;
  for (std::uint32_t row = 0; row < table.size(); ++row, all += ';') {
    for (const std::string& cell : table[row]->cells) all += '[' + cell + ']';
  }
  return all;
}

#endif
