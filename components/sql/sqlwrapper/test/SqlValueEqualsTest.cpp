#include "SqlValue.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/Values.h"
#include "support/World.h"

using namespace sqltest;

namespace
{

using sql::Value;

const std::string nulInside("a\0b", 3);

// Comparing

TEST_F(ValueTest, NullsAreEqualWhateverTheirTypes)
{
    for (const int type : {0, 1, 2, 3, 4, 7, -1})
        for (const int other : {0, 1, 2, 3, 4, 7, -1})
            EXPECT_TRUE(null(type).equals(null(other))) << type << " and " << other;
    EXPECT_EQ(trace({}), takeEvents());
}

// Each row: a text read as a type, and another text; null means NULL.
class EqualsTest : public ValueTest
{
protected:
    struct Row
    {
        const char* mine;
        const char* other;
        bool equal;
    };

    // The other value is of each type but time, whose reading as text is a date.
    static void expectRows(sql::field_type type, const std::vector<Row>& rows)
    {
        for (const Row& row : rows)
            for (const int otherType : {0, 1, 2, 3, 7})
                EXPECT_EQ(row.equal, holding(row.mine, type).equals(holding(row.other, otherType)))
                    << shown(row.mine) << " and " << shown(row.other) << " of type " << otherType;
    }

private:
    static std::string shown(const char* text) { return text ? text : "NULL"; }
};

TEST_F(EqualsTest, IntegersByTheirNumbers)
{
    expectRows(sql::type_int, {
                                  {"42", "42", true},
                                  {"42", "43", false},
                                  {"42", "-42", false},
                                  {"42", " 042", true},
                                  {"42", "42.9", true},
                                  {"42", "abc", false},
                                  {"0", "abc", true},
                                  {"4294967296", "0", false},
                                  {"9223372036854775807", "9223372036854775806", false},
                                  {"0", nullptr, true},
                                  {"5", nullptr, false},
                                  {nullptr, "0", true},
                                  {nullptr, "", true},
                                  {nullptr, "5", false},
                              });
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(EqualsTest, TextsByTheirBytes)
{
    expectRows(sql::type_text, {
                                   {"abc", "abc", true},
                                   {"abc", "abd", false},
                                   {"abc", "ABC", false},
                                   {"abc", "ab", false},
                                   {"abc", "abc ", false},
                                   {"42", "042", false},
                                   {"\xff", "\xff", true},
                                   {"\xff", "\x7f", false},
                                   {"", nullptr, true},
                                   {"0", nullptr, false},
                                   {"null", nullptr, false},
                                   {nullptr, "", true},
                                   {nullptr, "0", false},
                               });
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(EqualsTest, TextsPastANulByte)
{
    Value value(sql::type_text);
    value.setString(nulInside);
    Value same(sql::type_text);
    same.setString(nulInside);
    Value another(sql::type_text);
    another.setString(std::string("a\0c", 3));
    EXPECT_TRUE(value.equals(same));
    EXPECT_FALSE(value.equals(another));
    EXPECT_FALSE(value.equals(holding("a")));
}

TEST_F(EqualsTest, FloatsExactly)
{
    expectRows(sql::type_float, {
                                    {"0.1", "0.10000000", true},
                                    {"1e-9", "0", false},
                                    {"1.0", "1.0000000000000002", false},
                                    {"-0.0", "0.0", true},
                                    {"1500", "1.5e3", true},
                                    {"inf", "inf", true},
                                    {"inf", "-inf", false},
                                    {"nan", "nan", false},
                                    {"0", "abc", true},
                                    {"0.0", nullptr, true},
                                    {"1e-9", nullptr, false},
                                    {"nan", nullptr, false},
                                    {nullptr, "0.0", true},
                                    {nullptr, "", true},
                                    {nullptr, "0.1", false},
                                });
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(EqualsTest, NanIsNotEvenEqualToItself)
{
    const Value nan = holding("nan", sql::type_float);
    EXPECT_FALSE(nan.equals(nan));
}

TEST_F(EqualsTest, BoolsByTheirTruth)
{
    expectRows(sql::type_bool, {
                                   {"1", "1", true},
                                   {"1", "0", false},
                                   {"0", "0", true},
                                   {"0", "2", true},
                                   {"1", "01", false},
                                   {"true", "false", true},
                                   {"0", nullptr, true},
                                   {"1", nullptr, false},
                                   {nullptr, "0", true},
                                   {nullptr, "true", true},
                                   {nullptr, "1", false},
                               });
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(EqualsTest, AnyTimeEqualsWhatever)
{
    expectRows(sql::type_time, {
                                   {"1", "1", true},
                                   {"1", "2", true},
                                   {"1", "abc", true},
                                   {"1", nullptr, true},
                                   {nullptr, "1", true},
                               });
    EXPECT_TRUE(holding("1", sql::type_time).equals(holding("2", sql::type_time)));
}

TEST_F(EqualsTest, TimesMakeThisOneFirst)
{
    EXPECT_TRUE(holding("86400", sql::type_time).equals(holding("0", sql::type_time)));
    EXPECT_EQ(trace({madeDay, madeEpoch}), takeEvents());
}

TEST_F(EqualsTest, ATimeMakesATimeOfAnyOtherValue)
{
    EXPECT_TRUE(holding("0", sql::type_time).equals(holding("86400", sql::type_text)));
    EXPECT_EQ(trace({madeEpoch, madeDay}), takeEvents());
}

TEST_F(EqualsTest, ATimeMakesTheEpochOfNull)
{
    EXPECT_TRUE(holding("86400", sql::type_time).equals(null(sql::type_time)));
    EXPECT_EQ(trace({madeDay, madeEpoch}), takeEvents());
}

TEST_F(EqualsTest, ANullTimeMakesTheEpochOfItself)
{
    EXPECT_TRUE(null(sql::type_time).equals(holding("86400", sql::type_time)));
    EXPECT_EQ(trace({madeEpoch, madeDay}), takeEvents());
}

TEST_F(EqualsTest, ATextIsComparedWithTheTextOfATime)
{
    EXPECT_TRUE(holding("02-01-1970 00:00:00, Fri").equals(holding("86400", sql::type_time)));
    EXPECT_FALSE(holding("86400").equals(holding("86400", sql::type_time)));
    EXPECT_EQ(trace({madeDay, madeDay}), takeEvents());
}

TEST_F(EqualsTest, ATextIsComparedWithTheEpochOfANullTime)
{
    EXPECT_FALSE(holding("").equals(null(sql::type_time)));
    EXPECT_TRUE(holding("01-01-1970 00:00:00, Thu").equals(null(sql::type_time)));
    EXPECT_EQ(trace({madeEpoch, madeEpoch}), takeEvents());
}

TEST_F(EqualsTest, AnIntegerIsComparedWithTheSecondsOfATime)
{
    EXPECT_TRUE(holding("86400", sql::type_int).equals(holding("86400", sql::type_time)));
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(EqualsTest, GoesByTheTypeOfThisValue)
{
    EXPECT_TRUE(holding("1", sql::type_int).equals(holding("01", sql::type_text)));
    EXPECT_FALSE(holding("01", sql::type_text).equals(holding("1", sql::type_int)));
}

TEST_F(EqualsTest, NoValueOfATypeThatIsNoneEqualsAnother)
{
    for (const int type : {7, -1}) {
        EXPECT_FALSE(holding("1", type).equals(holding("1", type)));
        EXPECT_FALSE(holding("", type).equals(null(type)));
        EXPECT_FALSE(null(type).equals(holding("", type)));
    }
    EXPECT_EQ(trace({}), takeEvents());
}

} // namespace
