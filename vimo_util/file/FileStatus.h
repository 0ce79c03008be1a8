#ifndef VIMO_UTIL_FILE_FILESTATUS_H
#define VIMO_UTIL_FILE_FILESTATUS_H

#include <sys/stat.h>

#include <string>

#include "vimo_util/file/FileException.h"

namespace vimo {
namespace util {

// What lies at `path`, links followed; throws `path` followed by "not found".
inline struct stat statusOf(const std::string& path) {
  struct stat status;
  if (::stat(path.c_str(), &status) < 0) throw FileException(path + "not found");
  return status;
}

}  // namespace util
}  // namespace vimo

#endif
