#include "Terminal.h"

#include <locale.h>

#include <gtest/gtest.h>

namespace
{

using support::cutTo;
using support::exact;
using support::harmless;
using support::widthOf;

TEST(TerminalTest, KeepsTextInEveryScript)
{
    for (const char* const text : {"", "plain", "Nüsse", "日本", "e\u0301", "\U0001f600", "\\n"})
        EXPECT_EQ(text, harmless(text));
}

TEST(TerminalTest, ShowsControlCharactersByTheirNumbers)
{
    EXPECT_EQ("a\\x00\\x0a\\x1b[2J\\x7f", harmless(std::string("a\0\n\x1b[2J\x7f", 8)));
    EXPECT_EQ("\\u0080 \\u009b2J \\u009f\u00a0", harmless("\u0080 \u009b2J \u009f\u00a0"));
}

TEST(TerminalTest, ShowsMarksOfDirectionByTheirNumbers)
{
    EXPECT_EQ("\\u061c\\u200e\\u200f\\u202a\\u202e\\u2066\\u2069",
              harmless("\u061c\u200e\u200f\u202a\u202e\u2066\u2069"));
    EXPECT_EQ("\\u2028\\u2029", harmless("\u2028\u2029"));
}

TEST(TerminalTest, ShowsBytesThatAreNotUtf8ByTheirNumbers)
{
    EXPECT_EQ("\\x9b2J", harmless("\x9b"
                                  "2J"));
    EXPECT_EQ("\\xc0\\x8a", harmless("\xc0\x8a")); // a line feed, too long
    EXPECT_EQ("\\xe0\\x80\\x8a", harmless("\xe0\x80\x8a"));
    EXPECT_EQ("\\xed\\xa0\\x80", harmless("\xed\xa0\x80")); // half of a pair of UTF-16
    EXPECT_EQ("\\xf4\\x90\\x80\\x80", harmless("\xf4\x90\x80\x80"));
    EXPECT_EQ("a\\xc3", harmless("a\xc3"));
    EXPECT_EQ("\\xe2\\x82 b", harmless("\xe2\x82 b"));
    EXPECT_EQ("\\xff", harmless("\xff"));
}

TEST(TerminalTest, DoublesBackslashesWhereTextsMustDiffer)
{
    EXPECT_EQ("\\x0a", exact("\n"));
    EXPECT_EQ("\\\\x0a", exact("\\x0a"));
}

bool machineHasNoUnicodeLocale()
{
    const locale_t locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    if (locale)
        freelocale(locale);
    return !locale;
}

TEST(TerminalTest, CountsColumns)
{
    if (machineHasNoUnicodeLocale()) // as an emulated board
        GTEST_SKIP();
    EXPECT_EQ(0u, widthOf(""));
    EXPECT_EQ(5u, widthOf("Nüsse"));
    EXPECT_EQ(4u, widthOf("日本"));
    EXPECT_EQ(1u, widthOf("e\u0301"));
    EXPECT_EQ(2u, widthOf("\U0001f600"));
}

TEST(TerminalTest, CutsBeforeACharacterThatDoesNotFit)
{
    if (machineHasNoUnicodeLocale())
        GTEST_SKIP();
    EXPECT_EQ("abc", cutTo(3, "abc"));
    EXPECT_EQ("ab", cutTo(2, "abc"));
    EXPECT_EQ("日", cutTo(3, "日本"));
    EXPECT_EQ("e\u0301", cutTo(1, "e\u0301x"));
    EXPECT_EQ("", cutTo(0, "abc"));
}

} // namespace
