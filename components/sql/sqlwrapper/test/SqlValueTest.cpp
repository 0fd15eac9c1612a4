#include "SqlValue.h"

#include <climits>
#include <clocale>
#include <cstring>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "support/Values.h"
#include "support/World.h"

using namespace sqltest;
using sql::Value;

namespace
{

const Source common("SqlCommon");

static_assert(!std::is_polymorphic<Value>::value, "nothing virtual");
static_assert(std::is_convertible<sql::field_type, Value>::value, "");

const std::string nulInside("a\0b", 3);

// NULL

TEST_F(ValueTest, IsNullWhenMade)
{
    const Value value(sql::type_int);
    EXPECT_TRUE(value.isNull());
    EXPECT_EQ(sql::type_int, value.getType());
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(ValueTest, IsMadeOfAnyType)
{
    for (const int type : {0, 1, 2, 3, 4, 7, -1}) {
        EXPECT_TRUE(null(type).isNull()) << type;
        EXPECT_EQ(type, null(type).getType());
    }
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(ValueTest, NullReadsAs0FalseAndTheEmptyText)
{
    const Value value(sql::type_text);
    EXPECT_EQ(0, value.asInteger());
    EXPECT_EQ(0.0, value.asDouble());
    EXPECT_FALSE(value.asBool());
    EXPECT_EQ("", value.asString());
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(ValueTest, NullReadsAsTheTimeOfTheEpoch)
{
    EXPECT_EQ(0, Value(sql::type_text).asTime().getTime());
    EXPECT_EQ(trace({madeEpoch}), takeEvents());
}

TEST_F(ValueTest, NullTimeReadsAsTheTextOfTheEpoch)
{
    EXPECT_EQ("01-01-1970 00:00:00, Thu", Value(sql::type_time).asString());
    EXPECT_EQ(trace({madeEpoch}), takeEvents());
}

TEST_F(ValueTest, SetNullDropsTheTextAndKeepsTheType)
{
    Value value = holding("42", sql::type_int);
    value.setNull();
    EXPECT_TRUE(value.isNull());
    EXPECT_EQ(sql::type_int, value.getType());
    EXPECT_EQ("", value.asString());
    EXPECT_EQ(0, value.asInteger());
}

// Setting text and type

TEST_F(ValueTest, SetValueTakesTextAndType)
{
    Value value(sql::type_int);
    value.setValue("abc", sql::type_text);
    EXPECT_FALSE(value.isNull());
    EXPECT_EQ(sql::type_text, value.getType());
    EXPECT_EQ("abc", value.asString());
}

TEST_F(ValueTest, SetValueOfNullPointerIsNullOfTheNewType)
{
    Value value = holding("abc", sql::type_text);
    value.setValue(nullptr, sql::type_bool);
    EXPECT_TRUE(value.isNull());
    EXPECT_EQ(sql::type_bool, value.getType());
    EXPECT_EQ("", value.asString());
}

TEST_F(ValueTest, SetValueOfAnEmptyTextIsNotNull)
{
    EXPECT_FALSE(holding("").isNull());
    EXPECT_EQ("", holding("").asString());
}

TEST_F(ValueTest, SetValueChecksNoTextAgainstTheType)
{
    const Value value = holding("abc", sql::type_int);
    EXPECT_EQ("abc", value.asString());
    EXPECT_EQ(0, value.asInteger());
    EXPECT_EQ("abc", value.toSql(sql::type_int));
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(ValueTest, SetValueTakesACopyOfTheText)
{
    char text[] = "abc";
    const Value value = holding(text);
    text[0] = 'x';
    EXPECT_EQ("abc", value.asString());
}

TEST_F(ValueTest, SetValueTakesALongText)
{
    const std::string text(1000000, 'x');
    EXPECT_TRUE(text == holding(text.c_str()).asString());
}

TEST_F(ValueTest, SettersKeepTheTypeAndEndNull)
{
    for (const int type : {0, 1, 2, 3, 4, 7}) {
        std::vector<Value> values(5, null(type));
        values[0].setString("1");
        values[1].setInteger(1);
        values[2].setDouble(1.0);
        values[3].setBool(true);
        values[4].setTime(sql::Time(1));
        for (const Value& value : values) {
            EXPECT_EQ(type, value.getType());
            EXPECT_FALSE(value.isNull()) << type;
        }
    }
}

TEST_F(ValueTest, SettersLogNothing)
{
    const sql::Time time(1);
    forgetEvents();
    Value value(sql::type_time);
    value.setValue("1", sql::type_time);
    value.setNull();
    value.setString("1");
    value.setInteger(1);
    value.setDouble(1.0);
    value.setBool(true);
    value.setTime(time);
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(ValueTest, IsCopiedWithTextNullAndType)
{
    const Value value = holding("abc", sql::type_float);
    const Value copy(value);
    EXPECT_EQ("abc (float)", copy.dump(true));
    const Value nullCopy(null(sql::type_bool));
    EXPECT_EQ("null (bool)", nullCopy.dump(true));
}

TEST_F(ValueTest, ACopyKeepsItsTextWhenTheOriginalChanges)
{
    Value value = holding("abc");
    const Value copy(value);
    value.setString("xyz");
    EXPECT_EQ("abc", copy.asString());
}

TEST_F(ValueTest, TakesTextNullAndTypeOfWhatIsAssigned)
{
    const Value value = holding("abc", sql::type_float);
    Value assigned(sql::type_int);
    assigned = value;
    EXPECT_EQ("abc (float)", assigned.dump(true));
    assigned = null(sql::type_bool);
    EXPECT_EQ("null (bool)", assigned.dump(true));
}

TEST_F(ValueTest, StaysTheSameWhenAssignedToItself)
{
    Value value = holding("abc", sql::type_float);
    const Value& itself = value;
    EXPECT_EQ(&value, &(value = itself));
    EXPECT_EQ("abc (float)", value.dump(true));
}

// Texts

TEST_F(ValueTest, SetStringTakesATextAsItIs)
{
    Value value(sql::type_text);
    value.setString(" O'Neil \"%s%n\" \x80\xff ");
    EXPECT_EQ(" O'Neil \"%s%n\" \x80\xff ", value.asString());
}

TEST_F(ValueTest, SetStringKeepsWhatFollowsANulByte)
{
    Value value(sql::type_text);
    value.setString(nulInside);
    EXPECT_EQ(nulInside, value.asString());
    EXPECT_EQ(nulInside, value.toString());
    EXPECT_EQ(nulInside + " (text)", value.dump(true));
}

TEST_F(ValueTest, SetStringOfAnEmptyTextIsNotNull)
{
    Value value(sql::type_text);
    value.setString("");
    EXPECT_FALSE(value.isNull());
}

// Whole numbers

TEST_F(ValueTest, SetIntegerWritesDecimal)
{
    Value value(sql::type_int);
    value.setInteger(-7);
    EXPECT_EQ("-7", value.asString());
    value.setInteger(0);
    EXPECT_EQ("0", value.asString());
    value.setInteger(1234567890123);
    EXPECT_EQ("1234567890123", value.asString());
}

TEST_F(ValueTest, SetIntegerWritesTheBoundsOf64Bits)
{
    Value value(sql::type_int);
    value.setInteger(LLONG_MAX);
    EXPECT_EQ("9223372036854775807", value.asString());
    value.setInteger(LLONG_MIN);
    EXPECT_EQ("-9223372036854775808", value.asString());
}

TEST_F(ValueTest, ReadsBackTheBoundsOf64Bits)
{
    Value value(sql::type_int);
    value.setInteger(LLONG_MAX);
    EXPECT_EQ(LLONG_MAX, value.asInteger());
    value.setInteger(LLONG_MIN);
    EXPECT_EQ(LLONG_MIN, value.asInteger());
}

TEST_F(ValueTest, ReadsAnIntegerUpToTheFirstNulByte)
{
    Value value(sql::type_text);
    value.setString(std::string("12\0003", 4));
    EXPECT_EQ(12, value.asInteger());
}

TEST_F(ValueTest, ReadsAnIntegerWhateverItsType)
{
    for (const int type : {0, 1, 2, 3, 4, 7})
        EXPECT_EQ(42, holding("42", type).asInteger()) << type;
    EXPECT_EQ(trace({}), takeEvents());
}

// Doubles

TEST_F(ValueTest, SetDoubleWritesEightDecimals)
{
    EXPECT_EQ("0.10000000", textOf(0.1));
    EXPECT_EQ("3.50000000", textOf(3.5));
    EXPECT_EQ("-3.50000000", textOf(-3.5));
    EXPECT_EQ("0.00000000", textOf(0.0));
    EXPECT_EQ("1000000.00000000", textOf(1e6));
}

TEST_F(ValueTest, ReadsADoubleUpToTheFirstNulByte)
{
    Value value(sql::type_text);
    value.setString(std::string("1.5\0003", 5));
    EXPECT_EQ(1.5, value.asDouble());
}

TEST_F(ValueTest, ReadsADoubleWhateverItsType)
{
    for (const int type : {0, 1, 2, 3, 4, 7})
        EXPECT_EQ(1.5, holding("1.5", type).asDouble()) << type;
    EXPECT_EQ(trace({}), takeEvents());
}

// Numbers where the program has set a locale that writes them in another way.

class ForeignLocaleTest : public ValueTest, public ::testing::WithParamInterface<const char*>
{
protected:
    ForeignLocaleTest() : locale(GetParam())
    {
        EXPECT_STRNE(".", std::localeconv()->decimal_point);
        EXPECT_STRNE("", std::localeconv()->thousands_sep);
    }

private:
    ProgramLocale locale;
};

INSTANTIATE_TEST_SUITE_P(Comma, ForeignLocaleTest, ::testing::Values("de_DE.UTF-8"));
INSTANTIATE_TEST_SUITE_P(PointOfTwoBytes, ForeignLocaleTest, ::testing::Values("ps_AF.UTF-8"));

TEST_P(ForeignLocaleTest, WholeNumbersAreNotGrouped)
{
    Value value(sql::type_int);
    value.setInteger(-1234567890123456789);
    EXPECT_EQ("-1234567890123456789", value.asString());
    EXPECT_EQ(-1234567890123456789, value.asInteger());
    EXPECT_EQ("-1234567890123456789", value.toSql(sql::type_int));
}

TEST_P(ForeignLocaleTest, DoublesHaveAFullStop)
{
    Value value(sql::type_float);
    value.setDouble(1234567.5);
    EXPECT_EQ("1234567.50000000", value.asString());
    EXPECT_EQ(1234567.5, value.asDouble());
    value.setDouble(0.123456789); // rounded up
    EXPECT_EQ("0.12345679", value.asString());
    EXPECT_EQ(1500.0, holding("1.5e3").asDouble());
    const std::string localPoint = std::localeconv()->decimal_point;
    EXPECT_EQ(1.0, holding(("1" + localPoint + "5").c_str()).asDouble());
}

TEST_P(ForeignLocaleTest, TimesAreNotGrouped)
{
    EXPECT_EQ("1234567890", holding("1234567890", sql::type_time).toSql(sql::type_time));
}

// Bools

TEST_F(ValueTest, SetBoolWrites1Or0)
{
    Value value(sql::type_bool);
    value.setBool(true);
    EXPECT_EQ("1", value.asString());
    EXPECT_TRUE(value.asBool());
    value.setBool(false);
    EXPECT_EQ("0", value.asString());
    EXPECT_FALSE(value.asBool());
}

TEST_F(ValueTest, SetBoolOfFalseIsNotNull)
{
    Value value(sql::type_bool);
    value.setBool(false);
    EXPECT_FALSE(value.isNull());
}

TEST_F(ValueTest, ReadsNoTextButOneAsTrue)
{
    EXPECT_TRUE(holding("1").asBool());
    for (const char* text : {"", "0", "true", "2", " 1", "1 ", "01", "+1", "1.0", "11", "-1"})
        EXPECT_FALSE(holding(text).asBool()) << '"' << text << '"';
}

TEST_F(ValueTest, ReadsA1BeforeANulByteAsFalse)
{
    Value value(sql::type_bool);
    value.setString(std::string("1\0", 2));
    EXPECT_FALSE(value.asBool());
}

TEST_F(ValueTest, ReadsABoolWhateverItsType)
{
    for (const int type : {0, 1, 2, 3, 4, 7})
        EXPECT_TRUE(holding("1", type).asBool()) << type;
    EXPECT_EQ(trace({}), takeEvents());
}

// Times

TEST_F(ValueTest, SetTimeWritesItsSeconds)
{
    Value value(sql::type_text);
    value.setTime(sql::Time(-86400));
    EXPECT_EQ("-86400", value.asString());
    EXPECT_EQ(-86400, value.asInteger());
}

TEST_F(ValueTest, ReadsATimeAsItsSeconds)
{
    EXPECT_EQ(86400, holding("86400").asTime().getTime());
    EXPECT_EQ(trace({madeDay}), takeEvents());
}

TEST_F(ValueTest, ReadsATimeAsFarAsItIsANumber)
{
    EXPECT_EQ(86400, holding(" 86400abc", sql::type_time).asTime().getTime());
    EXPECT_EQ(0, holding("abc", sql::type_time).asTime().getTime());
    EXPECT_EQ(trace({madeDay, madeEpoch}), takeEvents());
}

TEST_F(ValueTest, ReadsATimeCutToTimeT)
{
    EXPECT_EQ(static_cast<time_t>(4294967297), holding("4294967297").asTime().getTime());
}

TEST_F(ValueTest, ATimeIsTextInLocalTime)
{
    const TimeZone cet("CET-1");
    EXPECT_EQ("02-01-1970 01:00:00, Fri", holding("86400", sql::type_time).asString());
    EXPECT_EQ(trace({made(86400, "Fri Jan  2 01:00:00 1970\n")}), takeEvents());
}

TEST_F(ValueTest, ATextThatIsNoNumberIsTheEpochAsATime)
{
    EXPECT_EQ("01-01-1970 00:00:00, Thu", holding("abc", sql::type_time).asString());
    EXPECT_EQ(trace({madeEpoch}), takeEvents());
}

TEST_F(ValueTest, ATimeIsTheEmptyTextWhenLocalTimeFails)
{
    faults.localTimeFails = true;
    EXPECT_EQ("", holding("86400", sql::type_time).asString());
    EXPECT_EQ(
        trace({madeDay, common.error("format", "Failed to convert calendar time to local time")}),
        takeEvents());
}

// Texts for people

TEST_F(ValueTest, ToStringIsTheWordNull)
{
    for (const int type : {0, 1, 2, 3, 4, 7})
        EXPECT_EQ("null", null(type).toString()) << type;
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(ValueTest, ToStringIsTheTextOfWhatIsNotNull)
{
    EXPECT_EQ("42", holding("42", sql::type_int).toString());
    EXPECT_EQ("", holding("").toString());
    EXPECT_EQ("null", holding("null").toString());
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(ValueTest, ToStringOfATimeIsItsLocalTime)
{
    EXPECT_EQ("02-01-1970 00:00:00, Fri", holding("86400", sql::type_time).toString());
    EXPECT_EQ(trace({madeDay}), takeEvents());
}

TEST_F(ValueTest, DumpIsToStringWithoutTheType)
{
    EXPECT_EQ("42", holding("42", sql::type_int).dump(false));
    EXPECT_EQ("null", null(sql::type_int).dump(false));
    EXPECT_EQ("02-01-1970 00:00:00, Fri", holding("86400", sql::type_time).dump(false));
    EXPECT_EQ("42", holding("42", 7).dump(false));
    EXPECT_EQ(trace({madeDay}), takeEvents());
}

TEST_F(ValueTest, DumpAddsTheTypeInParentheses)
{
    EXPECT_EQ("42 (integer)", holding("42", 0).dump(true));
    EXPECT_EQ("abc (text)", holding("abc", 1).dump(true));
    EXPECT_EQ("1.50000000 (float)", holding("1.50000000", 2).dump(true));
    EXPECT_EQ("1 (bool)", holding("1", 3).dump(true));
    EXPECT_EQ("02-01-1970 00:00:00, Fri (time)", holding("86400", 4).dump(true));
    EXPECT_EQ(trace({madeDay}), takeEvents());
}

TEST_F(ValueTest, DumpAddsTheTypeOfNull)
{
    EXPECT_EQ("null (integer)", null(0).dump(true));
    EXPECT_EQ("null (text)", null(1).dump(true));
    EXPECT_EQ("null (float)", null(2).dump(true));
    EXPECT_EQ("null (bool)", null(3).dump(true));
    EXPECT_EQ("null (time)", null(4).dump(true));
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(ValueTest, DumpReportsATypeThatIsNone)
{
    EXPECT_EQ("42 (undefined)", holding("42", 7).dump(true));
    EXPECT_EQ(trace({typeNameReport}), takeEvents());
}

// Literals

TEST_F(ValueTest, NullIsTheLiteralNullInEveryColumn)
{
    for (const int type : {0, 1, 2, 3, 4, 7})
        for (const int column : {0, 1, 2, 3, 4, 7})
            EXPECT_EQ("null", null(type).toSql(static_cast<sql::field_type>(column)))
                << type << " in " << column;
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(ValueTest, LiteralOfATextColumnIsQuoted)
{
    EXPECT_EQ("'-7'", holding("-7", sql::type_int).toSql(sql::type_text));
    EXPECT_EQ("'abc'", holding("abc", sql::type_text).toSql(sql::type_text));
    EXPECT_EQ("'3.50000000'", holding("3.50000000", sql::type_float).toSql(sql::type_text));
    EXPECT_EQ("'1'", holding("1", sql::type_bool).toSql(sql::type_text));
    EXPECT_EQ("''", holding("", sql::type_text).toSql(sql::type_text));
    EXPECT_EQ("'x'", holding("x", 7).toSql(sql::type_text));
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(ValueTest, LiteralOfATextColumnDoublesQuotesWithin)
{
    EXPECT_EQ("'O''Neil'", holding("O'Neil").toSql(sql::type_text));
    EXPECT_EQ("''''", holding("'").toSql(sql::type_text));
}

TEST_F(ValueTest, LiteralOfATextColumnKeepsEveryOtherByte)
{
    Value value(sql::type_text);
    value.setString(std::string("a\0'%s\"\\\x80\xff", 9));
    EXPECT_EQ(std::string("'a\0''%s\"\\\x80\xff'", 12), value.toSql(sql::type_text));
}

TEST_F(ValueTest, LiteralOfATimeInATextColumnIsItsQuotedLocalTime)
{
    EXPECT_EQ("'02-01-1970 00:00:00, Fri'", holding("86400", sql::type_time).toSql(sql::type_text));
    EXPECT_EQ(trace({madeDay}), takeEvents());
}

TEST_F(ValueTest, LiteralOfATimeInATextColumnDoublesQuotesWithin)
{
    faults.strftime = [](char* text, std::size_t size) {
        return std::string("7 o'clock", 10).copy(text, size);
    };
    EXPECT_EQ("'7 o''clock'", holding("0", sql::type_time).toSql(sql::type_text));
}

TEST_F(ValueTest, LiteralOfATimeInAnyOtherColumnIsItsSeconds)
{
    for (const int column : {0, 2, 3, 4, 7, -1})
        EXPECT_EQ("86400",
                  holding("86400", sql::type_time).toSql(static_cast<sql::field_type>(column)))
            << column;
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(ValueTest, LiteralOfATimeIsReadAsANumberFirst)
{
    EXPECT_EQ("12", holding(" 12abc", sql::type_time).toSql(sql::type_time));
    EXPECT_EQ("0", holding("abc", sql::type_time).toSql(sql::type_int));
    EXPECT_EQ("-5", holding("-5", sql::type_time).toSql(sql::type_time));
}

TEST_F(ValueTest, LiteralOfATimeIsNotCutToTimeT)
{
    EXPECT_EQ("4294967297", holding("4294967297", sql::type_time).toSql(sql::type_time));
}

TEST_F(ValueTest, LiteralOfAnyOtherValueIsItsTextAsItIs)
{
    for (const int type : {0, 1, 2, 3, 7})
        for (const int column : {0, 2, 3, 4, 7, -1})
            EXPECT_EQ("O'Neil %s",
                      holding("O'Neil %s", type).toSql(static_cast<sql::field_type>(column)))
                << type << " in " << column;
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(ValueTest, LiteralOfAnEmptyTextIsEmptyOutsideATextColumn)
{
    EXPECT_EQ("", holding("").toSql(sql::type_int));
}

TEST_F(ValueTest, LiteralsOfWhatTheSettersStore)
{
    Value value(sql::type_int);
    value.setInteger(-7);
    EXPECT_EQ("-7", value.toSql(sql::type_int));
    value.setDouble(0.1);
    EXPECT_EQ("0.10000000", value.toSql(sql::type_float));
    value.setBool(true);
    EXPECT_EQ("1", value.toSql(sql::type_bool));
    value.setTime(sql::Time(86400));
    EXPECT_EQ("86400", value.toSql(sql::type_time));
    value.setString(nulInside);
    EXPECT_EQ(nulInside, value.toSql(sql::type_int));
}

} // namespace
