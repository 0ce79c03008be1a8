#include <gtest/gtest.h>

#include <cstdint>
#include <sstream>

#include "config/dump.h"

namespace {

using vimo::util::config::CppProperties;

// A string of the form, whose length may be a lie.
std::string piece(const std::string& bytes, std::uint32_t length) {
  return std::string(reinterpret_cast<const char*>(&length), 4) + bytes;
}
std::string piece(const std::string& bytes) { return piece(bytes, bytes.size()); }

std::string load(const std::string& bytes) {
  std::istringstream in(bytes);
  CppProperties properties;
  properties.setProperty("old", "x");
  properties.setModified(false);
  properties.load(in);
  EXPECT_TRUE(properties.isModified());
  EXPECT_EQ(std::ios::eofbit | std::ios::failbit, in.rdstate());
  return dump(properties);
}

TEST(PropertiesBinary, SavesRecordsInOrderAndLoadsThemBack) {
  CppProperties properties;
  std::string expected = piece("") + piece(std::string("\0 #=\n", 5));
  properties.setProperty("", std::string("\0 #=\n", 5));
  for (const std::size_t size : {1, 4, 5, 6, 10, 11, 500, 501, 1000, 1001, 70000}) {
    properties.setProperty(std::string(size, 'k'), std::string(size - 1, 'v'));
    expected += piece(std::string(size, 'k')) + piece(std::string(size - 1, 'v'));
  }
  properties.setModified(false);
  std::ostringstream out;
  out.width(9);
  properties.save(out);
  EXPECT_EQ(expected, out.str());
  EXPECT_FALSE(properties.isModified());
  EXPECT_EQ(dump(properties), load(out.str()));
}

TEST(PropertiesBinary, LoadsWholeRecordsInAnyOrder) {
  const std::string a = piece("a") + piece("1"), b = piece("b") + piece("2");
  const struct {
    const char* name;
    std::string bytes, entries;
  } cases[] = {{"nothing", "", ""},
               {"backwards", b + a, "a>1;b>2;"},
               {"twice", b + a + piece("b") + piece("") + piece("a") + piece("3"), "a>3;b>;"},
               {"no value", a + piece("b"), "a>1;"},
               {"a byte too few", a + piece("b") + piece("2", 2), "a>1;"},
               {"4 GiB of key", a + piece("0123456789", UINT32_MAX), "a>1;"},
               {"4 GiB of value", a + piece("a") + piece("0123456789", UINT32_MAX), "a>1;"}};
  for (const auto& c : cases) EXPECT_EQ(c.entries, load(c.bytes)) << c.name;
}

TEST(PropertiesBinary, GetBelievesNoLength) {
  for (const std::size_t size : {0, 1, 5, 10, 600}) {
    std::istringstream in(piece(std::string(size, 'x'), UINT32_MAX));
    std::string value = "old";
    CppProperties::get(in, value);
    EXPECT_EQ(std::string(size, 'x'), value);
    EXPECT_LT(value.capacity(), 2000u);
  }
}

// Takes `room` bytes, through an area for them or one by one, and counts flushes.
struct NarrowBuffer : std::streambuf {
  NarrowBuffer(std::size_t room, bool area) : bytes(room, ' ') {
    if (area) setp(&bytes[0], &bytes[0] + room);
  }
  int_type overflow(int_type c) override {
    if (pptr() || taken == bytes.size()) return traits_type::eof();
    bytes[taken++] = traits_type::to_char_type(c);
    return c;
  }
  int sync() override { return ++flushes, 0; }
  std::string bytes;
  std::size_t taken = 0;
  int flushes = 0;
};

TEST(PropertiesBinary, PutLooksToTheStreamLikeTwoWrites) {
  const auto put = [](std::ostream& out) { CppProperties::put(out, "value"); };
  const auto write = [](std::ostream& out) {
    out.write(piece("value").data(), 4);
    out.write("value", 5);
  };
  const auto tell = [](std::size_t room, int kind, std::ios::iostate mask,
                       void (*act)(std::ostream&)) {
    NarrowBuffer buffer(room, kind & 1);
    NarrowBuffer tied(0, false);
    std::ostream other(&tied), out(&buffer);
    if (kind & 2) out.tie(&other);
    if (kind & 4) out.setf(std::ios::unitbuf);
    out.exceptions(mask);
    bool threw = false;
    try {
      act(out);
    } catch (const std::ios::failure&) {
      threw = true;
    }
    std::ostringstream all;
    all << buffer.bytes << out.rdstate() << threw << tied.flushes << buffer.flushes;
    return all.str();
  };
  for (std::size_t room = 0; room < 12; ++room) {
    for (int kind = 0; kind < 8; ++kind) {
      for (const auto mask : {std::ios::goodbit, std::ios::failbit, std::ios::badbit}) {
        EXPECT_EQ(tell(room, kind, mask, write), tell(room, kind, mask, put))
            << room << ' ' << kind;
      }
    }
  }
}

}  // namespace
