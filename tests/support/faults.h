#ifndef VIMO_UTIL_TESTS_SUPPORT_FAULTS_H
#define VIMO_UTIL_TESTS_SUPPORT_FAULTS_H

#include <string>

// A program that links this has its own operator new and its own system calls, in the library too.

namespace allocations {

long made();       // so far, by all threads
long live();       // blocks not yet freed
long bytes();      // in those blocks
void failAt(int);  // this thread's nth allocation from now on fails; 0 for none
bool failed();     // whether one of this thread has since then

}  // namespace allocations

namespace calls {

enum class Fault {
  none,
  error,   // the call returns -1
  zero,    // read or write returns 0
  cut,     // read or write handles one byte
  cancel,  // the thread is cancelled in the call
};

// The nth call of `name`, or of any if that is empty, meets the fault.
void arm(Fault fault, int nth, const std::string& name = "");
// Ends that. Returns the calls made since then, as " open read close", and whether the fault came.
std::string disarm(bool* met = nullptr);

int openDescriptors();

}  // namespace calls

#endif
