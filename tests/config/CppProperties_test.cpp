#include "vimo_util/config/CppProperties.h"

#include <gtest/gtest.h>

#include "config/outcome.h"

namespace {

using vimo::util::config::CppProperties;

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
    EXPECT_EQ("key>" + c.value + ";", dump(store));
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
  EXPECT_EQ("[old][][Z][a ][ab][\xff]", dump(keys));
  properties.setModified(false);
  properties.clear();
  EXPECT_TRUE(properties.isModified());
}

}  // namespace
