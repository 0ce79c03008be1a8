#include "faults/calls.h"

#include <dirent.h>
#include <dlfcn.h>
#include <pthread.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <map>

namespace calls {

int closedTwice;
std::function<void()> onWait;

namespace {

thread_local bool armed;
thread_local Fault fault;
thread_local int faultyCall, faultyError;
thread_local int count;
constexpr int mostCalls = 256;  // of one operation
thread_local const char* made[mostCalls];

// Whether the call that now begins meets the fault.
bool meets(const char* name) {
  if (!armed) return false;
  if (count < mostCalls) made[count] = name;
  if (++count != faultyCall) return false;
  if (fault == Fault::cancel) pthread_cancel(pthread_self());
  if (fault == Fault::error) errno = faultyError;
  return fault == Fault::error || fault == Fault::cut;
}

// The system's own function of that name. Where a sibling does the same work, the
// sibling is called instead.
template <class Function>
Function* real(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

void arm(Fault what, int nth, int error) {
  fault = what;
  faultyCall = nth;
  faultyError = error;
  count = 0;
  armed = true;
}

std::vector<std::string> disarm() {
  armed = false;
  return std::vector<std::string>(made, made + std::min(count, mostCalls));
}

const std::vector<int>& errorsOf(const std::string& name) {
  static const std::vector<int> path = {EACCES, ELOOP, ENAMETOOLONG, ENOENT, ENOMEM, ENOTDIR, EIO};
  static const auto with = [](std::vector<int> more) {
    more.insert(more.end(), path.begin(), path.end());
    return more;
  };
  static const std::map<std::string, std::vector<int>> errors = {
      {"access", with({EPERM, EROFS, ETXTBSY})},
      {"chmod", with({EPERM, EROFS})},
      {"close", {EINTR, EIO, ENOSPC, EDQUOT}},
      {"creat", with({EBUSY, EDQUOT, EINTR, EISDIR, EMFILE, ENFILE, ENODEV, ENOSPC, ENXIO,
                      EOVERFLOW, EPERM, EROFS, ETXTBSY})},
      {"fflush", {EIO, ENOSPC, EPIPE}},
      {"fstat", {EIO, ENOMEM, EOVERFLOW}},
      {"mkdir", with({EDQUOT, EEXIST, EINVAL, EMLINK, ENOSPC, EPERM, EROFS})},
      {"open", with({EAGAIN, EBUSY, EDQUOT, EINTR, EISDIR, EMFILE, ENFILE, ENODEV, ENOSPC, ENXIO,
                     EOVERFLOW, EPERM, EROFS, ETXTBSY})},
      {"opendir", with({EMFILE, ENFILE})},
      {"read", {EAGAIN, EINTR, EINVAL, EIO, EISDIR}},
      {"readdir", {EIO, ENOENT}},
      {"realpath", path},
      {"rename", with({EBUSY, EDQUOT, EEXIST, EINVAL, EISDIR, EMLINK, ENOSPC, ENOTEMPTY, EPERM,
                       EROFS, EXDEV})},
      {"stat", with({EOVERFLOW})},
      {"unlink", with({EBUSY, EISDIR, EPERM, EROFS})},
      {"write", {EAGAIN, EDQUOT, EFBIG, EINTR, EINVAL, EIO, ENOSPC, EPERM, EPIPE}},
  };
  static const std::vector<int> none;
  const auto found = errors.find(name.substr(0, name.find(',')));
  return found == errors.end() ? none : found->second;
}

}  // namespace calls

using calls::meets;
using calls::real;

extern "C" {

int open(const char* path, int flags, ...) {
  const char* const name = flags & O_CLOEXEC  ? "open, not for children"
                           : flags & O_NOCTTY ? "open, not as the terminal"
                                              : "open";
  // The one mode in use. On 32-bit ARM no cancelled thread unwinds out of openat().
  return meets(name) ? -1 : real<int(const char*, int, ...)>("open64")(path, flags, 0666);
}
int creat(const char* path, mode_t mode) {
  return meets("creat") ? -1 : real<int(const char*, mode_t)>("creat64")(path, mode);
}
ssize_t read(int fd, void* buffer, size_t size) {
  const bool met = meets("read");
  if (met && calls::fault == calls::Fault::error) return -1;
  const iovec block = {buffer, met ? 1 : size};
  return readv(fd, &block, 1);
}
ssize_t write(int fd, const void* buffer, size_t size) {
  const bool met = meets("write");
  if (met && calls::fault == calls::Fault::error) return -1;
  const iovec block = {const_cast<void*>(buffer), met ? 1 : size};
  return writev(fd, &block, 1);
}
// Closes the descriptor also when it fails, as the system does.
int close(int fd) {
  const bool met = meets("close");
  if (calls::armed) pthread_testcancel();
  const int result = static_cast<int>(syscall(SYS_close, fd));
  if (result == -1 && errno == EBADF) ++calls::closedTwice;
  if (met) errno = calls::faultyError;
  return met ? -1 : result;
}
int stat(const char* path, struct stat* status) noexcept {
  return meets("stat") ? -1 : fstatat(AT_FDCWD, path, status, 0);
}
int fstat(int fd, struct stat* status) noexcept {
  return meets("fstat") ? -1 : fstatat(fd, "", status, AT_EMPTY_PATH);
}
int access(const char* path, int mode) noexcept {
  return meets("access") ? -1 : faccessat(AT_FDCWD, path, mode, 0);
}
int chmod(const char* path, mode_t mode) noexcept {
  return meets("chmod") ? -1 : fchmodat(AT_FDCWD, path, mode, 0);
}
int rename(const char* from, const char* to) noexcept {
  return meets("rename") ? -1 : renameat(AT_FDCWD, from, AT_FDCWD, to);
}
int unlink(const char* path) noexcept { return meets("unlink") ? -1 : unlinkat(AT_FDCWD, path, 0); }
int mkdir(const char* path, mode_t mode) noexcept {
  return meets("mkdir") ? -1 : mkdirat(AT_FDCWD, path, mode);
}
char* realpath(const char* path, char* resolved) noexcept {
  return meets("realpath") ? nullptr : real<char*(const char*, char*)>("realpath")(path, resolved);
}
// What the library calls where it is built to check the size of its buffers.
char* checkedRealpath(const char* path, char* resolved, size_t) noexcept __asm__("__realpath_chk");
char* checkedRealpath(const char* path, char* resolved, size_t) noexcept {
  return realpath(path, resolved);
}
DIR* opendir(const char* path) {
  return meets("opendir") ? nullptr : real<DIR*(const char*)>("opendir")(path);
}
struct dirent* readdir(DIR* stream) {
  return meets("readdir") ? nullptr : real<struct dirent*(DIR*)>("readdir64")(stream);
}
int closedir(DIR* stream) {
  meets("closedir");
  if (calls::armed) pthread_testcancel();
  return real<int(DIR*)>("closedir")(stream);
}
int fflush(FILE* stream) {
  if (meets("fflush")) return EOF;
  if (calls::armed) pthread_testcancel();
  return real<int(FILE*)>("fflush")(stream);
}
int pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex) {
  meets("pthread_cond_wait");
  const bool cancelled = calls::fault == calls::Fault::cancel && calls::count == calls::faultyCall;
  if (cancelled || !calls::onWait) {
    const timespec far = {std::numeric_limits<time_t>::max() / 2, 0};
    return pthread_cond_timedwait(condition, mutex, &far);
  }
  pthread_mutex_unlock(mutex);
  calls::onWait();
  pthread_mutex_lock(mutex);
  return 0;
}
}
