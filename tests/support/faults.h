#ifndef VIMO_UTIL_TESTS_SUPPORT_FAULTS_H
#define VIMO_UTIL_TESTS_SUPPORT_FAULTS_H

#include <atomic>
#include <string>

// A program that links this has its own operator new and its own system calls, in the library too.

namespace allocations {

extern std::atomic<long> made, bytes;  // so far, and in use, by all threads
extern thread_local int failIn;        // the how manieth from now on fails; 0 for none

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
bool disarm();            // whether it came
extern std::string made;  // the calls since arm(), as " open read close"

int openDescriptors();

}  // namespace calls

#endif
