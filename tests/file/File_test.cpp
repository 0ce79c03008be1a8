#include "vimo_util/file/File.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdio_ext.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <map>
#include <sstream>

#include "faults/calls.h"

using vimo::util::File;

namespace {

bool full;                 // nothing can be written
bool apart;                // the file of a descriptor seems to be in another file system
bool closedBefore;         // a descriptor was closed ahead of a flush
std::int64_t unread = -1;  // what the files seem to hold, unless it is negative

FILE* const unflushed = fopen("/dev/null", "w");

}  // namespace

// These stand before those of the system, in the library too.
extern "C" ssize_t read(int fd, void* buffer, size_t size) {
  const iovec block = {buffer, size};
  if (unread < 0) return readv(fd, &block, 1);
  size = std::min<std::int64_t>(size, unread);
  unread -= size;
  return size;
}
extern "C" ssize_t write(int fd, const void* buffer, size_t size) {
  const iovec block = {const_cast<void*>(buffer), full ? 0 : size};
  return unread < 0 ? writev(fd, &block, 1) : size;
}
extern "C" int fstat(int fd, struct stat* status) noexcept {
  const int result = fstatat(fd, "", status, AT_EMPTY_PATH);
  status->st_dev += apart;
  return result;
}
extern "C" int close(int fd) {
  closedBefore = __fpending(unflushed) > 0;
  return static_cast<int>(syscall(SYS_close, fd));
}

namespace {

constexpr char prepare[] = R"(set -e; umask 0; chmod 755 .; mkdir .all; cd .all
printf abcd >a; printf 123456 >b; printf ABCD >c; : >empty; ln a hard; ln -s a link
printf old >old; touch -d @4102444800 old  # in 2100
seq 650 >blocks; sed s/640/641/ blocks >greater; printf x >readonly; chmod 555 readonly
truncate -s 2147483647 largest; truncate -s 2147483649 larger; mkfifo fifo; ln -s gone nowhere
mkdir -p dir/sub; touch dir/file dir/.hidden dir/... dir/-; ln -s dir/file longer_link; ln -s dir/sub to_sub
)";
constexpr char fill[] = "rm -rf ./* && cp -a .all/* .";

struct Step {
  File &a, &b;
  std::ostream& out;
};

struct stat statusOf(const File& file) {
  struct stat status = {};
  stat(file.getPath().c_str(), &status);
  return status;
}

const std::map<std::string, void (*)(Step)> operations = {
    {"absolute", [](Step s) { s.out << s.a.getAbsolutePath(); }},
    {"apart", [](Step) { apart = true; }},
    {"assign", [](Step s) { s.a = s.b; }},
    {"can", [](Step s) { s.out << s.a.canRead() << s.a.canWrite() << s.a.canExecute(); }},
    {"compare", [](Step s) { s.out << s.a.compareTo(s.b); }},
    {"content", [](Step s) { s.out << std::ifstream(s.a.getPath()).rdbuf(); }},
    {"copy", [](Step s) { s.out << s.a.copyTo(s.b); }},
    {"copy2", [](Step s) { s.out << File(s.a).copyTo(s.b); }},
    {"delete", [](Step s) { s.a.deleteThis(); }},
    {"destroy", [](Step s) { File gone(std::move(s.a)); }},
    {"full", [](Step) { full = true; }},
    {"grow",
     [](Step s) {
       std::vector<File> files;
       files.push_back(std::move(s.a));
       files.reserve(99);
       s.out << files[0].copyTo(s.b);
     }},
    {"kind", [](Step s) { s.out << s.a.exists() << s.a.isFile() << s.a.isDirectory(); }},
    {"length", [](Step s) { s.out << s.a.length(); }},
    {"list",
     [](Step s) {
       std::vector<File> files(1, s.b);
       s.a.listFiles(files);
       std::sort(files.begin() + 1, files.end(),
                 [](File& a, File& b) { return a.getPath() < b.getPath(); });
       for (const File& file : files) s.out << file.getPath() << " ";
     }},
    {"mkdir", [](Step s) { s.a.mkdir(); }},
    {"mode", [](Step s) { s.out << std::oct << (statusOf(s.a).st_mode & 07777); }},
    {"move", [](Step s) { s.a = std::move(s.b); }},
    {"parent", [](Step s) { s.out << s.a.getParent().getPath(); }},
    {"path", [](Step s) { s.out << s.a.getPath(); }},
    {"readable", [](Step s) { s.out << s.a.setReadable(true); }},
    {"rename", [](Step s) { s.a.renameTo(s.b); }},
    {"swap", [](Step s) { std::swap(s.a, s.b); }},
    {"time", [](Step s) { s.out << statusOf(s.a).st_mtime; }},
    {"touch", [](Step s) { s.a.touch(); }},
    {"unread", [](Step) { unread = 0x80000001; }},
};

// Plays steps "operation path other", divided by commas, where a path stands for
// the same object in each. An answer is what the operation returns or throws, or
// "ok", then how many descriptors more are open and whether it has flushed. HERE
// is the working directory.
std::string play(const std::string& steps) {
  full = apart = false;
  unread = -1;
  const std::string directory = File(".").getAbsolutePath();
  std::map<std::string, File> files;
  std::istringstream in(steps);
  std::string step, answers;
  while (std::getline(in, step, ',')) {
    std::istringstream words(step);
    std::string operation, path, other;
    words >> operation >> path >> other;
    std::ostringstream answer;
    const Step objects = {files.emplace(path, path).first->second,
                          files.emplace(other, other).first->second, answer};
    const int before = calls::openDescriptors();
    fputs("x", unflushed);
    closedBefore = false;
    try {
      operations.at(operation)(objects);
    } catch (const vimo::util::FileException& e) {
      answer << e.what();
    }
    const int opened = calls::openDescriptors() - before;
    if (answer.str().empty()) answer << "ok";
    if (opened != 0) answer << std::showpos << " " << opened;
    if (__fpending(unflushed) == 0) answer << (closedBefore ? " too late" : " flushed");
    answers += (answers.empty() ? "" : ", ") + answer.str();
    const std::size_t here = answers.find(directory);
    if (here != std::string::npos) answers.replace(here, directory.size(), "HERE");
  }
  return answers;
}

// A temporary directory, which is the working directory of the test.
class FileTest : public testing::Test {
 protected:
  FileTest() : directory(testing::TempDir() + "file_test.XXXXXX") {
    // No mode would stop root. Leak checks want the process to stay dumpable.
    EXPECT_TRUE(geteuid() != 0 || (setuid(65534) == 0 && prctl(PR_SET_DUMPABLE, 1) == 0));
    EXPECT_TRUE(mkdtemp(&directory[0]) && chdir(directory.c_str()) == 0);
    EXPECT_EQ(0, system(prepare));
    umask(0);
    close(0);  // so that 0 is the first descriptor to be held
  }
  ~FileTest() override { EXPECT_EQ(0, system(("rm -r " + directory).c_str())); }

  // Plays steps in a fresh directory; see play().
  void check(const std::vector<std::pair<std::string, std::string>>& stepsAndAnswers) {
    const int before = calls::openDescriptors();
    for (const auto& c : stepsAndAnswers) {
      EXPECT_EQ(0, system(fill));
      EXPECT_EQ(c.second, play(c.first)) << c.first;
      EXPECT_EQ(before, calls::openDescriptors()) << c.first;
    }
  }

 private:
  std::string directory;
};

TEST_F(FileTest, TellsWhatLiesAtAPath) {
  check({
      {"kind a, kind link, kind dir, kind to_sub", "110, 110, 101, 101"},
      {"kind fifo, kind gone, kind nowhere", "100, 0gonenot found, 0nowherenot found"},
      {"length link, length fifo, length, length old", "4, 0, not found, 3"},
      {"length largest, length larger", "2147483647, length failed, larger"},
      {"can a, can readonly, can /root, can gone", "110, 101, 000, 000"},
      {"readable readonly, readable /, readable gone", "1, 0, gonenot found"},
      {"absolute dir/../link, absolute gone", "HERE/a, E: getAbsPath of gone"},
      {"parent dir/file, parent longer_link", "HERE/dir/, HERE/dir/"},
      {"parent dir/sub/, parent to_sub, parent dir/sub/..", "HERE/dir, HERE/dir, HERE"},
      {"parent /dev, parent /dev/null", "/, /dev/"},
      {"parent /, parent /dev/.., parent gone", "no parent, no parent, gonenot found"},
  });
}

TEST_F(FileTest, ListsAndMakes) {
  check({
      {"list dir first, list dir/sub first", "first - ... .hidden file sub , first "},
      {"list gone, list a, list /root",
       "gonenot found, illegal operation, listFiles, dir open failed"},
      {"mkdir new, mode new, mkdir new", "ok, 770, mkdir failed, new"},
      {"mkdir gone/new", "mkdir failed, gone/new"},
      {"touch new, mode new, length new", "ok flushed, 666, 0"},
      {"touch old, time old, content old", "ok flushed, 4102444800, old"},
      {"touch dir, touch fifo", "touch failed, dir, touch failed, fifo"},
  });
}

TEST_F(FileTest, ClosesEachDescriptorOnceAndFlushesBefore) {
  check({
      {"destroy c, compare a b, destroy a", "ok, -2 +2, ok -1 flushed"},
      {"compare a b, assign a c, path a", "-2 +2, ok -1 flushed, c"},
      {"compare a b, assign c a, path c", "-2 +2, ok, a"},
      {"compare a b, move a c, path a", "-2 +2, ok -1 flushed, c"},
      {"compare a b, move c a, destroy c, destroy a", "-2 +2, ok, ok -1 flushed, ok"},
      {"compare a b, swap a c, destroy a, destroy c", "-2 +2, ok, ok, ok -1 flushed"},
      {"compare a b, assign a a, move a a, destroy a", "-2 +2, ok, ok, ok -1 flushed"},
      {"copy a new, grow a c", "4 +2 flushed, 0 flushed"},
      {"compare a b, delete a, compare a b, destroy a", "-2 +2, ok -1, -1, ok"},
      {"compare a b, delete ./a, delete a", "-2 +2, ok, unlink failed -1"},
      {"delete dir, delete link, content a", "unlink failed, ok, abcd"},
      {"compare a b, rename a b, content b, delete a", "-2 +2, ok -1 flushed, abcd, ok -1"},
      {"compare a b, rename a a", "-2 +2, ok -1 flushed"},
      {"compare a b, delete ./a, rename a b, path a", "-2 +2, ok, rename failed -1 flushed, a"},
  });
}

TEST_F(FileTest, ComparesAndCopiesFromWhereItStands) {
  check({
      {"compare b a, compare a gone, compare gone b", "2 +2, -1, -1"},
      {"compare a readonly, compare readonly a", "-1 +1, -1"},
      {"compare a b, delete ./a, compare a b", "-2 +2, ok, anot found"},
      {"compare larger empty, compare empty larger", "2147483647 +2, -2147483648"},
      {"unread, copy a b", "ok, 2147483647 +2 flushed"},
      {"compare blocks greater, compare ./greater ./blocks", "-1 +2, 1 +2"},
      {"copy blocks b, compare ./blocks ./b", "2492 +2 flushed, 0 +2"},
      {"copy a new, content new, mode new", "4 +2 flushed, abcd, 666"},
      {"copy a b, copy c b, content b", "4 +2 flushed, 4 +1 flushed, abcdABCD"},
      {"copy a b, copy a b, copy2 a b", "4 +2 flushed, 0 flushed, 4 flushed"},
      {"compare b a, destroy b, copy a c", "2 +2, ok -1 flushed, 4 +1 flushed"},
      {"copy a b, compare a ./c, compare ./c a", "4 +2 flushed, 0 +1, 0"},
      {"copy a b, compare c b, compare b c", "4 +2 flushed, copy: read error +1, copy: read error"},
      {"copy a b, copy b c, copy a c", "4 +2 flushed, copy: read error +1, 0 flushed"},
      {"copy blocks /dev/full, copy blocks /dev/full, compare blocks ./blocks",
       "copy: write error +2, copy: write error, -580 +1"},
      {"full, copy a b", "ok, copy: write error +2"},
  });
}

TEST_F(FileTest, LeavesTheDestinationWhenItCannotCopy) {
  check({
      {"copy a a, copy a ./a, copy a link, copy a hard, content a", "-1, -1 +1, -1, -1, abcd"},
      {"apart, copy a hard, content a", "ok, 0 +2 flushed, "},
      {"copy link a, content a, copy a gone/new", "-1 +1, abcd, -1 +1"},
      {"copy gone a, copy dir a, copy readonly a, content a", "-1, -1, -1, abcd"},
      // The path of the destination leads elsewhere by now, but its descriptor to the source.
      {"compare a b, rename ./a moved, rename c ./dir/../a, copy moved a, content moved",
       "-2 +2, ok, ok, -1 +1, abcd"},
  });
}

TEST_F(FileTest, SwitchesExactlyItsPermissionBits) {
  const struct {
    bool (File::*set)(bool);
    mode_t bits;
  } cases[] = {
      {&File::setReadable, 0400},    {&File::setReadableAll, 0444}, {&File::setWritable, 0200},
      {&File::setWritableAll, 0222}, {&File::setExecutable, 0100},  {&File::setExecutableAll, 0111},
  };
  File file("file");
  file.touch();
  for (const auto& c : cases) {
    for (const mode_t mode : {05252, 02525}) {
      EXPECT_TRUE(chmod("file", mode) == 0 && (file.*c.set)(true)) << std::oct << c.bits;
      EXPECT_EQ(mode | c.bits, statusOf(file).st_mode & 07777) << std::oct << c.bits;
      EXPECT_TRUE((file.*c.set)(false)) << std::oct << c.bits;
      EXPECT_EQ(mode & ~c.bits, statusOf(file).st_mode & 07777) << std::oct << c.bits;
    }
  }
}

}  // namespace
