#include "SqlRecord.h"

#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/Records.h"
#include "support/World.h"

using namespace sqltest;

namespace
{

const Source source("SqlRecord");

// Rows are moved, not copied, when the vector that holds them grows.
static_assert(std::is_nothrow_move_constructible<sql::Value>::value, "");
static_assert(std::is_nothrow_move_constructible<sql::Record>::value, "");

// Longer than what a string holds within itself.
const char longText[] = "a text that needs an allocation of its own";

std::string outOfRange(int index, int count)
{
    return fault(source, "initColumnValue",
                 "bool sql::Record::initColumnValue(int, const char*, sql::field_type)",
                 "Column index (%d) is out of range [0, %d[", index, count);
}

std::string notFound(const char* column)
{
    return fault(source, "fieldByName",
                 "const sql::Field* sql::Record::fieldByName(const string&) const",
                 "Field/column '%s' not found", column);
}

const std::string noKey =
    fault(source, "getKeyIdValue", "const sql::Value* sql::Record::getKeyIdValue() const",
          "No PRIMARY KEY column found");

// Building

TEST_F(RecordTest, JustBuiltHasOneValuePerColumn)
{
    EXPECT_EQ(3, sql::Record(item).columnCount());
}

TEST_F(RecordTest, JustBuiltIsNullInEveryCell)
{
    const sql::FieldSet set = columns({id, name});
    EXPECT_EQ("null|null", sql::Record(set).toString());
}

TEST_F(RecordTest, JustBuiltHasTheTypesOfItsColumns)
{
    const sql::FieldSet set = columns({id, name, price, active, made});
    const sql::Record record(set);
    EXPECT_EQ(sql::type_int, record.getValue(0)->getType());
    EXPECT_EQ(sql::type_text, record.getValue(1)->getType());
    EXPECT_EQ(sql::type_float, record.getValue(2)->getType());
    EXPECT_EQ(sql::type_bool, record.getValue(3)->getType());
    EXPECT_EQ(sql::type_time, record.getValue(4)->getType());
}

TEST_F(RecordTest, BorrowsItsColumnSet)
{
    EXPECT_EQ(&item, bob.fields());
}

TEST_F(RecordTest, TakesOneAllocationForItsValues)
{
    const long before = allocations();
    const sql::Record record(item);
    EXPECT_EQ(1, allocations() - before);
}

TEST_F(RecordTest, HasOneValuePerColumnOfUnnumberedColumns)
{
    const sql::FieldSet set = unnumbered({id, name});
    EXPECT_EQ("id = null (integer)|name = null (text)", sql::Record(set).dump(true));
}

TEST_F(RecordTest, KeepsItsLengthWhenItsColumnSetGrows)
{
    sql::FieldSet set = columns({id, name});
    const sql::Record record(set);
    set = item;
    EXPECT_EQ(2, record.columnCount());
}

// A record without columns

class EmptyRecordTest : public Test
{
protected:
    const sql::FieldSet none = columns({});
    sql::Record record{none};
};

TEST_F(EmptyRecordTest, HasNoColumns)
{
    EXPECT_EQ(0, record.columnCount());
}

TEST_F(EmptyRecordTest, IsEmptyAsText)
{
    EXPECT_EQ("", record.toString());
}

TEST_F(EmptyRecordTest, IsEmptyAsDump)
{
    EXPECT_EQ("", record.dump(true));
}

TEST_F(EmptyRecordTest, ReportsItsFirstCell)
{
    EXPECT_EQ(nullptr, record.getValue(0));
    EXPECT_EQ(noValueAt(0, changeByIndex), takeEvents());
}

TEST_F(EmptyRecordTest, ReportsFillingOfItsFirstCell)
{
    EXPECT_FALSE(record.initColumnValue(0, "7", sql::type_int));
    EXPECT_EQ(outOfRange(0, 0), takeEvents());
}

TEST_F(EmptyRecordTest, EqualsTheValuesOfAnyRecord)
{
    const sql::FieldSet item = columns({id, name});
    const sql::Record bob = filled(item, {"7", "Bob"});
    EXPECT_TRUE(record.equalsValues(&bob));
    EXPECT_EQ("", takeEvents());
}

// Copies and moves

TEST_F(RecordTest, CopyHasTheSameValues)
{
    const sql::Record copy(bob);
    EXPECT_EQ("7|Bob|2.5", copy.toString());
}

TEST_F(RecordTest, CopySharesTheColumnSet)
{
    const sql::Record copy(bob);
    EXPECT_EQ(&item, copy.fields());
}

TEST_F(RecordTest, ChangeOfCopyLeavesItsSource)
{
    sql::Record copy(bob);
    copy.setString(1, "Ann");
    EXPECT_EQ("7|Bob|2.5", bob.toString());
}

TEST_F(RecordTest, CopyFromPointerHasTheSameValues)
{
    const sql::Record copy(&bob);
    EXPECT_EQ("7|Bob|2.5", copy.toString());
}

TEST_F(RecordTest, CopyFromPointerSharesTheColumnSet)
{
    const sql::Record copy(&bob);
    EXPECT_EQ(&item, copy.fields());
}

TEST_F(RecordTest, ChangeOfCopyFromPointerLeavesItsSource)
{
    sql::Record copy(&bob);
    copy.setNull("name");
    EXPECT_EQ("7|Bob|2.5", bob.toString());
}

TEST_F(RecordTest, AssignmentTakesTheValuesAndTheirNumber)
{
    const sql::FieldSet narrow = columns({id, name});
    sql::Record record = filled(narrow, {"1", "Ann"});
    record = bob;
    EXPECT_EQ("7|Bob|2.5", record.toString());
}

TEST_F(RecordTest, AssignmentDropsCellsBeyondThoseOfTheOther)
{
    const sql::FieldSet narrow = columns({id, name});
    const sql::Record ann = filled(narrow, {"1", "Ann"});
    bob = ann;
    EXPECT_EQ("1|Ann", bob.toString());
}

TEST_F(RecordTest, AssignmentTakesTheColumnSet)
{
    const sql::FieldSet narrow = columns({id, name});
    sql::Record record(narrow);
    record = bob;
    EXPECT_EQ(&item, record.fields());
}

TEST_F(RecordTest, AssignmentGivesTheRecord)
{
    sql::Record record(item);
    EXPECT_EQ(&record, &(record = bob));
}

TEST_F(RecordTest, ChangeOfAssignedRecordLeavesItsSource)
{
    sql::Record record(item);
    record = bob;
    record.setString(1, "Ann");
    EXPECT_EQ("7|Bob|2.5", bob.toString());
}

TEST_F(RecordTest, AssignmentToItselfChangesNothing)
{
    const sql::Record& same = bob;
    bob = same;
    EXPECT_EQ(&item, bob.fields());
    EXPECT_EQ("7|Bob|2.5", bob.toString());
}

TEST_F(RecordTest, MovedToRecordIsComplete)
{
    const sql::Record target(std::move(bob));
    EXPECT_EQ(&item, target.fields());
    EXPECT_EQ("id = 7 (integer)|name = Bob (text)|price = 2.5 (float)", target.dump(true));
}

TEST_F(RecordTest, MoveAssignedRecordIsComplete)
{
    const sql::FieldSet narrow = columns({id, name});
    sql::Record target(narrow);
    target = std::move(bob);
    EXPECT_EQ(&item, target.fields());
    EXPECT_EQ("id = 7 (integer)|name = Bob (text)|price = 2.5 (float)", target.dump(true));
}

TEST_F(RecordTest, MoveTakesNoAllocation)
{
    bob.setString(1, longText);
    const long before = allocations();
    const sql::Record target(std::move(bob));
    EXPECT_EQ(0, allocations() - before);
}

TEST_F(RecordTest, MovedToValueIsComplete)
{
    sql::Value value(sql::type_text);
    value.setString(longText);
    const sql::Value target(std::move(value));
    EXPECT_EQ(std::string(longText) + " (text)", target.dump(true));
}

TEST_F(RecordTest, MoveOfValueTakesNoAllocation)
{
    sql::Value value(sql::type_text);
    value.setString(longText);
    const long before = allocations();
    const sql::Value target(std::move(value));
    EXPECT_EQ(0, allocations() - before);
}

// A cell by its position

TEST_F(RecordTest, FindsTheFirstCellByPosition)
{
    EXPECT_EQ("7", bob.getValue(0)->asString());
}

TEST_F(RecordTest, FindsTheLastCellByPosition)
{
    EXPECT_EQ("2.5", bob.getValue(2)->asString());
}

TEST_F(RecordTest, ValueFoundByPositionIsTheCellItself)
{
    bob.getValue(1)->setString("Ann");
    EXPECT_EQ("7|Ann|2.5", bob.toString());
}

TEST_F(RecordTest, ReadOnlyRecordFindsTheSameCellByPosition)
{
    EXPECT_EQ(bob.getValue(1), readOnlyBob.getValue(1));
}

TEST_F(RecordTest, FindingCellsLogsNothing)
{
    bob.getValue(0);
    bob.getValue("price");
    readOnlyBob.getValue(0);
    readOnlyBob.getValue("price");
    EXPECT_EQ("", takeEvents());
}

TEST_F(RecordTest, ReportsNegativePosition)
{
    EXPECT_EQ(nullptr, bob.getValue(-1));
    EXPECT_EQ(noValueAt(-1, changeByIndex), takeEvents());
}

TEST_F(RecordTest, ReportsPositionPastTheLastColumn)
{
    EXPECT_EQ(nullptr, bob.getValue(3));
    EXPECT_EQ(noValueAt(3, changeByIndex), takeEvents());
}

TEST_F(RecordTest, ReadOnlyRecordReportsNegativePosition)
{
    EXPECT_EQ(nullptr, readOnlyBob.getValue(-1));
    EXPECT_EQ(noValueAt(-1, readByIndex), takeEvents());
}

TEST_F(RecordTest, ReadOnlyRecordReportsPositionPastTheLastColumn)
{
    EXPECT_EQ(nullptr, readOnlyBob.getValue(3));
    EXPECT_EQ(noValueAt(3, readByIndex), takeEvents());
}

TEST_F(RecordTest, AtLevel3WritesItsErrors)
{
    setTraceLevel(3);
    bob.getValue(99);
    EXPECT_EQ(noValueAt(99, changeByIndex), takeEvents());
}

TEST_F(RecordTest, AtLevel2StillReportsAssertions)
{
    setTraceLevel(2);
    bob.getValue(99);
    EXPECT_EQ(trace({source.asserted("false", changeByIndex)}), takeEvents());
}

// A cell by its column's name

TEST_F(RecordTest, FindsCellByName)
{
    EXPECT_EQ("Bob", bob.getValue("name")->asString());
}

TEST_F(RecordTest, ValueFoundByNameIsTheCellItself)
{
    bob.getValue("name")->setString("Ann");
    EXPECT_EQ("7|Ann|2.5", bob.toString());
}

TEST_F(RecordTest, ReadOnlyRecordFindsTheSameCellByName)
{
    EXPECT_EQ(bob.getValue("name"), readOnlyBob.getValue("name"));
}

TEST_F(RecordTest, ReportsUnknownName)
{
    EXPECT_EQ(nullptr, bob.getValue("nosuch"));
    EXPECT_EQ(noValueNamed("nosuch", changeByName), takeEvents());
}

TEST_F(RecordTest, ReadOnlyRecordReportsUnknownName)
{
    EXPECT_EQ(nullptr, readOnlyBob.getValue("nosuch"));
    EXPECT_EQ(noValueNamed("nosuch", readByName), takeEvents());
}

TEST_F(RecordTest, TellsNamesApartByCase)
{
    EXPECT_EQ(nullptr, bob.getValue("Name"));
    EXPECT_EQ(noValueNamed("Name", changeByName), takeEvents());
}

TEST_F(RecordTest, ReportsNameWithPercentSignsAsItIs)
{
    EXPECT_EQ(nullptr, bob.getValue("100%s%n"));
    EXPECT_EQ(noValueNamed("100%s%n", changeByName), takeEvents());
}

TEST_F(RecordTest, TellsNamesApartBehindNul)
{
    EXPECT_EQ(nullptr, bob.getValue(std::string("name\0", 5)));
    EXPECT_EQ(noValueNamed("name", changeByName), takeEvents());
}

TEST_F(RecordTest, FindsTheFirstOfTwoColumnsOfOneName)
{
    const sql::FieldSet set = columns({id, name, name});
    sql::Record record(set);
    EXPECT_EQ(record.getValue(1), record.getValue("name"));
}

TEST_F(RecordTest, NameOfUnnumberedColumnReportsItsPositionAlone)
{
    const sql::FieldSet set = unnumbered({id, name});
    sql::Record record(set);
    EXPECT_EQ(nullptr, record.getValue("name"));
    EXPECT_EQ(noValueAt(-1, changeByIndex), takeEvents());
}

TEST_F(RecordTest, ReadOnlyNameOfUnnumberedColumnReportsItsPositionAlone)
{
    const sql::FieldSet set = unnumbered({id, name});
    const sql::Record record(set);
    EXPECT_EQ(nullptr, record.getValue("name"));
    EXPECT_EQ(noValueAt(-1, readByIndex), takeEvents());
}

TEST_F(RecordTest, NameOfColumnThatCameLaterReportsItsPosition)
{
    sql::FieldSet set = columns({id, name});
    sql::Record record(set);
    set = item;
    EXPECT_EQ(nullptr, record.getValue("price"));
    EXPECT_EQ(noValueAt(2, changeByIndex), takeEvents());
}

// The column of a name

TEST_F(RecordTest, FieldByNameIsThatOfTheColumnSet)
{
    EXPECT_EQ(item.getByIndex(1), bob.fieldByName("name"));
    EXPECT_EQ("", takeEvents());
}

TEST_F(RecordTest, FieldByNameReportsUnknownName)
{
    EXPECT_EQ(nullptr, bob.fieldByName("nosuch"));
    EXPECT_EQ(notFound("nosuch"), takeEvents());
}

TEST_F(RecordTest, FieldByNameReportsNameWithPercentSignsAsItIs)
{
    EXPECT_EQ(nullptr, bob.fieldByName("%d%%"));
    EXPECT_EQ(notFound("%d%%"), takeEvents());
}

// The cell of the key

TEST_F(RecordTest, KeyValueIsTheCellOfTheKeyColumn)
{
    EXPECT_EQ(readOnlyBob.getValue(0), bob.getKeyIdValue());
    EXPECT_EQ("", takeEvents());
}

TEST_F(RecordTest, KeyColumnMayBeTheLast)
{
    const sql::FieldSet set = columns({name, price, id});
    const sql::Record record(set);
    EXPECT_EQ(record.getValue(2), record.getKeyIdValue());
}

TEST_F(RecordTest, KeyColumnMayBeText)
{
    const sql::FieldSet set = columns({number, code});
    const sql::Record record = filled(set, {"1", "A1"});
    EXPECT_EQ("A1 (text)", record.getKeyIdValue()->dump(true));
}

TEST_F(RecordTest, OnlyTheFirstKeyColumnCounts)
{
    const sql::FieldSet set = columns({name, code, id});
    const sql::Record record = filled(set, {"Bob", "A1", "7"});
    EXPECT_EQ("A1", record.getKeyIdValue()->asString());
}

TEST_F(RecordTest, KeyValueIsFoundByPositionNotByName)
{
    const sql::FieldSet set = columns({sql::Field("id", sql::type_text, 0), id});
    const sql::Record record = filled(set, {"first", "7"});
    EXPECT_EQ("7", record.getKeyIdValue()->asString());
}

TEST_F(RecordTest, ReportsMissingKeyColumn)
{
    const sql::FieldSet set = columns({name, price});
    EXPECT_EQ(nullptr, sql::Record(set).getKeyIdValue());
    EXPECT_EQ(noKey, takeEvents());
}

TEST_F(RecordTest, UnnumberedKeyColumnReportsItsPositionAlone)
{
    const sql::FieldSet set = unnumbered({name, id});
    EXPECT_EQ(nullptr, sql::Record(set).getKeyIdValue());
    EXPECT_EQ(noValueAt(-1, readByIndex), takeEvents());
}

TEST_F(RecordTest, KeyColumnThatCameLaterReportsItsPosition)
{
    sql::FieldSet set = columns({name});
    const sql::Record record(set);
    set = columns({name, price, id});
    EXPECT_EQ(nullptr, record.getKeyIdValue());
    EXPECT_EQ(noValueAt(2, readByIndex), takeEvents());
}

// Filling a cell from SQLite

TEST_F(RecordTest, FillingStoresTheText)
{
    EXPECT_TRUE(bob.initColumnValue(1, "Ann", sql::type_text));
    EXPECT_EQ("7|Ann|2.5", bob.toString());
    EXPECT_EQ("", takeEvents());
}

TEST_F(RecordTest, FillingGivesTheCellTheType)
{
    EXPECT_TRUE(bob.initColumnValue(1, "1", sql::type_bool));
    EXPECT_EQ(sql::type_bool, bob.getValue(1)->getType());
}

TEST_F(RecordTest, FillingWithNullPointerMakesTheCellNull)
{
    EXPECT_TRUE(bob.initColumnValue(1, nullptr, sql::type_text));
    EXPECT_EQ("7|null|2.5", bob.toString());
}

TEST_F(RecordTest, FillingWithNullPointerGivesTheCellTheType)
{
    EXPECT_TRUE(bob.initColumnValue(1, nullptr, sql::type_float));
    EXPECT_EQ(sql::type_float, bob.getValue(1)->getType());
}

TEST_F(RecordTest, FillingWithEmptyTextIsNotNull)
{
    EXPECT_TRUE(bob.initColumnValue(1, "", sql::type_text));
    EXPECT_EQ("7||2.5", bob.toString());
}

TEST_F(RecordTest, FillingTakesTheLastColumn)
{
    EXPECT_TRUE(bob.initColumnValue(2, "3", sql::type_float));
    EXPECT_EQ("7|Bob|3", bob.toString());
}

TEST_F(RecordTest, FillingReportsNegativePosition)
{
    EXPECT_FALSE(bob.initColumnValue(-1, "x", sql::type_text));
    EXPECT_EQ(outOfRange(-1, 3), takeEvents());
}

TEST_F(RecordTest, FillingReportsPositionPastTheLastColumn)
{
    EXPECT_FALSE(bob.initColumnValue(3, "x", sql::type_text));
    EXPECT_EQ(outOfRange(3, 3), takeEvents());
}

TEST_F(RecordTest, FillingOutOfRangeChangesNothing)
{
    bob.initColumnValue(-1, "x", sql::type_text);
    bob.initColumnValue(3, "x", sql::type_text);
    EXPECT_EQ("7|Bob|2.5", bob.toString());
}

// Setters: all of them, in a record of 7, Bob and 2.5

struct Setter
{
    const char* operation;
    const char* stored; ///< what the cell then holds
    void (*byPosition)(sql::Record& record, int index);
    void (*byName)(sql::Record& record, const char* column);
};

void PrintTo(const Setter& setter, std::ostream* out)
{
    *out << setter.operation;
}

const sql::Time secondDay(86400);

const Setter setters[] = {
    {"setNull", "null", [](sql::Record& record, int index) { record.setNull(index); },
     [](sql::Record& record, const char* column) { record.setNull(column); }},
    {"setString", "O'Neil",
     [](sql::Record& record, int index) { record.setString(index, "O'Neil"); },
     [](sql::Record& record, const char* column) { record.setString(column, "O'Neil"); }},
    {"setInteger", "-9223372036854775807",
     [](sql::Record& record, int index) { record.setInteger(index, -9223372036854775807LL); },
     [](sql::Record& record, const char* column) {
         record.setInteger(column, -9223372036854775807LL);
     }},
    {"setDouble", "0.10000000",
     [](sql::Record& record, int index) { record.setDouble(index, 0.1); },
     [](sql::Record& record, const char* column) { record.setDouble(column, 0.1); }},
    {"setBool", "1", [](sql::Record& record, int index) { record.setBool(index, true); },
     [](sql::Record& record, const char* column) { record.setBool(column, true); }},
    {"setTime", "86400", [](sql::Record& record, int index) { record.setTime(index, secondDay); },
     [](sql::Record& record, const char* column) { record.setTime(column, secondDay); }},
};

class RecordSetterTest : public RecordTest, public ::testing::WithParamInterface<Setter>
{
protected:
    const std::string changed = std::string("7|") + GetParam().stored + "|2.5";
    const std::string unchanged = "7|Bob|2.5";
};

INSTANTIATE_TEST_SUITE_P(Record, RecordSetterTest, ::testing::ValuesIn(setters),
                         [](const ::testing::TestParamInfo<Setter>& setter) {
                             return std::string(setter.param.operation);
                         });

TEST_P(RecordSetterTest, StoresAtPosition)
{
    GetParam().byPosition(bob, 1);
    EXPECT_EQ(changed, bob.toString());
    EXPECT_EQ("", takeEvents());
}

TEST_P(RecordSetterTest, StoresUnderName)
{
    GetParam().byName(bob, "name");
    EXPECT_EQ(changed, bob.toString());
    EXPECT_EQ("", takeEvents());
}

TEST_P(RecordSetterTest, KeepsTheTypeOfTheCell)
{
    GetParam().byPosition(bob, 1);
    EXPECT_EQ(sql::type_text, bob.getValue(1)->getType());
}

TEST_P(RecordSetterTest, NeverConsultsTheTypeOfTheColumn)
{
    GetParam().byName(bob, "price");
    EXPECT_EQ(std::string(GetParam().stored) + " (float)", bob.getValue(2)->dump(true));
}

TEST_P(RecordSetterTest, AtNegativePositionReportsAndChangesNothing)
{
    GetParam().byPosition(bob, -1);
    EXPECT_EQ(unchanged, bob.toString());
    EXPECT_EQ(noValueAt(-1, changeByIndex), takeEvents());
}

TEST_P(RecordSetterTest, PastTheLastColumnReportsAndChangesNothing)
{
    GetParam().byPosition(bob, 99);
    EXPECT_EQ(unchanged, bob.toString());
    EXPECT_EQ(noValueAt(99, changeByIndex), takeEvents());
}

TEST_P(RecordSetterTest, UnderUnknownNameReportsOnceAndChangesNothing)
{
    GetParam().byName(bob, "nosuch");
    EXPECT_EQ(unchanged, bob.toString());
    EXPECT_EQ(notFound("nosuch"), takeEvents());
}

TEST_P(RecordSetterTest, UnderNameOfUnnumberedColumnReportsItsPosition)
{
    const sql::FieldSet set = unnumbered({id, name, price});
    sql::Record record = filled(set, {"7", "Bob", "2.5"});
    GetParam().byName(record, "name");
    EXPECT_EQ(unchanged, record.toString());
    EXPECT_EQ(noValueAt(-1, changeByIndex), takeEvents());
}

TEST_P(RecordSetterTest, UnderNameOfTwoColumnsStoresInTheFirst)
{
    const sql::FieldSet set = columns({id, name, name});
    sql::Record record = filled(set, {"7", "Bob", "2.5"});
    GetParam().byName(record, "name");
    EXPECT_EQ(changed, record.toString());
}

TEST_F(RecordTest, SetStringKeepsNulBytes)
{
    const std::string text("a\0b", 3);
    bob.setString(1, text);
    EXPECT_EQ(text, bob.getValue(1)->asString());
}

TEST_F(RecordTest, SetBoolStoresFalseAsZero)
{
    bob.setBool(1, false);
    EXPECT_EQ("7|0|2.5", bob.toString());
}

} // namespace
