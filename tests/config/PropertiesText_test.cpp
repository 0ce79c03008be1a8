#include <gtest/gtest.h>

#include <algorithm>
#include <locale>
#include <sstream>

#include "config/dump.h"

namespace {

using vimo::util::config::CppProperties;

TEST(PropertiesText, ReadsLinesAndTexts) {
  const struct {
    const char *text, *cut, *kept;  // what it gives without and with keepInlineHash
  } cases[] = {{"", "", ""},
               {"\n\n", "", ""},
               {"a", "", ""},
               {"a=b", "a>b;", "a>b;"},
               {"  a =  b  ", "a>b;", "a>b;"},
               {"a b = c d", "a b>c d;", "a b>c d;"},
               {"a=b#c", "a>b;", "a>b#c;"},
               {"a = b # c", "a>b;", "a>b # c;"},
               {"#a=b", "", ""},
               {" #a=b", "", "#a>b;"},
               {"a#b=c", "", "a#b>c;"},
               {"a=b=c", "a>b=c;", "a>b=c;"},
               {"=b", ">b;", ">b;"},
               {"a=", "a>;", "a>;"},
               {" = ", ">;", ">;"},
               {"a\t=\tb", "a\t>\tb;", "a\t>\tb;"},
               {"a=on\r\nb=\r\n", "a>on\r;b>\r;", "a>on\r;b>\r;"},
               {"b=1\na=2\nb=\n", "a>2;b>;", "a>2;b>;"},
               {"a=1\nb=2\nb=3\nab=4", "a>1;ab>4;b>3;", "a>1;ab>4;b>3;"}};
  for (const auto& c : cases) {
    for (const bool kept : {false, true}) {
      CppProperties properties(kept);
      properties.setProperty("old", "x");
      properties.setModified(false);
      std::istringstream in(c.text);
      properties.read(in);
      EXPECT_EQ(kept ? c.kept : c.cut, dump(properties)) << c.text << kept;
      EXPECT_TRUE(properties.isModified()) << c.text;
      EXPECT_EQ(std::ios::eofbit | std::ios::failbit, in.rdstate()) << c.text;
    }
  }
}

struct SemicolonForNewline : std::ctype<char> {
  char do_widen(char c) const override { return c == '\n' ? ';' : c; }
  const char* do_widen(const char* begin, const char* end, char* to) const override {
    std::replace_copy(begin, end, to, '\n', ';');
    return end;
  }
};

struct CountsFlushes : std::stringbuf {
  int sync() override { return ++flushes, 0; }
  int flushes = 0;
};

TEST(PropertiesText, WritesALineAnEntryAndFlushesEach) {
  CppProperties properties;
  properties.setProperty("b", "=#\n\t ");
  properties.setProperty("a", "");
  properties.setProperty("", "1");
  properties.setModified(false);
  CountsFlushes buffer;
  std::iostream stream(&buffer);
  stream.imbue(std::locale(stream.getloc(), new SemicolonForNewline));
  stream.width(3);
  stream.fill('.');
  properties.write(stream);
  EXPECT_EQ("...=1;a=;b==#\n\t ;", buffer.str());  // the width is for what comes first
  EXPECT_EQ(3, buffer.flushes);
  EXPECT_FALSE(properties.isModified());
  CppProperties again(true);
  again.read(stream);
  EXPECT_EQ("...>1;a>;b>=#\n\t;", dump(again));
}

}  // namespace
