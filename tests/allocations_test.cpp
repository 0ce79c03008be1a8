// Every operation that allocates, with each of its allocations failed once.

#include <gtest/gtest.h>
#include <unistd.h>

#include <deque>
#include <fstream>
#include <sstream>

#include "config/dump.h"
#include "support/faults.h"
#include "vimo_util/file/File.h"
#include "vimo_util/priq/PriorityQueueManager.h"
#include "vimo_util/priq/RequestQueue.h"

#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

namespace {

using namespace vimo::util;

const std::string key(40, 'k'), value(40, 'v');

struct World {
  World() {
    properties.setProperty(key, value);
    properties.setModified(false);
    for (unsigned int i = 0; i < 64; ++i) requests.emplace_back(0, i);
    for (auto& request : requests) queue.push(&request);  // a node is full then
    file.touch();
  }
  ~World() { unlink("a file with a name that is long"), unlink(other.getPath().c_str()); }

  std::string state() {
    std::string all = (properties.isModified() ? "modified " : "") + dump(properties);
    for (const auto& f : files) all += f.getPath() + " ";
    all += file.getPath() + (file.exists() ? " there " : " gone ");
    unsigned int id = 0;
    for (; const priq::PriorRequest* request = queue.tryWait(id); queue.pop()) {
      all += std::to_string(request->priority) + " ";
    }
    return all;
  }

  std::istringstream text{key + "=" + value}, rows{value + "," + value + "\n" + key};
  std::istringstream binary{std::string("\50\0\0\0", 4) + key + std::string("\50\0\0\0", 4) +
                            value};
  config::CppProperties properties;
  config::CommaSeparatedValues table;
  File file{"a file with a name that is long"}, other{"another file with a name that is long"};
  std::vector<File> files;
  std::vector<std::string> strings{""};
  std::deque<priq::PriorRequest> requests;
  priq::PriorRequest urgent{0, 0}, late{0, 99};
  priq::PrioritizedQueue queue{0};
};

int nextKey = 1;  // of a queue that does not exist

const struct {
  const char* name;  // strict: only VIMOException leaves it
  void (*run)(World&);
  bool partWay;  // what it had done by then stays
} operations[] = {
    {"getProperty", [](World& w) { w.properties.getProperty(key); }, false},
    {"strict getProperty_", [](World& w) { w.properties.getProperty_(key); }, false},
    {"new key", [](World& w) { w.properties.setProperty(value, value); }, false},
    {"longer value", [](World& w) { w.properties.setProperty(key, value + value); }, false},
    {"getKeys", [](World& w) { w.properties.getKeys(w.strings); }, true},
    {"read", [](World& w) { w.text.exceptions(std::ios::badbit), w.properties.read(w.text); },
     true},
    {"load", [](World& w) { w.properties.load(w.binary); }, true},
    {"strict load", [](World& w) { w.properties.load("text"); }, true},
    {"get", [](World& w) { w.properties.get(w.binary, w.strings[0]); }, true},
    {"table", [](World& w) { w.table.load(w.rows); }, true},
    {"table of a file", [](World& w) { w.table.load("text"); }, true},
    {"row", [](World& w) { config::CommaSeparatedValues::Column().load(w.rows); }, true},
    {"copy a File", [](World& w) { w.files.push_back(w.file); }, false},
    {"assign a File", [](World& w) { w.file = w.other; }, false},
    {"getParent", [](World& w) { w.files.push_back(w.file.getParent()); }, false},
    {"listFiles", [](World& w) { File(".").listFiles(w.files); }, true},
    {"renameTo", [](World& w) { w.file.renameTo(w.other); }, false},
    {"push", [](World& w) { w.queue.push(&w.late); }, false},
    {"push in between", [](World& w) { w.queue.push(&w.urgent); }, false},
    {"make a queue", [](World&) { priq::PrioritizedQueue(0); }, false},
    {"connect", [](World&) { priq::RequestQueue(nextKey, 0); }, false},
};

// Runs it in a new world, where the nth allocation fails, and perhaps again. Returns the state.
std::string attempt(void (*run)(World&), int nth, bool again, bool strict = false) {
  World world;
  const char* thrown = nullptr;
  allocations::failAt(nth);
  try {
    run(world);
  } catch (const std::bad_alloc&) {
    thrown = "std::bad_alloc";
  } catch (const VIMOException&) {
    thrown = "VIMOException";
  }
  allocations::failAt(0);
  EXPECT_EQ(allocations::failed(), thrown != nullptr);
  if (thrown) {
    EXPECT_STREQ(strict ? "VIMOException" : "std::bad_alloc", thrown);
  }
  if (again) run(world);
  return world.state();
}

TEST(Allocations, ThatFailChangeNothingAndLoseNothing) {
  std::ofstream("text") << key << "=" << value << "\n";
  std::set_unexpected([] { throw VIMOException(7); });
  for (const auto& operation : operations) {
    const std::string before = attempt([](World&) {}, 0, false);
    const std::string after = attempt(operation.run, 0, false);
    for (int nth = 1;; ++nth) {
      SCOPED_TRACE(operation.name + std::to_string(nth));
      ++nextKey;
      const long live = allocations::live();
      const bool strict = operation.name[0] == 's';
      EXPECT_TRUE(before == attempt(operation.run, nth, false, strict) || operation.partWay ||
                  !allocations::failed());
      if (!allocations::failed()) break;
      EXPECT_EQ(live, allocations::live());
      EXPECT_TRUE(operation.partWay || after == attempt(operation.run, nth, true, strict));
    }
  }
  unlink("text");
}

}  // namespace
