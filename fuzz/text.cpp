// The text form of CppProperties against a plain reading of its rules.

#include <sstream>

#include "properties.h"

namespace {

std::string trimmed(std::string text) {
  while (!text.empty() && text.back() == ' ') text.pop_back();
  while (!text.empty() && text.front() == ' ') text.erase(0, 1);
  return text;
}

Entries model(const std::string& text, bool keepInlineHash) {
  Entries entries;
  std::string line;
  for (std::istringstream lines(text); std::getline(lines, line);) {
    const std::size_t hash = line.find('#');
    if (hash == 0 || (hash != line.npos && !keepInlineHash)) line = line.substr(0, hash);
    const std::size_t equals = line.find('=');
    if (equals == line.npos) continue;
    entries[trimmed(line.substr(0, equals))] = trimmed(line.substr(equals + 1));
  }
  return entries;
}

bool survives(const Entries& entries, bool keepInlineHash) {
  for (const auto& entry : entries) {
    const std::string& key = entry.first;
    if (key.find('=') != key.npos || key[0] == '#') return false;
    if (!keepInlineHash && (key + entry.second).find('#') != key.npos) return false;
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Input input(data, size);
  const bool keepInlineHash = input.choices & 1;
  vimo::util::config::CppProperties properties(keepInlineHash);
  properties.setProperty("old", "gone");

  Chunks in(input);
  properties.read(in);
  const Entries entries = model(input.bytes, keepInlineHash);
  require(entriesOf(properties) == entries, "read() gives the entries of the text");
  require(atEnd(in), "read() leaves the stream at its end");

  std::ostringstream out;
  std::string expected;
  properties.write(out);
  for (const auto& entry : entries) expected += entry.first + "=" + entry.second + "\n";
  require(out.str() == expected, "write() writes a line an entry");

  if (survives(entries, keepInlineHash)) {
    vimo::util::config::CppProperties again(keepInlineHash);
    std::istringstream back(out.str());
    again.read(back);
    require(entriesOf(again) == entries, "write() and read() give the entries back");
  }
  return 0;
}
