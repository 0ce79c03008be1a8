#ifndef VIMO_UTIL_TESTS_FAULTS_OPERATIONS_H
#define VIMO_UTIL_TESTS_FAULTS_OPERATIONS_H

#include <deque>
#include <iostream>
#include <string>
#include <vector>

#include "vimo_util/config/CommaSeparatedValues.h"
#include "vimo_util/config/CppProperties.h"
#include "vimo_util/file/File.h"
#include "vimo_util/priq/PrioritizedQueue.h"

// What a stream buffer throws.
struct BufferFailure {};

// What it does when it has no more.
enum class End { stops, throws, cancels };

// Delivers the bytes that it is given, or takes as many as it has room for; no
// flush succeeds where there is no room left.
class FaultyBuffer : public std::streambuf {
 public:
  void deliver(const std::string& input, End then);
  void makeRoom(std::size_t size, End then);
  std::string taken() const { return {pbase(), pptr()}; }

 private:
  int_type underflow() override { return stop(); }
  int_type overflow(int_type) override { return stop(); }
  int sync() override { return pptr() == epptr() ? stop() : 0; }
  int_type stop() const;
  std::string bytes;
  End end = End::stops;
};

struct Operation;

// Objects of every kind, in the state that the operation asks for, and their files
// in the working directory, unless it works on a stream.
struct World {
  explicit World(const Operation& operation);

  vimo::util::config::CppProperties properties;
  vimo::util::config::CommaSeparatedValues table;
  vimo::util::config::CommaSeparatedValues::Column column;
  vimo::util::File file, twin, fresh, missing, directory, root;
  std::vector<vimo::util::File> files;
  std::vector<std::string> strings;
  std::string string, answer;  // what the operation has returned, if anything
  std::deque<vimo::util::priq::PriorRequest> requests;
  vimo::util::priq::PrioritizedQueue queue;
  const int key;  // which has no queue yet
  FaultyBuffer buffer;
  std::istream in;
  std::ostream out;
};

struct Failure {
  std::string call, answer;
  int harmless = 0;      // the error that is passed over
  bool partWay = false;  // where it leaves the world; otherwise as it was
};

struct Operation {
  const char* name;
  void (*run)(World&);

  // What it answers when memory runs out, "" if it takes none, and when a system
  // call fails, or handles one byte ("short read"). "|" divides choices. A call that is
  // not listed does no harm.
  std::string outOfMemory;
  std::vector<Failure> failures = {};

  void (*prepare)(World&) = nullptr;

  // What it reads from the stream, if it does: after a fault it keeps what it had
  // read from those that were whole.
  std::vector<std::string> units = {};
  bool writes = false;    // to the stream
  bool connects = false;  // makes a queue that stays

  bool partWay = false;  // is where it may stop when memory runs out
  bool cancels = false;  // may be cancelled, and then stop part of the way

  bool streams() const { return writes || !units.empty(); }

  // Writes all that a client can see of a world into `text`, a line a thing. What
  // is counted is written as strokes, so that less is a prefix of more. Empties
  // the queues, and hangs where a lock is still held.
  void tell(World& world, std::string& text) const;
};

extern const std::vector<Operation> operations;

#endif
