#include "SqlCommon.h"

#include <climits>
#include <future>
#include <sstream>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "support/World.h"

using namespace sqltest;

namespace
{

const Source common("SqlCommon");

// What callers were compiled against.
static_assert(std::is_same<decltype(&sql::listToVector),
                           void (*)(std::string, std::vector<std::string>&, const char*)>::value,
              "");

// The names of types

class Type2StrTest : public Test
{
protected:
    const std::string report =
        common.asserted("false", "sql::string sql::type2Str(sql::field_type)");
};

TEST_F(Type2StrTest, NamesEachType)
{
    EXPECT_EQ("integer", sql::type2Str(sql::type_int));
    EXPECT_EQ("text", sql::type2Str(sql::type_text));
    EXPECT_EQ("float", sql::type2Str(sql::type_float));
    EXPECT_EQ("bool", sql::type2Str(sql::type_bool));
    EXPECT_EQ("time", sql::type2Str(sql::type_time));
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(Type2StrTest, KnowsTheTypesByTheirNumbers)
{
    EXPECT_EQ("integer", sql::type2Str(static_cast<sql::field_type>(0)));
    EXPECT_EQ("text", sql::type2Str(static_cast<sql::field_type>(1)));
    EXPECT_EQ("float", sql::type2Str(static_cast<sql::field_type>(2)));
    EXPECT_EQ("bool", sql::type2Str(static_cast<sql::field_type>(3)));
    EXPECT_EQ("time", sql::type2Str(static_cast<sql::field_type>(4)));
}

TEST_F(Type2StrTest, ReportsANumberThatIsNoType)
{
    for (const int number : {5, 7, 256, INT_MAX, -1, INT_MIN}) {
        EXPECT_EQ("undefined", sql::type2Str(static_cast<sql::field_type>(number))) << number;
        EXPECT_EQ(trace({report}), takeEvents()) << number;
    }
}

// Quoting

TEST(QuoteStrTest, DoublesASingleQuote)
{
    EXPECT_EQ("it''s", sql::quoteStr("it's"));
}

TEST(QuoteStrTest, DoublesEachOfSeveralQuotes)
{
    EXPECT_EQ("''''", sql::quoteStr("''"));
}

TEST(QuoteStrTest, DoublesQuotesAtBothEnds)
{
    EXPECT_EQ("''a''b''", sql::quoteStr("'a'b'"));
}

TEST(QuoteStrTest, LeavesAnEmptyTextEmpty)
{
    EXPECT_EQ("", sql::quoteStr(""));
}

TEST(QuoteStrTest, LeavesAnyOtherByteAsItIs)
{
    EXPECT_EQ(allBytesButQuote(), sql::quoteStr(allBytesButQuote()));
}

TEST(QuoteStrTest, GoesOnPastANulByte)
{
    EXPECT_EQ(std::string("a\0''b''\0", 8), sql::quoteStr(std::string("a\0'b'\0", 6)));
}

TEST(QuoteStrTest, LeavesItsArgumentAsItIs)
{
    const std::string text = "it's";
    sql::quoteStr(text);
    EXPECT_EQ("it's", text);
}

TEST(QuoteStrTest, DoublesAMillionQuotes)
{
    EXPECT_TRUE(std::string(2000000, '\'') == sql::quoteStr(std::string(1000000, '\'')));
}

// On two threads at once

TEST(ThreadsTest, HelpersKeepTheTextsOfThreadsApart)
{
    const auto differing = [](char character) {
        const std::string text = " " + std::string(1000, character) + "' ";
        int different = 0;
        for (int i = 0; i < 20000; ++i) {
            different += sql::quoteStr(text) != " " + std::string(1000, character) + "'' ";
            different += sql::trim(text) != std::string(1000, character) + "'";
            different += sql::intToStr(character) != std::to_string(int(character));
        }
        return different;
    };
    std::future<int> other = std::async(std::launch::async, differing, 'a');
    EXPECT_EQ(0, differing('b'));
    EXPECT_EQ(0, other.get());
}

// Trimming

TEST(TrimTest, LeftErasesTheLeadingWhiteSpaceAlone)
{
    std::string text = " \t a b \t\n";
    EXPECT_EQ(&text, &sql::trimleft(text));
    EXPECT_EQ("a b \t\n", text);
}

TEST(TrimTest, RightErasesTheTrailingWhiteSpaceAlone)
{
    std::string text = " \t a b \t\n";
    EXPECT_EQ(&text, &sql::trimright(text));
    EXPECT_EQ(" \t a b", text);
}

TEST(TrimTest, InPlaceErasesBothEndsAndReturnsItsArgument)
{
    std::string text = "  a b \t\n";
    EXPECT_EQ(&text, &sql::trim(text));
    EXPECT_EQ("a b", text);
}

TEST(TrimTest, OfAConstantReturnsACopy)
{
    const std::string text = "  a b \t\n";
    EXPECT_EQ("a b", sql::trim(text));
    EXPECT_EQ("  a b \t\n", text);
}

TEST(TrimTest, EmptiesATextOfWhiteSpaceAlone)
{
    std::string left = "   ";
    std::string right = "   ";
    std::string both = "   ";
    EXPECT_EQ("", sql::trimleft(left));
    EXPECT_EQ("", sql::trimright(right));
    EXPECT_EQ("", sql::trim(both));
    EXPECT_EQ("", sql::trim(std::string(" \t\n")));
}

TEST(TrimTest, LeavesAnEmptyTextEmpty)
{
    std::string empty;
    EXPECT_EQ("", sql::trimleft(empty));
    EXPECT_EQ("", sql::trimright(empty));
    EXPECT_EQ("", sql::trim(empty));
    EXPECT_EQ("", sql::trim(std::string()));
}

TEST(TrimTest, LeavesATextWithoutOuterWhiteSpaceAsItIs)
{
    EXPECT_EQ("a \t b", sql::trim(std::string("a \t b")));
}

TEST(TrimTest, ErasesTheSixSpacesAndNoOtherByte)
{
    const std::string spaces = " \t\n\v\f\r";
    for (int byte = 0; byte < 256; ++byte) {
        const std::string one(1, static_cast<char>(byte));
        const bool space = spaces.find(one) != std::string::npos;
        EXPECT_EQ(space ? "x" : one + "x" + one, sql::trim(one + "x" + one)) << byte;
    }
}

TEST(TrimTest, TakesANulByteForAnEnd)
{
    EXPECT_EQ(std::string("\0 a \0", 5), sql::trim(std::string(" \0 a \0 ", 7)));
}

TEST(TrimTest, ErasesAMillionBlanks)
{
    const std::string blanks(1000000, ' ');
    EXPECT_EQ("a", sql::trim(blanks + "a" + blanks));
}

// Numbers as texts

TEST(IntToStrTest, WritesAnIntInDecimal)
{
    EXPECT_EQ("0", sql::intToStr(0));
    EXPECT_EQ("7", sql::intToStr(7));
    EXPECT_EQ("-7", sql::intToStr(-7));
    EXPECT_EQ("10", sql::intToStr(10));
    EXPECT_EQ("1000000", sql::intToStr(1000000));
}

TEST(IntToStrTest, WritesTheBoundsOfInt)
{
    EXPECT_EQ("-2147483648", sql::intToStr(INT_MIN));
    EXPECT_EQ("2147483647", sql::intToStr(INT_MAX));
}

TEST(IntToStrTest, WritesAnIntegerInDecimal)
{
    EXPECT_EQ("0", sql::intToStr(sql::integer(0)));
    EXPECT_EQ("7", sql::intToStr(sql::integer(7)));
    EXPECT_EQ("-7", sql::intToStr(sql::integer(-7)));
    EXPECT_EQ("4294967296", sql::intToStr(sql::integer(4294967296)));
    EXPECT_EQ("-1000000000000000000", sql::intToStr(sql::integer(-1000000000000000000)));
}

TEST(IntToStrTest, WritesTheBoundsOfInteger)
{
    EXPECT_EQ("9223372036854775807", sql::intToStr(sql::integer(LLONG_MAX)));
    EXPECT_EQ("-9223372036854775808", sql::intToStr(sql::integer(LLONG_MIN)));
}

TEST(IntToStrTest, GroupsNoDigitsWhereTheLocaleDoes)
{
    const ProgramLocale german("de_DE.UTF-8");
    std::ostringstream grouping;
    grouping << 1234567;
    ASSERT_EQ("1.234.567", grouping.str());

    EXPECT_EQ("1234567", sql::intToStr(1234567));
    EXPECT_EQ("-1234567890123", sql::intToStr(sql::integer(-1234567890123)));
}

// Splitting a list

class ListToVectorTest : public ::testing::Test
{
protected:
    using Items = std::vector<std::string>;

    static Items split(const std::string& list, const char* delimiters)
    {
        Items items;
        sql::listToVector(list, items, delimiters);
        return items;
    }
};

TEST_F(ListToVectorTest, TrimsItemsAndDropsEmptyOnes)
{
    EXPECT_EQ((Items{"a", "b", "c"}), split("a, b,,c ", ","));
}

TEST_F(ListToVectorTest, KeepsAnItemOfWhiteSpaceAsAnEmptyOne)
{
    EXPECT_EQ((Items{"a", "", "b"}), split("a, ,b", ","));
}

TEST_F(ListToVectorTest, GivesNoItemsForAnEmptyList)
{
    Items items = {"earlier"};
    sql::listToVector("", items, ",");
    EXPECT_EQ(Items{}, items);
}

TEST_F(ListToVectorTest, DropsWhatTheVectorHeld)
{
    Items items = {"earlier", "items"};
    sql::listToVector("a", items, ",");
    EXPECT_EQ(Items{"a"}, items);
}

TEST_F(ListToVectorTest, SplitsAnItemOfTheVectorItself)
{
    Items items = {"a,b", "c"};
    sql::listToVector(items[0], items, ",");
    EXPECT_EQ((Items{"a", "b"}), items);
}

TEST_F(ListToVectorTest, GivesNoItemsForLeadingAndTrailingDelimiters)
{
    EXPECT_EQ((Items{"a", "b"}), split(",,a,b,,,", ","));
}

TEST_F(ListToVectorTest, GivesNoItemsForDelimitersAlone)
{
    EXPECT_EQ(Items{}, split(",,,", ","));
}

TEST_F(ListToVectorTest, GivesTheWholeListWithoutADelimiterInIt)
{
    EXPECT_EQ(Items{"a b"}, split(" a b ", ","));
}

TEST_F(ListToVectorTest, SplitsAtAnyOfSeveralDelimiters)
{
    EXPECT_EQ((Items{"a", "b", "c"}), split("a;,b,;c", ",;"));
}

TEST_F(ListToVectorTest, SplitsNothingWithoutDelimiters)
{
    EXPECT_EQ(Items{"a,b"}, split("a,b", ""));
}

TEST_F(ListToVectorTest, SplitsAtBlanks)
{
    EXPECT_EQ((Items{"a", "b"}), split("  a  b ", " "));
}

TEST_F(ListToVectorTest, SplitsAtABytePast127)
{
    EXPECT_EQ((Items{"a\x80", "\xfe"}), split("a\x80\xff\xfe", "\xff"));
}

TEST_F(ListToVectorTest, EndsTheListAtItsFirstNulByte)
{
    EXPECT_EQ((Items{"a", "b"}), split(std::string("a,b\0c,d", 7), ","));
}

// More than a stack holds.
TEST_F(ListToVectorTest, SplitsAListOf10Megabytes)
{
    const std::string item(9999, 'x');
    std::string list;
    for (int i = 0; i < 1000; ++i)
        list += item + ",";
    ASSERT_EQ(10000000u, list.size());
    EXPECT_TRUE(Items(1000, item) == split(list, ","));
}

TEST_F(ListToVectorTest, KeepsAnItemOf10Megabytes)
{
    const Items items = split(std::string(10000000, 'x'), ",");
    ASSERT_EQ(1u, items.size());
    EXPECT_TRUE(std::string(10000000, 'x') == items[0]);
}

} // namespace
