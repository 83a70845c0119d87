// Every service writes its text as one line, which does nothing to a terminal.

#include "child.h"
#include "tty_platform.h"

namespace {

const std::string kStart = "Assertion failed in routine, line 7: ";

// What the report of a failed assertion shows of its expression.
std::string shown(const std::string &expression) {
  const std::string report = printed_by(
      {{"TTY_ASSERT", "report"}}, [&] { tty_ltrace_assert("routine", 7, expression.c_str()); });
  EXPECT_EQ(report.substr(0, kStart.size()), kStart);
  return report.substr(kStart.size());
}

TEST(Line, ShowsControlCharactersAsEscapes) {
  EXPECT_EQ(shown("a\nb\tc\rd\\e"), "a\\nb\\tc\\rd\\\\e\n");
  EXPECT_EQ(shown("\x01 \x1b[2J \x7f"), "\\x01 \\x1b[2J \\x7f\n");
  EXPECT_EQ(shown("\x9b is one byte, \xc2\x9b two"), "\\x9b is one byte, \\xc2\\x9b two\n");
}

TEST(Line, KeepsTextInUtf8AndLatin1) {
  EXPECT_EQ(shown("~ \u00a0 \u00e9 \u65e5 \U0001f600"), "~ \u00a0 \u00e9 \u65e5 \U0001f600\n");
  EXPECT_EQ(shown("caf\xe9"), "caf\xe9\n");
}

// \x80 to \x9f are the control characters of Latin-1.
TEST(Line, TakesBytesThatOnlyLookLikeUtf8AsLatin1) {
  EXPECT_EQ(shown("surrogate \xed\xa0\x80"), "surrogate \xed\xa0\\x80\n");
  EXPECT_EQ(shown("too large \xf4\x90\x80\x80"), "too large \xf4\\x90\\x80\\x80\n");
}

TEST(Line, HasAtMost2048BytesAndEndsWithAnEllipsisIfCut) {
  const std::string longest(2047 - kStart.size(), 'x');
  EXPECT_EQ(shown(longest), longest + "\n");
  const std::string kept(2044 - kStart.size(), 'x');
  EXPECT_EQ(shown(longest + "y"), kept + "...\n");
  const std::string before(2043 - kStart.size(), 'x');
  EXPECT_EQ(shown(before + "\u00e9 and more"), before + "...\n") << "no half of a character";
}

}  // namespace
