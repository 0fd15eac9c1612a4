#include "SqlField.h"

#include <climits>
#include <type_traits>

#include <gtest/gtest.h>

#include "SqlFieldSet.h"
#include "support/World.h"

using namespace sqltest;
using sql::Field;

namespace
{

const Source common("SqlCommon");
const Source source("SqlField");

static_assert(!std::is_polymorphic<Field>::value, "nothing virtual");

class FieldTest : public Test
{
protected:
    static Field ofType(int type) { return Field("a", static_cast<sql::field_type>(type), 0); }
    static Field withFlags(int flags) { return Field("a", sql::type_int, flags); }

    const std::string emptyNameReport = source.asserted(
        "name.empty() == false", "sql::Field::Field(const string&, sql::field_type, int)");
    const std::string typeReport =
        source.asserted("false", "sql::string sql::Field::getTypeStr() const");
    const std::string typeNameReport =
        common.asserted("false", "sql::string sql::type2Str(sql::field_type)");
};

// Construction

TEST_F(FieldTest, DefaultIsTheEndMarker)
{
    const Field field;
    EXPECT_TRUE(field.isEndingField());
    EXPECT_EQ("", field.getName());
    EXPECT_EQ(sql::type_int, field.getType());
    EXPECT_EQ(-1, field.getIndex());
    EXPECT_FALSE(field.isNotNull());
    EXPECT_FALSE(field.isPrimaryKey());
    EXPECT_FALSE(field.isUnique());
    EXPECT_EQ("", field.getFlags());
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(FieldTest, DefaultIsDefinedAsAnIntegerWithoutName)
{
    EXPECT_EQ("INTEGER", Field().getDefinition());
}

TEST_F(FieldTest, DefaultIsDumpedWithoutName)
{
    EXPECT_EQ("-1: name=, type=integer, flags:", Field().dump());
}

TEST_F(FieldTest, HoldsNameTypeAndFlagsOutsideAnySet)
{
    const Field field("ratio", sql::type_float, sql::flag_unique);
    EXPECT_FALSE(field.isEndingField());
    EXPECT_EQ("ratio", field.getName());
    EXPECT_EQ(sql::type_float, field.getType());
    EXPECT_EQ(-1, field.getIndex());
    EXPECT_TRUE(field.isUnique());
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(FieldTest, ReportsAnEmptyNameOnce)
{
    Field("", sql::type_int, 0);
    EXPECT_EQ(trace({emptyNameReport}), takeEvents());
}

TEST_F(FieldTest, ReportsAnEmptyNameWithoutTraceLevel)
{
    dropTraceLevel();
    Field("", sql::type_int, 0);
    EXPECT_EQ(trace({emptyNameReport}), takeEvents());
}

TEST_F(FieldTest, WithoutANameIsAnEndMarker)
{
    EXPECT_TRUE(Field("", sql::type_int, 0).isEndingField());
}

TEST_F(FieldTest, WithoutANameKeepsTypeAndFlags)
{
    const Field field("", sql::type_text, 7);
    EXPECT_EQ("", field.getName());
    EXPECT_EQ(sql::type_text, field.getType());
    EXPECT_EQ(-1, field.getIndex());
    EXPECT_EQ(" PRIMARY KEY NOT NULL UNIQUE", field.getFlags());
    EXPECT_EQ(trace({emptyNameReport}), takeEvents());
}

TEST_F(FieldTest, OfABlankNameIsNoEndMarker)
{
    EXPECT_FALSE(Field(" ", sql::type_int, 0).isEndingField());
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(FieldTest, OfANulByteForANameIsNoEndMarker)
{
    EXPECT_FALSE(Field(std::string(1, '\0'), sql::type_int, 0).isEndingField());
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(FieldTest, KeepsItsIndexWhenCopied)
{
    const Field fields[] = {Field("id", sql::type_int, sql::flag_primary_key),
                            Field("name", sql::type_text, sql::flag_not_null), Field()};
    const sql::FieldSet set(fields);
    const Field copy(*set.getByIndex(1));
    EXPECT_EQ("1: name=name, type=text, flags: NOT NULL", copy.dump());
}

TEST_F(FieldTest, TakesTheIndexOfWhatIsAssigned)
{
    const Field fields[] = {Field("id", sql::type_int, sql::flag_primary_key),
                            Field("name", sql::type_text, sql::flag_not_null), Field()};
    const sql::FieldSet set(fields);
    Field assigned;
    assigned = *set.getByIndex(1);
    EXPECT_EQ("1: name=name, type=text, flags: NOT NULL", assigned.dump());
}

TEST_F(FieldTest, StaysTheSameWhenAssignedToItself)
{
    Field field("name", sql::type_text, sql::flag_not_null);
    const Field& itself = field;
    EXPECT_EQ(&field, &(field = itself));
    EXPECT_EQ("-1: name=name, type=text, flags: NOT NULL", field.dump());
}

// Types

TEST_F(FieldTest, NamesTheStorageOfEachType)
{
    EXPECT_EQ("INTEGER", ofType(0).getTypeStr());
    EXPECT_EQ("TEXT", ofType(1).getTypeStr());
    EXPECT_EQ("REAL", ofType(2).getTypeStr());
    EXPECT_EQ("INTEGER", ofType(3).getTypeStr());
    EXPECT_EQ("INTEGER", ofType(4).getTypeStr());
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(FieldTest, ReportsANumberThatIsNoType)
{
    for (const int number : {5, 7, 256, INT_MAX, -1, INT_MIN}) {
        EXPECT_EQ("", ofType(number).getTypeStr()) << number;
        EXPECT_EQ(trace({typeReport}), takeEvents()) << number;
    }
}

TEST_F(FieldTest, KeepsANumberThatIsNoType)
{
    EXPECT_EQ(7, static_cast<int>(ofType(7).getType()));
    EXPECT_EQ(-1, static_cast<int>(ofType(-1).getType()));
    EXPECT_EQ(trace({}), takeEvents());
}

// Flags

TEST_F(FieldTest, KnowsItsFlagsByTheirBits)
{
    EXPECT_EQ(1, sql::flag_not_null);
    EXPECT_EQ(2, sql::flag_primary_key);
    EXPECT_EQ(4, sql::flag_unique);
}

TEST_F(FieldTest, HasEachFlagByItsOwnBitAlone)
{
    for (int flags = 0; flags < 16; ++flags) {
        EXPECT_EQ((flags & 1) == 1, withFlags(flags).isNotNull()) << flags;
        EXPECT_EQ((flags & 2) == 2, withFlags(flags).isPrimaryKey()) << flags;
        EXPECT_EQ((flags & 4) == 4, withFlags(flags).isUnique()) << flags;
    }
}

TEST_F(FieldTest, WritesFlagsInTheOrderOfSqlNotOfTheirBits)
{
    const char* const words[] = {
        "",        " NOT NULL",        " PRIMARY KEY",        " PRIMARY KEY NOT NULL",
        " UNIQUE", " NOT NULL UNIQUE", " PRIMARY KEY UNIQUE", " PRIMARY KEY NOT NULL UNIQUE"};
    for (int flags = 0; flags < 8; ++flags)
        EXPECT_EQ(words[flags], withFlags(flags).getFlags()) << flags;
}

TEST_F(FieldTest, IgnoresUnknownBits)
{
    const Field field = withFlags(8);
    EXPECT_FALSE(field.isNotNull());
    EXPECT_FALSE(field.isPrimaryKey());
    EXPECT_FALSE(field.isUnique());
    EXPECT_EQ("", field.getFlags());
}

TEST_F(FieldTest, KnowsItsFlagsAmongUnknownBits)
{
    EXPECT_EQ(" PRIMARY KEY NOT NULL UNIQUE", withFlags(-1).getFlags());
    EXPECT_EQ("", withFlags(~7).getFlags());
}

// The definition

TEST_F(FieldTest, DefinesAKey)
{
    EXPECT_EQ("id INTEGER PRIMARY KEY",
              Field("id", sql::type_int, sql::flag_primary_key).getDefinition());
}

TEST_F(FieldTest, DefinesAText)
{
    EXPECT_EQ("name TEXT NOT NULL",
              Field("name", sql::type_text, sql::flag_not_null).getDefinition());
}

TEST_F(FieldTest, DefinesAColumnWithoutFlags)
{
    EXPECT_EQ("ratio REAL", Field("ratio", sql::type_float, 0).getDefinition());
}

TEST_F(FieldTest, DefinesABoolAsAnInteger)
{
    EXPECT_EQ("a INTEGER NOT NULL UNIQUE", Field("a", sql::type_bool, 5).getDefinition());
}

TEST_F(FieldTest, DefinesATimeAsAnInteger)
{
    EXPECT_EQ("t INTEGER", Field("t", sql::type_time, 0).getDefinition());
}

TEST_F(FieldTest, DefinesWithoutLogLine)
{
    Field("id", sql::type_int, sql::flag_primary_key).getDefinition();
    EXPECT_EQ(trace({}), takeEvents());
}

// The blank before the type that is missing stays where flags follow.
TEST_F(FieldTest, DefinesFlagsWithoutAType)
{
    const Field field("x", static_cast<sql::field_type>(7), sql::flag_primary_key);
    EXPECT_EQ("x  PRIMARY KEY", field.getDefinition());
    EXPECT_EQ(trace({typeReport}), takeEvents());
}

TEST_F(FieldTest, DefinesANameWithoutAType)
{
    EXPECT_EQ("x", Field("x", static_cast<sql::field_type>(7), 0).getDefinition());
    EXPECT_EQ(trace({typeReport}), takeEvents());
}

TEST_F(FieldTest, TrimsItsDefinition)
{
    EXPECT_EQ("b  INTEGER", Field(" b ", sql::type_int, 0).getDefinition());
}

TEST_F(FieldTest, DefinesItsNameAsItIs)
{
    EXPECT_EQ("a'b\"c%s%n INTEGER", Field("a'b\"c%s%n", sql::type_int, 0).getDefinition());
}

TEST_F(FieldTest, DefinesANameOfAnyBytes)
{
    const std::string name("a\0\x80\xff", 4);
    const Field field(name, sql::type_int, 0);
    EXPECT_EQ(name, field.getName());
    EXPECT_EQ(name + " INTEGER", field.getDefinition());
}

TEST_F(FieldTest, DefinesALongName)
{
    const std::string name(1000000, 'x');
    EXPECT_TRUE(name + " INTEGER" == Field(name, sql::type_int, 0).getDefinition());
}

// The dump

TEST_F(FieldTest, DumpsAFieldOutsideAnySet)
{
    EXPECT_EQ("-1: name=id, type=integer, flags: PRIMARY KEY",
              Field("id", sql::type_int, sql::flag_primary_key).dump());
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(FieldTest, DumpsAFieldOfASet)
{
    const Field fields[] = {Field("id", sql::type_int, sql::flag_primary_key), Field()};
    EXPECT_EQ("0: name=id, type=integer, flags: PRIMARY KEY",
              sql::FieldSet(fields).getByIndex(0)->dump());
}

TEST_F(FieldTest, DumpsNothingForNoFlags)
{
    EXPECT_EQ("-1: name=a, type=integer, flags:", withFlags(0).dump());
}

TEST_F(FieldTest, DumpsTheNameOfEachType)
{
    EXPECT_EQ("-1: name=a, type=integer, flags:", ofType(0).dump());
    EXPECT_EQ("-1: name=a, type=text, flags:", ofType(1).dump());
    EXPECT_EQ("-1: name=a, type=float, flags:", ofType(2).dump());
    EXPECT_EQ("-1: name=a, type=bool, flags:", ofType(3).dump());
    EXPECT_EQ("-1: name=a, type=time, flags:", ofType(4).dump());
}

TEST_F(FieldTest, DumpsANumberThatIsNoTypeAfterAReport)
{
    EXPECT_EQ("-1: name=a, type=undefined, flags:", ofType(7).dump());
    EXPECT_EQ(trace({typeNameReport}), takeEvents());
}

TEST_F(FieldTest, DumpsItsNameAsItIs)
{
    const std::string name(" b\0\xff%s%n ", 9);
    EXPECT_EQ("-1: name=" + name + ", type=integer, flags:", Field(name, sql::type_int, 0).dump());
}

} // namespace
