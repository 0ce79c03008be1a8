#include "support/faults.h"

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <malloc.h>
#include <pthread.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

std::atomic<long> madeBlocks, liveBlocks, liveBytes;
thread_local int countdown;
thread_local bool hasFailed;

// Of one thread at a time: the one that the test looks at.
std::string armedName, log;
calls::Fault armedFault;
int callsLeft = -1;  // to the fault; negative when nothing is armed

calls::Fault meet(const char* name) {
  if (callsLeft < 0) return calls::Fault::none;
  log = log + ' ' + name;
  const bool meets = callsLeft > 0 && (armedName.empty() || armedName == name) && --callsLeft == 0;
  if (meets && armedFault == calls::Fault::cancel) pthread_cancel(pthread_self());
  return meets ? armedFault : calls::Fault::none;
}

bool fails(const char* name) { return meet(name) == calls::Fault::error; }

// A descriptor that is lost when its thread is cancelled, as in glibc before 2.41.
int opened(const char* path, int flags) {
  const int fd = static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags | O_LARGEFILE, 0666));
  return pthread_testcancel(), fd;
}

template <class Call>
ssize_t transfer(const char* name, Call call, int fd, void* bytes, size_t size) {
  const calls::Fault fault = meet(name);
  if (fault == calls::Fault::error) return -1;
  if (fault == calls::Fault::zero) return 0;
  const iovec block = {bytes, fault == calls::Fault::cut ? 1 : size};
  return call(fd, &block, 1);
}

}  // namespace

long allocations::made() { return madeBlocks; }
long allocations::live() { return liveBlocks; }
long allocations::bytes() { return liveBytes; }
bool allocations::failed() { return hasFailed; }
void allocations::failAt(int n) {
  countdown = n;
  hasFailed = hasFailed && n == 0;
}

void calls::arm(Fault fault, int nth, const std::string& name) {
  log.clear();
  armedName = name;
  armedFault = fault;
  callsLeft = nth;
}
std::string calls::disarm(bool* met) {
  if (met) *met = callsLeft == 0;
  callsLeft = -1;
  return log;
}
int calls::openDescriptors() {
  int open = 0;
  for (int fd = 0; fd < 64; ++fd) open += fcntl(fd, F_GETFD) != -1;
  return open;
}

void* operator new(std::size_t size) {
  hasFailed |= countdown == 1;
  if (countdown > 0 && --countdown == 0) throw std::bad_alloc();
  void* const memory = std::malloc(size);
  if (!memory) throw std::bad_alloc();
  std::memset(memory, 0xa5, size);  // so that nothing new is zero by chance
  ++madeBlocks;
  ++liveBlocks;
  liveBytes += static_cast<long>(malloc_usable_size(memory));
  return memory;
}
// Left out, it would be the sanitizer's, whose memory the `delete` below must not free.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept try {
  return operator new(size);
} catch (const std::bad_alloc&) {
  return nullptr;
}
void operator delete(void* memory) noexcept {
  liveBlocks -= memory != nullptr;
  liveBytes -= static_cast<long>(malloc_usable_size(memory));
  std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept { operator delete(memory); }

extern "C" {

int open(const char* path, int flags, ...) { return fails("open") ? -1 : opened(path, flags); }
int creat(const char* path, mode_t) {
  return fails("creat") ? -1 : opened(path, O_CREAT | O_WRONLY | O_TRUNC);
}
ssize_t read(int fd, void* bytes, size_t size) { return transfer("read", readv, fd, bytes, size); }
ssize_t write(int fd, const void* bytes, size_t size) {
  return transfer("write", writev, fd, const_cast<void*>(bytes), size);
}
int close(int fd) {  // closes the descriptor also when it fails, as the system does
  const bool failed = fails("close");
  const bool closed = syscall(SYS_close, fd) == 0;
  return pthread_testcancel(), closed && !failed ? 0 : -1;
}
int stat(const char* path, struct stat* status) noexcept {
  return fails("stat") ? -1 : fstatat(AT_FDCWD, path, status, 0);
}
int fstat(int fd, struct stat* status) noexcept {
  return fails("fstat") ? -1 : fstatat(fd, "", status, AT_EMPTY_PATH);
}
int closedir(DIR* stream) {
  if (fails("closedir")) return -1;
  pthread_testcancel();
  return reinterpret_cast<int (*)(DIR*)>(dlsym(RTLD_NEXT, "closedir"))(stream);
}
int fflush(FILE* stream) {
  if (fails("fflush")) return EOF;
  pthread_testcancel();
  return reinterpret_cast<int (*)(FILE*)>(dlsym(RTLD_NEXT, "fflush"))(stream);
}
}
