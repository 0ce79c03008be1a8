#include "vimo_util/config/CppProperties.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <locale>
#include <sstream>

namespace {

using vimo::util::config::CppProperties;
using namespace std::string_literals;

// The entries in one line, "key>value;" for each.
std::string dump(CppProperties& properties) {
  std::vector<std::string> keys;
  properties.getKeys(keys);
  std::string all;
  for (const std::string& key : keys) all += key + '>' + properties.getProperty(key) + ';';
  return all;
}

// The code of the VIMOException that `action` throws, 0 if it throws nothing.
template <class Action>
unsigned int codeOf(Action action) {
  try {
    action();
  } catch (const VIMOException& exception) {
    EXPECT_STREQ("VIMOException", exception.what());
    return exception.code;
  }
  return 0;
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
  for (const char* form : {"cleared", "read", "loaded"}) {
    std::istringstream empty;
    properties.setModified(false);
    *form == 'c'   ? properties.clear()
    : *form == 'r' ? properties.read(empty)
                   : properties.load(empty);
    EXPECT_TRUE(properties.isModified() && dump(properties).empty()) << form;
  }
}

TEST(CppProperties, ReadsLines) {
  const struct {
    std::string text, cut, kept = cut;  // what it gives without and with keepInlineHash
  } cases[] = {{"", ""},      {"a=b", "a>b;"},         {"a b = c d", "a b>c d;"},
               {"#a=b", ""},  {"  a =  b  ", "a>b;"},  {"b=1\na=2\nb=", "a>2;b>;"},
               {"\na\n", ""}, {" #a=b", "", "#a>b;"},  {"a\t=b\r\n", "a\t>b\r;"},
               {"=b", ">b;"}, {"a#b=c", "", "a#b>c;"}, {"a=b#c", "a>b;", "a>b#c;"},
               {" = ", ">;"}, {"a=b=c", "a>b=c;"},     {"a = b # c", "a>b;", "a>b # c;"}};
  for (const auto& c : cases) {
    for (const bool kept : {false, true}) {
      std::istringstream in(c.text);
      CppProperties properties = kept ? CppProperties(true) : CppProperties();
      properties.setProperty("old", "gone");
      properties.read(in);
      EXPECT_EQ(kept ? c.kept : c.cut, dump(properties)) << c.text << kept;
    }
  }
}

struct Flushes : std::stringbuf {
  int sync() override { return ++count, 0; }
  int count = 0;
};

TEST(CppProperties, WritesBothFormsAndReadsThemBack) {
  CppProperties properties, loaded;
  properties.setProperty("b", "=#\n ");
  properties.setProperty("a", "");
  properties.setModified(false);
  Flushes buffer;
  std::ostream out(&buffer);
  properties.write(out);
  const std::string text = "a=\nb==#\n \n", binary = "\1\0\0\0a\0\0\0\0\1\0\0\0b\4\0\0\0=#\n "s;
  EXPECT_EQ(text, buffer.str());
  EXPECT_EQ(2, buffer.count);
  properties.save(out);
  EXPECT_EQ(text + binary, buffer.str());
  EXPECT_EQ(2, buffer.count);
  EXPECT_FALSE(properties.isModified());
  std::istringstream in(binary + binary.substr(0, 16));
  loaded.load(in);
  EXPECT_EQ("a>;b>=#\n ;", dump(loaded));
}

TEST(CppProperties, GetsWhatWasPutAndBelievesNoLength) {
  CppProperties properties;
  for (const std::size_t size : {0, 5, 500, 501, 1000, 1001, 70000}) {
    const std::string text(size, 'x');
    std::stringstream stream;
    std::string value = "old";
    properties.put(stream, text);
    properties.get(stream, value);
    EXPECT_EQ(text, value);
    stream.write("\377\377\377\377", 4).write(text.data(), size);
    properties.get(stream, value);
    EXPECT_EQ(text, value);
    EXPECT_LT(value.capacity(), 2 * size + 2000);
  }
}

// Throws what is no std::exception as soon as a stream asks it.
struct Thrower : std::ctype<char> {
  char do_widen(char) const override { throw 1; }
  const char* do_widen(const char*, const char*, char*) const override { throw 1; }
};

TEST(CppProperties, TellsWhyAFileCannotBeLoaded) {
  const std::string path = testing::TempDir() + "properties", value(10000, 'x');
  std::ofstream(path) << "a=" << value;
  CppProperties properties;
  const struct {
    std::string path, entries;
    unsigned int code;
  } cases[] = {{path, "a>" + value + ";", 0},
               {path + "/no", "a>" + value + ";", 0x1E0001},
               {"/", "", 0x1E0002}};
  for (const auto& c : cases) {
    properties.setModified(false);
    EXPECT_EQ(c.code, codeOf([&] { properties.load(c.path); })) << c.path;
    EXPECT_EQ(c.entries, dump(properties)) << c.path;
    EXPECT_EQ(c.code != 0x1E0001, properties.isModified()) << c.path;
  }
  const std::locale before = std::locale::global(std::locale(std::locale(), new Thrower));
  EXPECT_EQ(0x1E0002u, codeOf([&] { properties.load(path); }));
  std::locale::global(before);
  unlink(path.c_str());
}

}  // namespace
