// SPDX-License-Identifier: MIT
// What the user asks for.

#pragma once

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "vimo_util/config/CommaSeparatedValues.h"
#include "vimo_util/config/CppProperties.h"
#include "vimo_util/file/File.h"

using vimo::util::File;
using vimo::util::config::CppProperties;

// Throws the reason that the last system call gave.
[[noreturn]] inline void systemError(const std::string& path) {
  throw std::system_error(errno, std::generic_category(), path);
}

[[noreturn]] inline void fail(const std::string& where, const std::string& what) {
  throw std::runtime_error(where + ": " + what);
}

// Hands each line of `file` to `use`, with "FILE: line NUMBER"; comments and blank lines are none.
template <class Use>
void eachLine(const std::string& file, Use use) {
  std::ifstream in(file);
  if (!in) systemError(file);
  if (File(file).isDirectory()) fail(file, "Is a directory");
  std::string line;
  for (int number = 1; std::getline(in, line); ++number) {
    const std::size_t first = line.find_first_not_of(" \t\r");
    if (first == std::string::npos || line[first] == '#') continue;
    use(line, file + ": line " + std::to_string(number));
  }
  if (in.bad()) fail(file, "cannot be read");
}

inline int numberIn(const std::string& text, int least, int most, const std::string& where) {
  CppProperties number;
  number.setProperty("", text);
  const std::int64_t value = number.getInt("");
  // getInt() alone would take the 4 of "4x".
  if (text == std::to_string(value) && value >= least && value <= most) return int(value);
  fail(where, "takes a number from " + std::to_string(least) + " to " + std::to_string(most));
}

struct Settings {
  int workers = int(std::clamp(std::thread::hardware_concurrency(), 1u, 16u));
  int poll = 500;  // milliseconds
  bool watch = false;

  // Suffixes and priorities, of which 0 is the most urgent. The empty one is for all other files.
  std::map<std::string, unsigned int> rules{{"", 500}};

  // What it throws tells the file and the line.
  void load(const std::string& config) {
    // Read as a whole, a store would hide which lines are no entries.
    eachLine(config, [&](const std::string& line, const std::string& where) {
      std::istringstream in(line);
      CppProperties entry;
      entry.read(in);
      std::vector<std::string> keys;
      entry.getKeys(keys);
      if (keys.empty()) fail(where, "is not KEY=VALUE");
      const std::string key = keys[0], value = entry.getProperty(key);
      if (key == "workers") {
        workers = numberIn(value, 1, 64, where + ": workers");
      } else if (key == "poll") {
        poll = numberIn(value, 10, 60000, where + ": poll");
      } else if (key == "rules" && !value.empty()) {
        loadRules(value[0] == '/' ? value : File(config).getParent().getPath() + value);
      } else {
        fail(where, "'" + key + "' is no key, or has no value");
      }
    });
  }

  // The longest suffix in `rules` that `name` has.
  std::string ruleOf(const std::string& name) const {
    std::size_t at = 0;
    while (rules.count(name.substr(at)) == 0) ++at;
    return name.substr(at);
  }

 private:
  void loadRules(const std::string& file) {
    rules = {{"", 500}};
    eachLine(file, [&](const std::string& line, const std::string& where) {
      std::istringstream in(line);
      vimo::util::config::CommaSeparatedValues::Column row;
      row.load(in);
      if (row.cells.size() != 2) fail(where, "is not SUFFIX,PRIORITY");
      const auto priority = unsigned(numberIn(row.cells[1], 0, 999, where));
      if (!rules.emplace(row.cells[0], priority).second) fail(where, "its suffix is not new");
    });
  }
};
