// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "vimo_util/file/File.h"

using vimo::util::File;
using vimo::util::FileException;

int main() {
  File directory("work");
  directory.mkdir();
  std::ofstream("work/from") << "first\n";

  File from("work/from"), to("work/to");
  std::printf("copied %d bytes\n", from.copyTo(to));
  std::printf("and then %d\n", from.copyTo(to));  // both stand at their ends now

  std::ofstream("work/to") << "other\n";
  std::printf("read to the end: %s\n", from.compareTo(to) == 0 ? "equal" : "different");
  File freshFrom("work/from"), freshTo("work/to");
  std::printf("from the start: %s\n", freshFrom.compareTo(freshTo) == 0 ? "equal" : "different");

  std::vector<File> entries;
  directory.listFiles(entries);
  std::vector<std::string> names;
  for (const File& entry : entries) names.push_back(entry.getPath());  // bare names
  std::sort(names.begin(), names.end());
  for (const std::string& name : names) {
    std::printf("%s: %d bytes\n", name.c_str(), File("work/" + name).length());
  }

  try {
    File("work/gone").length();
  } catch (const FileException& error) {
    std::printf("%s\n", error.what());
  }
}
