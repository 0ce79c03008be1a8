// The readers and writers, on streams that end or throw at each byte, under several masks.

#include <gtest/gtest.h>

#include <map>

#include "config/dump.h"

namespace {

using namespace vimo::util::config;

// Delivers `input`, or takes as many bytes; then it ends or throws.
struct Buffer : std::streambuf {
  Buffer(std::string bytes, bool throws) : input(bytes), output(bytes.size(), ' '), throws(throws) {
    setg(&input[0], &input[0], &input[0] + input.size());
    setp(&output[0], &output[0] + output.size());
  }
  int_type underflow() override { return throws ? throw "thrown by the buffer" : -1; }
  int_type overflow(int_type) override { return underflow(); }
  std::string input, output;
  const bool throws;
};

struct Objects {
  Objects() { filled.setProperty("a", "1"), filled.setProperty("long", "22"); }
  CppProperties properties, filled;
  CommaSeparatedValues table;
  CommaSeparatedValues::Column row;
};

const auto bad = std::ios::badbit, eof = std::ios::eofbit, all = bad | eof | std::ios::failbit;

TEST(Streams, KeepWhatWasCompleteAndThrowWhatTheMaskAsks) {
  const struct {
    void (*run)(Objects&, std::iostream&);
    std::string bytes;
    std::map<std::size_t, std::string> complete;  // after so many of them; none for a writer
  } cases[] = {
      {[](Objects& o, std::iostream& s) { o.properties.read(s); },
       "a=1\nb=22\n#",
       {{0, "*"}, {4, "*a>1;"}, {9, "*a>1;b>22;"}}},
      {[](Objects& o, std::iostream& s) { o.properties.load(s); },
       {"\1\0\0\0a\2\0\0\00022\1", 12},
       {{0, "*"}, {11, "*a>22;"}}},
      {[](Objects& o, std::iostream& s) { o.table.load(s); },
       "a,bb\n#\n\nc",
       {{0, ""}, {5, "[a][bb];"}, {8, "[a][bb];;"}}},
      {[](Objects& o, std::iostream& s) { o.row.load(s); },
       "aa,b,,c",
       {{0, ""}, {3, "[aa]"}, {5, "[aa][b]"}, {6, "[aa][b][]"}}},
      {[](Objects& o, std::iostream& s) { o.filled.write(s); }, "a=1\nlong=22\n", {}},
      {[](Objects& o, std::iostream& s) { o.filled.save(s); },
       {"\1\0\0\0a\1\0\0\0001\4\0\0\0long\2\0\0\00022", 24},
       {}},
  };
  for (const auto& c : cases) {
    for (std::size_t i = 0; i < 6 * c.bytes.size(); ++i) {
      const std::string bytes = c.bytes.substr(0, i / 6);
      const bool throws = i % 2, writes = c.complete.empty();
      const std::ios::iostate mask = i % 3 == 0 ? std::ios::goodbit : i % 3 == 1 ? bad : all;
      SCOPED_TRACE(bytes + (throws ? " throws " : " ends ") + std::to_string(mask));
      Objects o;
      Buffer buffer(bytes, throws);
      std::iostream stream(&buffer);
      stream.exceptions(mask);
      char left = '-';
      try {
        c.run(o, stream);
      } catch (const char*) {
        left = 'b';
      } catch (const std::ios::failure&) {
        left = 's';
      }
      EXPECT_EQ(throws || writes ? bad : eof, stream.rdstate() & (bad | eof));
      EXPECT_EQ(!(mask & stream.rdstate()) ? '-' : throws ? 'b' : 's', left);
      EXPECT_EQ(mask, stream.exceptions());
      const std::string made =
          (o.properties.isModified() ? "*" : "") + dump(o.properties) + dump(o.table) + dump(o.row);
      const std::string complete =
          writes ? bytes : std::prev(c.complete.upper_bound(bytes.size()))->second;
      const bool exact = throws || mask == all;  // else the end may complete a line or a cell
      EXPECT_EQ(complete, writes ? buffer.output : exact ? made : made.substr(0, complete.size()));
    }
  }
}

}  // namespace
