// A shared object that compiles the inline parts of the interface for itself. It links
// nothing: the library is already in the process.

#include "vimo_util/priq/PriorityQueueManager.h"

extern "C" __attribute__((visibility("default"))) void* instanceOfPlugin() {
  return &vimo::util::priq::PriorityQueueManager::getInstance();
}
