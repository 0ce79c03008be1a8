#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <functional>
#include <sstream>

#include "config/dump.h"

namespace {

using vimo::util::config::CppProperties;
using namespace std::string_literals;

// The code of the VIMOException that `action` throws, 0 if it throws nothing.
unsigned int codeOf(const std::function<void()>& action) try {
  return action(), 0;
} catch (const VIMOException& exception) {
  return exception.what() == "VIMOException"s ? exception.code : 1;
}

TEST(CppProperties, ReadsValuesAsTextNumberAndSwitch) {
  const std::int64_t max = INT64_MAX, min = INT64_MIN;
  const struct {
    std::string value;
    std::int64_t decimal, hex;
  } cases[] = {{"12abc", 12, 0x12abc}, {"abc", 0, 0xabc}, {"9999999999999999999", max, max},
               {" \t+0XfF ", 0, 255},  {"on", 0, 0},      {"-9999999999999999999", min, min},
               {"ON", 0, 0},           {"", 0, 0},        {"on with what follows", 0, 0}};
  for (const auto& c : cases) {
    CppProperties store;
    store.setProperty("key", c.value);
    for (const std::string key : {"key", "KEY", "key ", ""}) {
      SCOPED_TRACE(key + '=' + c.value);
      const bool some = key == "key" && c.value != "";
      EXPECT_EQ(some, store.exist(key));
      EXPECT_EQ(some ? c.value : "", store.getProperty(key));
      EXPECT_EQ(some ? c.decimal : 0, store.getInt(key));
      EXPECT_EQ(some ? c.hex : 0, store.getHEX(key));
      EXPECT_EQ(some && c.value == "on", store.isOn(key));
      EXPECT_EQ(some ? 0 : 0x1080, codeOf([&] { EXPECT_EQ(c.value, store.getProperty_(key)); }));
      EXPECT_EQ(some ? 0 : 0x1081, codeOf([&] { EXPECT_EQ(c.decimal, store.getInt_(key)); }));
      EXPECT_EQ(some ? 0 : 0x1082, codeOf([&] { EXPECT_EQ(c.hex, store.getHEX_(key)); }));
      EXPECT_EQ(some ? 0 : 0x1083, codeOf([&] { EXPECT_EQ(c.value == "on", store.isOn_(key)); }));
    }
  }
}

TEST(CppProperties, StoresByTheKeysBytesAndTellsWhatModifiesIt) {
  CppProperties properties;
  EXPECT_FALSE(properties.isModified());
  const struct {
    const char *key, *value;
    bool modifies;
  } cases[] = {{"\xff", "", false}, {"ab", "x", true}, {"ab", "x", false}, {"ab", "y", true},
               {"Z", "z", true},    {"Z", "", true},   {"a ", "", false},  {"", "x", true}};
  for (const auto& c : cases) {
    properties.setModified(false);
    properties.setProperty(c.key, c.value);
    EXPECT_EQ(c.modifies, properties.isModified()) << c.key << '=' << c.value;
  }
  std::vector<std::string> keys = {"old"};
  properties.getKeys(keys);
  EXPECT_EQ((std::vector<std::string>{"old", "", "Z", "a ", "ab", "\xff"}), keys);
  properties.setModified(false);
  properties.clear();
  EXPECT_TRUE(properties.isModified());
}

TEST(CppProperties, ReadsLines) {
  const char* const cut[][2] = {{"", ""},      {"a=b", "a>b;"},        {"a b = c d", "a b>c d;"},
                                {"#a=b", ""},  {"  a =  b  ", "a>b;"}, {"b=1\na=2\nb=", "a>2;b>;"},
                                {"\na\n", ""}, {" #a=b", ""},          {"a\t=b\r\n", "a\t>b\r;"},
                                {"=b", ">b;"}, {"a#b=c", ""},          {"a=b#c", "a>b;"},
                                {" = ", ">;"}, {"a=b=c", "a>b=c;"},    {"a = b # c", "a>b;"}};
  const char* const kept[][2] = {
      {"#a=b", ""}, {" #a=b", "#a>b;"}, {"a#b=c", "a#b>c;"}, {"a = b # c", "a>b # c;"}};
  const auto read = [](const std::string& text, CppProperties&& properties) {
    std::istringstream in(text);
    properties.setProperty("old", "gone");
    return properties.read(in), dump(properties);
  };
  for (const auto& c : cut) EXPECT_EQ(c[1], read(c[0], CppProperties())) << c[0];
  for (const auto& c : kept) EXPECT_EQ(c[1], read(c[0], CppProperties(true))) << c[0];
}

struct Flushes : std::stringbuf {
  int sync() override { return ++count, 0; }
  int count = 0;
};

TEST(CppProperties, WritesBothFormsAndReadsThemBack) {
  CppProperties properties, loaded;
  properties.setProperty("b", "=#\n ");
  properties.setProperty("a", "");
  Flushes buffer;
  std::ostream out(&buffer);
  properties.write(out);
  EXPECT_EQ(2, buffer.count);
  properties.save(out);
  EXPECT_EQ(2, buffer.count);
  const std::string text = "a=\nb==#\n \n", binary = "\1\0\0\0a\0\0\0\0\1\0\0\0b\4\0\0\0=#\n "s;
  EXPECT_EQ(text + binary, buffer.str());
  EXPECT_TRUE(properties.isModified() && !loaded.isModified());
  std::istringstream in(binary + binary.substr(0, 8));
  loaded.load(in);
  EXPECT_EQ("a>;b>=#\n ;", dump(loaded));
  EXPECT_TRUE(loaded.isModified());
}

TEST(CppProperties, GetsWhatWasPutAndBelievesNoLength) {
  CppProperties properties;
  for (const std::size_t size : {0, 5, 500, 501, 1000, 1001, 70000}) {
    const std::string text(size, 'x');
    std::stringstream stream;
    std::string value = "old", claimed;
    properties.put(stream, text);
    stream.write("\377\377\377\377", 4) << text;
    properties.get(stream, value);
    properties.get(stream, claimed);
    EXPECT_TRUE(value == text && claimed == text && claimed.capacity() < 2 * size + 2000) << size;
  }
}

TEST(CppProperties, TellsWhyAFileCannotBeLoaded) {
  const std::string path = testing::TempDir() + "properties", value(10000, 'x');
  std::ofstream(path) << "a=" << value;
  CppProperties properties;
  EXPECT_EQ(0u, codeOf([&] { properties.load(path), unlink(path.c_str()); }));
  EXPECT_EQ(0x1E0001u, codeOf([&] { properties.load(path); }));
  EXPECT_EQ("a>" + value + ";", dump(properties));
  EXPECT_EQ(0x1E0002u, codeOf([&] { properties.load("/"); }));
  EXPECT_EQ("", dump(properties));
}

}  // namespace
