// The readers and writers, on streams that end or throw at each byte, under several masks.

#include <gtest/gtest.h>

#include <functional>
#include <iterator>
#include <map>
#include <sstream>

#include "vimo_util/config/CommaSeparatedValues.h"
#include "vimo_util/config/CppProperties.h"

namespace {

using vimo::util::config::CommaSeparatedValues;
using vimo::util::config::CppProperties;

struct BufferFailure {};

// Delivers `bytes`, or takes as many as it has room for; then it ends or throws.
struct Buffer : std::streambuf {
  Buffer(std::string content, bool throws) : bytes(std::move(content)), throws(throws) {
    setg(&bytes[0], &bytes[0], &bytes[0] + bytes.size());
    setp(&bytes[0], &bytes[0] + bytes.size());
  }
  int_type underflow() override { return stop(); }
  int_type overflow(int_type) override { return stop(); }
  int_type stop() {
    if (throws) throw BufferFailure();
    return traits_type::eof();
  }
  std::string bytes;
  const bool throws;
};

// What leaves `action`.
std::string thrownBy(const std::function<void()>& action) {
  try {
    action();
  } catch (const BufferFailure&) {
    return "the buffer's";
  } catch (const std::ios::failure&) {
    return "the stream's";
  }
  return "nothing";
}

struct Objects {
  std::string dump() {
    std::vector<std::string> keys;
    properties.getKeys(keys);
    std::string all;
    for (const std::string& key : keys) all += key + '>' + properties.getProperty(key) + ' ';
    for (std::uint32_t row = 0; row < table.size(); ++row) all += dumpRow(*table[row]) + ';';
    return all + dumpRow(row);
  }
  static std::string dumpRow(const CommaSeparatedValues::Column& row) {
    std::string all;
    for (const std::string& cell : row.cells) all += '[' + cell + ']';
    return all;
  }
  CppProperties properties;
  CommaSeparatedValues table;
  CommaSeparatedValues::Column row;
};

const std::ios::iostate good = std::ios::goodbit, bad = std::ios::badbit,
                        all = std::ios::badbit | std::ios::failbit | std::ios::eofbit;

TEST(Streams, ReadersKeepWhatWasComplete) {
  const struct {
    std::string input;
    void (*read)(Objects&, std::istream&);
    std::map<std::size_t, std::string> complete;  // after so many bytes
  } cases[] = {
      {"a=1\nlong=22\n#\nb=3\n",
       [](Objects& o, std::istream& in) { o.properties.read(in); },
       {{0, ""}, {4, "a>1 "}, {12, "a>1 long>22 "}, {18, "a>1 b>3 long>22 "}}},
      {std::string("\1\0\0\0a\6\0\0\0valued\1\0\0\0b\0\0\0\0", 24),
       [](Objects& o, std::istream& in) { o.properties.load(in); },
       {{0, ""}, {15, "a>valued "}, {24, "a>valued b> "}}},
      {"a,bb\n#\n\nc,d,\ne\n",
       [](Objects& o, std::istream& in) { o.table.load(in); },
       {{0, ""},
        {5, "[a][bb];"},
        {8, "[a][bb];;"},
        {13, "[a][bb];;[c][d];"},
        {15, "[a][bb];;[c][d];[e];"}}},
      {"aa,b,,c",
       [](Objects& o, std::istream& in) { o.row.load(in); },
       {{0, ""}, {3, "[aa]"}, {5, "[aa][b]"}, {6, "[aa][b][]"}}},
  };
  for (const auto& c : cases) {
    for (std::size_t size = 0; size <= c.input.size(); ++size) {
      for (const bool throws : {false, true}) {
        for (const std::ios::iostate mask : {good, bad, all}) {
          SCOPED_TRACE(c.input.substr(0, size) + (throws ? ", throws, " : ", ends, ") +
                       std::to_string(mask));
          Objects objects, expected;
          Buffer buffer(c.input.substr(0, size), throws);
          std::istream in(&buffer);
          in.exceptions(mask);
          const std::string left = thrownBy([&] { c.read(objects, in); });
          EXPECT_EQ(mask & bad && throws ? "the buffer's"
                    : mask == all        ? "the stream's"
                                         : "nothing",
                    left);
          EXPECT_EQ(throws ? bad : std::ios::eofbit, in.rdstate() & (bad | std::ios::eofbit));
          EXPECT_EQ(mask, in.exceptions());
          std::istringstream plain(c.input.substr(0, size));
          c.read(expected, plain);
          if (throws || mask == all) {
            EXPECT_EQ(std::prev(c.complete.upper_bound(size))->second, objects.dump());
          } else {
            EXPECT_EQ(expected.dump(), objects.dump());
          }
        }
      }
    }
  }
}

TEST(Streams, WritersStopWhereTheStreamFails) {
  const struct {
    std::string output;
    void (*write)(Objects&, std::ostream&);
  } cases[] = {
      {"a=1\nlong=22\n", [](Objects& o, std::ostream& out) { o.properties.write(out); }},
      {std::string("\1\0\0\0a\1\0\0\0001\4\0\0\0long\2\0\0\00022", 24),
       [](Objects& o, std::ostream& out) { o.properties.save(out); }},
      {std::string("\4\0\0\0text", 8),
       [](Objects& o, std::ostream& out) { o.properties.put(out, "text"); }},
  };
  for (const auto& c : cases) {
    for (std::size_t room = 0; room <= c.output.size(); ++room) {
      for (const bool throws : {false, true}) {
        for (const std::ios::iostate mask : {good, bad}) {
          SCOPED_TRACE(c.output + std::to_string(room) + (throws ? " throws" : " ends"));
          Objects objects;
          objects.properties.setProperty("a", "1");
          objects.properties.setProperty("long", "22");
          Buffer buffer(std::string(room, ' '), throws);
          std::ostream out(&buffer);
          out.exceptions(mask);
          const std::string left = thrownBy([&] { c.write(objects, out); });
          const bool fails = room < c.output.size();
          EXPECT_EQ(!fails || mask == good ? "nothing"
                    : throws               ? "the buffer's"
                                           : "the stream's",
                    left);
          EXPECT_EQ(fails, out.bad());
          EXPECT_EQ(c.output.substr(0, room), buffer.bytes);
        }
      }
    }
  }
}

}  // namespace
