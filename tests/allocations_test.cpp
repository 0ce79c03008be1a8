// Every operation that allocates, with each of its allocations failed once.

#include <gtest/gtest.h>

#include <deque>
#include <fstream>
#include <sstream>

#include "config/dump.h"
#include "support/faults.h"
#include "vimo_util/file/File.h"
#include "vimo_util/priq/RequestQueue.h"

#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

namespace {

using namespace vimo::util;

const std::string key(40, 'k'), value(40, 'v'), more(40, 'm'), size("\50\0\0\0", 4);
const std::string lines = key + "=" + value + "\n" + more + "=" + value + "\n";

struct World {
  World() {
    properties.setProperty(key, value);
    properties.setModified(false);
    for (unsigned int i = 0; i < 64; ++i) requests.emplace_back(0, i);
    for (auto& request : requests) queue.push(&request);  // a node is full then
    file.touch();
  }
  ~World() { unlink(file.getPath().c_str()), unlink(other.getPath().c_str()); }

  std::string state() {
    std::string all = (properties.isModified() ? "modified " : "") + dump(properties);
    all += file.getPath() + (file.exists() ? " there" : " gone");
    for (const auto& f : files) all += ' ' + f.getPath();
    unsigned int id = 0;
    for (; queue.tryWait(id); queue.pop()) all += ' ' + std::to_string(queue.top(id)->priority);
    return all;
  }

  std::istringstream text{lines}, rows{value + "," + value + "\n" + key};
  std::istringstream binary{size + key + size + value + size + more + size + value};
  config::CppProperties properties;
  config::CommaSeparatedValues table;
  File file{"a file with a name that is long"}, other{"another file with a name that is long"};
  std::vector<File> files;
  std::vector<std::string> keys;
  std::deque<priq::PriorRequest> requests;
  priq::PriorRequest urgent{0, 0}, late{0, 99};
  priq::PrioritizedQueue queue{0};
};

int nextKey = 1;  // of a queue that does not exist

const std::string noMemory = "std::bad_alloc ", unexpected = "VIMOException 7 ";
const std::string loadFails = "VIMOException 1966082 ";

const struct {
  const char* name;
  void (*run)(World&);
  std::string leaves = noMemory;  // when an allocation fails
  bool partWay = false;           // what it had done by then stays
} operations[] = {
    {"getProperty", [](World& w) { w.properties.getProperty(key); }},
    {"getProperty_", [](World& w) { w.properties.getProperty_(key); }, unexpected},
    {"new key", [](World& w) { w.properties.setProperty(value, value); }},
    {"longer value", [](World& w) { w.properties.setProperty(key, value + value); }},
    {"getKeys", [](World& w) { w.properties.getKeys(w.keys); }, noMemory, true},
    {"read", [](World& w) { w.text.exceptions(std::ios::badbit), w.properties.read(w.text); },
     noMemory, true},
    {"load", [](World& w) { w.properties.load(w.binary); }, noMemory, true},
    {"load a text", [](World& w) { w.properties.load("text"); }, loadFails, true},
    {"table", [](World& w) { w.table.load("text"), w.table.load(w.rows); }, noMemory, true},
    {"row", [](World& w) { config::CommaSeparatedValues::Column().load(w.rows); }, noMemory, true},
    {"copy a File", [](World& w) { w.files.push_back(w.file); }},
    {"assign a File", [](World& w) { w.file = w.other; }},
    {"getParent", [](World& w) { w.files.push_back(w.file.getParent()); }},
    {"listFiles", [](World& w) { File(".").listFiles(w.files); }, noMemory, true},
    {"renameTo", [](World& w) { w.file.renameTo(w.other); }},
    {"push", [](World& w) { w.queue.push(&w.late); }},
    {"push in between", [](World& w) { w.queue.push(&w.urgent); }},
    {"connect", [](World&) { priq::RequestQueue(nextKey, 0); }},
};

bool failed;

// Runs it in a new world, where the nth allocation fails. Returns what leaves it, and the state.
std::string attempt(void (*run)(World&), int nth) {
  World world;
  std::string left;
  allocations::failIn = nth;
  try {
    run(world);
  } catch (const std::bad_alloc&) {
    left = noMemory;
  } catch (const VIMOException& exception) {
    left = "VIMOException " + std::to_string(exception.code) + " ";
  }
  failed = allocations::failIn == 0;
  allocations::failIn = 0;
  return left + world.state();
}

TEST(Allocations, ThatFailChangeNothingAndLoseNothing) {
  std::ofstream("text") << lines;
  std::set_unexpected([] { throw VIMOException(7); });
  const std::string before = World().state();
  for (const auto& operation : operations) {
    for (int nth = 1;; ++nth, ++nextKey) {
      SCOPED_TRACE(operation.name + std::to_string(nth));
      const long bytes = allocations::bytes;
      attempt(operation.run, nth);
      if (!failed) break;
      EXPECT_EQ(bytes, allocations::bytes);
      const std::string now = attempt(operation.run, nth);
      EXPECT_EQ(operation.leaves, now.substr(0, operation.leaves.size()));
      EXPECT_EQ(std::string::npos, now.find(">;"));  // a key without its value
      EXPECT_TRUE(operation.partWay || now == operation.leaves + before) << now;
    }
  }
  unlink("text");
}

}  // namespace
