// SPDX-License-Identifier: MIT
#ifndef VIMO_UTIL_FILE_FILE_H
#define VIMO_UTIL_FILE_FILE_H

#include <limits.h>
#include <pthread.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "vimo_util/file/FileException.h"
#include "vimo_util/frame/export.h"

namespace vimo {
namespace util {

/// A path in the file system: queries, directory work, and operations on whole files.
///
/// - Path: kept as given, relative or absolute, possibly empty, never checked. Making an object
///   touches nothing, so nothing need exist at its path. Symbolic links are followed, except by
///   deleteThis(), renameTo() and mkdir().
/// - Descriptor: compareTo() and copyTo() open the file if the object has no descriptor, and
///   leave the descriptor in the object. Later calls go on from its position; nothing rewinds.
///   deleteThis(), renameTo() to the object, an assignment to it and its destructor close it.
/// - Copying: a copy has the same path and no descriptor. A move hands the descriptor over; the
///   source then has none, and an unspecified path.
/// - Flushing: fflush(NULL) writes out every stdio stream of the process. It runs where said
///   below, and before a destructor or an assignment closes a descriptor. It waits for a stream
///   that another thread has locked, for example in fgets(stdin).
/// - Threads: one thread at a time uses an object, and an object that is passed to compareTo(),
///   copyTo() or renameTo().
/// - Cancellation: a cancelled thread leaves no descriptor open, except in an object. Opening a
///   file cannot be cancelled, so waiting for the reader of a FIFO cannot either.
/// - Errors: FileException with the text in quotes, where PATH is the path of the object, or
///   std::bad_alloc. Either leaves the object unchanged, unless said otherwise.
class VIMO_UTIL_API File {
 public:
  /// Makes an object without a descriptor.
  explicit File(std::string pathname) : fd(-1), separator('/'), path(std::move(pathname)) {}

  /// Takes the path, and no descriptor.
  File(const File& other) : fd(-1), separator(other.separator), path(other.path) {}

  /// Takes over the path and the descriptor.
  File(File&& other) noexcept
      : fd(other.fd), separator(other.separator), path(std::move(other.path)) {
    other.fd = -1;
  }

  /// Flushes and closes the descriptor, if there is one.
  virtual ~File() { flushAndClose(); }

  /// Takes the path, and closes the descriptor held until now.
  File& operator=(const File& other) {
    if (this != &other) *this = File(other);
    return *this;
  }

  /// Takes over the path and the descriptor, and closes the descriptor held until now.
  File& operator=(File&& other) noexcept {
    File taken(std::move(other));
    std::swap(fd, taken.fd);
    path.swap(taken.path);
    return *this;
  }

  /// The path as it was given, or as renameTo() left it. The reference is valid until the object
  /// changes or ends.
  const std::string& getPath() const { return path; }

  /// Whether something is at the path. False also if that cannot be told.
  bool exists();

  /// The size in bytes. Throws "PATHnot found", or "length failed, PATH" if the size is greater
  /// than 2147483647.
  int length();

  /// @name Kinds
  /// Whether a directory, or a regular file, is at the path. Devices, FIFOs and sockets are
  /// neither. They throw "PATHnot found".
  /// @{
  bool isDirectory();
  bool isFile();
  /// @}

  /// @name Access
  /// Whether the real user of the process may read, write or execute (for a directory: search)
  /// what is at the path. False also if nothing is there. They do not tell directories from files.
  /// @{
  bool canRead();
  bool canWrite();
  bool canExecute();
  /// @}

  /// The path from the root, without links, "." and "..". Throws "E: getAbsPath of PATH" if
  /// nothing is there.
  std::string getAbsolutePath() {
    char resolved[PATH_MAX];
    if (::realpath(path.c_str(), resolved) == nullptr) {
      throw FileException("E: getAbsPath of " + path);
    }
    return resolved;
  }

  /// The directory that holds what the path leads to, as an absolute path. The parent of the file
  /// /a/b.txt is "/a/", with a separator at the end; that of the directory /a/b is "/a". Throws
  /// "PATHnot found", "no parent" for the root, or "E: getAbsPath of PATH".
  File getParent();

  /// Appends the entries of the directory, except "." and "..", to `files`, in no order. The path
  /// of each is its bare name: put the directory's path before it to reach the entry. Throws
  /// "PATHnot found", "illegal operation, listFiles" if the path is no directory, or "dir open
  /// failed", with `files` unchanged. A read error ends the list. On std::bad_alloc the entries
  /// appended so far stay.
  void listFiles(std::vector<File>& files);

  /// Makes a directory with mode 0770 less the umask. Its parent must exist. Throws
  /// "mkdir failed, PATH", also if something is at the path.
  void mkdir();

  /// Makes an empty file with mode 0666 less the umask. An existing file stays as it is, its
  /// times included. Flushes. Throws "touch failed, PATH".
  void touch();

  /// Closes the descriptor, without a flush, and removes the file. The path is kept. Throws
  /// "unlink failed", with the descriptor closed.
  void deleteThis();

  /// Renames the file to the path of `other`, and replaces what is there. Closes the descriptor
  /// of `other` first, with a flush, also if the renaming then fails. The descriptor of this
  /// object stays open on the file. Afterwards both objects have the path of `other`. Throws
  /// "rename failed".
  void renameTo(File& other);

  /// Compares both files from the positions of their descriptors.
  ///
  /// Returns 0 if there is no difference before either ends. Otherwise it returns the difference
  /// of the sizes of the whole files, or of the bytes that two reads delivered, or what memcmp()
  /// returns for two blocks. A difference of sizes that an int cannot hold becomes the nearest
  /// int. Also returns -1 if either file cannot be opened for reading and writing.
  ///
  /// Throws "PATHnot found" with the path of either, or "copy: read error".
  int compareTo(File& other);

  /// Copies from the position of this file to its end, flushes, and returns the number of bytes,
  /// at most 2147483647. If `dest` has no descriptor, its file is made, with mode 0666 less the
  /// umask, or emptied, and opened for writing only. If it has one, writing goes on at its
  /// position.
  ///
  /// Returns -1 if this file cannot be opened for reading and writing, if that of `dest` cannot
  /// be opened, or if both are one file. No file is then changed, and `dest` is as before.
  ///
  /// Throws "copy: read error" or "copy: write error". Both objects keep their descriptors, and
  /// what was written stays. After a read error the same call goes on where it stopped. After a
  /// write error up to 1024 bytes that were read are lost to it: start anew with fresh objects.
  int copyTo(File& dest);

  /// @name Permissions
  /// Allow or forbid the operation, to the owner or, with All, to everyone. The other bits of the
  /// mode stay. Return false if the system refuses. They throw "PATHnot found".
  /// @{
  bool setReadable(bool on);
  bool setWritable(bool on);
  bool setExecutable(bool on);
  bool setReadableAll(bool on);
  bool setWritableAll(bool on);
  bool setExecutableAll(bool on);
  /// @}

 private:
  // Both hold cancellation back. A destructor must not unwind, and a thread that is cancelled in
  // close() could not tell whether the descriptor is closed.
  void flushAndClose() noexcept {
    if (fd == -1) return;
    int before;
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before);
    std::fflush(nullptr);
    closeWithoutFlush();
    pthread_setcancelstate(before, &before);
  }
  void closeWithoutFlush() noexcept {
    if (fd == -1) return;
    int before;
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before);
    ::close(fd);
    fd = -1;
    pthread_setcancelstate(before, &before);
  }

  int fd;  // open and owned by this object alone, or -1
  char separator;
  std::string path;
};

}  // namespace util
}  // namespace vimo

#endif
