#include "vimo_util/config/CppProperties.h"

#include <gtest/gtest.h>

#include <csignal>
#include <exception>

#include "config/dump.h"
#include "support/Allocations.h"

namespace {

using vimo::util::config::CppProperties;

template <class Lookup>
unsigned int codeOf(Lookup lookup) {
  try {
    lookup();
  } catch (const std::exception& exception) {
    EXPECT_STREQ("VIMOException", exception.what());
    return dynamic_cast<const VIMOException&>(exception).code;
  }
  return 0;
}

TEST(CppProperties, ReadsValuesAsTextNumberAndSwitch) {
  const struct {
    const char* value;
    std::int64_t decimal, hex;
    bool on;
  } cases[] = {{"12abc", 12, 0x12abc, false},
               {"abc", 0, 0xabc, false},
               {"-7", -7, -7, false},
               {"0x10", 0, 16, false},
               {" \t+0XfF ", 0, 255, false},
               {"99999999999999999999", INT64_MAX, INT64_MAX, false},
               {"-99999999999999999999", INT64_MIN, INT64_MIN, false},
               {"on", 0, 0, true},
               {"ON", 0, 0, false},
               {"on ", 0, 0, false},
               {"1", 1, 1, false}};
  for (const auto& c : cases) {
    CppProperties properties;
    properties.setProperty("key", c.value);
    EXPECT_TRUE(properties.exist("key")) << c.value;
    for (const bool strict : {false, true}) {
      EXPECT_EQ(c.value, strict ? properties.getProperty_("key") : properties.getProperty("key"));
      EXPECT_EQ(c.decimal, strict ? properties.getInt_("key") : properties.getInt("key"))
          << c.value;
      EXPECT_EQ(c.hex, strict ? properties.getHEX_("key") : properties.getHEX("key")) << c.value;
      EXPECT_EQ(c.on, strict ? properties.isOn_("key") : properties.isOn("key")) << c.value;
    }
  }
}

TEST(CppProperties, TakesAnEmptyValueForNone) {
  CppProperties properties;
  properties.setProperty("empty", "");
  properties.setProperty("key", "1");
  properties.setModified(false);
  for (const char* key : {"empty", "missing", "KEY", "key ", ""}) {
    EXPECT_FALSE(properties.exist(key)) << key;
    EXPECT_EQ("", properties.getProperty(key)) << key;
    EXPECT_EQ(0, properties.getInt(key) | properties.getHEX(key) | properties.isOn(key)) << key;
    EXPECT_EQ(0x1080u, codeOf([&] { properties.getProperty_(key); })) << key;
    EXPECT_EQ(0x1081u, codeOf([&] { properties.getInt_(key); })) << key;
    EXPECT_EQ(0x1082u, codeOf([&] { properties.getHEX_(key); })) << key;
    EXPECT_EQ(0x1083u, codeOf([&] { properties.isOn_(key); })) << key;
  }
  EXPECT_EQ("empty>;key>1;", dump(properties));
  EXPECT_FALSE(properties.isModified());
}

TEST(CppProperties, TellsWhatModifiesIt) {
  CppProperties properties;
  EXPECT_FALSE(properties.isModified());
  const struct {
    const char *key, *value;
    bool modifies;
  } cases[] = {{"new", "", false}, {"new", "a", true}, {"new", "a", false}, {"new", "b", true},
               {"x", "x", true},   {"new", "", true},  {"new", "", false}};
  for (const auto& c : cases) {
    properties.setModified(false);
    properties.setProperty(c.key, c.value);
    EXPECT_EQ(c.modifies, properties.isModified()) << c.key << '=' << c.value;
    EXPECT_EQ(c.value, properties.getProperty(c.key));
  }
  for (const char* contents : {"new>;x>x;", ""}) {
    EXPECT_EQ(contents, dump(properties));
    properties.setModified(false);
    properties.clear();
    EXPECT_TRUE(properties.isModified()) << contents;
  }
}

TEST(CppProperties, ListsKeysByTheirBytesBehindWhatIsThere) {
  CppProperties properties;
  for (const char* key : {"\xff", "b", "ab", "a", "Z", "", "a "}) properties.setProperty(key, "");
  std::vector<std::string> keys{"before"};
  properties.getKeys(keys);
  EXPECT_EQ((std::vector<std::string>{"before", "", "Z", "a", "a ", "ab", "b", "\xff"}), keys);
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

TEST(CppProperties, StrictLookupHandsOtherExceptionsToTheUnexpectedHandler) {
  CppProperties properties;
  const std::string key = "key";
  properties.setProperty(key, std::string(100, 'x'));
  const auto lookUp = [&] {
    allocations::failAt(1);
    properties.getProperty_(key);
  };
  EXPECT_EXIT(lookUp(), testing::KilledBySignal(SIGABRT), "");
  const auto before = std::set_unexpected([] { throw VIMOException(7); });
  EXPECT_EQ(7u, codeOf(lookUp));
  std::set_unexpected(before);
  allocations::failAt(1);
  EXPECT_THROW(properties.getProperty(key), std::bad_alloc);
}

#pragma GCC diagnostic pop

}  // namespace
