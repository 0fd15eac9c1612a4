#include "SqlRecord.h"

#include <gtest/gtest.h>

#include "support/Records.h"
#include "support/World.h"

using namespace sqltest;

namespace
{

// Comparing one column

class RecordComparisonTest : public RecordTest
{
protected:
    const sql::FieldSet narrow = columns({id, name});
    const sql::FieldSet loose = unnumbered({id, name, price});
    sql::Record same = bob;
};

TEST_F(RecordComparisonTest, ColumnOfEqualValuesIsEqual)
{
    EXPECT_TRUE(bob.equalsColumnValue(&same, "name"));
    EXPECT_EQ("", takeEvents());
}

TEST_F(RecordComparisonTest, ColumnOfDifferentValuesIsUnequal)
{
    same.setString("name", "Ann");
    EXPECT_FALSE(bob.equalsColumnValue(&same, "name"));
    EXPECT_EQ("", takeEvents());
}

TEST_F(RecordComparisonTest, OtherColumnsAreNotComparedWithIt)
{
    same.setString("name", "Ann");
    EXPECT_TRUE(bob.equalsColumnValue(&same, "price"));
}

TEST_F(RecordComparisonTest, KeyColumnIsComparedByItsName)
{
    same.setInteger("id", 8);
    EXPECT_FALSE(bob.equalsColumnValue(&same, "id"));
}

TEST_F(RecordComparisonTest, ColumnOfNullRecordIsUnequalInSilence)
{
    EXPECT_FALSE(bob.equalsColumnValue(nullptr, "nosuch"));
    EXPECT_EQ("", takeEvents());
}

TEST_F(RecordComparisonTest, ColumnThatThisLacksIsUnequalAfterOneReport)
{
    const sql::Record ann(narrow);
    EXPECT_FALSE(ann.equalsColumnValue(&bob, "price"));
    EXPECT_EQ(noValueNamed("price", readByName), takeEvents());
}

TEST_F(RecordComparisonTest, ColumnThatTheOtherLacksIsUnequalAfterOneReport)
{
    const sql::Record ann(narrow);
    EXPECT_FALSE(bob.equalsColumnValue(&ann, "price"));
    EXPECT_EQ(noValueNamed("price", readByName), takeEvents());
}

TEST_F(RecordComparisonTest, ColumnThatBothLackIsReportedOnce)
{
    EXPECT_FALSE(bob.equalsColumnValue(&same, "nosuch"));
    EXPECT_EQ(noValueNamed("nosuch", readByName), takeEvents());
}

TEST_F(RecordComparisonTest, UnnumberedColumnOfThisReportsItsPosition)
{
    const sql::Record record(loose);
    EXPECT_FALSE(record.equalsColumnValue(&bob, "name"));
    EXPECT_EQ(noValueAt(-1, readByIndex), takeEvents());
}

TEST_F(RecordComparisonTest, UnnumberedColumnOfTheOtherReportsItsPosition)
{
    const sql::Record record(loose);
    EXPECT_FALSE(bob.equalsColumnValue(&record, "name"));
    EXPECT_EQ(noValueAt(-1, readByIndex), takeEvents());
}

TEST_F(RecordComparisonTest, ColumnIsFoundInTheOthersOwnColumnSet)
{
    const sql::FieldSet turned = columns({price, name, id});
    const sql::Record other = filled(turned, {"9", "Bob", "7"});
    EXPECT_TRUE(bob.equalsColumnValue(&other, "id"));
}

TEST_F(RecordComparisonTest, ColumnIsComparedByTheTypeOfThis)
{
    same.initColumnValue(0, "007", sql::type_text);
    EXPECT_TRUE(bob.equalsColumnValue(&same, "id"));
    EXPECT_FALSE(same.equalsColumnValue(&bob, "id"));
}

TEST_F(RecordComparisonTest, NullEqualsZeroInAColumn)
{
    bob.setNull("id");
    same.setInteger("id", 0);
    EXPECT_TRUE(bob.equalsColumnValue(&same, "id"));
}

// Comparing the columns outside the key

TEST_F(RecordComparisonTest, EqualValuesAreEqual)
{
    EXPECT_TRUE(bob.equalsValues(&same));
    EXPECT_EQ("", takeEvents());
}

TEST_F(RecordComparisonTest, ValuesOfNullRecordAreUnequalInSilence)
{
    EXPECT_FALSE(bob.equalsValues(nullptr));
    EXPECT_EQ("", takeEvents());
}

TEST_F(RecordComparisonTest, DifferenceInTheKeyAloneIsEqual)
{
    same.setInteger("id", 8);
    EXPECT_TRUE(bob.equalsValues(&same));
}

TEST_F(RecordComparisonTest, DifferenceInTheSecondKeyColumnIsEqual)
{
    const sql::FieldSet set = columns({id, code, name});
    const sql::Record mine = filled(set, {"7", "A1", "Bob"});
    const sql::Record theirs = filled(set, {"7", "B2", "Bob"});
    EXPECT_TRUE(mine.equalsValues(&theirs));
}

TEST_F(RecordComparisonTest, DifferenceInTheFirstColumnOutsideTheKeyIsUnequal)
{
    same.setString("name", "Ann");
    EXPECT_FALSE(bob.equalsValues(&same));
}

TEST_F(RecordComparisonTest, DifferenceInTheLastColumnIsUnequal)
{
    same.setDouble("price", 2.25);
    EXPECT_FALSE(bob.equalsValues(&same));
}

TEST_F(RecordComparisonTest, KeyColumnsAloneAreEqual)
{
    const sql::FieldSet set = columns({id, code});
    const sql::Record mine = filled(set, {"7", "A1"});
    const sql::Record theirs = filled(set, {"8", "B2"});
    EXPECT_TRUE(mine.equalsValues(&theirs));
}

TEST_F(RecordComparisonTest, KeyColumnsAreThoseOfThis)
{
    const sql::FieldSet other = columns({number, code, price});
    const sql::FieldSet mine = columns({id, sql::Field("code", sql::type_text, 0)});
    const sql::Record theirs = filled(other, {"1", "B2", "2.5"});
    EXPECT_FALSE(filled(mine, {"1", "A1"}).equalsValues(&theirs));
}

TEST_F(RecordComparisonTest, ColumnThatTheOtherLacksCountsAsEqualAfterItsReport)
{
    const sql::Record other = filled(narrow, {"7", "Bob"});
    EXPECT_TRUE(bob.equalsValues(&other));
    EXPECT_EQ(noValueNamed("price", readByName), takeEvents());
}

TEST_F(RecordComparisonTest, ColumnsBehindOneThatTheOtherLacksAreCompared)
{
    const sql::FieldSet set = columns({id, price});
    const sql::Record other = filled(set, {"7", "9"});
    EXPECT_FALSE(bob.equalsValues(&other));
    EXPECT_EQ(noValueNamed("name", readByName), takeEvents());
}

TEST_F(RecordComparisonTest, ColumnsOfTheOtherAloneAreNotLookedAt)
{
    const sql::Record mine = filled(narrow, {"7", "Bob"});
    EXPECT_TRUE(mine.equalsValues(&bob));
    EXPECT_EQ("", takeEvents());
}

TEST_F(RecordComparisonTest, NoColumnIsLookedAtBehindADifference)
{
    const sql::Record other = filled(narrow, {"7", "Ann"});
    EXPECT_FALSE(bob.equalsValues(&other));
    EXPECT_EQ("", takeEvents());
}

TEST_F(RecordComparisonTest, UnnumberedColumnsOfThisCountAsEqualAfterOneReportEach)
{
    const sql::Record mine = filled(loose, {"7", "Ann", "9"});
    EXPECT_TRUE(mine.equalsValues(&bob));
    EXPECT_EQ(noValueAt(-1, readByIndex) + noValueAt(-1, readByIndex), takeEvents());
}

TEST_F(RecordComparisonTest, ColumnThatNeitherHoldsIsReportedForThisAlone)
{
    const sql::FieldSet set = unnumbered({name});
    const sql::Record mine(set);
    const sql::Record theirs(set);
    EXPECT_TRUE(mine.equalsValues(&theirs));
    EXPECT_EQ(noValueAt(-1, readByIndex), takeEvents());
}

TEST_F(RecordComparisonTest, UnnumberedColumnsOfTheOtherCountAsEqualAfterOneReportEach)
{
    const sql::Record theirs = filled(loose, {"7", "Ann", "9"});
    EXPECT_TRUE(bob.equalsValues(&theirs));
    EXPECT_EQ(noValueAt(-1, readByIndex) + noValueAt(-1, readByIndex), takeEvents());
}

TEST_F(RecordComparisonTest, ColumnsAreMatchedByName)
{
    const sql::FieldSet turned = columns({price, name, id});
    const sql::Record other = filled(turned, {"2.5", "Bob", "8"});
    EXPECT_TRUE(bob.equalsValues(&other));
}

TEST_F(RecordComparisonTest, OfTwoColumnsOfOneNameOnlyTheFirstIsCompared)
{
    const sql::FieldSet set = columns({id, name, name});
    const sql::Record mine = filled(set, {"7", "Bob", "x"});
    const sql::Record theirs = filled(set, {"7", "Bob", "y"});
    EXPECT_TRUE(mine.equalsValues(&theirs));
}

TEST_F(RecordComparisonTest, ValuesAreComparedByTheTypesOfThis)
{
    same.initColumnValue(2, "2.50", sql::type_text);
    EXPECT_TRUE(bob.equalsValues(&same));
    EXPECT_FALSE(same.equalsValues(&bob));
}

TEST_F(RecordComparisonTest, AnyTwoTimesAreEqualOnceBothAreMade)
{
    const sql::FieldSet set = columns({id, made});
    const sql::Record mine = filled(set, {"7", "86400"});
    const sql::Record theirs = filled(set, {"7", "172800"});
    EXPECT_TRUE(mine.equalsValues(&theirs));
    EXPECT_EQ(timeMade(86400) + timeMade(172800), takeEvents());
}

TEST_F(RecordComparisonTest, ColumnsThatCameLaterAreComparedToo)
{
    sql::FieldSet set = narrow;
    const sql::Record mine = filled(set, {"7", "Bob"});
    set = item;
    EXPECT_TRUE(mine.equalsValues(&bob));
    EXPECT_EQ(noValueAt(2, readByIndex), takeEvents());
}

// Texts for people

TEST_F(RecordTest, TextIsTheValuesWithBarsBetween)
{
    const sql::FieldSet set = columns({id, name, number, price});
    EXPECT_EQ("7|Bob|null|2.5", filled(set, {"7", "Bob", nullptr, "2.5"}).toString());
    EXPECT_EQ("", takeEvents());
}

TEST_F(RecordTest, TextOfOneColumnHasNoBar)
{
    const sql::FieldSet set = columns({id});
    EXPECT_EQ("7", filled(set, {"7"}).toString());
}

TEST_F(RecordTest, TextHoldsWhatCellsHoldAsItIs)
{
    const std::string text("a|b%s\0c", 7);
    bob.setString(1, text);
    EXPECT_EQ("7|" + text + "|2.5", bob.toString());
}

TEST_F(RecordTest, TextOfTimeIsItsLocalTime)
{
    const TimeZone zone("CET-1");
    const sql::FieldSet set = columns({id, made});
    EXPECT_EQ("7|02-01-1970 01:00:00, Fri", filled(set, {"7", "86400"}).toString());
    EXPECT_EQ(timeMade(86400), takeEvents());
}

TEST_F(RecordTest, TextOfNullTimeIsNull)
{
    const sql::FieldSet set = columns({id, made});
    EXPECT_EQ("7|null", filled(set, {"7", nullptr}).toString());
    EXPECT_EQ("", takeEvents());
}

TEST_F(RecordTest, TextHasTheRecordsLengthNotThatOfItsColumnSet)
{
    sql::FieldSet set = columns({id, name});
    const sql::Record record = filled(set, {"7", "Bob"});
    set = item;
    EXPECT_EQ("7|Bob", record.toString());
    EXPECT_EQ("", takeEvents());
}

TEST_F(RecordTest, DumpNamesEveryValue)
{
    EXPECT_EQ("id = 7|name = Bob|price = 2.5", bob.dump(false));
    EXPECT_EQ("", takeEvents());
}

TEST_F(RecordTest, DumpWithTypesTellsTheTypeOfEveryValue)
{
    EXPECT_EQ("id = 7 (integer)|name = Bob (text)|price = 2.5 (float)", bob.dump(true));
    EXPECT_EQ("", takeEvents());
}

TEST_F(RecordTest, DumpTellsNull)
{
    bob.setNull(1);
    EXPECT_EQ("id = 7|name = null|price = 2.5", bob.dump(false));
}

TEST_F(RecordTest, DumpWithTypesTellsTheTypeOfNull)
{
    bob.setNull(1);
    EXPECT_EQ("id = 7 (integer)|name = null (text)|price = 2.5 (float)", bob.dump(true));
}

TEST_F(RecordTest, DumpOfOneColumnHasNoBar)
{
    const sql::FieldSet set = columns({id});
    EXPECT_EQ("id = 7", filled(set, {"7"}).dump(false));
}

TEST_F(RecordTest, DumpTellsTheTypeOfTheValueNotOfTheColumn)
{
    bob.initColumnValue(0, "7", sql::type_bool);
    EXPECT_EQ("7 (bool)", bob.dump(true).substr(5, 8));
}

TEST_F(RecordTest, DumpReportsTypeThatIsNone)
{
    const sql::FieldSet set = columns({id});
    sql::Record record(set);
    record.initColumnValue(0, "7", static_cast<sql::field_type>(7));
    EXPECT_EQ("id = 7 (undefined)", record.dump(true));
    EXPECT_EQ(
        trace(
            {Source("SqlCommon").asserted("false", "sql::string sql::type2Str(sql::field_type)")}),
        takeEvents());
}

TEST_F(RecordTest, DumpOfColumnsThatHaveGoneHasNoNames)
{
    sql::FieldSet set = item;
    const sql::Record record = filled(set, {"7", "Bob", "2.5"});
    set = columns({id});
    EXPECT_EQ("id = 7|Bob|2.5", record.dump(false));
    EXPECT_EQ("", takeEvents());
}

TEST_F(RecordTest, DumpHasTheRecordsLengthNotThatOfItsColumnSet)
{
    sql::FieldSet set = columns({id, name});
    const sql::Record record = filled(set, {"7", "Bob"});
    set = item;
    EXPECT_EQ("id = 7|name = Bob", record.dump(false));
    EXPECT_EQ("", takeEvents());
}

} // namespace
