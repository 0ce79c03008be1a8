#ifndef VIMO_UTIL_TESTS_SUPPORT_FAULTS_H
#define VIMO_UTIL_TESTS_SUPPORT_FAULTS_H

#include <dlfcn.h>

#include <atomic>
#include <string>

// A program that links this has its own operator new and its own system calls, in the library too.

namespace allocations {

extern std::atomic<long> bytes;  // in use, by all threads
extern thread_local int failIn;  // the how manieth from now on fails; 0 for none

}  // namespace allocations

namespace calls {

// The call returns -1; read or write returns 0; handles one byte; the thread is cancelled in it.
enum class Fault { none, error, zero, cut, cancel };

// The fault that is met by the how manieth call from now on, of that name or of any.
struct Next {
  Fault fault;
  int in;  // 0 for none
  std::string call;
};
extern Next next;  // of one thread at a time

int openDescriptors();

// Calls the system's own function from one that stands before it.
template <class... Arguments>
int callSystem(const char* name, Arguments... arguments) {
  return reinterpret_cast<int (*)(Arguments...)>(dlsym(RTLD_NEXT, name))(arguments...);
}

}  // namespace calls

#endif
