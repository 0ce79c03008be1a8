// What all forms owe to a client when a stream, a file, the memory or a thread
// gives up in the middle.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <streambuf>

#include "config/dump.h"
#include "support/Allocations.h"

namespace {

using vimo::util::config::CommaSeparatedValues;
using vimo::util::config::CppProperties;

struct Text : CppProperties {
  std::string sample() { return "a=a value of some length\nb=1\nb=2\nsome longer key=x\n"; }
  void take(std::istream& in) { read(in); }
};

struct Binary : CppProperties {
  std::string sample() {
    setProperty("a", "a value of some length");
    setProperty("some longer key", "");
    std::ostringstream out;
    save(out);
    return out.str();
  }
  void take(std::istream& in) { load(in); }
};

struct Table : CommaSeparatedValues {
  std::string sample() { return "a,a cell of some length\n\n#no\nsome longer cell,,\n"; }
  void take(std::istream& in) { load(in); }
};

template <class Form>
class Loading : public testing::Test {};
using Forms = testing::Types<Text, Binary, Table>;
TYPED_TEST_SUITE(Loading, Forms, );

struct Fault {};

// Gives `text` in pieces of `chunk` bytes, of 0 without a get area, and throws.
class FaultyBuffer : public std::streambuf {
 public:
  FaultyBuffer(const std::string& text, std::size_t chunk) : text(text), chunk(chunk), next(0) {}

 private:
  int_type underflow() override {
    if (next == text.size()) throw Fault();
    const std::size_t size = std::min(chunk, text.size() - next);
    if (size == 0) return traits_type::to_int_type(text[next]);
    setg(&text[next], &text[next], &text[next] + size);
    next += size;
    return traits_type::to_int_type(*gptr());
  }
  int_type uflow() override {
    const int_type c = underflow();
    chunk > 0 ? gbump(1) : void(++next);
    return c;
  }

  std::string text;
  std::size_t chunk, next;
};

TYPED_TEST(Loading, KeepsWhatWasWholeBeforeAFaultAtAnyByte) {
  const bool binary = std::is_same<TypeParam, Binary>::value;
  const std::string text = TypeParam().sample();
  std::string whole;
  for (std::size_t end = 0; end <= text.size(); ++end) {
    if (binary || end == 0 || text[end - 1] == '\n') {
      std::istringstream shorter(text.substr(0, end));
      TypeParam form;
      form.take(shorter);
      whole = dump(form);
      // A table that ends there has one more line, an empty one.
      if (std::is_same<TypeParam, Table>::value) whole.pop_back();
    }
    for (const std::size_t chunk : {0, 1, 7, 1000}) {
      for (const auto mask : {std::ios::goodbit, std::ios::badbit}) {
        FaultyBuffer buffer(text.substr(0, end), chunk);
        std::istream in(&buffer);
        in.exceptions(mask);
        TypeParam form;
        bool threw = false;
        try {
          form.take(in);
        } catch (const Fault&) {
          threw = true;
        }
        EXPECT_EQ(whole, dump(form)) << end << ' ' << chunk;
        EXPECT_TRUE(in.bad()) << end << ' ' << chunk;
        EXPECT_EQ(mask != std::ios::goodbit, threw) << end << ' ' << chunk;
      }
    }
  }
}

TYPED_TEST(Loading, TakesNothingFromAStreamThatHasFailed) {
  for (const auto state : {std::ios::failbit, std::ios::badbit, std::ios::eofbit}) {
    std::istringstream in(TypeParam().sample());
    in.setstate(state);
    TypeParam form;
    form.sample();
    form.take(in);
    EXPECT_EQ("", dump(form)) << state;
    in.clear();
    EXPECT_EQ(0, in.tellg()) << state;
  }
}

TYPED_TEST(Loading, KeepsWhatWasWholeWhenMemoryRunsOut) {
  std::istringstream sample(TypeParam().sample());
  TypeParam all;
  all.take(sample);
  bool failed = true;
  for (int n = 1; failed; ++n) {
    std::istringstream in(TypeParam().sample());
    const long blocks = allocations::live();
    {
      TypeParam form;
      allocations::failAt(n);
      try {
        form.take(in);
        // std::getline() takes a lack of memory for trouble with the stream.
        EXPECT_EQ(allocations::failed(), in.bad()) << n;
      } catch (const std::bad_alloc&) {
        EXPECT_FALSE(in.bad()) << n;
      }
      allocations::failAt(0);
      failed = allocations::failed();
      const std::string entries = dump(form);
      EXPECT_EQ(failed, entries != dump(all)) << n;
      EXPECT_EQ(0u, dump(all).find(entries)) << n;
    }
    EXPECT_EQ(blocks, allocations::live()) << n;
  }
}

int freeDescriptor() {
  const int descriptor = dup(0);
  close(descriptor);
  return descriptor;
}

class LoadingFiles : public testing::Test {
 protected:
  LoadingFiles() : folder(testing::TempDir() + "loadingXXXXXX"), descriptor(freeDescriptor()) {
    EXPECT_TRUE(mkdtemp(&folder[0]));
    path = folder + "/file";
    std::ofstream(path) << Text().sample();
  }
  ~LoadingFiles() override {
    std::remove(path.c_str());
    std::remove(folder.c_str());
    EXPECT_EQ(descriptor, freeDescriptor());
  }

  std::string folder, path;
  int descriptor;
};

unsigned int codeOf(CppProperties& properties, const std::string& path) {
  try {
    properties.load(path);
  } catch (const VIMOException& exception) {
    return exception.code;
  }
  return 0;
}

TEST_F(LoadingFiles, TellsWhyItFailed) {
  const struct {
    std::string path;
    unsigned int code;
    const char *properties, *rows;
  } cases[] = {{"", 0x1E0001, "old>x;", "[old];"},
               {folder + "/missing", 0x1E0001, "old>x;", "[old];"},
               {path + "/below", 0x1E0001, "old>x;", "[old];"},
               {folder, 0x1E0002, "", ""},
               {"/proc/self/mem", 0x1E0002, "", ""},
               {path, 0, "a>a value of some length;b>2;some longer key>x;",
                "[a=a value of some length];[b=1];[b=2];[some longer key=x];;"}};
  for (const auto& c : cases) {
    CppProperties properties;
    properties.setProperty("old", "x");
    properties.setModified(false);
    EXPECT_EQ(c.code, codeOf(properties, c.path)) << c.path;
    EXPECT_EQ(c.properties, dump(properties)) << c.path;
    EXPECT_EQ(c.code != 0x1E0001, properties.isModified()) << c.path;
    std::istringstream old("old");
    CommaSeparatedValues table;
    table.load(old);
    EXPECT_EQ(c.code != 0x1E0001, table.load(c.path)) << c.path;
    EXPECT_EQ(c.rows, dump(table)) << c.path;
  }
}

TEST_F(LoadingFiles, WithoutMemoryRaisesVIMOException) {
  unsigned int code = 1;
  for (int n = 1; code != 0; ++n) {
    CppProperties properties;
    allocations::failAt(n);
    code = codeOf(properties, path);
    allocations::failAt(0);
    EXPECT_EQ(allocations::failed() ? 0x1E0002u : 0u, code) << n;
  }
}

template <class Form>
void* loadInThread(void* path) {
  Form().load(*static_cast<std::string*>(path));
  return nullptr;
}

TEST_F(LoadingFiles, CancelledThreadUnwinds) {
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "the sanitizer itself fails when a cancelled thread unwinds";
#endif
  std::remove(path.c_str());
  ASSERT_EQ(0, mkfifo(path.c_str(), 0600));
  for (const auto run : {loadInThread<CppProperties>, loadInThread<CommaSeparatedValues>}) {
    for (const bool opened : {false, true}) {  // it waits in open(), or in read()
      const long blocks = allocations::live();
      pthread_t thread;
      ASSERT_EQ(0, pthread_create(&thread, nullptr, run, &path));
      const int writer = opened ? open(path.c_str(), O_WRONLY) : -1;
      int unread = write(writer, "a", 1);
      while (unread > 0) ioctl(writer, FIONREAD, &unread);
      pthread_cancel(thread);
      void* result = nullptr;
      pthread_join(thread, &result);
      close(writer);
      EXPECT_EQ(PTHREAD_CANCELED, result) << opened;
      EXPECT_EQ(blocks, allocations::live()) << opened;
    }
  }
}

}  // namespace
