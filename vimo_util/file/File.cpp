// SPDX-License-Identifier: MIT
#include "vimo_util/file/File.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>

#include "vimo_util/frame/NoCancel.h"

namespace vimo {
namespace util {

namespace {

constexpr std::size_t blockSize = 1024;

struct stat statusOf(const std::string& path) {
  struct stat status;
  if (::stat(path.c_str(), &status) < 0) throw FileException(path + "not found");
  return status;
}

// A directory stream that is closed on every way out, also when its thread is cancelled.
class DirectoryStream {
 public:
  explicit DirectoryStream(const std::string& path) : stream(::opendir(path.c_str())) {
    if (stream == nullptr) throw FileException("dir open failed");
  }
  ~DirectoryStream() {
    const NoCancel noCancel;
    ::closedir(stream);
  }
  DirectoryStream(const DirectoryStream&) = delete;
  DirectoryStream& operator=(const DirectoryStream&) = delete;

  // The name of the next entry, except "." and ".."; null at the end.
  const char* next() {
    while (const struct dirent* entry = ::readdir(stream)) {
      const char* const name = entry->d_name;
      if (std::strcmp(name, ".") != 0 && std::strcmp(name, "..") != 0) return name;
    }
    return nullptr;
  }

 private:
  DIR* stream;
};

// glibc before 2.41 loses the descriptor of a thread that is cancelled in open() or creat().
int openFile(const std::string& path, int flags) {
  const NoCancel noCancel;
  return ::open(path.c_str(), flags, 0666);
}

int openIfClosed(int fd, const std::string& path) { return fd == -1 ? openFile(path, O_RDWR) : fd; }

int createIfClosed(int fd, const std::string& path) {
  const NoCancel noCancel;
  return fd == -1 ? ::creat(path.c_str(), 0666) : fd;
}

// Whether `source` is open on the file of the destination: the one behind the descriptor
// `destination` or, if that is -1, the one at `path`. A source that cannot be asked counts as the
// same, so that it is not emptied.
bool isSameFile(int source, int destination, const std::string& path) {
  struct stat from;
  struct stat to;
  if ((destination == -1 ? ::stat(path.c_str(), &to) : ::fstat(destination, &to)) != 0) {
    return false;
  }
  return ::fstat(source, &from) != 0 || (from.st_dev == to.st_dev && from.st_ino == to.st_ino);
}

// The number of bytes read, 0 at the end of the file.
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

int nearestInt(std::int64_t number) {
  using Int = std::numeric_limits<int>;
  return static_cast<int>(
      std::min<std::int64_t>(std::max<std::int64_t>(number, Int::min()), Int::max()));
}

bool changeMode(const std::string& path, mode_t bits, bool on) {
  const mode_t mode = statusOf(path).st_mode;
  return ::chmod(path.c_str(), on ? mode | bits : mode & ~bits) == 0;
}

}  // namespace

// Queries.

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

// Paths and directories.

File File::getParent() {
  const bool directory = isDirectory();
  const std::string abs = getAbsolutePath();
  const std::string root(1, separator);
  const std::string::size_type last = abs.rfind(separator);
  if (!directory) return File(abs.substr(0, last + 1));
  if (abs == root) throw FileException("no parent");
  return File(last == 0 ? root : abs.substr(0, last));
}

void File::listFiles(std::vector<File>& files) {
  if (!isDirectory()) throw FileException("illegal operation, listFiles");
  DirectoryStream directory(path);
  while (const char* name = directory.next()) files.emplace_back(name);
}

void File::mkdir() {
  if (::mkdir(path.c_str(), 0770) != 0) throw FileException("mkdir failed, " + path);
}

void File::touch() {
  File touched((std::string()));  // flushes and closes the descriptor
  touched.fd = openFile(path, O_WRONLY | O_CREAT | O_NOCTTY | O_NONBLOCK);
  if (touched.fd < 0) throw FileException("touch failed, " + path);
}

// Whole files.

void File::deleteThis() {
  closeWithoutFlush();
  if (::unlink(path.c_str()) == -1) throw FileException("unlink failed");
}

void File::renameTo(File& other) {
  std::string renamed(other.path);  // the only allocation, before anything changes
  other.flushAndClose();
  if (::rename(path.c_str(), renamed.c_str()) == -1) throw FileException("rename failed");
  path.swap(renamed);
}

int File::compareTo(File& other) {
  fd = openIfClosed(fd, path);
  other.fd = openIfClosed(other.fd, other.path);
  if (fd < 0 || other.fd < 0) return -1;

  // Not length(), which throws for a file that is too large for an int.
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
  if (this == &dest) return -1;  // before it gets a descriptor
  fd = openIfClosed(fd, path);
  if (fd < 0 || isSameFile(fd, dest.fd, dest.path)) return -1;
  dest.fd = createIfClosed(dest.fd, dest.path);
  if (dest.fd < 0) return -1;

  std::int64_t copied = 0;
  char block[blockSize];
  while (const std::size_t count = readBlock(fd, block)) {
    writeAll(dest.fd, block, count);
    copied += count;
  }
  const NoCancel noCancel;  // Clang assumes that fflush() never unwinds
  std::fflush(nullptr);
  return nearestInt(copied);
}

// Permissions.

bool File::setReadable(bool on) { return changeMode(path, 0400, on); }

bool File::setWritable(bool on) { return changeMode(path, 0200, on); }

bool File::setExecutable(bool on) { return changeMode(path, 0100, on); }

bool File::setReadableAll(bool on) { return changeMode(path, 0444, on); }

bool File::setWritableAll(bool on) { return changeMode(path, 0222, on); }

bool File::setExecutableAll(bool on) { return changeMode(path, 0111, on); }

}  // namespace util
}  // namespace vimo
