// The binary form of CppProperties against a plain reading of its rules.

#include <cstring>
#include <sstream>

#include "properties.h"

namespace {

// Takes a string off the front of `bytes`; false if it is cut short.
bool takeString(std::string& bytes, std::string& value) {
  std::uint32_t length;
  if (bytes.size() < sizeof length) return false;
  std::memcpy(&length, bytes.data(), sizeof length);
  if (bytes.size() - sizeof length < length) return false;
  value = bytes.substr(sizeof length, length);
  bytes.erase(0, sizeof length + length);
  return true;
}

Entries model(std::string bytes) {
  Entries entries;
  for (std::string key, value; takeString(bytes, key) && takeString(bytes, value);) {
    entries[key] = value;
  }
  return entries;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Input input(data, size);
  vimo::util::config::CppProperties properties;
  properties.setProperty("old", "gone");

  Chunks in(input);
  properties.load(in);
  const Entries entries = model(input.bytes);
  require(entriesOf(properties) == entries, "load() gives the whole records");
  require(atEnd(in), "load() leaves the stream at its end");

  std::stringstream out;
  properties.save(out);
  require(model(out.str()) == entries, "save() writes the records");
  vimo::util::config::CppProperties again;
  again.load(out);
  require(entriesOf(again) == entries, "save() and load() give the entries back");
  return 0;
}
