// The binary form of CppProperties against a plain reading of its rules.

#include <cstdlib>
#include <cstring>
#include <map>
#include <sstream>

#include "vimo_util/config/CppProperties.h"

// Takes a string with its length off the front of `bytes`; false if it is cut short.
static bool take(std::string& bytes, std::string& value) {
  std::uint32_t length;
  if (bytes.size() < sizeof length) return false;
  std::memcpy(&length, bytes.data(), sizeof length);
  if (bytes.size() - sizeof length < length) return false;
  value = bytes.substr(0, sizeof length + length);
  bytes.erase(0, sizeof length + length);
  return true;
}

extern "C" int LLVMFuzzerTestOneInput(const char* data, std::size_t size) {
  std::map<std::string, std::string> model;  // of records, by their keys
  std::string bytes(data, size), key, value, expected;
  std::istringstream in(bytes);
  while (take(bytes, key) && take(bytes, value)) model[key.substr(4)] = key + value;
  for (const auto& entry : model) expected += entry.second;

  vimo::util::config::CppProperties properties;
  std::ostringstream out;
  properties.load(in);
  properties.save(out);
  if (out.str() != expected) std::abort();
  return 0;
}
