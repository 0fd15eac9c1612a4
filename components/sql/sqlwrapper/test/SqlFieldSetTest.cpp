#include "SqlFieldSet.h"

#include <type_traits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/World.h"

using namespace sqltest;
using sql::Field;
using sql::FieldSet;

namespace
{

const Source common("SqlCommon");
const Source source("SqlFieldSet");

static_assert(!std::is_polymorphic<FieldSet>::value, "nothing virtual");

class FieldSetTest : public Test
{
protected:
    static Field key(const std::string& name, int type = sql::type_int)
    {
        return Field(name, static_cast<sql::field_type>(type), sql::flag_primary_key);
    }
    static Field plain(const std::string& name) { return Field(name, sql::type_text, 0); }

    static std::string wrongKey(const std::string& name, const char* type)
    {
        return source.error(
            "initFieldSet",
            "PRIMARY KEY column '%s' must be of type 'integer' or 'text' instead of type '%s'",
            name.c_str(), type);
    }

    const std::string initReport =
        source.asserted("false", "bool sql::FieldSet::initFieldSet(const sql::Field*)");
    const std::string typeNameReport =
        common.asserted("false", "sql::string sql::type2Str(sql::field_type)");

    const Field idAndName[3] = {Field("id", sql::type_int, sql::flag_primary_key),
                                Field("name", sql::type_text, sql::flag_not_null), Field()};
    const Field keyless[4] = {plain("a"), plain("b"), plain("c"), Field()};
    const Field keyed[4] = {key("a"), plain("b"), plain("c"), Field()};
};

// Construction

TEST_F(FieldSetTest, OfAnArrayHoldsAndNumbersItsFields)
{
    const FieldSet set(idAndName);
    ASSERT_EQ(2, set.count());
    EXPECT_EQ("id", set.getByIndex(0)->getName());
    EXPECT_EQ(0, set.getByIndex(0)->getIndex());
    EXPECT_EQ("name", set.getByIndex(1)->getName());
    EXPECT_EQ(1, set.getByIndex(1)->getIndex());
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(FieldSetTest, OfAnArrayLeavesTheFieldsOfTheCallerUnnumbered)
{
    const FieldSet set(idAndName);
    EXPECT_EQ(-1, idAndName[0].getIndex());
}

TEST_F(FieldSetTest, OfNullIsEmpty)
{
    const FieldSet set(nullptr);
    EXPECT_EQ(0, set.count());
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(FieldSetTest, OfAnArrayWithoutKeyHoldsItsFieldsAfterAReport)
{
    const FieldSet set(keyless);
    EXPECT_EQ(3, set.count());
    EXPECT_EQ(trace({initReport}), takeEvents());
}

TEST_F(FieldSetTest, OfAnArrayWithAWrongKeyIsEmptyAfterAnErrorLineAndAReport)
{
    const Field fields[] = {key("id", sql::type_float), Field()};
    const FieldSet set(fields);
    EXPECT_EQ(0, set.count());
    EXPECT_EQ(trace({wrongKey("id", "float"), initReport}), takeEvents());
}

TEST_F(FieldSetTest, OfAVectorIsNeitherCheckedNorNumbered)
{
    const FieldSet set(std::vector<Field>{plain("a"), key("b", sql::type_float)});
    ASSERT_EQ(2, set.count());
    EXPECT_EQ(-1, set.getByIndex(0)->getIndex());
    EXPECT_EQ(-1, set.getByIndex(1)->getIndex());
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(FieldSetTest, OfAVectorKeepsTheIndexesOfItsFields)
{
    const FieldSet numbered(keyed);
    const FieldSet set(std::vector<Field>{*numbered.getByIndex(2), *numbered.getByIndex(0)});
    EXPECT_EQ(2, set.getByIndex(0)->getIndex());
    EXPECT_EQ(0, set.getByIndex(1)->getIndex());
}

TEST_F(FieldSetTest, OfAnEmptyVectorIsEmpty)
{
    EXPECT_EQ(0, FieldSet(std::vector<Field>()).count());
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(FieldSetTest, OfAVectorKeepsAnEndMarkerAsAnyField)
{
    const FieldSet set(std::vector<Field>{plain("a"), Field(), plain("b")});
    ASSERT_EQ(3, set.count());
    EXPECT_TRUE(set.getByIndex(1)->isEndingField());
    EXPECT_EQ("a TEXT, INTEGER, b TEXT", set.getDefinition());
    EXPECT_EQ("a, , b", set.toSql());
}

TEST_F(FieldSetTest, CopiesItsFieldsWithTheirIndexes)
{
    const FieldSet set(idAndName);
    const FieldSet copy(set);
    EXPECT_EQ(set.dump(), copy.dump());
}

TEST_F(FieldSetTest, ACopyKeepsItsFieldsWhenTheOriginalChanges)
{
    FieldSet set(idAndName);
    const FieldSet copy(set);
    set.initFieldSet(keyless);
    EXPECT_EQ("id, name", copy.toSql());
}

TEST_F(FieldSetTest, TheOriginalKeepsItsFieldsWhenACopyChanges)
{
    const FieldSet set(std::vector<Field>{plain("x"), plain("y")});
    FieldSet copy(set);
    copy.initFieldSet(keyed);
    EXPECT_EQ("-1: name=x, type=text, flags:\r\n-1: name=y, type=text, flags:", set.dump());
}

TEST_F(FieldSetTest, AssignmentReplacesItsFields)
{
    const FieldSet set(idAndName);
    FieldSet assigned(keyed);
    assigned = set;
    EXPECT_EQ(set.dump(), assigned.dump());
}

TEST_F(FieldSetTest, WhatWasAssignedKeepsItsFieldsWhenTheOriginalChanges)
{
    FieldSet set(idAndName);
    FieldSet assigned(keyed);
    assigned = set;
    set.initFieldSet(keyless);
    EXPECT_EQ("id, name", assigned.toSql());
}

TEST_F(FieldSetTest, CanBeUsedAfterItWasMovedFrom)
{
    FieldSet set(std::vector<Field>{key("x")});
    const FieldSet moved(std::move(set));
    EXPECT_EQ("x", moved.toSql());
    const int left = set.count();
    EXPECT_TRUE(set.initFieldSet(idAndName));
    EXPECT_EQ(left + 2, set.count());
}

TEST_F(FieldSetTest, StaysTheSameWhenAssignedToItself)
{
    FieldSet set(idAndName);
    const FieldSet& itself = set;
    EXPECT_EQ(&set, &(set = itself));
    EXPECT_EQ("id, name", set.toSql());
}

TEST_F(FieldSetTest, ACopyOfAnInvalidSetIsNotChecked)
{
    const FieldSet set(keyless);
    forgetEvents();
    const FieldSet copy(set);
    EXPECT_EQ(3, copy.count());
    EXPECT_EQ(trace({}), takeEvents());
}

// Appending an array

TEST_F(FieldSetTest, InitTakesAnArrayWithAKey)
{
    FieldSet set(nullptr);
    EXPECT_TRUE(set.initFieldSet(idAndName));
    EXPECT_EQ("id, name", set.toSql());
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(FieldSetTest, InitTakesATextKey)
{
    const Field fields[] = {plain("a"), key("id", sql::type_text), Field()};
    FieldSet set(nullptr);
    EXPECT_TRUE(set.initFieldSet(fields));
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(FieldSetTest, InitTakesSeveralKeys)
{
    const Field fields[] = {plain("a"), key("b", sql::type_int), key("c", sql::type_text), Field()};
    FieldSet set(nullptr);
    EXPECT_TRUE(set.initFieldSet(fields));
    EXPECT_EQ("b", set.getKeyIdName());
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(FieldSetTest, InitByNullIsTrueAndLeavesAnEmptySetEmpty)
{
    FieldSet set(nullptr);
    EXPECT_TRUE(set.initFieldSet(nullptr));
    EXPECT_EQ(0, set.count());
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(FieldSetTest, InitByNullLeavesTheFieldsOfASetUnchecked)
{
    FieldSet set(keyless);
    forgetEvents();
    EXPECT_TRUE(set.initFieldSet(nullptr));
    EXPECT_EQ("a, b, c", set.toSql());
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(FieldSetTest, InitByAnEndMarkerAloneFailsAfterOneReport)
{
    const Field end;
    FieldSet set(nullptr);
    EXPECT_FALSE(set.initFieldSet(&end));
    EXPECT_EQ(0, set.count());
    EXPECT_EQ(trace({initReport}), takeEvents());
}

TEST_F(FieldSetTest, InitWithoutAKeyFailsAfterOneReportAndKeepsTheNumberedFields)
{
    FieldSet set(nullptr);
    EXPECT_FALSE(set.initFieldSet(keyless));
    EXPECT_EQ("0: name=a, type=text, flags:\r\n"
              "1: name=b, type=text, flags:\r\n"
              "2: name=c, type=text, flags:",
              set.dump());
    EXPECT_EQ(trace({initReport}), takeEvents());
}

TEST_F(FieldSetTest, InitTakesAnyFieldWithoutANameForTheEnd)
{
    const Field fields[] = {key("a"), Field("", sql::type_float, sql::flag_primary_key),
                            key("b", sql::type_float), Field()};
    forgetEvents();
    FieldSet set(nullptr);
    EXPECT_TRUE(set.initFieldSet(fields));
    EXPECT_EQ("a", set.toSql());
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(FieldSetTest, InitWithAWrongSecondKeyFailsAndEmptiesTheSet)
{
    const Field fields[] = {key("id"), key("ratio", sql::type_float), Field()};
    FieldSet set(nullptr);
    EXPECT_FALSE(set.initFieldSet(fields));
    EXPECT_EQ(0, set.count());
    EXPECT_EQ(trace({wrongKey("ratio", "float"), initReport}), takeEvents());
}

TEST_F(FieldSetTest, InitNamesTheTypeOfAWrongKey)
{
    const char* const names[] = {nullptr, nullptr, "float", "bool", "time"};
    for (const int type : {2, 3, 4}) {
        const Field fields[] = {key("id", type), Field()};
        FieldSet set(nullptr);
        EXPECT_FALSE(set.initFieldSet(fields)) << type;
        EXPECT_EQ(trace({wrongKey("id", names[type]), initReport}), takeEvents()) << type;
    }
}

TEST_F(FieldSetTest, InitReportsTheTypeOfAWrongKeyBeforeItsLineWhenItIsNone)
{
    for (const int type : {-1, 5, 7}) {
        const Field fields[] = {key("id", type), Field()};
        FieldSet set(nullptr);
        EXPECT_FALSE(set.initFieldSet(fields)) << type;
        EXPECT_EQ(trace({typeNameReport, wrongKey("id", "undefined"), initReport}), takeEvents())
            << type;
    }
}

TEST_F(FieldSetTest, InitLooksForNoTypeNameWhenErrorsAreNotWritten)
{
    setTraceLevel(2);
    const Field fields[] = {key("id", 7), Field()};
    FieldSet set(nullptr);
    EXPECT_FALSE(set.initFieldSet(fields));
    EXPECT_EQ(trace({initReport}), takeEvents());
}

TEST_F(FieldSetTest, InitChecksNoTypeOfOtherColumns)
{
    const Field fields[] = {key("id"), Field("a", static_cast<sql::field_type>(7), 0),
                            Field("b", sql::type_float, sql::flag_not_null | sql::flag_unique),
                            Field()};
    FieldSet set(nullptr);
    EXPECT_TRUE(set.initFieldSet(fields));
    EXPECT_EQ(3, set.count());
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(FieldSetTest, InitTakesAKeyOfSeveralFlags)
{
    const Field fields[] = {Field("id", sql::type_bool, 7), Field()};
    FieldSet set(nullptr);
    EXPECT_FALSE(set.initFieldSet(fields));
    EXPECT_EQ(trace({wrongKey("id", "bool"), initReport}), takeEvents());
}

TEST_F(FieldSetTest, InitLooksAtNoFieldAfterAWrongKey)
{
    const Field fields[] = {key("a", sql::type_float), key("b", sql::type_bool), Field()};
    FieldSet set(nullptr);
    EXPECT_FALSE(set.initFieldSet(fields));
    EXPECT_EQ(trace({wrongKey("a", "float"), initReport}), takeEvents());
}

TEST_F(FieldSetTest, InitTakesNoPercentSignForAFormat)
{
    const Field fields[] = {key("%s%n%d", sql::type_float), Field()};
    FieldSet set(nullptr);
    EXPECT_FALSE(set.initFieldSet(fields));
    EXPECT_EQ(trace({wrongKey("%s%n%d", "float"), initReport}), takeEvents());
}

TEST_F(FieldSetTest, InitLogsANameUpToItsFirstNulByte)
{
    const Field fields[] = {key(std::string("a\xff\0b", 4), sql::type_float), Field()};
    FieldSet set(nullptr);
    EXPECT_FALSE(set.initFieldSet(fields));
    EXPECT_EQ(trace({wrongKey("a\xff", "float"), initReport}), takeEvents());
}

TEST_F(FieldSetTest, InitLogsALongNameWhole)
{
    const std::string name(200000, 'x');
    const Field fields[] = {key(name, sql::type_float), Field()};
    FieldSet set(nullptr);
    EXPECT_FALSE(set.initFieldSet(fields));
    EXPECT_TRUE(trace({wrongKey(name, "float"), initReport}) == takeEvents());
}

// Appending to a set that holds fields

TEST_F(FieldSetTest, InitAppendsToTheFieldsHeld)
{
    FieldSet set(idAndName);
    EXPECT_TRUE(set.initFieldSet(keyless));
    EXPECT_EQ("id, name, a, b, c", set.toSql());
}

// Positions of the array go to the first fields of the set.
TEST_F(FieldSetTest, InitNumbersTheFirstFieldsOfTheSet)
{
    FieldSet set(std::vector<Field>{plain("x"), plain("y")});
    EXPECT_TRUE(set.initFieldSet(keyed));
    EXPECT_EQ("0: name=x, type=text, flags:\r\n"
              "1: name=y, type=text, flags:\r\n"
              "2: name=a, type=integer, flags: PRIMARY KEY\r\n"
              "-1: name=b, type=text, flags:\r\n"
              "-1: name=c, type=text, flags:",
              set.dump());
}

TEST_F(FieldSetTest, InitLeavesAppendedFieldsTheIndexOfTheArray)
{
    const FieldSet numbered(keyed);
    const Field fields[] = {*numbered.getByIndex(2), Field()};
    FieldSet set(std::vector<Field>{key("x")});
    EXPECT_TRUE(set.initFieldSet(fields));
    EXPECT_EQ("0: name=x, type=integer, flags: PRIMARY KEY\r\n"
              "2: name=c, type=text, flags:",
              set.dump());
}

TEST_F(FieldSetTest, InitFindsAKeyAmongTheFieldsHeldBefore)
{
    FieldSet set(std::vector<Field>{key("x")});
    EXPECT_TRUE(set.initFieldSet(keyless));
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(FieldSetTest, InitByAnEndMarkerAloneFindsAKeyHeldBefore)
{
    const Field end;
    FieldSet set(idAndName);
    EXPECT_TRUE(set.initFieldSet(&end));
    EXPECT_EQ("id, name", set.toSql());
}

TEST_F(FieldSetTest, InitChecksNoTypeOfAKeyHeldBefore)
{
    FieldSet set(std::vector<Field>{key("x", sql::type_float)});
    EXPECT_TRUE(set.initFieldSet(keyless));
    EXPECT_EQ(4, set.count());
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(FieldSetTest, InitWithAWrongKeyDropsTheFieldsHeldBefore)
{
    const Field fields[] = {plain("a"), key("ratio", sql::type_float), Field()};
    FieldSet set(idAndName);
    EXPECT_FALSE(set.initFieldSet(fields));
    EXPECT_EQ(0, set.count());
    EXPECT_EQ(trace({wrongKey("ratio", "float"), initReport}), takeEvents());
}

TEST_F(FieldSetTest, InitWithoutAKeyKeepsTheFieldsHeldBefore)
{
    FieldSet set(std::vector<Field>{plain("x")});
    EXPECT_FALSE(set.initFieldSet(keyless));
    EXPECT_EQ("x, a, b, c", set.toSql());
    EXPECT_EQ(trace({initReport}), takeEvents());
}

TEST_F(FieldSetTest, InitFillsASetAgainAfterAWrongKey)
{
    const Field wrong[] = {key("id", sql::type_float), Field()};
    FieldSet set(wrong);
    forgetEvents();
    EXPECT_TRUE(set.initFieldSet(idAndName));
    EXPECT_EQ("0: name=id, type=integer, flags: PRIMARY KEY\r\n"
              "1: name=name, type=text, flags: NOT NULL",
              set.dump());
    EXPECT_EQ(trace({}), takeEvents());
}

// Looking up

TEST_F(FieldSetTest, HasNoFieldBelow0)
{
    const FieldSet set(idAndName);
    EXPECT_EQ(nullptr, set.getByIndex(-1));
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(FieldSetTest, HasNoFieldAtItsCount)
{
    const FieldSet set(idAndName);
    EXPECT_EQ(nullptr, set.getByIndex(2));
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(FieldSetTest, HasNoFieldAtAnyIndexWhenEmpty)
{
    const FieldSet set(nullptr);
    EXPECT_EQ(nullptr, set.getByIndex(0));
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(FieldSetTest, FindsAFieldByItsName)
{
    const FieldSet set(idAndName);
    EXPECT_EQ(set.getByIndex(1), set.getByName("name"));
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(FieldSetTest, FindsTheFirstOfSeveralFieldsOfAName)
{
    const FieldSet set(std::vector<Field>{plain("a"), plain("b"), plain("b")});
    EXPECT_EQ(set.getByIndex(1), set.getByName("b"));
}

TEST_F(FieldSetTest, FindsNoFieldByANameInAnotherCase)
{
    const FieldSet set(idAndName);
    EXPECT_EQ(nullptr, set.getByName("ID"));
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(FieldSetTest, FindsNoFieldByAShorterOrLongerName)
{
    const FieldSet set(idAndName);
    EXPECT_EQ(nullptr, set.getByName("i"));
    EXPECT_EQ(nullptr, set.getByName("id "));
    EXPECT_EQ(nullptr, set.getByName(std::string("id\0", 3)));
}

TEST_F(FieldSetTest, FindsAFieldByANameOfAnyBytes)
{
    const std::string name("a\0\xff", 3);
    const FieldSet set(std::vector<Field>{plain("a"), plain(name)});
    EXPECT_EQ(set.getByIndex(1), set.getByName(name));
}

TEST_F(FieldSetTest, FindsNoFieldByNameWhenEmpty)
{
    EXPECT_EQ(nullptr, FieldSet(nullptr).getByName("id"));
    EXPECT_EQ(nullptr, FieldSet(nullptr).getByName(""));
    EXPECT_EQ(trace({}), takeEvents());
}

// The key column

TEST_F(FieldSetTest, NamesItsFirstKey)
{
    const FieldSet set(std::vector<Field>{plain("a"), key("b"), key("c")});
    EXPECT_EQ("b", set.getKeyIdName());
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(FieldSetTest, NamesAKeyOfAnyType)
{
    EXPECT_EQ("a", FieldSet(std::vector<Field>{key("a", 7)}).getKeyIdName());
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(FieldSetTest, NamesNoKeyAfterAnErrorLineAndAReport)
{
    const FieldSet set(std::vector<Field>{plain("a")});
    EXPECT_EQ("", set.getKeyIdName());
    EXPECT_EQ(trace({source.error("getKeyIdName", "Failed to get name of PRIMARY KEY column"),
                     source.asserted("false", "sql::string sql::FieldSet::getKeyIdName() const")}),
              takeEvents());
}

TEST_F(FieldSetTest, NamesNoKeyOfAnEmptySet)
{
    EXPECT_EQ("", FieldSet(nullptr).getKeyIdName());
    EXPECT_EQ(trace({source.error("getKeyIdName", "Failed to get name of PRIMARY KEY column"),
                     source.asserted("false", "sql::string sql::FieldSet::getKeyIdName() const")}),
              takeEvents());
}

TEST_F(FieldSetTest, ReportsAMissingKeyWithoutLogLineAtLevel2)
{
    setTraceLevel(2);
    EXPECT_EQ("", FieldSet(nullptr).getKeyIdName());
    EXPECT_EQ(trace({source.asserted("false", "sql::string sql::FieldSet::getKeyIdName() const")}),
              takeEvents());
}

// Rendering

TEST_F(FieldSetTest, JoinsDefinitionsByCommaAndBlank)
{
    EXPECT_EQ("id INTEGER PRIMARY KEY, name TEXT NOT NULL", FieldSet(idAndName).getDefinition());
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(FieldSetTest, JoinsNamesByCommaAndBlank)
{
    EXPECT_EQ("id, name", FieldSet(idAndName).toSql());
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(FieldSetTest, JoinsDumpsByCarriageReturnAndLineFeed)
{
    EXPECT_EQ("0: name=id, type=integer, flags: PRIMARY KEY\r\n"
              "1: name=name, type=text, flags: NOT NULL",
              FieldSet(idAndName).dump());
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(FieldSetTest, RendersASingleFieldWithoutSeparator)
{
    const Field fields[] = {key("id"), Field()};
    const FieldSet set(fields);
    EXPECT_EQ("id INTEGER PRIMARY KEY", set.getDefinition());
    EXPECT_EQ("id", set.toSql());
    EXPECT_EQ("0: name=id, type=integer, flags: PRIMARY KEY", set.dump());
}

TEST_F(FieldSetTest, RendersNothingWhenEmpty)
{
    const FieldSet set(nullptr);
    EXPECT_EQ("", set.getDefinition());
    EXPECT_EQ("", set.toSql());
    EXPECT_EQ("", set.dump());
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(FieldSetTest, RendersNamesAsTheyAre)
{
    const std::string name(" %s'\"\0\xff", 7);
    EXPECT_EQ(name + ", b", FieldSet(std::vector<Field>{plain(name), plain("b")}).toSql());
}

TEST_F(FieldSetTest, DefinesAColumnWithoutATypeAfterAReport)
{
    const FieldSet set(
        std::vector<Field>{plain("a"), Field("b", static_cast<sql::field_type>(7), 0)});
    EXPECT_EQ("a TEXT, b", set.getDefinition());
    EXPECT_EQ(
        trace({Source("SqlField").asserted("false", "sql::string sql::Field::getTypeStr() const")}),
        takeEvents());
}

TEST_F(FieldSetTest, GroupsNoDigitsOfAPositionWhereTheLocaleDoes)
{
    std::vector<Field> fields(1001, plain("a"));
    fields[1000] = key("id");
    fields.push_back(Field());
    const ProgramLocale german("de_DE.UTF-8");
    const FieldSet set(fields.data());
    EXPECT_EQ("1000: name=id, type=integer, flags: PRIMARY KEY", set.getByIndex(1000)->dump());
}

} // namespace
