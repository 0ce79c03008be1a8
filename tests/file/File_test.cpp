#include "vimo_util/file/File.h"

#include <gtest/gtest.h>
#include <linux/capability.h>
#include <pthread.h>
#include <stdio_ext.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <sstream>
#include <thread>

#include "support/faults.h"
#include "vimo_util/config/CppProperties.h"

namespace {

using calls::Fault;
using vimo::util::File;

FILE* const unflushed = fopen("/dev/null", "w");

// What `action` returns or throws, how many descriptors it opens or closes, whether it flushes.
template <class Action>
std::string run(Action action) {
  const int before = calls::openDescriptors();
  fputs("x", unflushed);
  std::ostringstream answer;
  try {
    answer << action();
  } catch (const vimo::util::FileException& e) {
    answer << e.what();
  }
  const int opened = calls::openDescriptors() - before;
  if (opened != 0) answer << std::showpos << ' ' << opened;
  if (__fpending(unflushed) == 0) answer << " flushed";
  return answer.str();
}

const auto compare = [](File& a, File& b) { return run([&] { return a.compareTo(b); }); };
const auto copy = [](File& from, File& to) { return run([&] { return from.copyTo(to); }); };
const auto move = [](File& from, File& to) { return run([&] { return from.renameTo(to), "ok"; }); };
const auto remove = [](File& file) { return run([&] { return file.deleteThis(), "ok"; }); };
const auto end = [](File& file) { return run([&] { return File(std::move(file)), "ok"; }); };
const auto touch = [](const char* path) { return run([&] { return File(path).touch(), "ok"; }); };
const auto mkdir = [](const char* path) { return run([&] { return File(path).mkdir(), "ok"; }); };

std::string list(const char* path) {
  std::vector<File> files(1, File("first"));
  std::string names = run([&] { return File(path).listFiles(files), "ok"; });
  std::sort(files.begin() + 1, files.end(),
            [](const File& a, const File& b) { return a.getPath() < b.getPath(); });
  for (const File& file : files) names += ' ' + file.getPath();
  return names;
}

// What a shell command prints.
std::string sh(const std::string& command) {
  char text[4000];
  FILE* const pipe = popen(command.c_str(), "r");
  const std::size_t size = fread(text, 1, sizeof text, pipe);
  EXPECT_EQ(0, pclose(pipe)) << command;
  return std::string(text, size);
}

// The answers in the order in which they came.
std::string all(std::initializer_list<std::string> answers) {
  std::string joined;
  for (const std::string& answer : answers) joined += (joined.empty() ? "" : ", ") + answer;
  return joined;
}

// The working directory is a temporary one, and modes hold for root too.
class FileTest : public testing::Test {
 protected:
  FileTest() {
    __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct none[2] = {};
    EXPECT_EQ(0, syscall(SYS_capset, &header, none));
    EXPECT_TRUE(mkdtemp(&here[0]) && chdir(here.c_str()) == 0);
    umask(0);
    close(0);  // so that 0 is the first descriptor that an object holds
    sh("printf abcd >a; printf 123456 >b; printf ABCD >c; : >empty; mkfifo fifo; ln a hard;"
       "ln -s a link; ln -s gone nowhere; mkdir -p dir/sub; touch dir/file dir/.hidden;"
       "ln -s dir/sub to_sub; ln -s dir/file longer_link;"
       "seq 650 >blocks; sed s/640/641/ blocks >greater;"
       "for i in 0 1 2 4 7; do printf $i >$i; chmod $i$i$i $i; done;"
       "truncate -s 2147483647 largest; truncate -s 2147483649 larger");
  }
  ~FileTest() override { sh("rm -r " + here); }

  std::string here = File(testing::TempDir()).getAbsolutePath() + "/file_test.XXXXXX";
  File a{"a"}, b{"b"}, c{"c"}, made{"new"};
};

TEST_F(FileTest, TellsWhatLiesAtAPath) {
  const auto tell = [](const char* path) {
    File f(path);
    return all({run([&] { return f.exists(); }), run([&] { return f.isFile(); }),
                run([&] { return f.isDirectory(); }), run([&] { return f.length(); })});
  };
  EXPECT_EQ("0, gonenot found, gonenot found, gonenot found", tell("gone"));
  EXPECT_EQ("0, not found, not found, not found", tell(""));
  EXPECT_EQ("1, 1, 0, 4; 1, 0, 0, 0", tell("link") + "; " + tell("fifo"));
  EXPECT_EQ("1, 1, 0, 2147483647; 1, 0, 1, 0", tell("largest") + "; " + tell("/proc"));
  EXPECT_EQ("1, 1, 0, length failed, larger", tell("larger"));
  for (const int rights : {0, 1, 2, 4, 7}) {
    File file(std::to_string(rights));
    EXPECT_EQ(rights, 4 * file.canRead() + 2 * file.canWrite() + file.canExecute());
  }
}

TEST_F(FileTest, DerivesPaths) {
  const auto resolved = [](const char* path) {
    return run([=] { return File(path).getAbsolutePath(); });
  };
  const auto parent = [](const char* path) {
    return run([=] { return File(path).getParent().getPath(); });
  };
  EXPECT_EQ(here + "/a, E: getAbsPath of gone", all({resolved("dir/../link"), resolved("gone")}));
  const char* const cases[][2] = {{"dir/file", "/dir/"},
                                  {"dir/sub/..", ""},
                                  {"a", "/"},
                                  {"longer_link", "/dir/"},
                                  {"to_sub", "/dir"}};
  for (const auto& row : cases) EXPECT_EQ(here + row[1], parent(row[0])) << row[0];
  EXPECT_EQ("/dev/, /, gonenot found", all({parent("/dev/null"), parent("/dev"), parent("gone")}));
  EXPECT_EQ("no parent, no parent", all({parent("/"), parent("/dev/..")}));
}

TEST_F(FileTest, ListsAndMakes) {
  EXPECT_EQ("ok first .hidden file sub, ok first", all({list("dir"), list("dir/sub")}));
  EXPECT_EQ("gonenot found first", list("gone"));
  EXPECT_EQ("illegal operation, listFiles first", list("a"));
  EXPECT_EQ("ok, mkdir failed, made, mkdir failed, gone/made",
            all({mkdir("made"), mkdir("made"), mkdir("gone/made")}));
  EXPECT_EQ("770\n", sh("stat -c %a made; chmod 0 made; touch -d @4102444800 a"));  // in 2100
  EXPECT_EQ("dir open failed first", list("made"));
  EXPECT_EQ("ok flushed, ok flushed", all({touch("new"), touch("a")}));
  EXPECT_EQ("666 0\n4102444800\nabcd", sh("stat -c '%a %s' new; stat -c %Y a; cat a"));
  EXPECT_EQ("touch failed, dir, touch failed, fifo", all({touch("dir"), touch("fifo")}));
}

TEST_F(FileTest, ClosesEachDescriptorOnceAfterAFlush) {
  File& same = a;
  std::vector<File> files;
  EXPECT_EQ("ok, -2 +2", all({end(c), compare(a, b)}));
  EXPECT_EQ("a", run([&] { return c = a, a = same, a = std::move(same), c.getPath(); }));
  EXPECT_EQ("ok", run([&] { return c = std::move(a), a = File("a"), std::swap(a, c), "ok"; }));
  EXPECT_EQ("ok", run([&] { return files.push_back(std::move(a)), files.reserve(9), "ok"; }));
  EXPECT_EQ("ok -1 flushed, ok", all({end(files[0]), end(a)}));
  EXPECT_EQ("c -1 flushed", run([&] { return b = File("c"), b.getPath(); }));
}

TEST_F(FileTest, DeletesAndRenames) {
  File dir("dir"), link("link"), twin("./c");
  EXPECT_EQ("unlink failed, ok, abcd", all({remove(dir), remove(link), sh("cat a")}));
  EXPECT_EQ("-2 +2, ok -1 flushed", all({compare(a, b), move(a, b)}));
  EXPECT_EQ("b, b, 4 +1 flushed", all({a.getPath(), b.getPath(), copy(a, made)}));
  EXPECT_EQ("abcd, ok -1 flushed", all({sh("cat new"), move(made, made)}));
  EXPECT_EQ("ok -1, unlink failed, -1 +1", all({remove(a), remove(a), compare(a, c)}));
  EXPECT_EQ("rename failed -1 flushed, b", all({move(a, c), a.getPath()}));
  EXPECT_EQ("0 +2, ok -1, unlink failed -1", all({compare(c, twin), remove(c), remove(twin)}));
}

TEST_F(FileTest, Compares) {
  const char* const cases[][3] = {{"a", "hard", "0 +2"},  {"larger", "empty", "2147483647 +2"},
                                  {"a", "b", "-2 +2"},    {"empty", "larger", "-2147483648 +2"},
                                  {"a", "gone", "-1 +1"}, {"blocks", "greater", "-1 +2"},
                                  {"gone", "a", "-1 +1"}, {"greater", "blocks", "1 +2"},
                                  {"a", "4", "-1 +1"},    {"blocks", "./blocks", "0 +2"}};
  for (const auto& row : cases) {
    File one(row[0]), other(row[1]);
    EXPECT_EQ(row[2], compare(one, other)) << row[0] << ' ' << row[1];
  }
  File twin("./b"), blocks("blocks"), same("blocks");
  EXPECT_EQ("-2 +2, ok, bnot found", all({compare(a, b), remove(twin), compare(a, b)}));
  calls::next = {Fault::error, 4, "read"};
  EXPECT_EQ("copy: read error +2", compare(blocks, same));
}

TEST_F(FileTest, CopiesFromWhereItStands) {
  File fresh("c"), twin("./c"), blocks("blocks"), another(a);
  EXPECT_EQ("4 +2 flushed, 4 +1 flushed, abcdABCD, 0 flushed",
            all({copy(a, b), copy(c, b), sh("cat b"), copy(a, b)}));
  EXPECT_EQ("4 +2 flushed, abcd666\n", all({copy(another, made), sh("cat new; stat -c %a new")}));
  EXPECT_EQ("0, 0 +1, copy: read error +1",
            all({compare(c, a), compare(fresh, a), compare(made, twin)}));
  EXPECT_EQ("2488 +1, 2492 flushed", all({compare(blocks, twin), copy(blocks, twin)}));
  EXPECT_EQ("", sh("cmp blocks c"));
}

TEST_F(FileTest, LeavesTheDestinationWhenItCannotCopy) {
  File twin("./a"), link("link"), hard("hard"), gone("gone"), dir("dir"), readOnly("4");
  EXPECT_EQ("-1, -1 +1, -1, -1", all({copy(a, a), copy(a, twin), copy(a, link), copy(a, hard)}));
  for (File* const dest : {&a, &b}) {
    EXPECT_EQ("-1, -1, -1", all({copy(gone, *dest), copy(dir, *dest), copy(readOnly, *dest)}));
  }
  EXPECT_EQ("abcd123456", sh("cat a b"));
  File later("later/new");
  EXPECT_EQ("-1, ok, 4 +1 flushed", all({copy(a, later), mkdir("later"), copy(a, later)}));

  // The path of the destination leads elsewhere by now, but its descriptor to the source.
  EXPECT_EQ("-2 +2, ", all({compare(c, b), sh("mv c new; cp b c")}));
  EXPECT_EQ("-1 +1, ABCD", all({copy(made, c), sh("cat new")}));
}

TEST_F(FileTest, SwitchesExactlyItsPermissionBits) {
  using Setter = bool (File::*)(bool);
  const std::pair<Setter, mode_t> cases[] = {
      {&File::setReadable, 0400},   {&File::setReadableAll, 0444},
      {&File::setWritable, 0200},   {&File::setWritableAll, 0222},
      {&File::setExecutable, 0100}, {&File::setExecutableAll, 0111}};
  File refusing("/proc/self/stat"), gone("gone");
  for (const auto& row : cases) {
    for (const mode_t mode : {05252u, 02525u}) {
      for (const bool on : {true, false}) {
        EXPECT_TRUE(chmod("a", mode) == 0 && (a.*row.first)(on));
        EXPECT_EQ(on ? mode | row.second : mode & ~row.second,
                  std::stoul(sh("stat -c %a a"), nullptr, 8))
            << row.second;
      }
    }
    EXPECT_FALSE((refusing.*row.first)(true));
    EXPECT_EQ("gonenot found", run([&] { return (gone.*row.first)(true); }));
  }
}

TEST_F(FileTest, AnswersWhateverCallFails) {
  const struct {
    const char* call;
    int nth;
    Fault fault;
    const char *answer, *again;  // of a copy of three blocks, and of the same call without a fault
  } cases[] = {
      {"open", 1, Fault::error, "-1", "2492 +2 flushed"},
      {"creat", 1, Fault::error, "-1 +1", "2492 +1 flushed"},
      {"read", 1, Fault::error, "copy: read error +2", "2492 flushed"},
      {"read", 3, Fault::error, "copy: read error +2", "444 flushed"},
      {"read", 2, Fault::cut, "2492 +2 flushed", "0 flushed"},
      {"write", 2, Fault::zero, "copy: write error +2", "444 flushed"},
      {"write", 3, Fault::error, "copy: write error +2", "0 flushed"},
      {"write", 3, Fault::cut, "2492 +2 flushed", "0 flushed"},
      {"fflush", 1, Fault::error, "2492 +2", "0 flushed"},
      {"close", 1, Fault::error, "2492 +2 flushed", "0 flushed"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.call) + ' ' + std::to_string(c.nth));
    File blocks("blocks"), dest("dest");
    EXPECT_EQ("", sh("cp b dest"));
    calls::next = {c.fault, c.nth, c.call};
    EXPECT_EQ(c.answer, copy(blocks, dest));
    EXPECT_EQ(c.again, copy(blocks, dest));
    EXPECT_EQ("ok -1 flushed", end(blocks));
    EXPECT_EQ(0, calls::next.in);
    const bool lost = std::string(c.answer).find("write") != std::string::npos;
    EXPECT_EQ(lost ? "lost" : "", sh("cmp -s blocks dest || printf lost"));
  }
}

#ifndef __SANITIZE_ADDRESS__  // which does not follow a thread that unwinds from a cancellation

TEST_F(FileTest, CancelledLoseNoDescriptorAndFinishWhatTheyClose) {
  void (*const operations[])(File, File) = {
      [](File a, File b) { a.compareTo(b), a = b; },
      [](File a, File b) { File("new").touch(), a.compareTo(b), File("new").renameTo(b); },
      [](File, File) { list("dir"); },
      [](File a, File b) { a.copyTo(b), b.deleteThis(); },
      [](File, File) { vimo::util::config::CppProperties().load("a"); },
  };
  const int before = calls::openDescriptors();
  for (const auto& operation : operations) {
    bool ended = false;
    for (int nth = 1; !ended; ++nth) {
      SCOPED_TRACE(std::to_string(&operation - operations) + ' ' + std::to_string(nth));
      calls::next = {Fault::cancel, nth, ""};
      std::thread([&] {
        operation(File("a"), File("c"));
        pthread_testcancel();  // cancelling is allowed again
        ended = true;
      }).join();
      EXPECT_EQ(ended, calls::next.in > 0);
      calls::next = {};
      EXPECT_EQ(before, calls::openDescriptors());
    }
  }
}

#endif

}  // namespace
