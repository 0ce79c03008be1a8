// Operations that allocate, with each of their allocations failed once.

#include <gtest/gtest.h>

#include <deque>
#include <fstream>
#include <sstream>

#include "config/dump.h"
#include "support/faults.h"
#include "vimo_util/file/File.h"
#include "vimo_util/priq/RequestQueue.h"

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

const struct {
  const char* name;
  void (*run)(World&);
  bool partWay = false;   // what it had done by then stays
  unsigned int code = 0;  // of the VIMOException that leaves it, 0 for std::bad_alloc
} operations[] = {
    {"getProperty", [](World& w) { w.properties.getProperty(key); }},
    {"new key", [](World& w) { w.properties.setProperty(value, value); }},
    {"longer value", [](World& w) { w.properties.setProperty(key, value + value); }},
    {"getKeys", [](World& w) { w.properties.getKeys(w.keys); }, true},
    {"read", [](World& w) { w.text.exceptions(std::ios::badbit), w.properties.read(w.text); },
     true},
    {"load", [](World& w) { w.properties.load(w.binary); }, true},
    {"load a text", [](World& w) { w.properties.load("text"); }, true, 0x1E0002},
    {"table", [](World& w) { w.table.load("text"), w.table.load(w.rows); }, true},
    {"row", [](World& w) { config::CommaSeparatedValues::Column().load(w.rows); }, true},
    {"copy a File", [](World& w) { w.files.push_back(w.file); }},
    {"assign a File", [](World& w) { w.file = w.other; }},
    {"getParent", [](World& w) { w.files.push_back(w.file.getParent()); }},
    {"listFiles", [](World& w) { File(".").listFiles(w.files); }, true},
    {"renameTo", [](World& w) { w.file.renameTo(w.other); }},
    {"push", [](World& w) { w.queue.push(&w.late); }},
    {"push in between", [](World& w) { w.queue.push(&w.urgent); }},
    {"connect", [](World&) { priq::RequestQueue(nextKey, 0); }},
};

TEST(Allocations, ThatFailChangeNothingAndLoseNothing) {
  std::ofstream("text") << lines;
  const std::string before = World().state();
  for (const auto& operation : operations) {
    for (int nth = 1;; ++nth, ++nextKey) {
      SCOPED_TRACE(operation.name + std::to_string(nth));
      const long bytes = allocations::bytes;
      {
        World world;
        unsigned int code = 1;
        allocations::failIn = nth;
        try {
          operation.run(world);
        } catch (const std::bad_alloc&) {
          code = 0;
        } catch (const VIMOException& exception) {
          code = exception.code;
        }
        if (allocations::failIn > 0) break;
        const std::string after = world.state();
        EXPECT_EQ(operation.code, code);
        EXPECT_EQ(std::string::npos, after.find(">;"));  // a key without its value
        EXPECT_TRUE(operation.partWay || after == before) << after;
      }
      EXPECT_EQ(bytes, allocations::bytes);
    }
    allocations::failIn = 0;
  }
  unlink("text");
}

}  // namespace
