#include "vimo_util/file/File.h"

#include <sys/stat.h>

#include "vimo_util/file/FileStatus.h"

namespace vimo {
namespace util {

namespace {

bool switchBits(const std::string& path, mode_t bits, bool on) {
  const mode_t mode = statusOf(path).st_mode;
  return ::chmod(path.c_str(), on ? mode | bits : mode & ~bits) == 0;
}

}  // namespace

bool File::setReadable(bool on) { return switchBits(path, 0400, on); }

bool File::setWritable(bool on) { return switchBits(path, 0200, on); }

bool File::setExecutable(bool on) { return switchBits(path, 0100, on); }

bool File::setReadableAll(bool on) { return switchBits(path, 0444, on); }

bool File::setWritableAll(bool on) { return switchBits(path, 0222, on); }

bool File::setExecutableAll(bool on) { return switchBits(path, 0111, on); }

}  // namespace util
}  // namespace vimo
