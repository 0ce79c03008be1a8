#include "vimo_util/config/CommaSeparatedValues.h"

#include <gtest/gtest.h>

#include <sstream>
#include <type_traits>

#include "config/dump.h"
#include "support/Allocations.h"

namespace {

using vimo::util::config::CommaSeparatedValues;

std::string load(const std::string& text) {
  std::istringstream in(text);
  CommaSeparatedValues table;
  EXPECT_EQ(&in, &table.load(in));
  const bool lastIsEmpty = text.empty() || text.back() == '\n';
  EXPECT_EQ(lastIsEmpty ? std::ios::eofbit | std::ios::failbit : std::ios::eofbit, in.rdstate());
  EXPECT_EQ(table.size(), table.rowCount());
  return dump(table);
}

TEST(CommaSeparatedValues, ReadsTables) {
  const struct {
    const char *text, *rows;
  } cases[] = {{"", ";"},         {"\n", ";;"},         {"a", "[a];"},
               {"a\n", "[a];;"},  {"a\nb", "[a];[b];"}, {"a\n\nb\n", "[a];;[b];;"},
               {"#x", ""},        {"#x\n", ";"},        {"a\r\nb\r\n", "[a];[b];;"},
               {"#x\ny", "[y];"}, {" #x", "[ #x];"},    {"\"a,b\"\n'c' ", "[\"a][b\"];['c' ];"}};
  for (const auto& c : cases) EXPECT_EQ(c.rows, load(c.text)) << c.text;
}

TEST(CommaSeparatedValues, CutsALineIntoCellsAsColumnDoes) {
  const std::string x(300000, 'x'), y(5000, 'y');
  const struct {
    std::string line, cells;
  } cases[] = {{"", ""},
               {"a", "[a]"},
               {"a,b", "[a][b]"},
               {"a,b,", "[a][b]"},
               {"a,b,,", "[a][b][]"},
               {"a,,b", "[a][][b]"},
               {",a", "[][a]"},
               {",", "[]"},
               {",,", "[][]"},
               {"a,b\r", "[a][b]"},
               {"a,\r", "[a]"},
               {"a,,\r", "[a][]"},
               {"\r", ""},
               {"x\ry,z", "[x][z]"},
               {"x\ry\r,\rz\r,w\r", "[x][][w]"},
               {std::string(1023, 'x'), '[' + std::string(1023, 'x') + ']'},
               {x + ',' + y + '\r', '[' + x + "][" + y + ']'}};
  for (const auto& c : cases) {
    EXPECT_EQ(c.cells + ";", load(c.line)) << c.line;
    EXPECT_EQ(c.cells + ";;", load(c.line + "\n")) << c.line;
    EXPECT_EQ(c.cells + ";", load("#" + c.line + "\n" + c.line)) << c.line;
    std::istringstream in(c.line);
    CommaSeparatedValues::Column column;
    EXPECT_EQ(&in, &column.load(in));
    std::string cells;
    for (const std::string& cell : column.cells) cells += '[' + cell + ']';
    EXPECT_EQ(c.cells, cells) << c.line;
  }
  EXPECT_EQ("[a];[d];;;", load(std::string("a\0b,c\nd\0\r\n\0#\n", 13)));
}

TEST(CommaSeparatedValues, ColumnAppendsAndDropsALastEmptyCell) {
  CommaSeparatedValues::Column column;
  column.cells = {"old"};
  std::istringstream in(std::string("a\nb,c\0d,", 8));
  column.load(in);
  const std::vector<std::string> expected{"old", "a", "c"};
  EXPECT_EQ(expected, column.cells);
  column.cells.push_back("");
  column.load(in);  // at its end by now
  EXPECT_EQ(expected, column.cells);
}

TEST(CommaSeparatedValues, LeavesTheStreamsStateAndMaskToTheCaller) {
  const auto good = std::ios::goodbit, eof = std::ios::eofbit, fail = std::ios::failbit,
             bad = std::ios::badbit;
  const struct {
    std::ios::iostate before, mask, after;
    const char* rows;
    bool throws;
  } cases[] = {{eof, good, eof, "", false},
               {fail, good, fail, "", false},
               {bad, good, bad | fail, "", false},
               {good, bad, eof | fail, "[a];;", false},
               // The read of the last, empty line throws, and that line gives no row.
               {good, eof, eof | fail, "[a];", true},
               {good, fail, eof | fail, "[a];", true}};
  for (const auto& c : cases) {
    std::istringstream in("a\n");
    in.setstate(c.before);
    in.exceptions(c.mask);
    CommaSeparatedValues table;
    bool threw = false;
    try {
      table.load(in);
    } catch (const std::ios::failure&) {
      threw = true;
    }
    EXPECT_EQ(c.throws, threw) << c.before << c.mask;
    EXPECT_EQ(c.after, in.rdstate()) << c.before << c.mask;
    EXPECT_EQ(c.rows, dump(table)) << c.before << c.mask;
  }
}

TEST(CommaSeparatedValues, MovesWithItsRows) {
  static_assert(!std::is_copy_constructible<CommaSeparatedValues>::value, "rows have one owner");
  static_assert(!std::is_copy_assignable<CommaSeparatedValues>::value, "rows have one owner");
  const long blocks = allocations::live();
  {
    std::istringstream one("a"), two("b\nc");
    CommaSeparatedValues table, other;
    table.load(one);
    other.load(two);
    const CommaSeparatedValues::Column* const first = other[0];
    table = std::move(other);
    EXPECT_EQ(0u, other.size());
    CommaSeparatedValues last(std::move(table));
    EXPECT_EQ("[b];[c];", dump(last));
    EXPECT_EQ(first, last[0]);
  }
  EXPECT_EQ(blocks, allocations::live());
}

}  // namespace
