#include "vimo_util/file/File.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>

#include <algorithm>
#include <functional>

#include "Fixture.h"

using vimo::util::File;

namespace {

const std::string tooLong(5000, 'x');

TEST_F(FileTest, TellsWhatLiesAtAPath) {
  put("file", "12345");
  put("empty", "");
  put("largest", "");
  put("larger", "");
  ASSERT_EQ(0, truncate("largest", 0x7FFFFFFF) | truncate("larger", 0x80000000) |
                   mkdir("dir", 0777) | mkfifo("fifo", 0666) | symlink("file", "to file") |
                   symlink("dir", "to dir") | symlink("missing", "to none") |
                   symlink("loop", "loop"));
  const sockaddr_un address = {AF_UNIX, "socket"};
  const int socketFd = socket(AF_UNIX, SOCK_STREAM, 0);
  ASSERT_EQ(0, bind(socketFd, reinterpret_cast<const sockaddr*>(&address), sizeof address));
  close(socketFd);

  enum Kind { nothing, directory, file, other };
  const struct {
    std::string path;
    Kind kind;
    int length;  // of files
  } cases[] = {
      {"file", file, 5},       {"empty", file, 0},       {"largest", file, INT_MAX},
      {"larger", file, -1},    {"to file", file, 5},     {"/proc/self/status", file, 0},
      {"dir", directory, 0},   {"to dir", directory, 0}, {"fifo", other, 0},
      {"socket", other, 0},    {"/dev/full", other, 0},  {"missing", nothing, 0},
      {"to none", nothing, 0}, {"loop", nothing, 0},     {"file/below", nothing, 0},
      {"", nothing, 0},        {tooLong, nothing, 0},
  };
  for (const auto& c : cases) {
    File f(c.path);
    const std::string notFound = c.kind == nothing ? c.path + "not found" : "no failure";
    EXPECT_EQ(c.kind != nothing, f.exists()) << c.path;
    EXPECT_EQ(notFound, failureOf([&] { EXPECT_EQ(c.kind == directory, f.isDirectory()); }));
    EXPECT_EQ(notFound, failureOf([&] { EXPECT_EQ(c.kind == file, f.isFile()) << c.path; }));
    EXPECT_EQ(c.length < 0 ? "length failed, " + c.path : notFound, failureOf([&] {
                EXPECT_EQ(c.kind == directory ? f.length() : c.length, f.length());
              }));
  }
}

TEST_F(FileTest, SaysWhatFailed) {
  mkdir("dir", 0777);
  mkfifo("fifo", 0666);
  put("file", "");
  std::vector<File> files;
  File nowhere("missing/other");
  const auto absolute = [](File& f) { f.getAbsolutePath(); };
  const auto parent = [](File& f) { f.getParent(); };
  const auto list = [&](File& f) { f.listFiles(files); };
  const auto make = [](File& f) { f.mkdir(); };
  const auto touch = [](File& f) { f.touch(); };
  const auto remove = [](File& f) { f.deleteThis(); };
  const auto rename = [&](File& f) { f.renameTo(nowhere); };
  const auto set = [](File& f) { f.setReadable(true); };
  const struct {
    std::string path;
    std::function<void(File&)> action;
    std::string text;
  } cases[] = {
      {"missing", absolute, "E: getAbsPath of missing"},
      {tooLong, absolute, "E: getAbsPath of " + tooLong},
      {"missing", parent, "missingnot found"},
      {"", parent, "not found"},
      {"/", parent, "no parent"},
      {"/proc/..", parent, "no parent"},
      {"missing", list, "missingnot found"},
      {"file", list, "illegal operation, listFiles"},
      {"dir", make, "mkdir failed, dir"},
      {"missing/dir", make, "mkdir failed, missing/dir"},
      {"dir", touch, "touch failed, dir"},
      {"fifo", touch, "touch failed, fifo"},  // at once, though it has no reader
      {"dir", remove, "unlink failed"},
      {"missing", remove, "unlink failed"},
      {"file", rename, "rename failed"},
      {"missing", set, "missingnot found"},
  };
  for (const auto& c : cases) {
    File f(c.path);
    EXPECT_EQ(c.text, failureOf([&] { c.action(f); })) << c.path;
    EXPECT_EQ(c.path, f.getPath());
  }
  EXPECT_TRUE(files.empty());
}

TEST_F(FileTest, SwitchesExactlyItsPermissionBits) {
  const struct {
    bool (File::*set)(bool);
    mode_t bits;
  } cases[] = {
      {&File::setReadable, 0400},    {&File::setReadableAll, 0444}, {&File::setWritable, 0200},
      {&File::setWritableAll, 0222}, {&File::setExecutable, 0100},  {&File::setExecutableAll, 0111},
  };
  put("file", "");
  for (const auto& c : cases) {
    for (const mode_t mode : {0, 0777, 05252, 01525}) {
      for (const bool on : {true, false}) {
        chmod("file", mode);
        EXPECT_TRUE((File("file").*c.set)(on));
        EXPECT_EQ(on ? mode | c.bits : mode & ~c.bits, statusOf("file").st_mode & 07777)
            << std::oct << c.bits << (on ? " on in " : " off in ") << mode;
      }
    }
  }
}

TEST_F(FileTest, RespectsTheRightsOfAnOrdinaryUser) {
  put("file", "content");
  put("kept", "kept");
  mkdir("shut", 0777);
  put("shut/file", "");
  chmod("file", 0555);
  chmod("shut", 0);
  const pid_t child = fork();
  if (child == 0) {
    EXPECT_TRUE(geteuid() != 0 || (setgid(65534) == 0 && setuid(65534) == 0));
    File inside("shut/file"), file("file"), kept("kept");
    std::vector<File> files;
    EXPECT_TRUE(file.canRead() && !file.canWrite() && file.canExecute());
    EXPECT_TRUE(kept.canRead() && kept.canWrite() && !kept.canExecute());
    EXPECT_FALSE(inside.exists() || inside.canRead());
    EXPECT_EQ("dir open failed", failureOf([&] { File("shut").listFiles(files); }));
    EXPECT_EQ(-1, file.compareTo(kept));
    EXPECT_EQ(-1, file.copyTo(kept)) << "it opens for reading and writing";
    EXPECT_EQ("kept", get("kept"));
    EXPECT_FALSE(File("/").setReadable(true));
    _exit(HasFailure());
  }
  int status = -1;
  EXPECT_EQ(child, waitpid(child, &status, 0));
  EXPECT_EQ(0, status);
}

TEST_F(FileTest, FindsTheParent) {
  File("dir").mkdir();
  File("dir/sub").mkdir();
  EXPECT_EQ(0770u, statusOf("dir").st_mode & 07777);
  put("dir/file", "");
  ASSERT_EQ(0, symlink("dir/sub", "to sub") | symlink("dir/file", "link of another length"));
  const struct {
    std::string path, parent;
  } cases[] = {
      {"dir/file", directory + "/dir/"},
      {"dir/sub/../file", directory + "/dir/"},
      {"link of another length", directory + "/dir/"},
      {"/dev/null", "/dev/"},
      {"dir/sub/", directory + "/dir"},
      {"to sub", directory + "/dir"},
      {"dir/sub/..", directory},
      {"/dev", "/"},
  };
  for (const auto& c : cases) EXPECT_EQ(c.parent, File(c.path).getParent().getPath()) << c.path;
}

TEST_F(FileTest, ListsBareNamesBehindWhatIsThere) {
  mkdir("dir", 0777);
  std::vector<std::string> names = {".hidden", "...", " a\n\"b\"", "\xff\xfe"};
  names.emplace_back(255, 'n');
  std::vector<File> files;
  File("dir").listFiles(files);
  EXPECT_TRUE(files.empty());
  for (const std::string& name : names) put("dir/" + name, "");

  std::vector<std::string> expected(names), listed;
  expected.insert(expected.end(), names.begin(), names.end());
  std::sort(expected.begin(), expected.end());
  files.emplace_back("first");
  for (int repeat = 0; repeat < 2; ++repeat) File("dir").listFiles(files);
  EXPECT_EQ("first", files[0].getPath());
  for (std::size_t i = 1; i < files.size(); ++i) listed.push_back(files[i].getPath());
  std::sort(listed.begin(), listed.end());
  EXPECT_EQ(expected, listed);
}

TEST_F(FileTest, TouchMakesAFileAndChangesNone) {
  File("new").touch();
  EXPECT_EQ(0, File("new").length());
  EXPECT_EQ(0666u, statusOf("new").st_mode & 07777);

  put("old", "content");
  const struct timespec times[] = {{1, 2}, {4102444800, 4}};  // the latter in 2100
  ASSERT_EQ(0, utimensat(AT_FDCWD, "old", times, 0));
  const struct stat before = statusOf("old");
  File("old").touch();
  EXPECT_EQ("content", get("old"));
  EXPECT_EQ(before.st_mtim.tv_sec, statusOf("old").st_mtim.tv_sec);
  EXPECT_EQ(before.st_ctim.tv_nsec, statusOf("old").st_ctim.tv_nsec);
}

}  // namespace
