#include "vimo_util/file/File.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>

#include "vimo_util/file/FileStatus.h"
#include "vimo_util/frame/NoCancel.h"

namespace vimo {
namespace util {

namespace {

constexpr std::size_t blockSize = 1024;

int nearestInt(std::int64_t number) {
  using Int = std::numeric_limits<int>;
  return static_cast<int>(
      std::min<std::int64_t>(std::max<std::int64_t>(number, Int::min()), Int::max()));
}

// The descriptor `held`, or if there is none a new one to read from.
int openUnlessHeld(int held, const std::string& path) {
  return held == -1 ? ::open(path.c_str(), O_RDWR) : held;
}

// 0 at the end of the file.
std::size_t readBlock(int from, char (&block)[blockSize]) {
  const ssize_t size = ::read(from, block, blockSize);
  if (size == -1) throw FileException("copy: read error");
  return size;
}

void writeAll(int to, const char* bytes, std::size_t size) {
  while (size > 0) {
    const ssize_t written = ::write(to, bytes, size);
    if (written <= 0) throw FileException("copy: write error");
    bytes += written;
    size -= written;
  }
}

// Whether a copy from `source` to the descriptor `held`, or if there is none to
// the file at `path`, would read what it writes. Unless it can be told, it would.
bool wouldMeet(int source, int held, const std::string& path) {
  struct stat from;
  struct stat to;
  if (held == -1) {
    if (::stat(path.c_str(), &to) != 0) return errno != ENOENT;
  } else if (::fstat(held, &to) != 0) {
    return true;
  }
  if (::fstat(source, &from) != 0) return true;
  return from.st_dev == to.st_dev && from.st_ino == to.st_ino;
}

}  // namespace

void File::deleteThis() {
  closeHeld(false);
  if (::unlink(path.c_str()) == -1) throw FileException("unlink failed");
}

void File::renameTo(File& other) {
  std::string renamed(other.path);  // while running out of memory changes nothing yet
  other.closeHeld(true);
  if (::rename(path.c_str(), renamed.c_str()) == -1) throw FileException("rename failed");
  path.swap(renamed);
}

int File::compareTo(File& other) {
  fd = openUnlessHeld(fd, path);
  other.fd = openUnlessHeld(other.fd, other.path);
  if (fd < 0 || other.fd < 0) return -1;

  // Not length(), which has no answer for a file beyond the range of an int.
  const std::int64_t size = statusOf(path).st_size;
  const std::int64_t otherSize = statusOf(other.path).st_size;
  if (size != otherSize) return nearestInt(size - otherSize);

  char block[blockSize];
  char otherBlock[blockSize];
  for (;;) {
    const std::size_t count = readBlock(fd, block);
    if (count == 0) return 0;
    const std::size_t otherCount = readBlock(other.fd, otherBlock);
    if (otherCount == 0) return 0;
    if (count != otherCount) return static_cast<int>(count) - static_cast<int>(otherCount);
    const int difference = std::memcmp(block, otherBlock, count);
    if (difference != 0) return difference;
  }
}

int File::copyTo(File& dest) {
  if (this == &dest) return -1;  // before this object gets a descriptor, being the destination
  fd = openUnlessHeld(fd, path);
  if (fd < 0 || wouldMeet(fd, dest.fd, dest.path)) return -1;

  // A destination that had no descriptor keeps one only if the copy ends well.
  const auto close = [](File* file) { file->closeHeld(false); };
  std::unique_ptr<File, decltype(close)> opened(dest.fd == -1 ? &dest : nullptr, close);
  if (opened) dest.fd = ::creat(dest.path.c_str(), 0666);
  if (dest.fd < 0) return -1;

  std::int64_t copied = 0;
  char block[blockSize];
  while (const std::size_t count = readBlock(fd, block)) {
    writeAll(dest.fd, block, count);
    copied += count;
  }
  {
    const NoCancel noCancel;  // which Clang, taking fflush for one that throws nothing, needs
    std::fflush(nullptr);
  }
  opened.release();
  return nearestInt(copied);
}

}  // namespace util
}  // namespace vimo
