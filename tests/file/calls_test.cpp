// File, when system calls fail, come short, or are cancelled. It works in a directory of its own.

#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <functional>
#include <sstream>
#include <vector>

#include "support/faults.h"
#include "vimo_util/file/File.h"

namespace {

using calls::Fault;
using vimo::util::File;

const std::string source = std::string(2048, 'x') + std::string(500, 'y');  // two blocks and a half

struct Calls : testing::Test {
  Calls() {
    EXPECT_TRUE(mkdtemp(&directory[0]) && chdir(directory.c_str()) == 0);
    for (const char* name : {"a", "same", "dir/inside"}) {
      mkdir("dir", 0777);
      std::ofstream(name) << source;
    }
  }
  ~Calls() override { EXPECT_EQ(0, system(("rm -r " + directory).c_str())); }
  std::string directory = testing::TempDir() + "calls_test.XXXXXX";
};

std::string contentOf(const std::string& path) {
  std::ostringstream content;
  content << std::ifstream(path).rdbuf();
  return content.str();
}

std::string outcome(const std::function<int()>& action) {
  try {
    return std::to_string(action());
  } catch (const vimo::util::FileException& exception) {
    return exception.what();
  }
}

TEST_F(Calls, CopyAnswersWhateverFails) {
  const struct {
    const char* call;
    int nth;
    Fault fault;
    std::string answer, again;  // of the same call once more, without a fault
    std::size_t written;        // after the first
    int kept;                   // descriptors
  } cases[] = {
      {"open", 1, Fault::error, "-1", "2548", 3, 0},
      {"stat", 1, Fault::error, "2548", "0", 2548, 2},
      {"fstat", 1, Fault::error, "-1", "2548", 3, 1},
      {"creat", 1, Fault::error, "-1", "2548", 3, 1},
      {"read", 1, Fault::error, "copy: read error", "2548", 0, 2},
      {"read", 3, Fault::error, "copy: read error", "500", 2048, 2},
      {"read", 4, Fault::error, "copy: read error", "0", 2548, 2},
      {"read", 2, Fault::cut, "2548", "0", 2548, 2},
      {"write", 1, Fault::error, "copy: write error", "1524", 0, 2},
      {"write", 3, Fault::error, "copy: write error", "0", 2048, 2},
      {"write", 2, Fault::zero, "copy: write error", "500", 1024, 2},
      {"write", 1, Fault::cut, "2548", "0", 2548, 2},
      {"fflush", 1, Fault::error, "2548", "0", 2548, 2},
      {"close", 1, Fault::error, "2548", "0", 2548, 2},
  };
  const int before = calls::openDescriptors();
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.call) + ' ' + std::to_string(c.nth));
    std::ofstream("b") << "old";
    {
      File a("a"), b("b");
      const auto copy = [&] { return a.copyTo(b); };
      calls::arm(c.fault, c.nth, c.call);
      EXPECT_EQ(c.answer, outcome(copy));
      EXPECT_EQ(before + c.kept, calls::openDescriptors());
      EXPECT_EQ(c.written, contentOf("b").size());
      EXPECT_EQ(c.again, outcome(copy));
    }
    bool met = false;
    const std::string log = calls::disarm(&met);
    EXPECT_TRUE(met) << log;
    EXPECT_NE(std::string::npos, log.find(" fflush close fflush close")) << log;
    EXPECT_EQ(before, calls::openDescriptors());
    const bool lost = c.fault != Fault::cut && c.call == std::string("write");
    EXPECT_EQ(!lost, contentOf("b") == source);
  }
}

TEST_F(Calls, CompareAnswersWhateverFails) {
  for (int nth = 1; nth <= 8; ++nth) {  // three blocks of each, and the end of one
    File a("a"), same("same");
    calls::arm(Fault::error, nth, "read");
    EXPECT_EQ(nth < 8 ? "copy: read error" : "0", outcome([&] { return a.compareTo(same); }))
        << nth;
    calls::disarm();
  }
  File a("a"), same("same");
  calls::arm(Fault::cut, 2, "read");
  EXPECT_EQ("1023", outcome([&] { return a.compareTo(same); }));
  calls::disarm();
}

#ifndef __SANITIZE_ADDRESS__  // which does not follow a thread that unwinds from a cancellation

TEST_F(Calls, CancelledLoseNoDescriptorAndFinishWhatTheyClose) {
  const struct {
    const char* name;
    void (*run)();
  } operations[] = {
      {"copy",
       [] {
         File a("a"), b("b");
         a.copyTo(b);
       }},
      {"compare",
       [] {
         File a("a"), same("same");
         a.compareTo(same);
       }},
      {"assign",
       [] {
         File a("a"), same("same");
         a.compareTo(same);
         a = same;
       }},
      {"rename",
       [] {
         File a("a"), b("b"), fresh("new");
         a.copyTo(b);
         fresh.touch();
         fresh.renameTo(b);
       }},
      {"delete",
       [] {
         File a("a"), b("b");
         a.copyTo(b);
         b.deleteThis();
       }},
      {"touch", [] { File("new").touch(); }},
      {"list",
       [] {
         std::vector<File> files;
         File("dir").listFiles(files);
       }},
  };
  const int before = calls::openDescriptors();
  for (const auto& operation : operations) {
    bool met = true;
    for (int nth = 1; met; ++nth) {
      calls::arm(Fault::cancel, nth);
      pthread_t thread;
      const auto start = [](void* run) -> void* {
        reinterpret_cast<void (*)()>(run)();
        pthread_testcancel();  // cancelling is allowed again
        return nullptr;
      };
      pthread_create(&thread, nullptr, start, reinterpret_cast<void*>(operation.run));
      void* end;
      pthread_join(thread, &end);
      calls::disarm(&met);
      EXPECT_EQ(met ? PTHREAD_CANCELED : nullptr, end) << operation.name << nth;
      EXPECT_EQ(before, calls::openDescriptors()) << operation.name << nth;
    }
  }
}

#endif

}  // namespace
