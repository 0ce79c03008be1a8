#include "vimo_util/priq/RequestQueue.h"

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
  for (const int key : {0, 7, -1, INT_MIN, INT_MAX}) {
    PriorRequest request(0, 1);
    RequestQueue(key, 5).push(41, &request);
    unsigned int id = 0;
    EXPECT_EQ(nullptr, RequestQueue(key ^ 64, 5).tryWait(id)) << key;
    EXPECT_EQ(&request, RequestQueue(key, 6).top(id)) << key;
    EXPECT_EQ(41u, id) << key;
    RequestQueue handle(key, 0);
    handle.pop();
    handle.push(42, &request);
    EXPECT_EQ(&request, RequestQueue(handle).recvWaitAndDequeue(id)) << key;
    EXPECT_EQ(42u, id) << key;
    EXPECT_EQ(nullptr, handle.tryWait(id)) << key;

    PriorityQueueManager& manager = PriorityQueueManager::getInstance();
    EXPECT_EQ(manager.getNewConnection(key), manager.getNewConnection(key, 3)) << key;
    EXPECT_EQ(manager.getNewConnection(key ^ 1, 3), manager.getNewConnection(key ^ 1)) << key;
    EXPECT_NE(manager.getNewConnection(key), manager.getNewConnection(key ^ 1)) << key;
  }
}

RequestQueue* early;

void exitWithWhatComesThrough() {
  PriorRequest request(0, 0);
  unsigned int id;
  early->push(42, &request);
  _exit(early->recvWaitAndDequeue(id) == &request ? static_cast<int>(id) : 1);
}

TEST(RequestQueueDeathTest, ServesHandlersThatRunAfterTheManagersDestructor) {
  const auto useAtExit = [] {
    std::atexit(exitWithWhatComesThrough);
    early = new RequestQueue(1, 0);
    std::exit(0);
  };
  EXPECT_EXIT(useAtExit(), testing::ExitedWithCode(42), "");
}

}  // namespace
