#include "vimo_util/config/CommaSeparatedValues.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <sstream>

namespace {

using vimo::util::config::CommaSeparatedValues;
using namespace std::string_literals;

// "[cell][cell]" for a row, and "[cell][cell];" for each row of a table.
std::string dump(const std::vector<std::string>& cells) {
  std::string all;
  for (const std::string& cell : cells) all += '[' + cell + ']';
  return all;
}
std::string dump(CommaSeparatedValues& table) {
  std::string all;
  for (std::uint32_t row = 0; row < table.size(); ++row) {
    EXPECT_EQ(table[row]->cells.size(), table.columnCount(row));
    all += dump(table[row]->cells) + ';';
  }
  EXPECT_EQ(table.size(), table.rowCount());
  return all;
}

// Delivers byte by byte, out of no buffer.
struct Unbuffered : std::streambuf {
  explicit Unbuffered(const std::string& bytes) : bytes(bytes) {}
  int underflow() override { return next < bytes.size() ? bytes[next] : EOF; }
  int uflow() override { return next < bytes.size() ? bytes[next++] : EOF; }
  std::string bytes;
  std::size_t next = 0;
};

// The rows of `text`, read in three ways over old ones.
std::string load(const std::string& text) {
  const std::string path = testing::TempDir() + "table";
  std::ofstream(path) << text;
  Unbuffered buffer(text);
  std::istream unbuffered(&buffer);
  std::istringstream in(text);
  CommaSeparatedValues table, other;
  EXPECT_EQ(&in, &table.load(in));
  EXPECT_TRUE(in.eof() && !in.bad()) << text;
  EXPECT_EQ(text.empty() || text.back() == '\n', in.fail()) << text;
  const std::string rows = dump(table);
  table.load(unbuffered);
  EXPECT_EQ(rows, dump(table)) << text;
  EXPECT_TRUE(other.load(path) && other.load(path));
  table = std::move(other);
  EXPECT_EQ(rows, dump(table)) << text;
  EXPECT_TRUE(!table.load(path + "/no") && other.size() == 0);
  EXPECT_EQ(rows, dump(table)) << text;
  unlink(path.c_str());
  return rows;
}

struct Case {
  std::string input, contents;
};

TEST(CommaSeparatedValues, ReadsTablesAndCutsLinesAsColumnDoes) {
  const Case tables[] = {{"", ";"},     {"a\n", "[a];;"},     {"a\r\nb\r\n", "[a];[b];;"},
                         {"\n", ";;"},  {"a\nb", "[a];[b];"}, {"a\n\nb\n", "[a];;[b];;"},
                         {"#x", ""},    {" #x", "[ #x];"},    {"\"a,b\"' ", "[\"a][b\"' ];"},
                         {"#x\n", ";"}, {"#x\ny", "[y];"},    {"a\0b,c\n\0#"s, "[a];;"}};
  for (const Case& c : tables) EXPECT_EQ(c.contents, load(c.input)) << c.input;

  const std::string x(1024, 'x');
  const Case lines[] = {{"", ""},         {"a,b", "[a][b]"},   {"a,,b", "[a][][b]"},
                        {"a\0b"s, "[a]"}, {"a,b,", "[a][b]"},  {"a,b,,", "[a][b][]"},
                        {",", "[]"},      {"a,b\r", "[a][b]"}, {"x\ry,z", "[x][z]"},
                        {"\r", ""},       {"a,,\r", "[a][]"},  {"x\r,\rz\r,w", "[x][][w]"},
                        {",,", "[][]"},   {",a", "[][a]"},     {x + ",\r", "[" + x + "]"}};
  for (const Case& c : lines) {
    EXPECT_EQ(c.contents + ";", load(c.input)) << c.input;
    EXPECT_EQ(c.contents + ";;", load("#" + c.input + "\n" + c.input + "\n")) << c.input;
    std::istringstream in(c.input);
    CommaSeparatedValues::Column column;
    for (const char* before : {"old", ""}) {  // appends, then only drops a last empty cell
      column.cells.emplace_back(before);
      column.load(in);
      EXPECT_EQ("[old]" + c.contents, dump(column.cells)) << c.input;
    }
  }
}

}  // namespace
