#ifndef VIMO_UTIL_FUZZ_PROPERTIES_H
#define VIMO_UTIL_FUZZ_PROPERTIES_H

#include <map>
#include <string>
#include <vector>

#include "fuzzing.h"
#include "vimo_util/config/CppProperties.h"

using Entries = std::map<std::string, std::string>;

inline Entries entriesOf(vimo::util::config::CppProperties& properties) {
  std::vector<std::string> keys;
  properties.getKeys(keys);
  Entries entries;
  for (const std::string& key : keys) entries[key] = properties.getProperty(key);
  require(entries.size() == keys.size(), "each key once");
  return entries;
}

#endif
