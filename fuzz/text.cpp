// The text form of CppProperties against a plain reading of its rules.

#include <cstdlib>
#include <map>
#include <sstream>

#include "vimo_util/config/CppProperties.h"

static std::string trimmed(std::string text) {
  while (!text.empty() && text.back() == ' ') text.pop_back();
  while (!text.empty() && text.front() == ' ') text.erase(0, 1);
  return text;
}

extern "C" int LLVMFuzzerTestOneInput(const char* data, std::size_t size) {
  const std::string text(data, size);
  const bool keepInlineHash = size % 2;
  std::map<std::string, std::string> model;
  std::string line, expected;
  for (std::istringstream lines(text); std::getline(lines, line);) {
    const std::size_t hash = line.find('#');
    if (hash == 0 || (hash != line.npos && !keepInlineHash)) line.erase(hash);
    const std::size_t equals = line.find('=');
    if (equals == line.npos) continue;
    model[trimmed(line.substr(0, equals))] = trimmed(line.substr(equals + 1));
  }
  for (const auto& entry : model) expected += entry.first + "=" + entry.second + "\n";

  vimo::util::config::CppProperties properties(keepInlineHash);
  std::istringstream in(text);
  std::ostringstream out;
  properties.read(in);
  properties.write(out);
  if (out.str() != expected) std::abort();
  return 0;
}
