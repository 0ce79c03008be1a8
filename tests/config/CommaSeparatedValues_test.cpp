#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <sstream>

#include "config/dump.h"

namespace {

using vimo::util::config::CommaSeparatedValues;
using namespace std::string_literals;

// The rows of `text`, read from a stream, from one without a buffer and from a path.
std::string load(const std::string& text) {
  const std::string path = testing::TempDir() + "table";
  std::ofstream(path) << text;
  std::ifstream unbuffered;
  unbuffered.rdbuf()->pubsetbuf(nullptr, 0);
  unbuffered.open(path);
  std::istringstream in(text);
  std::vector<CommaSeparatedValues> tables(2);
  CommaSeparatedValues &table = tables[0], &other = tables[1];
  EXPECT_TRUE(&table.load(in) == &in && in.eof() && !in.bad()) << text;
  EXPECT_EQ(text.empty() || text.back() == '\n', in.fail()) << text;
  std::string rows = dump(table);
  table.load(unbuffered);
  EXPECT_EQ(rows, dump(table)) << text;
  EXPECT_TRUE(other.load(path) && unlink(path.c_str()) == 0 && !other.load(path));
  table = CommaSeparatedValues(std::move(tables[1]));
  EXPECT_EQ(rows, dump(table)) << text;
  EXPECT_TRUE(other.size() == 0 && table.size() == table.rowCount());
  return rows;
}

TEST(CommaSeparatedValues, ReadsTablesAndCutsLinesAsColumnDoes) {
  const std::string tables[][2] = {
      {"", ";"},     {"a\n", "[a];;"},     {"a\r\nb\r\n", "[a];[b];;"},
      {"\n", ";;"},  {"a\nb", "[a];[b];"}, {"a\n\nb\n", "[a];;[b];;"},
      {"#x", ""},    {" #x", "[ #x];"},    {"\"a,b\"' ", "[\"a][b\"' ];"},
      {"#x\n", ";"}, {"#x\ny", "[y];"},    {"a\0b,c\n\0#"s, "[a];;"}};
  for (const auto& c : tables) EXPECT_EQ(c[1], load(c[0])) << c[0];

  const std::string x(1024, 'x');
  const std::string lines[][2] = {
      {"", ""},         {"a,b", "[a][b]"},   {"a,,b", "[a][][b]"},
      {"a\0b"s, "[a]"}, {"a,b,", "[a][b]"},  {"a,b,,", "[a][b][]"},
      {",", "[]"},      {"a,b\r", "[a][b]"}, {"x\ry,z", "[x][z]"},
      {"\r", ""},       {"a,,\r", "[a][]"},  {"x\r,\rz\r,w", "[x][][w]"},
      {",,", "[][]"},   {",a", "[][a]"},     {x + ",\r", "[" + x + "]"}};
  for (const auto& c : lines) {
    EXPECT_EQ(c[1] + ";", load(c[0])) << c[0];
    EXPECT_EQ(c[1] + ";;", load("#" + c[0] + "\n" + c[0] + "\n")) << c[0];
    std::istringstream in(c[0]);
    CommaSeparatedValues::Column column;
    column.cells = {"old"};
    column.load(in);
    EXPECT_EQ("[old]" + c[1], dump(column)) << c[0];
  }
}

}  // namespace
