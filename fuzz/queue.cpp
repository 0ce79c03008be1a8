// Queues, reached by handles and without, against a plain model of their rules.

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <climits>
#include <vector>

#include "fuzzing.h"
#include "vimo_util/priq/PriorityQueueManager.h"
#include "vimo_util/priq/RequestQueue.h"

namespace {

using vimo::util::priq::PrioritizedQueue;
using vimo::util::priq::PriorityQueueManager;
using vimo::util::priq::PriorRequest;
using vimo::util::priq::RequestQueue;

constexpr int keys[] = {INT_MIN, 0, 7};
constexpr std::size_t mostPushes = 2500;  // in one run, which would take too long otherwise

// How often a step is done now and then: as often as a block or an index of blocks has room.
constexpr int runs[] = {17, 63, 64, 65, 1023, 1024, 1025};

// The priorities of a run of pushes: all equal, rising, falling, or as if by chance.
constexpr unsigned int strides[] = {0, 1, UINT_MAX, 0x9E3779B9};

struct Waiting {
  unsigned int priority;
  PriorRequest* request;
};

// All requests that a queue was given, those that wait in order.
struct Model {
  std::vector<Waiting> requests;
  std::size_t front = 0;  // those before it have left
  bool shown = false;

  bool empty() const { return front == requests.size(); }
  void push(PriorRequest& request) {
    const auto before = std::upper_bound(
        requests.begin() + front + shown, requests.end(), request.priority,
        [](unsigned int priority, const Waiting& other) { return priority < other.priority; });
    requests.insert(before, {request.priority, &request});
  }
  PriorRequest* show() {
    shown = !empty();
    return shown ? requests[front].request : nullptr;
  }
  PriorRequest* take() {
    shown = false;
    return requests[front++].request;
  }
};

// A handle has the same operations as its queue.
template <class Queue>
void consume(Queue& queue, Model& model, int operation) {
  constexpr unsigned int untouched = 99;
  unsigned int id = untouched;
  PriorRequest* head = nullptr;
  PriorRequest* expected = nullptr;
  if (operation == 0) {
    head = queue.tryWait(id);
    expected = model.show();
  } else if (model.empty()) {
    return;  // it would wait for ever, or must not be done
  } else if (operation == 1) {
    head = queue.top(id);
    expected = model.show();
  } else if (operation == 2) {
    queue.pop();
    model.take();
  } else {
    head = queue.recvWaitAndDequeue(id);
    expected = model.take();
  }
  require(head == expected, "the head is the most urgent request, or one that was shown");
  require(id == (head ? head->id : untouched), "the id is the head's");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider steps(data, size);
  // Used anew in turn, so that some wait in several places.
  std::vector<PriorRequest> requests(1500, PriorRequest(0, 0));
  std::vector<Model> models(sizeof keys / sizeof *keys);
  std::size_t pushes = 0;

  while (steps.remaining_bytes() > 0 && pushes < mostPushes) {
    const int which = steps.ConsumeIntegralInRange(0, static_cast<int>(models.size()) - 1);
    Model& model = models[which];
    RequestQueue handle(keys[which], static_cast<int>(pushes));
    PrioritizedQueue& queue = *PriorityQueueManager::getInstance().getNewConnection(keys[which]);
    const bool byHandle = steps.ConsumeBool();
    const int operation = steps.ConsumeIntegralInRange(0, 5);
    const bool once = steps.ConsumeIntegralInRange(0, 15) > 0;
    const int count = once ? 1 : steps.PickValueInArray(runs);
    if (operation < 4) {
      for (int i = 0; i < count; ++i) {
        byHandle ? consume(handle, model, operation) : consume(queue, model, operation);
      }
      continue;
    }
    const unsigned int stride = steps.PickValueInArray(strides);
    const unsigned int shift = steps.ConsumeBool() ? 29 : 0;  // eight priorities, or all
    unsigned int priority = steps.ConsumeIntegral<unsigned int>();
    for (int i = 0; i < count; ++i, priority += stride) {
      PriorRequest& request = requests[pushes++ % requests.size()];
      request.priority = priority >> shift;
      model.push(request);
      byHandle ? handle.push(priority, &request) : queue.push(&request);
      require(!byHandle || request.id == priority, "a handle gives the request its id");
    }
  }

  for (std::size_t i = 0; i < models.size(); ++i) {
    RequestQueue handle(keys[i], 0);
    while (!models[i].empty()) consume(handle, models[i], 3);
    consume(handle, models[i], 0);
  }
  return 0;
}
