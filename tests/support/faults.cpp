#include "support/faults.h"

#include <dirent.h>
#include <fcntl.h>
#include <malloc.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <new>

std::atomic<long> allocations::bytes;
thread_local int allocations::failIn;
calls::Next calls::next;

namespace {

using calls::Fault;

Fault meet(const std::string& name) {
  if (!calls::next.call.empty() && calls::next.call != name) return Fault::none;
  if (calls::next.in == 0 || --calls::next.in > 0) return Fault::none;
  if (calls::next.fault == Fault::cancel) pthread_cancel(pthread_self());
  return calls::next.fault;
}

bool fails(const char* name) { return meet(name) == Fault::error; }

// A descriptor that is lost when its thread is cancelled, as in glibc before 2.41.
int opened(const char* path, int flags) {
  const int fd = static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags | O_LARGEFILE, 0666));
  return pthread_testcancel(), fd;
}

template <class Call>
ssize_t transfer(const char* name, Call call, int fd, void* bytes, size_t size) {
  const Fault fault = meet(name);
  if (fault == Fault::error) return -1;
  if (fault == Fault::zero) return 0;
  const iovec block = {bytes, fault == Fault::cut ? 1 : size};
  return call(fd, &block, 1);
}

template <class Stream>
int finish(const char* name, Stream* stream) {
  if (fails(name)) return EOF;
  pthread_testcancel();
  return calls::callSystem(name, stream);
}

}  // namespace

int calls::openDescriptors() {
  int open = 0;
  for (int fd = 0; fd < 64; ++fd) open += fcntl(fd, F_GETFD) != -1;
  return open;
}

void* operator new(std::size_t size) {
  if (allocations::failIn > 0 && --allocations::failIn == 0) throw std::bad_alloc();
  void* const memory = std::malloc(size);
  if (!memory) throw std::bad_alloc();
  std::memset(memory, 0xa5, size);  // so that nothing new is zero by chance
  allocations::bytes += static_cast<long>(malloc_usable_size(memory));
  return memory;
}
// Left out, it would be the sanitizer's, whose memory the `delete` below must not free.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return operator new(size); }
void operator delete(void* memory) noexcept {
  allocations::bytes -= static_cast<long>(malloc_usable_size(memory));
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
int closedir(DIR* stream) { return finish("closedir", stream); }
int fflush(FILE* stream) { return finish("fflush", stream); }
}
