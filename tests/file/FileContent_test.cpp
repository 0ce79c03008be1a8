#include "vimo_util/file/File.h"

#include <dirent.h>
#include <dlfcn.h>
#include <errno.h>
#include <pthread.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/uio.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <utility>

#include "Fixture.h"
#include "support/Allocations.h"

using vimo::util::File;

namespace {

using Transfer = std::function<ssize_t(int fd, iovec block)>;

Transfer onRead, onWrite;  // stand in for the system where set

}  // namespace

// These stand before those of the system, in the library too.
extern "C" ssize_t read(int fd, void* buffer, size_t size) {
  const iovec block = {buffer, size};
  return onRead ? onRead(fd, block) : readv(fd, &block, 1);
}
extern "C" ssize_t write(int fd, const void* buffer, size_t size) {
  const iovec block = {const_cast<void*>(buffer), size};
  return onWrite ? onWrite(fd, block) : writev(fd, &block, 1);
}
extern "C" dirent* readdir(DIR* stream) {
  pthread_testcancel();  // as it may by the standard
  return reinterpret_cast<dirent* (*)(DIR*)>(dlsym(RTLD_NEXT, "readdir64"))(stream);
}

namespace {

// Lowers a limit of the process for as long as it lives.
class Limit {
 public:
  Limit(decltype(RLIMIT_FSIZE) what, rlim_t most) : what(what) {
    getrlimit(what, &before);
    const rlimit now = {std::min(most, before.rlim_cur), before.rlim_max};
    EXPECT_EQ(0, setrlimit(what, &now));
  }
  ~Limit() { setrlimit(what, &before); }

 private:
  decltype(RLIMIT_FSIZE) what;
  rlimit before;
};

#ifdef __SANITIZE_ADDRESS__
// It takes the frames that a cancelled thread has left for overflowing variables.
constexpr bool mayCancel = false;
#else
constexpr bool mayCancel = true;
#endif

void* inThread(void* action) {
  (*static_cast<std::function<void()>*>(action))();
  pthread_testcancel();
  return nullptr;
}

TEST_F(FileTest, CopiesAndFindsTheFirstDifference) {
  for (const int size : {0, 1, 1023, 1024, 1025, 5000}) {
    std::string content(size, 'x');
    for (int i = 0; i < size; ++i) content[i] = static_cast<char>(i * 7 + i / 1024);
    put("a", content);
    put("b", std::string(6000, 'x'));
    File a("a"), b("b"), again("a"), copy("b");
    EXPECT_EQ(size, a.copyTo(b));
    EXPECT_EQ(content, get("b"));
    EXPECT_EQ(0, again.compareTo(copy)) << size;
    for (int at = 0; at < size; at += 1023) {
      std::string other = content;
      ++other[at];
      put("c", other);
      File whole("a"), changed("c");
      const bool less = memcmp(&content[at], &other[at], 1) < 0;
      const int difference = whole.compareTo(changed);
      EXPECT_TRUE(less ? difference < 0 : difference > 0) << size << ", at " << at;
    }
  }
}

TEST_F(FileTest, GoesOnFromWhereItStands) {
  put("a", "aaaa");
  put("b", "bbbbbb");
  File a("a"), b("b"), both("both");
  EXPECT_EQ(-2, a.compareTo(b));
  EXPECT_EQ(4, a.copyTo(both)) << "sizes are compared without reading";
  EXPECT_EQ(6, b.copyTo(both));
  EXPECT_EQ("aaaabbbbbb", get("both"));
  EXPECT_EQ(0, File("a").compareTo(a)) << "one side is at its end";
  File copy(a), moved(std::move(a)), sink("/dev/null");
  EXPECT_EQ(0, moved.copyTo(sink));
  EXPECT_EQ(4, copy.copyTo(sink));
  EXPECT_EQ("copy: read error", failureOf([&] { both.copyTo(sink); })) << "it is open for writing";
}

TEST_F(FileTest, TellsSizesBeyondAnInt) {
  put("small", "");
  put("large", "");
  ASSERT_EQ(0, truncate("large", 0x80000001));
  File small("small"), large("large");
  EXPECT_EQ(INT_MAX, large.compareTo(small));
  EXPECT_EQ(INT_MIN, small.compareTo(large));

  std::int64_t left = 0x80000001;
  onWrite = [](int, iovec block) { return static_cast<ssize_t>(block.iov_len); };
  onRead = [&](int, iovec block) {
    const auto size = std::min<std::int64_t>(left, block.iov_len);
    left -= size;
    return static_cast<ssize_t>(size);
  };
  EXPECT_EQ(INT_MAX, large.copyTo(small));
  EXPECT_EQ(0, left);
  onRead = onWrite = nullptr;
}

TEST_F(FileTest, LeavesTheDestinationWhenItCannotCopy) {
  put("file", "content");
  put("shorter", "new");
  mkdir("dir", 0777);
  ASSERT_EQ(0, symlink("file", "symbolic") | link("file", "hard"));
  const struct {
    const char *source, *dest;
  } cases[] = {
      {"file", "file"},        {"symbolic", "file"}, {"file", "symbolic"}, {"file", "hard"},
      {"file", "dir/../file"}, {"missing", "file"},  {"dir", "file"},      {"file", "missing/x"},
  };
  for (const auto& c : cases) {
    File source(c.source), dest(c.dest);
    EXPECT_EQ(-1, source.copyTo(dest)) << c.source << " to " << c.dest;
    EXPECT_EQ("content", get("file")) << c.source << " to " << c.dest;
  }
  File self("file"), held("file"), moved("moved"), shorter("shorter");
  EXPECT_EQ(4, held.compareTo(shorter));  // both have a descriptor now
  rename("file", "moved");
  put("file", "other");
  EXPECT_EQ(-1, moved.copyTo(held)) << "only the descriptor leads to the file";
  rename("moved", "file");
  EXPECT_EQ(-1, self.copyTo(self));
  EXPECT_EQ(3, shorter.copyTo(self));
  EXPECT_EQ("new", get("file")) << "the refused copy left a descriptor";
}

TEST_F(FileTest, FinishesAShortWriteAndReportsAFailedOne) {
  const std::string content(3000, 'c');
  put("file", content);
  put("new", "new");
  const auto atMost = [](size_t most) {
    return [=](int fd, iovec block) {
      block.iov_len = std::min(most, block.iov_len);
      return writev(fd, &block, 1);
    };
  };
  const auto interrupted = [](int, iovec) {
    errno = EINTR;
    return ssize_t{-1};
  };
  const struct {
    const char* name;
    Transfer onRead, onWrite;
    rlim_t sizeLimit;
    std::string text, written;
  } cases[] = {
      {"in parts", nullptr, atMost(1000), RLIM_INFINITY, "no failure", content},
      {"none taken", nullptr, atMost(0), RLIM_INFINITY, "copy: write error", ""},
      {"interrupted write", nullptr, interrupted, RLIM_INFINITY, "copy: write error", ""},
      {"interrupted read", interrupted, nullptr, RLIM_INFINITY, "copy: read error", ""},
      {"size limit", nullptr, nullptr, 1500, "copy: write error", content.substr(0, 1500)},
  };
  signal(SIGXFSZ, SIG_IGN);
  for (const auto& c : cases) {
    File source("file"), dest("copy"), next("new");
    onRead = c.onRead;
    onWrite = c.onWrite;
    const auto copy = [&] {
      const Limit limit(RLIMIT_FSIZE, c.sizeLimit);
      source.copyTo(dest);
    };
    EXPECT_EQ(c.text, failureOf(copy)) << c.name;
    onRead = onWrite = nullptr;
    EXPECT_EQ(c.written, get("copy")) << c.name;
    EXPECT_EQ(3, next.copyTo(dest));
    const bool ended = c.written == content;  // and only then the destination stays open
    EXPECT_EQ(ended ? content + "new" : "new", get("copy")) << c.name;
  }
}

TEST_F(FileTest, FlushesAndClosesWhereItShould) {
  static std::vector<File> kept;
  const struct {
    const char* name;
    void (*action)(File& held, File& bare);
    int left;  // descriptors, of the one that `held` has
    bool flushes;
  } cases[] = {
      {"destroyed", [](File& held, File&) { File gone(std::move(held)); }, 0, true},
      {"destroyed bare", [](File&, File& bare) { File gone(std::move(bare)); }, 1, false},
      {"assigned to", [](File& held, File& bare) { held = bare; }, 0, true},
      {"moved to", [](File& held, File& bare) { held = std::move(bare); }, 0, true},
      {"moved from", [](File& held, File& bare) { bare = std::move(held); }, 1, false},
      {"assigned from", [](File& held, File& bare) { bare = held; }, 1, false},
      {"swapped", [](File& held, File& bare) { std::swap(held, bare); }, 1, false},
      {"itself", [](File& held, File&) { held = std::move(held = *&held); }, 1, false},
      {"vector",
       [](File& held, File& bare) {
         kept.push_back(std::move(held));
         for (int i = 0; i < 9; ++i) kept.push_back(bare);
       },
       1, false},
      {"deleted", [](File& held, File&) { held.deleteThis(); }, 0, false},
      {"replaced", [](File& held, File& bare) { bare.renameTo(held); }, 0, true},
      {"renamed", [](File& held, File& bare) { held.renameTo(bare); }, 1, false},
      {"renamed to itself", [](File& held, File&) { held.renameTo(held); }, 0, true},
      {"touched", [](File& held, File&) { held.touch(); }, 1, true},
      {"listed", [](File&, File&) { File(".").listFiles(kept); }, 1, false},
      {"copied", [](File& held, File& bare) { held.copyTo(bare); }, 2, true},
      {"copied to itself", [](File& held, File&) { held.copyTo(held); }, 1, false},
      {"no room",
       [](File& held, File& bare) {
         bare = File("/dev/full");
         EXPECT_EQ("copy: write error", failureOf([&] { held.copyTo(bare); }));
       },
       1, false},
      {"compared", [](File& held, File& bare) { held.compareTo(bare); }, 2, false},
  };
  FILE* const stream = fopen("stream", "w");
  File streamed("stream");
  close(0);  // so that 0 is the first descriptor to be held
  const int before = openDescriptors();
  for (const auto& c : cases) {
    const auto act = [&](bool cancelled) {
      put("held", "content");
      put("bare", "different");
      File held("held"), bare("bare"), nowhere("missing/copy");
      EXPECT_EQ(-1, held.copyTo(nowhere));
      fputs("x", stream);
      const int flushed = streamed.length();
      if (cancelled) pthread_cancel(pthread_self());
      c.action(held, bare);
      EXPECT_EQ(before + c.left, openDescriptors()) << c.name;
      EXPECT_EQ(c.flushes, flushed < streamed.length()) << c.name;
    };
    act(false);
    kept.clear();
    EXPECT_EQ(before, openDescriptors()) << c.name;
    if (!mayCancel) continue;
    pthread_t thread;
    void* result;
    std::function<void()> cancelled = [&] { act(true); };
    ASSERT_EQ(0, pthread_create(&thread, nullptr, inThread, &cancelled));
    pthread_join(thread, &result);
    kept.clear();
    EXPECT_EQ(PTHREAD_CANCELED, result) << c.name;
    EXPECT_EQ(before, openDescriptors()) << c.name << ", cancelled";
  }
  fclose(stream);
}

TEST_F(FileTest, ClosesItsDestinationWhenCancelled) {
  if (!mayCancel) GTEST_SKIP();
  mkfifo("source", 0666);
  mkfifo("dest", 0666);
  File source("source"), dest("dest");
  std::function<void()> copy = [&] { source.copyTo(dest); };
  pthread_t thread;
  ASSERT_EQ(0, pthread_create(&thread, nullptr, inThread, &copy));
  const int out = open("source", O_RDWR), in = open("dest", O_RDONLY);
  char byte = 'b';
  EXPECT_EQ(1, write(out, &byte, 1));
  EXPECT_EQ(1, read(in, &byte, 1));  // and the thread goes back to its empty source
  pthread_cancel(thread);
  pthread_join(thread, nullptr);
  EXPECT_EQ(0, read(in, &byte, 1)) << "the destination is still open";
}

TEST_F(FileTest, SurvivesWithoutDescriptorsAndMemory) {
  put("file", "content");
  put("kept", "kept");
  File file("file"), kept("kept"), here("."), longer(std::string(99, 'n'));
  std::vector<File> files;
  const auto withNone = [](auto action) {
    const Limit limit(RLIMIT_NOFILE, 0);
    action();
  };
  withNone([&] { EXPECT_EQ(-1, file.copyTo(kept)); });
  EXPECT_EQ("touch failed, kept", failureOf([&] { withNone([&] { kept.touch(); }); }));
  EXPECT_EQ("dir open failed", failureOf([&] { withNone([&] { here.listFiles(files); }); }));
  EXPECT_EQ("kept", get("kept"));

  const long made = allocations::made();
  EXPECT_EQ(7, file.copyTo(kept));
  EXPECT_EQ(0, file.compareTo(kept));
  EXPECT_EQ(made, allocations::made());
  const int before = openDescriptors();
  const auto list = [&] { here.listFiles(files); };
  EXPECT_LT(0, allocations::failEach(list, [&] { EXPECT_EQ(before, openDescriptors()); }));
  EXPECT_LE(2u, files.size());
  const auto rename = [&] { file.renameTo(longer); };
  EXPECT_LT(0, allocations::failEach(rename, [&] { EXPECT_TRUE(file.exists()); }));
}

}  // namespace
