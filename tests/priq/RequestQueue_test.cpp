#include "vimo_util/priq/RequestQueue.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>

#include "vimo_util/priq/PriorityQueueManager.h"

namespace {

using vimo::util::priq::PriorityQueueManager;
using vimo::util::priq::PriorRequest;
using vimo::util::priq::RequestQueue;

TEST(RequestQueue, ConnectsByKeyAlone) {
  PriorityQueueManager& manager = PriorityQueueManager::getInstance();
  for (const int key : {0, 7, -1, INT_MIN, INT_MAX}) {
    PriorRequest request(0, 1);
    unsigned int id = 0;
    RequestQueue(key, 5).push(41, &request);
    EXPECT_EQ(nullptr, RequestQueue(key ^ 64, 5).tryWait(id)) << key;
    EXPECT_EQ(&request, manager.getNewConnection(key, 6)->top(id)) << key;
    RequestQueue(key, 0).pop();
    RequestQueue(key, 0).push(id + 1, &request);
    EXPECT_EQ(&request, RequestQueue(key, 0).recvWaitAndDequeue(id)) << key;
    EXPECT_EQ(42u, id) << key;
    EXPECT_EQ(nullptr, RequestQueue(key, 0).tryWait(id)) << key;
    EXPECT_EQ(manager.getNewConnection(key), manager.getNewConnection(key, 3)) << key;
    EXPECT_NE(manager.getNewConnection(key), manager.getNewConnection(key ^ 1)) << key;
  }
}

TEST(RequestQueue, SharesItsKeysWithPlugins) {
  void* const handle = dlopen(plugin, RTLD_NOW | RTLD_LOCAL);
  ASSERT_TRUE(handle) << dlerror();
  const auto instance = reinterpret_cast<void* (*)()>(dlsym(handle, "instanceOfPlugin"));
  EXPECT_EQ(&PriorityQueueManager::getInstance(), instance());
}

RequestQueue* early;

TEST(RequestQueueDeathTest, ServesHandlersThatRunAfterTheManagersDestructor) {
  const auto useAtExit = [] {
    std::atexit([] {
      PriorRequest request(0, 0);
      unsigned int id;
      early->push(42, &request);
      _exit(early->recvWaitAndDequeue(id) == &request ? static_cast<int>(id) : 1);
    });
    early = new RequestQueue(1, 0);
    std::exit(0);
  };
  EXPECT_EXIT(useAtExit(), testing::ExitedWithCode(42), "");
}

}  // namespace
