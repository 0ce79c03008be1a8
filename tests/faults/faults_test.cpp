// Every operation meets every fault: an allocation that fails, a system call that
// fails, a stream that ends or throws, a cancellation, each wherever it can come.
// Whatever comes, the answer is the promised one, the world is as it was or part
// of the way to what the operation makes of it, and nothing has leaked.

#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <functional>
#include <iostream>
#include <set>
#include <sstream>

#include "faults/calls.h"
#include "faults/operations.h"
#include "support/Allocations.h"

namespace {

using calls::Fault;

struct Outcome {
  std::string answer, state;
  std::vector<std::string> calls;
  bool ranOut = false;   // of memory
  int cancelState = -1;  // that it leaves
  long blocks = 0;       // that stay allocated
};

using Arm = std::function<void(World&)>;

void harmless(World&) {}

// Runs the operation with the fault that `arm` sets off in this thread.
void run(const Operation& operation, World& world, const Arm& arm, Outcome& outcome) {
  const auto disarm = [&] {
    allocations::failAt(0);
    outcome.ranOut = allocations::failed();
    outcome.calls = calls::disarm();
    pthread_setcancelstate(PTHREAD_CANCEL_ENABLE, &outcome.cancelState);
  };
  try {
    try {
      arm(world);
      operation.run(world);
      disarm();
    } catch (...) {
      disarm();
      throw;
    }
    outcome.answer = world.answer;
  } catch (const BufferFailure&) {
    outcome.answer = "BufferFailure";
  } catch (const VIMOException& e) {
    outcome.answer = "VIMOException " + std::to_string(e.code);
  } catch (const std::ios::failure&) {
    outcome.answer = "std::ios::failure";
  } catch (const vimo::util::FileException& e) {
    outcome.answer = e.what();
  } catch (const std::bad_alloc&) {
    outcome.answer = "std::bad_alloc";
  }
}

// Runs `body` in a thread that is cancelled, at the latest behind it.
void cancel(std::function<void()>& body) {
  pthread_t thread;
  const auto start = [](void* function) -> void* {
    (*static_cast<std::function<void()>*>(function))();
    pthread_cancel(pthread_self());
    pthread_testcancel();
    return nullptr;
  };
  EXPECT_EQ(0, pthread_create(&thread, nullptr, start, &body));
  void* end;
  EXPECT_EQ(0, pthread_join(thread, &end));
  EXPECT_EQ(PTHREAD_CANCELED, end);
}

// Runs it in a new world, and in a thread of its own if that is to be cancelled.
Outcome attempt(const Operation& operation, const Arm& arm = harmless, bool cancelled = false) {
  const int descriptors = calls::openDescriptors();
  const long blocks = allocations::live();
  Outcome outcome;
  {
    World world(operation);
    std::function<void()> body = [&] { run(operation, world, arm, outcome); };
    if (cancelled) {
      outcome.answer = "cancelled";
      cancel(body);
    } else {
      body();
    }
    operation.tell(world, outcome.state);
  }
  EXPECT_EQ(descriptors, calls::openDescriptors());
  EXPECT_EQ(0, calls::closedTwice);
  // A copy of the outcome takes as many blocks as the outcome itself.
  outcome.blocks = allocations::live() - blocks;
  const long own = allocations::live();
  const Outcome copy(outcome);
  outcome.blocks -= allocations::live() - own;
  return outcome;
}

// Whether each line is as before, or the beginning of what it would have become.
bool isPartWay(const std::string& before, const std::string& after, const std::string& now) {
  std::istringstream was(before), becomes(after), is(now);
  for (std::string a, b, c; std::getline(was, a) && std::getline(becomes, b);) {
    if (!std::getline(is, c)) return false;
    if (c != a && (b == a || b.compare(0, c.size(), c) != 0)) return false;
  }
  return true;
}

bool isOneOf(const std::string& answer, const std::string& choices) {
  return ('|' + choices + '|').find('|' + answer + '|') != std::string::npos;
}

// An operation, and what it does where no fault comes.
struct Trial {
  explicit Trial(const Operation& operation)
      : operation(operation),
        after(attempt(operation, [](World&) { calls::arm(Fault::none, 0); })) {
    Operation none = operation;
    none.run = harmless;
    before = attempt(none);
    EXPECT_EQ(before.blocks, after.blocks);
    EXPECT_EQ(PTHREAD_CANCEL_ENABLE, after.cancelState);
  }

  // A fault that does no harm.
  void expectUnharmed(const Outcome& outcome) const {
    EXPECT_EQ(after.answer, outcome.answer);
    EXPECT_EQ(after.state, outcome.state);
    EXPECT_EQ(after.blocks, outcome.blocks);
  }

  // A fault that ends the operation with one of the answers.
  void expectAnswer(const std::string& answers, bool partWay, const Outcome& outcome) const {
    EXPECT_PRED2(isOneOf, outcome.answer, answers);
    if (partWay) {
      EXPECT_PRED3(isPartWay, before.state, after.state, outcome.state);
    } else {
      EXPECT_EQ(before.state, outcome.state);
    }
    EXPECT_EQ(after.blocks, outcome.blocks);
  }

  const Operation& operation;
  Outcome before, after;
};

// In a temporary directory.
struct Faults : testing::Test {
  Faults() { EXPECT_TRUE(mkdtemp(&directory[0]) && chdir(directory.c_str()) == 0); }
  ~Faults() override { EXPECT_EQ(0, system(("rm -r " + directory).c_str())); }
  std::string directory = testing::TempDir() + "faults_test.XXXXXX";
};

#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

TEST_F(Faults, Allocations) {
  std::set_unexpected([] { throw VIMOException(7); });
  int failures = 0;
  for (const Operation& operation : operations) {
    SCOPED_TRACE(operation.name);
    const Trial trial(operation);
    for (const bool allLater : {false, true}) {
      for (int n = 1;; ++n) {
        SCOPED_TRACE(n);
        const Outcome outcome =
            attempt(operation, [&](World&) { allocations::failAt(n, allLater); });
        if (!outcome.ranOut) {
          EXPECT_EQ(operation.outOfMemory.empty(), n == 1);
          trial.expectUnharmed(outcome);
          break;
        }
        trial.expectAnswer(operation.outOfMemory, operation.partWay, outcome);
        ++failures;
      }
    }
  }
  std::cout << "operations: " << operations.size() << "\nallocations failed: " << failures << '\n';
}

TEST_F(Faults, SystemCalls) {
  int failures = 0;
  for (const Operation& operation : operations) {
    SCOPED_TRACE(operation.name);
    const Trial trial(operation);
    std::set<std::ptrdiff_t> met;
    const auto meet = [&](Fault fault, int nth, int error, const std::string& call) {
      SCOPED_TRACE(call + ' ' + std::to_string(error));
      const Outcome outcome = attempt(operation, [&](World&) { calls::arm(fault, nth, error); });
      const auto failure =
          std::find_if(operation.failures.begin(), operation.failures.end(),
                       [&](const Failure& f) { return f.call == call && f.harmless != error; });
      if (failure == operation.failures.end()) {
        trial.expectUnharmed(outcome);
      } else {
        trial.expectAnswer(failure->answer, failure->partWay, outcome);
        met.insert(failure - operation.failures.begin());
      }
      ++failures;
    };
    int nth = 0;
    for (const std::string& call : trial.after.calls) {
      ++nth;
      for (const int error : calls::errorsOf(call)) meet(Fault::error, nth, error, call);
      if (call == "read" || call == "write") meet(Fault::cut, nth, -1, "short " + call);
    }
    EXPECT_EQ(operation.failures.size(), met.size());
  }
  std::cout << "system calls failed: " << failures << '\n';
}

TEST_F(Faults, Cancellations) {
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "it takes the frames that a cancelled thread has left for overflowing variables";
#endif
  int cancelled = 0;
  for (const Operation& operation : operations) {
    SCOPED_TRACE(operation.name);
    const Trial trial(operation);
    int ended = 0;
    for (std::size_t nth = 1; nth <= trial.after.calls.size(); ++nth) {
      SCOPED_TRACE(trial.after.calls[nth - 1]);
      const auto meet = [&](int cancelState) {
        const Arm arm = [&](World&) {
          pthread_setcancelstate(cancelState, &cancelState);
          calls::arm(Fault::cancel, static_cast<int>(nth));
        };
        return attempt(operation, arm, true);
      };
      const Outcome outcome = meet(PTHREAD_CANCEL_ENABLE);
      if (operation.cancels) {
        trial.expectAnswer("cancelled|" + trial.after.answer, true, outcome);
      } else {
        trial.expectUnharmed(outcome);
      }
      ended += outcome.answer == "cancelled";
      ++cancelled;
      if (trial.after.calls[nth - 1] == "pthread_cond_wait") continue;  // would wait for ever
      const Outcome kept = meet(PTHREAD_CANCEL_DISABLE);
      trial.expectUnharmed(kept);
      EXPECT_EQ(PTHREAD_CANCEL_DISABLE, kept.cancelState);
    }
    EXPECT_EQ(operation.cancels, ended > 0);
  }
  std::cout << "cancellations: " << cancelled << '\n';
}

constexpr std::ios::iostate good = std::ios::goodbit, eof = std::ios::eofbit,
                            fail = std::ios::failbit, bad = std::ios::badbit;
constexpr std::ios::iostate masks[] = {good,       eof,       fail,       bad,
                                       eof | fail, eof | bad, fail | bad, eof | fail | bad};

// Whether one of the bits that the answer tells of is in the mask.
bool raises(std::ios::iostate mask, const std::string& answer) {
  const auto has = [&](const char* bit) { return answer.find(bit) != std::string::npos; };
  return (mask & eof && has("eof")) || (mask & fail && has("fail")) || (mask & bad && has("bad"));
}

// The ends that this build can try: the address sanitizer takes the frames that a
// cancelled thread has left for overflowing variables.
#ifdef __SANITIZE_ADDRESS__
constexpr End ends[] = {End::stops, End::throws};
#else
constexpr End ends[] = {End::stops, End::throws, End::cancels};
#endif

// What the answer becomes under a mask, when the stream met its end.
std::string masked(std::ios::iostate mask, End end, const std::string& answer) {
  if (end == End::throws && mask & bad) return "BufferFailure";
  return raises(mask, answer) ? "std::ios::failure" : answer;
}

// A stream that ends at any byte is read as one of the standard library that
// holds as much; one that throws there, as if it held what was whole by then.
void readTo(std::size_t size, const Trial& trial) {
  std::string given, whole;
  for (const std::string& unit : trial.operation.units) {
    given += unit;
    if (given.size() <= size) whole = given;
  }
  given.resize(size);
  const bool alone = trial.operation.units.size() == 1;  // asks for no byte behind it
  const bool none = whole.empty();
  if (!none && whole.back() == '\n') whole.pop_back();

  std::stringbuf buffer;
  const auto read = [&](const std::string& bytes, std::ios::iostate mask, std::ios::iostate state) {
    buffer.str(bytes);
    return attempt(trial.operation, [&](World& world) {
      world.in.rdbuf(&buffer);
      world.in.setstate(state);
      world.in.exceptions(mask);
    });
  };
  const auto meet = [&](End end, std::ios::iostate mask) {
    const Arm arm = [&](World& world) {
      world.buffer.deliver(given, end);
      world.in.exceptions(mask);
    };
    return attempt(trial.operation, arm, end == End::cancels);
  };
  const Outcome kept = read(whole, good, none ? eof : good);
  const Outcome failed = read(given, good, fail);
  EXPECT_EQ(given.size(), buffer.in_avail());
  if (none) {
    EXPECT_EQ(kept.state, failed.state);
  }
  const Outcome plain = read(given, good, good);
  for (const End end : ends) {
    const bool stops = end == End::stops || (alone && given == trial.operation.units[0]);
    const std::string answer = stops ? plain.answer : meet(end, good).answer;
    EXPECT_EQ(!stops, answer.find(end == End::throws ? "bad" : "cancelled") != std::string::npos);
    for (const auto mask : masks) {
      const Outcome outcome = meet(end, mask);
      EXPECT_EQ(masked(mask, stops ? End::stops : end, answer), outcome.answer);
      EXPECT_EQ(trial.after.blocks, outcome.blocks);
      if (stops) {
        EXPECT_EQ(read(given, mask, good).state, outcome.state);
      } else if (alone) {
        EXPECT_PRED3(isPartWay, trial.before.state, trial.after.state, outcome.state);
      } else {
        EXPECT_EQ(kept.state, outcome.state);
      }
    }
  }
}

// Of a stream that has room for so many bytes it fills the room, and harms nothing.
void writeTo(std::size_t room, const Trial& trial) {
  const std::string all = trial.after.state.substr(trial.before.state.size());
  // The text form flushes behind its last line.
  const bool ended = room < all.size() || (room == all.size() && all.back() == '\n');
  const auto meet = [&](End end, std::ios::iostate mask) {
    const Arm arm = [&](World& world) {
      world.buffer.makeRoom(room, end);
      world.out.exceptions(mask);
    };
    return attempt(trial.operation, arm, end == End::cancels);
  };
  for (const End end : ends) {
    const std::string answer = meet(end, good).answer;
    EXPECT_EQ(ended, answer.find(end == End::cancels ? "cancelled" : "bad") != std::string::npos);
    for (const auto mask : masks) {
      const Outcome outcome = meet(end, mask);
      EXPECT_EQ(masked(mask, ended ? end : End::stops, answer), outcome.answer);
      EXPECT_EQ(trial.before.state + all.substr(0, room), outcome.state);
      EXPECT_EQ(trial.after.blocks, outcome.blocks);
    }
  }
}

TEST_F(Faults, Streams) {
  int positions = 0;
  for (const Operation& operation : operations) {
    SCOPED_TRACE(operation.name);
    const Trial trial(operation);
    std::size_t size = operation.writes ? trial.after.state.size() - trial.before.state.size() : 0;
    for (const std::string& unit : operation.units) size += unit.size();
    for (std::size_t position = 0; size > 0 && position <= size; ++position) {
      SCOPED_TRACE(position);
      operation.writes ? writeTo(position, trial) : readTo(position, trial);
      ++positions;
    }
  }
  std::cout << "stream positions: " << positions << '\n';
}

}  // namespace
