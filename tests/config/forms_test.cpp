// The stored forms: what each holds, byte by byte. The fuzz targets compare the
// readers with models of their rules on far more input.

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <locale>
#include <sstream>

#include "config/outcome.h"

namespace {

using vimo::util::config::CommaSeparatedValues;
using vimo::util::config::CppProperties;
using namespace std::string_literals;

TEST(PropertiesText, ReadsLines) {
  const struct {
    std::string text, cut, kept = cut;  // what it gives without and with keepInlineHash
  } cases[] = {{"", ""},      {"a=b", "a>b;"},         {"a b = c d", "a b>c d;"},
               {"#a=b", ""},  {"  a =  b  ", "a>b;"},  {"b=1\na=2\nb=", "a>2;b>;"},
               {"\na\n", ""}, {" #a=b", "", "#a>b;"},  {"a\t=b\r\n", "a\t>b\r;"},
               {"=b", ">b;"}, {"a#b=c", "", "a#b>c;"}, {"a=b#c", "a>b;", "a>b#c;"},
               {" = ", ">;"}, {"a=b=c", "a>b=c;"},     {"a = b # c", "a>b;", "a>b # c;"}};
  for (const auto& c : cases) {
    for (const bool kept : {false, true}) {
      std::istringstream in(c.text);
      CppProperties properties = kept ? CppProperties(true) : CppProperties();
      properties.read(in);
      EXPECT_EQ(kept ? c.kept : c.cut, dump(properties)) << c.text << kept;
    }
  }
}

// Counts what it is asked for.
struct Watched : std::stringbuf {
  int sync() override { return ++flushes, 0; }
  std::streamsize xsputn(const char* bytes, std::streamsize size) override {
    return ++writes, std::stringbuf::xsputn(bytes, size);
  }
  int flushes = 0, writes = 0;
};

TEST(CppProperties, WritesBothForms) {
  CppProperties properties;
  properties.setProperty("b", "=#\n ");
  properties.setProperty("a", "");
  Watched buffer;
  std::ostream out(&buffer);
  out.width(3);  // for what comes first
  properties.write(out);
  const std::string text = "  a=\nb==#\n \n", binary = "\1\0\0\0a\0\0\0\0\1\0\0\0b\4\0\0\0=#\n "s;
  EXPECT_EQ(text, buffer.str());
  EXPECT_EQ(2, buffer.flushes);
  buffer.writes = 0;
  properties.save(out);
  EXPECT_EQ(text + binary, buffer.str());
  EXPECT_EQ(8, buffer.writes);
  std::istringstream in(binary);
  CppProperties loaded;
  loaded.load(in);
  EXPECT_EQ("a>;b>=#\n ;", dump(loaded));
  EXPECT_EQ(2, buffer.flushes);
  EXPECT_TRUE(properties.isModified());
}

std::string contentOf(const std::string& path) {
  std::ostringstream content;
  content << std::ifstream(path).rdbuf();
  return content.str();
}

TEST(PropertiesBinary, SavesToFilesWithAnyRoom) {
  const std::string path = testing::TempDir() + "saved", key(7, 'k'), value(3, 'v');
  const std::string binary = "\7\0\0\0"s + key + "\3\0\0\0"s + value;
  CppProperties properties;
  properties.setProperty(key, value);
  for (std::size_t room = 1; room <= binary.size() + 2; ++room) {
    std::vector<char> area(room, 'x');
    std::filebuf file;
    file.pubsetbuf(area.data(), static_cast<std::streamsize>(room));
    file.open(path, std::ios::out);
    std::ostream out(&file);
    properties.save(out);
    file.close();
    EXPECT_EQ(binary, contentOf(path)) << room;
  }

  // A string is two writes, each of which flushes a tied stream, and its own if so wished.
  Watched tied;
  std::ostream other(&tied);
  std::ofstream out(path);
  out.tie(&other);
  properties.save(out);
  EXPECT_EQ(4, tied.flushes);
  out.tie(nullptr);
  out.setf(std::ios::unitbuf);
  properties.save(out);
  EXPECT_EQ(binary + binary, contentOf(path));
  out.unsetf(std::ios::unitbuf);
  out.setstate(std::ios::failbit);  // from now on nothing more
  properties.save(out);
  out.close();
  EXPECT_EQ(binary + binary, contentOf(path));
  unlink(path.c_str());
}

TEST(PropertiesBinary, GetsWhatWasPutAndBelievesNoLength) {
  for (const std::size_t size : {0, 5, 500, 501, 1000, 1001, 70000}) {
    const std::string text(size, 'x');
    std::stringstream stream;
    std::string value = "old";
    stream.width(9);
    CppProperties().put(stream, text);
    CppProperties().get(stream, value);
    EXPECT_EQ(text, value);
    stream.write("\377\377\377\377", 4).write(text.data(), size);
    Watched tied;
    std::ostream other(&tied);
    stream.tie(&other);
    CppProperties().get(stream, value);
    EXPECT_EQ(text, value);
    // For the length, for every five bytes, and at the end.
    EXPECT_EQ(static_cast<int>(size / 5 + 2), tied.flushes);
    EXPECT_LT(value.capacity(), 2 * size + 2000);
  }
}

// Delivers byte by byte, out of no buffer.
struct Unbuffered : std::streambuf {
  explicit Unbuffered(const std::string& bytes) : bytes(bytes) {}
  int underflow() override { return next < bytes.size() ? bytes[next] : EOF; }
  int uflow() override { return next < bytes.size() ? bytes[next++] : EOF; }
  std::string bytes;
  std::size_t next = 0;
};

// The rows of `text`, once they have moved to another table.
std::string load(const std::string& text) {
  std::istringstream in(text);
  Unbuffered bytes(text);
  std::istream single(&bytes);
  Watched tied;
  std::ostream other(&tied);
  single.tie(&other);
  std::istringstream old("old");
  std::vector<CommaSeparatedValues> tables(2);
  CommaSeparatedValues& table = tables[1];
  tables[0].load(single);
  EXPECT_LT(0, tied.flushes) << text;
  table.load(old);
  table = std::move(tables[0]);
  EXPECT_EQ(0u, tables[0].size()) << text;
  std::string rows = dump(table);
  EXPECT_EQ(&in, &table.load(in));
  EXPECT_EQ(text.empty() || text.back() == '\n', in.fail()) << text;
  EXPECT_FALSE(in.bad()) << text;
  EXPECT_EQ(rows, dump(table)) << text;
  return rows;
}

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

// Throws what is no std::exception as soon as a stream asks it.
struct Thrower : std::ctype<char> {
  char do_widen(char) const override { throw 1; }
  const char* do_widen(const char*, const char*, char*) const override { throw 1; }
};

// A file with one line, longer than what is read of it at once.
struct LoadingFiles : testing::Test {
  LoadingFiles() {
    EXPECT_EQ(10003, write(descriptor, ("a=" + value + "\n").c_str(), 10003));
    close(descriptor);
  }
  ~LoadingFiles() override { unlink(path.c_str()); }
  const std::string value = std::string(10000, 'x');
  std::string path = testing::TempDir() + "loadingXXXXXX";
  const int descriptor = mkstemp(&path[0]);
};

TEST_F(LoadingFiles, TellWhyTheyFailed) {
  CppProperties properties;
  CommaSeparatedValues table;
  const struct {
    std::string path;
    int code;
  } cases[] = {{path, 0}, {path + "/no", 0x1E0001}, {"/", 0x1E0002}};
  for (const auto& c : cases) {
    const bool held = c.code != 0x1E0002;  // by now, or still
    EXPECT_EQ(c.code, codeOf([&] { properties.load(c.path); })) << c.path;
    EXPECT_EQ(held ? "a>" + value + ";" : "", dump(properties)) << c.path;
    EXPECT_EQ(c.code != 0x1E0001, table.load(c.path)) << c.path;
    EXPECT_EQ(held ? "[a=" + value + "];;" : "", dump(table)) << c.path;
  }
  const std::locale before = std::locale::global(std::locale(std::locale(), new Thrower));
  EXPECT_EQ(0x1E0002, codeOf([&] { properties.load(path); }));
  std::locale::global(before);
}

}  // namespace
