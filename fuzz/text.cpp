// The text form of CppProperties against a plain reading of its rules.

#include <map>
#include <sstream>

#include "fuzzing.h"
#include "vimo_util/config/CppProperties.h"

static std::string trimmed(std::string text) {
  while (!text.empty() && text.back() == ' ') text.pop_back();
  while (!text.empty() && text.front() == ' ') text.erase(0, 1);
  return text;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input in(data, size);
  const bool keepInlineHash = in.choices & 1;
  std::map<std::string, std::string> model;
  std::string line, expected;
  for (std::istringstream lines(in.bytes); std::getline(lines, line);) {
    const std::size_t hash = line.find('#');
    if (hash == 0 || (hash != line.npos && !keepInlineHash)) line.erase(hash);
    const std::size_t equals = line.find('=');
    if (equals != line.npos)
      model[trimmed(line.substr(0, equals))] = trimmed(line.substr(equals + 1));
  }
  for (const auto& entry : model) expected += entry.first + "=" + entry.second + "\n";

  vimo::util::config::CppProperties properties(keepInlineHash);
  properties.setProperty("old", "gone");
  properties.read(in);
  require(in.atEnd());
  std::ostringstream out;
  properties.write(out);
  require(out.str() == expected);
  return 0;
}
