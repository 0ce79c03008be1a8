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

// A path in the file system: what lies there, the directory work around it, and
// operations on whole files.
//
// Path        kept as given: relative or absolute, perhaps empty, never checked.
//             Making an object touches nothing, so nothing need exist there.
//             Links are followed, but deleteThis(), renameTo() and mkdir() take
//             the link.
// Descriptor  compareTo() and copyTo() open the file when the object has no
//             descriptor yet, and leave it open in the object: later ones go on
//             from the position that the last read or write reached. Nothing
//             ever rewinds; a fresh object starts at the start of the file.
//             deleteThis(), renameTo() to the object, an assignment to it and
//             its destruction close it.
// Copying     a copy has the same path and no descriptor. A move hands the
//             descriptor over and leaves an object with none and some path.
// Flushing    fflush(NULL), which writes out every stdio stream of the process,
//             runs where said below and before a destructor or an assignment
//             closes a descriptor.
// Threads     an object belongs to one thread at a time, and so does the one
//             that is handed to compareTo(), copyTo() or renameTo().
//             Cancelling a thread leaves no descriptor open but in an object.
// Errors      a FileException with the text given in quotes, where PATH stands
//             for the object's path, or std::bad_alloc. Either leaves the
//             object as it was, unless said otherwise.
class VIMO_UTIL_API File {
 public:
  // An object without a descriptor.
  explicit File(std::string path) : fd(-1), separator('/'), path(std::move(path)) {}

  // The same path, without a descriptor.
  File(const File& other) : fd(-1), separator(other.separator), path(other.path) {}

  // Takes over the path and the descriptor.
  File(File&& other) noexcept
      : fd(other.fd), separator(other.separator), path(std::move(other.path)) {
    other.fd = -1;
  }

  // Flushes and closes the descriptor, if there is one.
  virtual ~File() { closeHeld(true); }

  // Takes the path, and closes the descriptor held until now.
  File& operator=(const File& other) {
    if (this != &other) *this = File(other);
    return *this;
  }

  // The same, and takes over the descriptor of `other`.
  File& operator=(File&& other) noexcept {
    File taken(std::move(other));  // and then what this object held, to be closed
    std::swap(fd, taken.fd);
    path.swap(taken.path);
    return *this;
  }

  // The path as it was given, or as renameTo() left it. Good until the object
  // changes or ends.
  const std::string& getPath() const { return path; }

  // Whether something lies at the path; false also when it cannot be told.
  bool exists();

  // The size in bytes. Throws "PATHnot found", or "length failed, PATH" if the
  // size exceeds 2147483647.
  int length();

  // Whether a directory, or a regular file, lies at the path; a device, FIFO or
  // socket is neither. Throw "PATHnot found".
  bool isDirectory();
  bool isFile();

  // Whether the process's real user may; false also when nothing lies there.
  bool canRead();
  bool canWrite();
  bool canExecute();

  // The path from the root, without links, "." and "..". It must exist: throws
  // "E: getAbsPath of PATH".
  std::string getAbsolutePath() {
    char resolved[PATH_MAX];
    if (::realpath(path.c_str(), resolved) == nullptr) {
      throw FileException("E: getAbsPath of " + path);
    }
    return resolved;
  }

  // The directory that holds what the path leads to, as an absolute path. It
  // ends in a separator if that is no directory: the parent of /a/b.txt is /a/,
  // that of the directory /a/b is /a. Throws "PATHnot found", "no parent" for
  // the root, or "E: getAbsPath of PATH".
  File getParent();

  // Appends the entries of the directory to `files`, but "." and "..", in no
  // order. Each has the bare name as its path: put the directory's before it to
  // reach the entry. Throws "PATHnot found", "illegal operation, listFiles" if
  // the path is no directory, or "dir open failed", `files` being unchanged. A
  // read error ends the list. std::bad_alloc leaves in `files` what was appended.
  void listFiles(std::vector<File>& files);

  // Makes a directory, of mode 0770 less the umask, in one that exists. Throws
  // "mkdir failed, PATH", also if something lies there.
  void mkdir();

  // Makes an empty file, of mode 0666 less the umask; an existing one stays as
  // it is, its times included. Flushes. Throws "touch failed, PATH".
  void touch();

  // Removes the file, after closing the descriptor, which is not flushed and
  // stays closed on a failure. The path is kept. Throws "unlink failed".
  void deleteThis();

  // Gives the file the path of `other` and replaces what lies there. First
  // closes the descriptor of `other`, with a flush, and it stays closed on a
  // failure; that of this object, if it is another, stays open on the file.
  // Afterwards both have the same path. Throws "rename failed".
  void renameTo(File& other);

  // 0 if no difference was found before either side ended; else the difference
  // of the files' sizes, or of the bytes that two reads gave, or what memcmp
  // says of two blocks. Differences of sizes beyond an int become its nearest
  // value. -1, also, if either file cannot be opened for reading and writing.
  // Throws "PATHnot found" with the path of either, or "copy: read error".
  //
  // Sizes are those of the whole files, but bytes count from the positions of
  // the descriptors: two objects that have been read to the end are equal.
  int compareTo(File& other);

  // Copies from this file's position to its end, flushes, and returns how many
  // bytes, 2147483647 standing for any more. Without a descriptor in `dest` its
  // file is made, of mode 0666 less the umask, or emptied, and opened for
  // writing only; with one, writing goes on at its position.
  //
  // Returns -1, and no file is changed, if this file cannot be opened for reading
  // and writing, if that of `dest` cannot be opened, or if both are one file.
  // Throws "copy: read error" or "copy: write error"; what was written stays.
  // None of these leaves a descriptor in `dest` if it had none.
  int copyTo(File& dest);

  // Allow or forbid the owner, or with All everyone, to do so; the rest of the
  // mode stays. False if the system refuses. Throw "PATHnot found".
  bool setReadable(bool on);
  bool setWritable(bool on);
  bool setExecutable(bool on);
  bool setReadableAll(bool on);
  bool setWritableAll(bool on);
  bool setExecutableAll(bool on);

 private:
  // Both calls are cancellation points, and must neither unwind through a
  // destructor nor leave open whether the descriptor is closed.
  void closeHeld(bool flushed) noexcept {
    if (fd == -1) return;
    int cancelState;
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancelState);
    if (flushed) std::fflush(nullptr);
    ::close(fd);
    fd = -1;
    pthread_setcancelstate(cancelState, &cancelState);
  }

  int fd;  // open and owned by this object alone, or -1
  char separator;
  std::string path;
};

}  // namespace util
}  // namespace vimo

#endif
