// Objects in known states, for gdb to show from stop().
#include <cstring>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "vimo_util/config/CommaSeparatedValues.h"
#include "vimo_util/config/CppProperties.h"
#include "vimo_util/file/File.h"
#include "vimo_util/priq/RequestQueue.h"

using namespace vimo::util;

struct Job : priq::PriorRequest {
  Job(unsigned int priority, std::string text) : PriorRequest(1, priority), text(std::move(text)) {}

  std::string text;
};

void stop() {}

int main() {
  priq::PrioritizedQueue empty(0), shown(0), many(0);
  priq::PriorRequest plain(2, 5), apart(3, 6);
  Job urgent(0, "urgent"), lazy(9, "lazy");
  unsigned int id;
  shown.push(&plain);
  shown.tryWait(id);
  shown.push(&lazy);
  shown.push(&urgent);

  std::vector<Job> jobs;
  for (unsigned int i = 0; i != 150; ++i) jobs.emplace_back(i * 49 % 150, "");
  for (Job& job : jobs) many.push(&job);

  priq::RequestQueue handle(7, 0);
  handle.push(4, &apart);

  config::CppProperties fresh, properties;
  properties.setProperty("name", "a \"quoted\" value");
  properties.setProperty("empty", "");

  config::CommaSeparatedValues table;
  std::istringstream text("a,b,c\n\n,x");
  table.load(text);

  File file("/no/such"), open("objects.one"), other("objects.two");
  open.touch();
  open.copyTo(other);

  // As memory may look before an object is made in it: filled, or full of pointers to itself.
  void* filled[64];
  void* loop[64];
  std::memset(filled, 0x5a, sizeof(filled));
  for (void*& pointer : loop) pointer = loop;
  stop();
}
