// The readers and writers, on streams that end or throw at each byte, under several masks.

#include <gtest/gtest.h>

#include <map>

#include "config/dump.h"

namespace {

using namespace vimo::util::config;

struct BufferFailure {};

// Delivers `input`, or takes as many bytes; then it ends or throws.
struct Buffer : std::streambuf {
  Buffer(std::string bytes, bool throws) : input(bytes), output(bytes.size(), ' '), throws(throws) {
    setg(&input[0], &input[0], &input[0] + input.size());
    setp(&output[0], &output[0] + output.size());
  }
  int_type underflow() override { return throws ? throw BufferFailure() : traits_type::eof(); }
  int_type overflow(int_type) override { return underflow(); }
  std::string input, output;
  const bool throws;
};

struct Objects {
  std::string all() {
    return (properties.isModified() ? "* " : "") + dump(properties) + dump(table) + dump(row) +
           text;
  }
  CppProperties properties, filled;
  CommaSeparatedValues table;
  CommaSeparatedValues::Column row;
  std::string text;
};

const std::ios::iostate good = std::ios::goodbit, bad = std::ios::badbit, eof = std::ios::eofbit,
                        all = bad | eof | std::ios::failbit;

TEST(Streams, KeepWhatWasCompleteAndThrowWhatTheMaskAsks) {
  using Stream = std::iostream;
  const struct {
    void (*run)(Objects&, Stream&);
    std::string bytes;
    std::map<std::size_t, std::string> complete;  // after so many of them; none for a writer
  } cases[] = {
      {[](Objects& o, Stream& s) { o.properties.read(s); },
       "a=1\nb=22\n#",
       {{0, "* "}, {4, "* a>1;"}, {9, "* a>1;b>22;"}}},
      {[](Objects& o, Stream& s) { o.properties.load(s); },
       {"\1\0\0\0a\2\0\0\00022\1", 12},
       {{0, "* "}, {11, "* a>22;"}}},
      {[](Objects& o, Stream& s) { o.properties.get(s, o.text); }, {"\3\0\0\0abc", 7}, {{0, ""}}},
      {[](Objects& o, Stream& s) { o.table.load(s); },
       "a,bb\n#\n\nc",
       {{0, ""}, {5, "[a][bb];"}, {8, "[a][bb];;"}}},
      {[](Objects& o, Stream& s) { o.row.load(s); },
       "aa,b,,c",
       {{0, ""}, {3, "[aa]"}, {5, "[aa][b]"}, {6, "[aa][b][]"}}},
      {[](Objects& o, Stream& s) { o.filled.write(s); }, "a=1\nlong=22\n", {}},
      {[](Objects& o, Stream& s) { o.filled.save(s); },
       {"\1\0\0\0a\1\0\0\0001\4\0\0\0long\2\0\0\00022", 24},
       {}},
  };
  for (const auto& c : cases) {
    for (std::size_t i = 0; i < 6 * c.bytes.size(); ++i) {
      const std::string bytes = c.bytes.substr(0, i / 6);
      const bool throws = i % 2;
      const std::ios::iostate mask = i % 3 == 0 ? good : i % 3 == 1 ? bad : all;
      SCOPED_TRACE(bytes + (throws ? " throws " : " ends ") + std::to_string(mask));
      Objects objects;
      objects.filled.setProperty("a", "1");
      objects.filled.setProperty("long", "22");
      Buffer buffer(bytes, throws);
      std::iostream stream(&buffer);
      stream.exceptions(mask);
      std::string left;
      try {
        c.run(objects, stream);
      } catch (const BufferFailure&) {
        left = "the buffer's";
      } catch (const std::ios::failure&) {
        left = "the stream's";
      }
      const bool writes = c.complete.empty();
      EXPECT_EQ(throws || writes ? bad : eof, stream.rdstate() & (bad | eof));
      EXPECT_EQ(!(mask & stream.rdstate()) ? "" : throws ? "the buffer's" : "the stream's", left);
      EXPECT_EQ(mask, stream.exceptions());
      if (writes) {
        EXPECT_EQ(bytes, buffer.output);
        continue;
      }
      const std::string complete = std::prev(c.complete.upper_bound(bytes.size()))->second;
      const bool exact = throws || mask == all;  // else the end may complete a line or a cell
      EXPECT_EQ(complete, objects.all().substr(0, exact ? std::string::npos : complete.size()));
    }
  }
}

}  // namespace
