#ifndef VIMO_UTIL_TESTS_SUPPORT_ALLOCATIONS_H
#define VIMO_UTIL_TESTS_SUPPORT_ALLOCATIONS_H

#include <new>

// What a program that links this does with the heap: operator new and delete are
// replaced for the whole process, the library included.
namespace allocations {

long made();   // so far, by all threads
long live();   // blocks not yet freed
long bytes();  // in those blocks, as usable

// Makes the nth allocation of this thread from now on fail, 1 being the next,
// and with `allLater` every one behind it too. 0 makes none fail.
void failAt(int n, bool allLater = false);

// Whether an allocation of this thread has failed since failAt().
bool failed();

}  // namespace allocations

#endif
