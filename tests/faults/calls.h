#ifndef VIMO_UTIL_TESTS_FAULTS_CALLS_H
#define VIMO_UTIL_TESTS_FAULTS_CALLS_H

#include <fcntl.h>

#include <functional>
#include <string>
#include <vector>

// The system calls of this thread, which pass through here in a program that
// links this, those of the library included.
namespace calls {

enum class Fault {
  none,
  error,   // the call fails with the error number
  cut,     // read or write handles one byte
  cancel,  // the thread is cancelled as it enters the call
};

// Meets the nth call from now on, 1 being the next, with a fault.
void arm(Fault fault, int nth, int error = 0);

// Ends that; returns the names of the calls that were made.
std::vector<std::string> disarm();

// The errors that the call may fail with, by its manual page; none for one that
// cannot fail.
const std::vector<int>& errorsOf(const std::string& name);

// How often close() got a descriptor that was not open.
extern int closedTwice;

// Serves a wait on a condition, in place of another thread, with the lock free.
extern std::function<void()> onWait;

inline int openDescriptors() {
  int open = 0;
  for (int fd = 0; fd < 64; ++fd) open += fcntl(fd, F_GETFD) != -1;
  return open;
}

}  // namespace calls

#endif
