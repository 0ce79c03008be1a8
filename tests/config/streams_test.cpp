// The readers and writers, on streams that end or throw at each byte, under several masks.

#include <gtest/gtest.h>

#include <map>
#include <sstream>

#include "config/dump.h"

namespace {

using namespace vimo::util::config;

struct BufferFailure {};

// Delivers `bytes`, or takes as many; then it ends or throws.
struct Buffer : std::streambuf {
  Buffer(const std::string& content, bool throws) : bytes(content), throws(throws) {
    setg(&bytes[0], &bytes[0], &bytes[0] + bytes.size());
    setp(&bytes[0], &bytes[0] + bytes.size());
  }
  int_type underflow() override { return throws ? throw BufferFailure() : traits_type::eof(); }
  int_type overflow(int_type) override { return underflow(); }
  std::string bytes;
  const bool throws;
};

struct Objects {
  CppProperties properties;
  CommaSeparatedValues table;
  CommaSeparatedValues::Column row;
};

std::string all(Objects& o) { return dump(o.properties) + dump(o.table) + dump(o.row); }

const std::ios::iostate good = std::ios::goodbit, bad = std::ios::badbit,
                        every = std::ios::badbit | std::ios::failbit | std::ios::eofbit;

// What leaves `action` on a stream that throws or ends, `stops` being what the end sets.
template <class Action>
void expectThrown(Action action, std::ios::iostate mask, bool throws, std::ios::iostate stops) {
  std::string left = "nothing";
  try {
    action();
  } catch (const BufferFailure&) {
    left = "the buffer's";
  } catch (const std::ios::failure&) {
    left = "the stream's";
  }
  EXPECT_EQ(throws && mask & bad ? "the buffer's"
            : mask & stops       ? "the stream's"
                                 : "nothing",
            left);
}

TEST(Streams, ReadersKeepWhatWasComplete) {
  const struct {
    std::string input;
    void (*read)(Objects&, std::istream&);
    std::map<std::size_t, std::string> complete;  // after so many bytes
  } cases[] = {
      {"a=1\nlong=22\n#\nb=3\n",
       [](Objects& o, std::istream& in) { o.properties.read(in); },
       {{0, ""}, {4, "a>1;"}, {12, "a>1;long>22;"}, {18, "a>1;b>3;long>22;"}}},
      {{"\1\0\0\0a\6\0\0\0valued\1\0\0\0b\0\0\0\0", 24},
       [](Objects& o, std::istream& in) { o.properties.load(in); },
       {{0, ""}, {15, "a>valued;"}, {24, "a>valued;b>;"}}},
      {"a,bb\n#\n\nc,d,\n",
       [](Objects& o, std::istream& in) { o.table.load(in); },
       {{0, ""}, {5, "[a][bb];"}, {8, "[a][bb];;"}, {13, "[a][bb];;[c][d];"}}},
      {"aa,b,,c",
       [](Objects& o, std::istream& in) { o.row.load(in); },
       {{0, ""}, {3, "[aa]"}, {5, "[aa][b]"}, {6, "[aa][b][]"}}},
  };
  for (const auto& c : cases) {
    for (std::size_t i = 0; i < 6 * (c.input.size() + 1); ++i) {
      const std::string input = c.input.substr(0, i / 6);
      const bool throws = i % 2;
      const std::ios::iostate mask = i % 3 == 0 ? good : i % 3 == 1 ? bad : every;
      SCOPED_TRACE(input + (throws ? ", throws, " : ", ends, ") + std::to_string(mask));
      Objects objects, plain;
      Buffer buffer(input, throws);
      std::istream in(&buffer);
      in.exceptions(mask);
      expectThrown([&] { c.read(objects, in); }, mask, throws, std::ios::eofbit);
      EXPECT_EQ(throws ? bad : std::ios::eofbit, in.rdstate() & (bad | std::ios::eofbit));
      EXPECT_EQ(mask, in.exceptions());
      std::istringstream whole(input);
      c.read(plain, whole);
      const bool cut = throws || mask == every;
      EXPECT_EQ(cut ? std::prev(c.complete.upper_bound(i / 6))->second : all(plain), all(objects));
    }
  }
}

TEST(Streams, WritersStopWhereTheStreamFails) {
  const std::pair<std::string, void (*)(CppProperties&, std::ostream&)> cases[] = {
      {"a=1\nlong=22\n", [](CppProperties& p, std::ostream& out) { p.write(out); }},
      {{"\1\0\0\0a\1\0\0\0001\4\0\0\0long\2\0\0\00022", 24},
       [](CppProperties& p, std::ostream& out) { p.save(out); }},
  };
  for (const auto& c : cases) {
    for (std::size_t i = 0; i < 4 * c.first.size(); ++i) {
      const std::ios::iostate mask = i % 4 < 2 ? good : bad;
      CppProperties properties;
      properties.setProperty("a", "1");
      properties.setProperty("long", "22");
      Buffer buffer(std::string(i / 4, ' '), i % 2);
      std::ostream out(&buffer);
      out.exceptions(mask);
      expectThrown([&] { c.second(properties, out); }, mask, i % 2, bad);
      EXPECT_TRUE(out.bad());
      EXPECT_EQ(c.first.substr(0, i / 4), buffer.bytes);
    }
  }
}

}  // namespace
