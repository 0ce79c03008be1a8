#include "vimo_util/file/File.h"

#include <sys/stat.h>
#include <unistd.h>

#include <limits>

#include "vimo_util/file/FileStatus.h"

namespace vimo {
namespace util {

bool File::exists() {
  try {
    statusOf(path);
    return true;
  } catch (const FileException&) {
    return false;
  }
}

int File::length() {
  const off_t size = statusOf(path).st_size;
  if (size > std::numeric_limits<int>::max()) throw FileException("length failed, " + path);
  return static_cast<int>(size);
}

bool File::isDirectory() { return S_ISDIR(statusOf(path).st_mode); }

bool File::isFile() { return S_ISREG(statusOf(path).st_mode); }

bool File::canRead() { return ::access(path.c_str(), R_OK) == 0; }

bool File::canWrite() { return ::access(path.c_str(), W_OK) == 0; }

bool File::canExecute() { return ::access(path.c_str(), X_OK) == 0; }

}  // namespace util
}  // namespace vimo
