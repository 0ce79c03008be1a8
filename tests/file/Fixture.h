#ifndef VIMO_UTIL_TESTS_FILE_FIXTURE_H
#define VIMO_UTIL_TESTS_FILE_FIXTURE_H

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

#include "vimo_util/file/File.h"

// A temporary directory, which is the working directory of the test.
class FileTest : public testing::Test {
 protected:
  FileTest() : directory(testing::TempDir() + "file_test.XXXXXX") {
    EXPECT_TRUE(mkdtemp(&directory[0]) && chdir(directory.c_str()) == 0 && chmod(".", 0777) == 0);
    directory = vimo::util::File(".").getAbsolutePath();
    umask(0);
  }
  ~FileTest() override {
    EXPECT_EQ(0, system(("chmod -R u+rwx " + directory + " && rm -r " + directory).c_str()));
  }

  std::string directory;
};

inline void put(const std::string& path, const std::string& content) {
  std::ofstream(path, std::ios::binary) << content;
}

inline std::string get(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

inline struct stat statusOf(const std::string& path) {
  struct stat status = {};
  EXPECT_EQ(0, stat(path.c_str(), &status)) << path;
  return status;
}

// How many descriptors the process has open.
inline int openDescriptors() {
  int open = 0;
  for (int fd = 0; fd < 256; ++fd) open += fcntl(fd, F_GETFD) != -1;
  return open;
}

// The text of the FileException that `action` throws.
template <class Action>
std::string failureOf(Action action) {
  try {
    action();
    return "no failure";
  } catch (const vimo::util::FileException& e) {
    return e.what();
  }
}

#endif
