// A shared object that compiles the inline parts of the interface for itself.

#include "vimo_util/priq/PriorityQueueManager.h"

extern "C" __attribute__((visibility("default"))) void* instanceOfPlugin() {
  return &vimo::util::priq::PriorityQueueManager::getInstance();
}
