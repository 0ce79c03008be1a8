// The binary form of CppProperties against a plain reading of its rules.

#include <cstdlib>
#include <cstring>
#include <map>
#include <sstream>

#include "vimo_util/config/CppProperties.h"

extern "C" int LLVMFuzzerTestOneInput(const char* data, std::size_t size) {
  std::istringstream in(std::string(data, size));
  const char* const end = data + size;
  // Takes a string with its length off the front; false if it is cut short.
  const auto take = [&](std::string& value) {
    std::uint32_t length;
    if (end - data < 4 || (std::memcpy(&length, data, 4), end - data - 4 < length)) return false;
    value.assign(data, length + 4);
    data += value.size();
    return true;
  };
  std::map<std::string, std::string> model;  // of records, by their keys
  std::string key, value, expected;
  while (take(key) && take(value)) model[key.substr(4)] = key + value;
  for (const auto& entry : model) expected += entry.second;

  vimo::util::config::CppProperties properties;
  std::ostringstream out;
  properties.load(in);
  properties.save(out);
  if (out.str() != expected) std::abort();
  return 0;
}
