#include "faults/operations.h"

#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>

#include "faults/calls.h"
#include "vimo_util/frame/ClockCounter.h"
#include "vimo_util/frame/ntz.h"
#include "vimo_util/priq/PriorityQueueManager.h"
#include "vimo_util/priq/RequestQueue.h"

using namespace vimo::util;
using namespace std::string_literals;

void FaultyBuffer::deliver(const std::string& input, End then) {
  bytes = input;
  end = then;
  setg(&bytes[0], &bytes[0], &bytes[0] + bytes.size());
}

void FaultyBuffer::makeRoom(std::size_t size, End then) {
  bytes.resize(size);
  end = then;
  setp(&bytes[0], &bytes[0] + size);
}

FaultyBuffer::int_type FaultyBuffer::stop() const {
  if (end == End::throws) throw BufferFailure();
  if (end == End::cancels) pthread_cancel(pthread_self());
  pthread_testcancel();
  return traits_type::eof();
}

namespace {

// Beyond what a string holds within itself, so that each takes memory.
const std::string longKey = "key of more than sixteen bytes", longValue(40, 'v');
const char* const paths[] = {"a file with a long name", "its twin, with a long name",
                             "a fresh file with a long name", "a missing file with a long name",
                             "a directory with a long name"};

int keys;

void makeFiles() {
  std::string content;
  while (content.size() < 1500) content += std::to_string(content.size() + 1000);
  remove(paths[2]);
  for (const char* path : {paths[0], paths[1]}) {
    unlink(path);  // it may have no permissions left
    std::ofstream(path) << content;
  }
  ::mkdir(paths[4], 0700);
  for (const std::string name : {"/one file with a long name", "/one more, with a long name"}) {
    std::ofstream(paths[4] + name).flush();
  }
  std::ofstream("config") << "a=" << longValue << "\n# a comment\nb=\n";
}

}  // namespace

World::World(const Operation& operation)
    : file(paths[0]),
      twin(paths[1]),
      fresh(paths[2]),
      missing(paths[3]),
      directory(paths[4]),
      root("/"),
      queue(0),
      key(++keys),
      in(&buffer),
      out(&buffer) {
  calls::onWait = nullptr;
  if (!operation.streams()) makeFiles();
  properties.setProperty(longKey, longValue);
  properties.setProperty("number", "17");
  properties.setModified(false);
  std::istringstream row(longValue + ",2");
  table.load(row);
  files.emplace_back("an entry from before");
  for (unsigned int i = 0; i < 3; ++i) requests.emplace_back(0, 40 + i);
  std::string all;
  for (const std::string& unit : operation.units) all += unit;
  buffer.deliver(all, End::stops);
  if (operation.writes) buffer.makeRoom(1000, End::stops);
  if (operation.prepare) operation.prepare(*this);
}

void Operation::tell(World& world, std::string& text) const {
  text.clear();
  for (const std::string& string : world.strings) text += string + ' ';
  text += world.properties.isModified() ? "\nM" : "\n";
  world.strings.clear();
  world.properties.getKeys(world.strings);
  for (const std::string& key : world.strings) {
    text += key + '=' + world.properties.getProperty(key) + ';';
  }
  text += '\n';
  for (std::uint32_t row = 0; row < world.table.size(); ++row) {
    for (const std::string& cell : world.table[row]->cells) text += '[' + cell + ']';
    text += ';';
  }
  text += '\n';
  for (const std::string& cell : world.column.cells) text += '[' + cell + ']';
  text += '\n' + world.string + '\n';
  for (const File* file : {&world.file, &world.twin, &world.fresh}) text += file->getPath() + '\n';
  for (const File& file : world.files) text += file.getPath() + ' ';
  text += '\n';
  for (const char* path : paths) {
    if (streams()) break;
    struct stat status = {};
    const bool there = lstat(path, &status) == 0;
    text += there ? std::to_string(status.st_mode) + ' ' : "";
    if (S_ISREG(status.st_mode))
      text += std::string(std::istreambuf_iterator<char>(std::ifstream(path).rdbuf()), {});
    text += '\n';
  }
  text += std::string(static_cast<std::size_t>(calls::openDescriptors()), '|') + '\n';

  // A request ahead of all others is handed out first, unless a head was shown.
  priq::PriorRequest first(0, 0);
  const auto empty = [&](priq::PrioritizedQueue& queue) {
    unsigned int id;
    for (queue.push(&first); queue.tryWait(id);) {
      const priq::PriorRequest* const request = queue.recvWaitAndDequeue(id);
      text += std::to_string(request->priority) + ' ';
    }
    text += '\n';
  };
  empty(world.queue);
  if (connects) empty(*priq::PriorityQueueManager::getInstance().getNewConnection(world.key));
  if (writes) text += world.buffer.taken();
}

namespace {

const std::string noMemory = "std::bad_alloc";
const std::string notFound = paths[0] + "not found"s, directoryNotFound = paths[4] + "not found"s;
const std::string notResolved = "E: getAbsPath of "s + paths[0];

void answer(World& w, long long value) { w.answer = std::to_string(value); }
void answer(World& w, const std::ios& stream) {
  const auto has = [&](std::ios::iostate bit) { return (stream.rdstate() & bit) != 0; };
  w.answer = (has(std::ios::eofbit) ? "eof " : ""s) + (has(std::ios::failbit) ? "fail " : "") +
             (has(std::ios::badbit) ? "bad" : "");
}

// Objects in other states than a new world has them.
void held(World& w) { w.file.compareTo(w.missing); }
void over(World& w) { held(w), std::ofstream(paths[1]) << "old"; }
// As many as the blocks in a small index hold, the first of them shown.
void shown(World& w) {
  unsigned int id;
  for (int i = 0; i < 17 * 64; ++i) w.queue.push(&w.requests[1]);
  w.queue.tryWait(id);
}
void connected(World& w) {
  priq::RequestQueue handle(w.key, 1);
  handle.push(6, &w.requests[0]);  // the first takes memory
  handle.pop();
}
void served(World& w) {
  w.queue.push(&w.requests[0]);  // which needs no more memory from then on
  w.queue.pop();
  calls::onWait = [&w] { w.queue.push(&w.requests[0]); };
}

Operation partWay(Operation operation) { return operation.partWay = true, operation; }
Operation cancels(Operation operation) { return operation.cancels = true, operation; }

}  // namespace

// clang-format off
const std::vector<Operation> operations = {
  {"set a new key", [](World& w) { w.properties.setProperty(longKey + "2", longValue); }, noMemory},
  {"set another value", [](World& w) { w.properties.setProperty("number", longValue); }, noMemory},
  {"look up", [](World& w) { w.string = w.properties.getProperty(longKey); }, noMemory},
  {"look up strictly", [](World& w) { w.string = w.properties.getProperty_(longKey); }, "VIMOException 7"},
  {"look up numbers and switches", [](World& w) {
     answer(w, w.properties.getInt("number") + w.properties.getHEX("number") + w.properties.isOn(longKey) +
               w.properties.getInt_("number") + w.properties.getHEX_("number") + w.properties.isOn_(longKey) +
               w.properties.exist(longKey));
   }, ""},
  {"look up strictly what is missing", [](World& w) { w.properties.getHEX_("no"); }, ""},
  {"copy a store", [](World& w) { config::CppProperties copy(w.properties); }, noMemory},
  {"clear", [](World& w) { w.properties.clear(); }, ""},
  partWay({"list keys", [](World& w) { w.properties.getKeys(w.strings); }, noMemory}),
  partWay({"read a text", [](World& w) { w.properties.read(w.in), answer(w, w.in); },
   noMemory + "|fail bad|bad", {}, nullptr, {"a=" + longValue + "\n", "#\n", "b=2\n", "c=\n"}}),
  {"write a text", [](World& w) { w.properties.write(w.out), answer(w, w.out); }, "", {}, nullptr, {}, true},
  cancels(partWay({"load a text", [](World& w) { w.properties.load("config"); }, "VIMOException 1966082",
   {{"open, not for children", "VIMOException 1966081"}, {"read", "VIMOException 1966082", EINTR, true}}})),
  partWay({"load records", [](World& w) { w.properties.load(w.in), answer(w, w.in); }, noMemory, {}, nullptr,
   {"\1\0\0\0a\50\0\0\0"s + longValue, "\1\0\0\0b\0\0\0\0"s, "\1\0\0\0c\0\0\0\0"s}}),
  {"save records", [](World& w) { w.properties.save(w.out), answer(w, w.out); }, "", {}, nullptr, {}, true},
  partWay({"get a string", [](World& w) { w.properties.get(w.in, w.string), answer(w, w.in); },
   noMemory, {}, nullptr, {"\50\0\0\0"s + longValue}}),
  {"put a string", [](World& w) { w.properties.put(w.out, longValue), answer(w, w.out); }, "", {}, nullptr, {}, true},
  cancels(partWay({"load a table", [](World& w) { answer(w, w.table.load("config")); }, noMemory,
   {{"open, not for children", "0"}, {"read", "1", EINTR, true}}})),
  {"move a table", [](World& w) { config::CommaSeparatedValues moved(std::move(w.table)), to; to = std::move(moved); }, ""},
  partWay({"load rows", [](World& w) { w.table.load(w.in), answer(w, w.in); },
   noMemory, {}, nullptr, {longValue + ",1\n", "\n", "#" + longValue + "\n", "a,,\n"}}),
  partWay({"load cells", [](World& w) { w.column.load(w.in), answer(w, w.in); },
   noMemory, {}, nullptr, {longValue + ",", "1,", "2,"}}),

  {"exists", [](World& w) { answer(w, w.file.exists()); }, "", {{"stat", "0"}}},
  {"exists, missing", [](World& w) { answer(w, w.missing.exists()); }, noMemory},
  {"length", [](World& w) { answer(w, w.file.length()); }, "", {{"stat", notFound}}},
  {"is a file", [](World& w) { answer(w, w.file.isFile()); }, "", {{"stat", notFound}}},
  {"is a directory", [](World& w) { answer(w, w.directory.isDirectory()); }, "", {{"stat", directoryNotFound}}},
  {"can read", [](World& w) { answer(w, w.file.canRead()); }, "", {{"access", "0"}}},
  {"can write", [](World& w) { answer(w, w.file.canWrite()); }, "", {{"access", "0"}}},
  {"can execute", [](World& w) { answer(w, w.directory.canExecute()); }, "", {{"access", "0"}}},
  {"resolve", [](World& w) { w.string = w.file.getAbsolutePath(); }, noMemory, {{"realpath", notResolved}}},
  {"parent", [](World& w) { w.files.push_back(w.file.getParent()); },
   noMemory, {{"stat", notFound}, {"realpath", notResolved}}},
  partWay({"list", [](World& w) { w.directory.listFiles(w.files); },
   noMemory, {{"stat", directoryNotFound}, {"opendir", "dir open failed"}, {"readdir", "", 0, true}}}),
  {"make a directory", [](World& w) { w.fresh.mkdir(); }, "", {{"mkdir", "mkdir failed, "s + paths[2]}}},
  cancels({"touch", [](World& w) { w.fresh.touch(); }, "", {{"open, not as the terminal", "touch failed, "s + paths[2]}}}),
  {"delete", [](World& w) { w.file.deleteThis(); }, "", {{"unlink", "unlink failed"}}},
  {"delete what is held", [](World& w) { w.file.deleteThis(); }, "", {{"unlink", "unlink failed", 0, true}}, held},
  {"rename", [](World& w) { w.twin.renameTo(w.fresh); }, noMemory, {{"rename", "rename failed"}}, held},
  {"rename to what is held", [](World& w) { w.twin.renameTo(w.file); }, noMemory, {{"rename", "rename failed", 0, true}}, held},
  cancels({"compare", [](World& w) { answer(w, w.file.compareTo(w.twin)); }, "",
   {{"open", "-1", 0, true}, {"stat", notFound + '|' + paths[1] + "not found", 0, true},
    {"read", "copy: read error", 0, true}, {"short read", "-1023|1023|-475|475|0", 0, true}}}),
  cancels({"copy", [](World& w) { answer(w, w.file.copyTo(w.fresh)); }, "",
   {{"open", "-1"}, {"stat", "-1", ENOENT, true}, {"creat", "-1", 0, true},
    {"read", "copy: read error", 0, true}, {"write", "copy: write error", 0, true}}}),
  cancels({"copy over a file", [](World& w) { answer(w, w.file.copyTo(w.twin)); }, "",
   {{"stat", "-1", ENOENT}, {"fstat", "-1"}, {"creat", "-1"}, {"read", "copy: read error", 0, true},
    {"write", "copy: write error", 0, true}}, over}),
  cancels({"copy to what is held", [](World& w) { answer(w, w.twin.copyTo(w.file)); }, "",
   {{"open", "-1"}, {"fstat", "-1", 0, true}, {"read", "copy: read error", 0, true}, {"write", "copy: write error", 0, true}}, held}),
  {"close", [](World& w) { File(std::move(w.file)); }, "", {}, held},
  {"assign", [](World& w) { w.file = w.missing; }, noMemory, {}, held},
  {"move", [](World& w) { w.twin = std::move(w.file); }, "", {}, held},
  {"copy it", [](World& w) { w.files.push_back(w.file); }, noMemory, {}, held},
  {"set readable", [](World& w) { answer(w, w.file.setReadable(false)); }, "", {{"stat", notFound}, {"chmod", "0"}}},
  {"set writable", [](World& w) { answer(w, w.file.setWritable(false)); }, "", {{"stat", notFound}, {"chmod", "0"}}},
  {"set executable", [](World& w) { answer(w, w.file.setExecutable(true)); }, "", {{"stat", notFound}, {"chmod", "0"}}},
  {"set readable for all", [](World& w) { answer(w, w.file.setReadableAll(false)); }, "", {{"stat", notFound}, {"chmod", "0"}}},
  {"set writable for all", [](World& w) { answer(w, w.file.setWritableAll(false)); }, "", {{"stat", notFound}, {"chmod", "0"}}},
  {"set executable for all", [](World& w) { answer(w, w.file.setExecutableAll(true)); }, "", {{"stat", notFound}, {"chmod", "0"}}},

  {"length, missing", [](World& w) { w.missing.length(); }, noMemory},
  {"parent of the root", [](World& w) { w.root.getParent(); }, "",
   {{"stat", "/not found"}, {"realpath", "E: getAbsPath of /"}}},
  {"list a file", [](World& w) { w.file.listFiles(w.files); }, noMemory, {{"stat", notFound}}},
  {"make what is there", [](World& w) { w.directory.mkdir(); }, noMemory},
  cancels({"touch a directory", [](World& w) { w.directory.touch(); }, noMemory}),
  {"delete a directory", [](World& w) { w.directory.deleteThis(); }, ""},
  {"rename, missing", [](World& w) { w.missing.renameTo(w.fresh); }, noMemory},

  {"count and ask", [](World& w) {
     answer(w, ntz_hash64(40) + ntz_hash32(40) + (ClockCounter().calcCounter(1) > 0) + ClockCounter().isAvail() +
               w.table.size() + w.table.rowCount() + w.table.columnCount(0) + w.table[0]->cells.size() +
               w.properties.isModified() + w.file.getPath().size());
   }, ""},

  {"make a queue", [](World&) { priq::PrioritizedQueue(0); }, noMemory},
  {"push", [](World& w) { w.queue.push(&w.requests[0]); }, noMemory},
  {"push behind a shown head", [](World& w) { w.queue.push(&w.requests[0]); }, noMemory, {}, shown},
  {"look", [](World& w) { answer(w, w.queue.tryWait(w.requests[1].id) != nullptr); }, ""},
  {"pop", [](World& w) { w.queue.pop(); }, "", {}, shown},
  cancels({"look and wait", [](World& w) { w.queue.top(w.requests[1].id); }, "", {}, served}),
  cancels({"take and wait", [](World& w) { w.queue.recvWaitAndDequeue(w.requests[1].id); }, "", {}, served}),
  {"connect", [](World& w) { priq::PriorityQueueManager::getInstance().getNewConnection(w.key); },
   noMemory, {}, nullptr, {}, false, true},
  {"push by a handle", [](World& w) { priq::RequestQueue(w.key, 1).push(7, &w.requests[0]); },
   noMemory, {}, [](World& w) { priq::RequestQueue(w.key, 1); }, {}, false, true},
  {"use a handle", [](World& w) {
     priq::RequestQueue handle(w.key, 1);
     unsigned int& id = w.requests[2].id;
     handle.push(7, &w.requests[0]), handle.push(8, &w.requests[1]);
     answer(w, handle.top(id) == handle.tryWait(id)), handle.pop(), handle.recvWaitAndDequeue(id);
   }, "", {}, connected, {}, false, true},
  {"connect a handle", [](World& w) { priq::RequestQueue(w.key, 1); }, noMemory, {}, nullptr, {}, false, true},
};
