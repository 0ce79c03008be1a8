#ifndef VIMO_UTIL_CONFIG_STORE_H
#define VIMO_UTIL_CONFIG_STORE_H

#include <iterator>
#include <map>
#include <string>
#include <utility>

namespace vimo {
namespace util {
namespace config {

// Stores `value` under `key`; when memory runs out, `entries` is as before. What
// the library wrote has its keys in order: each is then put at the end at once.
inline void store(std::map<std::string, std::string>& entries, std::string&& key,
                  std::string&& value) {
  if (entries.empty() || entries.rbegin()->first < key) {
    entries.emplace_hint(entries.end(), std::move(key), std::move(value));
  } else {
    entries[std::move(key)] = std::move(value);
  }
}

}  // namespace config
}  // namespace util
}  // namespace vimo

#endif
