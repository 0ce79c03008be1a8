#ifndef VIMO_UTIL_TESTS_SUPPORT_FAULTS_H
#define VIMO_UTIL_TESTS_SUPPORT_FAULTS_H

#include <dlfcn.h>

#include <atomic>
#include <string>

// A program that links this has its own operator new and its own system calls, in the library too.

namespace allocations {

extern std::atomic<long> bytes;  // in use, by all threads
extern thread_local int failIn;  // counts down; the allocation that makes it 0 fails

}  // namespace allocations

namespace calls {

// The call returns -1; read or write returns 0; handles one byte; the thread is cancelled in it.
enum class Fault { none, error, zero, cut, cancel };

// The fault that a later call meets, of that name or, if it is empty, of any.
struct Next {
  Fault fault;
  int in;  // 1 for the next such call; 0 for none
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
