// SPDX-License-Identifier: MIT
// The way of one file from INBOX to OUTBOX.
//
// Files are listed, copied and compared by descriptors of our own, open for reading only. A File of
// the library opens for writing too, follows links, and its list hides a read error. It serves for
// paths: what may be done with a directory, and the removal of a file.

#pragma once

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <memory>
#include <set>

#include "settings.h"
#include "vimo_util/priq/PriorRequest.h"

// An open file or directory, and its path for messages. No signal has a handler in this program, so
// that no call is interrupted.
struct Handle {
  Handle(int descriptor, const std::string& path) : descriptor(descriptor), path(path) {
    if (descriptor == -1) systemError(path);
  }
  Handle(const Handle&) = delete;
  ~Handle() { close(descriptor); }

  struct stat status() const {
    struct stat status;
    if (fstat(descriptor, &status) == -1) systemError(path);
    return status;
  }

  void sync() const {
    if (fsync(descriptor) == -1) systemError(path);
  }

  // The bytes from `from` on: `size` of them, or those until the end.
  std::string read(off_t from, std::size_t size) const {
    std::string bytes(size, '\0');
    std::size_t got = 0;
    for (ssize_t count = 1; got < size && count > 0; got += std::size_t(count)) {
      count = pread(descriptor, &bytes[got], size - got, from + off_t(got));
      if (count == -1) systemError(path);
    }
    bytes.resize(got);
    return bytes;
  }

  const int descriptor;
  const std::string path;
};

inline bool isUnchanged(const struct stat& a, const struct stat& b) {
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino && a.st_size == b.st_size &&
         a.st_ctim.tv_sec == b.st_ctim.tv_sec && a.st_ctim.tv_nsec == b.st_ctim.tv_nsec;
}

struct Directory : Handle {
  explicit Directory(const std::string& path)
      : Handle(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC), path) {
    if (!File(path).canWrite() || !File(path).canExecute()) systemError(path);
  }

  std::string pathOf(const std::string& name) const { return path + "/" + name; }

  // A descriptor for reading, or -1; never through a link, never waiting for the writer of a FIFO.
  int open(const std::string& name) const {
    return openat(descriptor, name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  }

  bool find(const std::string& name, struct stat& status) const {
    return fstatat(descriptor, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
  }

  bool remove(const std::string& name) const { return unlinkat(descriptor, name.c_str(), 0) == 0; }

  // Adds the names in it. Returns why they are not all, or "".
  std::string list(std::set<std::string>& names) const {
    const int own = open(".");  // with a position of its own
    const std::unique_ptr<DIR, int (*)(DIR*)> dir(own == -1 ? nullptr : fdopendir(own), closedir);
    for (const dirent* entry; dir && (errno = 0, entry = readdir(dir.get())) != nullptr;) {
      const std::string name = entry->d_name;
      if (name != "." && name != "..") names.insert(name);
    }
    return errno == 0 ? "" : path + ": " + std::strerror(errno);
  }
};

// A file made anew in OUTBOX, for its owner alone. The destructor removes what was not renamed.
class PartFile : public Handle {
 public:
  PartFile(const Directory& out, const std::string& number)
      : Handle(make(out, prefix + number), out.pathOf(prefix + number)), out(out) {}
  ~PartFile() { unlinkat(out.descriptor, name(), 0); }

  // Those that killed runs have left.
  static void removeAll(const Directory& out) {
    std::set<std::string> names;
    const std::string error = out.list(names);
    if (!error.empty()) throw std::runtime_error(error);
    for (const std::string& left : names) try {
        if (left.find(prefix) == 0) File(out.pathOf(left)).deleteThis();
      } catch (const vimo::util::FileException&) {
        systemError(out.pathOf(left));
      }
  }

  void write(const std::string& bytes) const {
    for (std::size_t done = 0; done < bytes.size();) {
      const ssize_t count = ::write(descriptor, &bytes[done], bytes.size() - done);
      if (count == -1) systemError(path);
      done += std::size_t(count);
    }
  }

  // Gives it a name, for good.
  void rename(const std::string& target, bool mayReplace) const {
    const int box = out.descriptor;
    const char *const from = name(), *const to = target.c_str();
    int result = renameat2(box, from, box, to, mayReplace ? 0 : RENAME_NOREPLACE);
    // Where renaming always replaces, as on NFS, a second name is made.
    const bool isUnknown = result == -1 && (errno == EINVAL || errno == ENOSYS);
    if (isUnknown) result = linkat(box, from, box, to, 0);
    if (result == -1) systemError(out.pathOf(target));
    out.sync();
  }

 private:
  static constexpr const char* prefix = ".spool.part-";

  static int make(const Directory& out, const std::string& name) {
    out.remove(name);
    return openat(out.descriptor, name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  }

  const char* name() const { return path.c_str() + out.path.size() + 1; }

  const Directory& out;
};

// The request to deliver a file. While it is queued or at work, its worker alone uses the results.
struct Delivery : vimo::util::priq::PriorRequest {
  // Priority 0 is not a file's.
  Delivery(const std::string& name, const Settings& settings, std::int64_t seen)
      : PriorRequest(0, settings.rules.at(settings.ruleOf(name)) + 1), name(name), seen(seen) {}

  // By way of part file number `slot`.
  void run(const Directory& in, const Directory& out, int slot) try {
    reason.clear();
    isDelivered = deliver(in, out, slot);
  } catch (const std::exception& error) {
    reason = error.what();
  }

  const std::string name;
  const std::int64_t seen;  // when it was

  // The results.
  bool isDelivered = false, isFinal = false;
  std::string reason;  // empty also when the file changed or went
  off_t size = 0;

  // The main thread's.
  bool isQueued = false;
  int tries = 0, pause = 0;  // the latter in looks
  std::string told;          // the last reason that was

 private:
  static constexpr int block = 1 << 16;

  static bool areEqual(const Handle& a, const Handle& b, off_t size) {
    off_t at = 0;
    while (at < size && a.read(at, block) == b.read(at, block)) at += block;
    return at >= size;
  }

  // False if the file changed or went.
  bool deliver(const Directory& in, const Directory& out, int slot) {
    const int opened = in.open(name);
    // It went, or a link or a socket has taken its place.
    if (opened == -1 && (errno == ENOENT || errno == ELOOP || errno == ENXIO)) return false;
    const Handle source(opened, "reading it");
    const struct stat copied = source.status();
    if (!S_ISREG(copied.st_mode)) return false;
    size = copied.st_size;

    struct stat now;
    const bool wasThere = out.find(name, now);
    if (wasThere) {
      // A run that was killed has left an equal file: only the end is missing.
      const Handle target(out.open(name), out.pathOf(name));
      const bool isFile = S_ISREG(target.status().st_mode) && target.status().st_size == size;
      if (!isFile || !areEqual(source, target, size)) fail(target.path, "differs; both stay");
      target.sync();
      out.sync();
    } else {
      const PartFile part(out, std::to_string(slot));
      // Not beyond the size that it had: a file may grow as fast as it is copied.
      for (off_t at = 0; at < size; at += block) part.write(source.read(at, block));
      const bool isEqual = areEqual(source, part, size);
      if (fchmod(part.descriptor, copied.st_mode & 0777) == -1) systemError(part.path);
      part.sync();
      // A change is best found before the copy shows in OUTBOX.
      if (!in.find(name, now) || !isUnchanged(now, copied)) return false;
      if (!isEqual) fail(part.path, "is not what was written");
      part.rename(name, false);
    }

    // What has the name by now may be another file, which is delivered in its turn.
    if (!in.find(name, now) || now.st_ino != copied.st_ino) return true;
    if (!isUnchanged(now, copied)) {
      if (!wasThere) out.remove(name);  // what the file is no longer
      return false;
    }
    // If it cannot be removed, it must not be delivered a second time.
    isFinal = true;
    if (!in.remove(name)) systemError("is in " + out.path + ", but cannot be removed");
    in.sync();
    return true;
  }
};
