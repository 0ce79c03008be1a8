// File, when system calls fail, come short, or are cancelled.

#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include "support/faults.h"
#include "vimo_util/file/File.h"

namespace {

using calls::Fault;
using vimo::util::File;

// In a directory of its own, with files of two blocks and a half.
struct Calls : testing::Test {
  Calls() {
    EXPECT_TRUE(mkdtemp(&directory[0]) && chdir(directory.c_str()) == 0);
    EXPECT_EQ(0, system("seq -w 637 >a; cp a same; printf old >b"));
  }
  ~Calls() override { EXPECT_EQ(0, system(("rm -r " + directory).c_str())); }
  std::string directory = testing::TempDir() + "calls_test.XXXXXX";
};

template <class Action>
std::string outcome(Action action) {
  try {
    return std::to_string(action());
  } catch (const vimo::util::FileException& exception) {
    return exception.what();
  }
}

TEST_F(Calls, CopyAnswersWhateverFails) {
  const std::string readError = "copy: read error", writeError = "copy: write error";
  const struct {
    const char* call;
    int nth;
    Fault fault;
    std::string answer, again;  // of the same call once more, without a fault
    int written, kept;          // bytes and descriptors after the first
  } cases[] = {
      {"open", 1, Fault::error, "-1", "2548", 3, 0},
      {"stat", 1, Fault::error, "2548", "0", 2548, 2},
      {"fstat", 1, Fault::error, "-1", "2548", 3, 1},
      {"creat", 1, Fault::error, "-1", "2548", 3, 1},
      {"read", 1, Fault::error, readError, "2548", 0, 2},
      {"read", 3, Fault::error, readError, "500", 2048, 2},
      {"read", 4, Fault::error, readError, "0", 2548, 2},
      {"read", 2, Fault::cut, "2548", "0", 2548, 2},
      {"write", 1, Fault::error, writeError, "1524", 0, 2},
      {"write", 3, Fault::error, writeError, "0", 2048, 2},
      {"write", 2, Fault::zero, writeError, "500", 1024, 2},
      {"write", 1, Fault::cut, "2548", "0", 2548, 2},
      {"fflush", 1, Fault::error, "2548", "0", 2548, 2},
      {"close", 1, Fault::error, "2548", "0", 2548, 2},
  };
  const int before = calls::openDescriptors();
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.call) + ' ' + std::to_string(c.nth));
    EXPECT_EQ(0, system("printf old >b"));
    {
      File a("a"), b("b");
      calls::arm(c.fault, c.nth, c.call);
      EXPECT_EQ(c.answer, outcome([&] { return a.copyTo(b); }));
      EXPECT_EQ(c.kept, calls::openDescriptors() - before);
      EXPECT_EQ(c.written, b.length());
      EXPECT_EQ(c.again, outcome([&] { return a.copyTo(b); }));
    }
    bool met = false;
    const std::string log = calls::disarm(&met);
    EXPECT_TRUE(met && log.find(" fflush close fflush close") != log.npos) << log;
    EXPECT_EQ(before, calls::openDescriptors());
    EXPECT_EQ(c.answer != writeError, system("cmp -s a b") == 0);
  }
}

TEST_F(Calls, CompareAnswersWhateverFails) {
  for (int nth = 1; nth <= 8; ++nth) {  // three blocks of each, and the end of one
    File a("a"), same("same");
    calls::arm(Fault::error, nth, "read");
    EXPECT_EQ(nth < 8 ? "copy: read error" : "0", outcome([&] { return a.compareTo(same); }));
    calls::disarm();
  }
}

#ifndef __SANITIZE_ADDRESS__  // which does not follow a thread that unwinds from a cancellation

TEST_F(Calls, CancelledLoseNoDescriptorAndFinishWhatTheyClose) {
  void (*const operations[])(File, File) = {
      [](File a, File b) { a.compareTo(b), a = b; },
      [](File, File b) {
        File c("c");
        c.touch(), c.compareTo(b), c.renameTo(b);
      },
      [](File, File) {
        std::vector<File> files;
        File(".").listFiles(files);
      },
      [](File a, File b) { a.copyTo(b), b.deleteThis(); },
  };
  const int before = calls::openDescriptors();
  for (const auto& operation : operations) {
    bool met = true;
    for (int nth = 1; met; ++nth) {
      SCOPED_TRACE(std::to_string(&operation - operations) + ' ' + std::to_string(nth));
      calls::arm(Fault::cancel, nth);
      pthread_t thread;
      const auto start = [](void* run) -> void* {
        (*static_cast<void (*const*)(File, File)>(run))(File("a"), File("same"));
        pthread_testcancel();  // cancelling is allowed again
        return nullptr;
      };
      pthread_create(&thread, nullptr, start,
                     const_cast<void*>(static_cast<const void*>(&operation)));
      void* end;
      pthread_join(thread, &end);
      calls::disarm(&met);
      EXPECT_EQ(met ? PTHREAD_CANCELED : nullptr, end);
      EXPECT_EQ(before, calls::openDescriptors());
    }
  }
}

#endif

}  // namespace
