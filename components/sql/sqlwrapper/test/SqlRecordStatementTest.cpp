#include "SqlRecord.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/Records.h"
#include "support/World.h"

using namespace sqltest;

namespace
{

const Source source("SqlRecord");

const std::string nulText("a\0b", 3);

const char toSqlSignature[] = "sql::string sql::Record::toSql() const";
const char insertSignature[] = "sql::string sql::Record::toSqlInsert(const string&) const";
const char updateSignature[] = "sql::string sql::Record::toSqlUpdate(const string&) const";

std::string noValueInList(int index)
{
    return fault(source, "toSql", toSqlSignature, "field with index %d does not have value", index);
}

std::string noFieldsToInsert(const char* table)
{
    return fault(source, "toSqlInsert", insertSignature, "No fields to insert in table '%s'",
                 table);
}

std::string noValuesToInsert(const char* table)
{
    return fault(source, "toSqlInsert", insertSignature, "No values to insert in table '%s'",
                 table);
}

std::string noValueToSet(int index, const char* column, const char* table)
{
    return fault(source, "toSqlUpdate", updateSignature,
                 "No value for column with index=%d (and name=%s) of table %s", index, column,
                 table);
}

std::string noKeyName(const char* table)
{
    return fault(source, "toSqlUpdate", updateSignature,
                 "Failed to get name of PRIMARY KEY column for table %s", table);
}

std::string noKeyValue(const char* table)
{
    return fault(source, "toSqlUpdate", updateSignature, "No PRIMARY KEY column found for table %s",
                 table);
}

const std::string noKeyInSet =
    fault(Source("SqlFieldSet"), "getKeyIdName", "sql::string sql::FieldSet::getKeyIdName() const",
          "Failed to get name of PRIMARY KEY column");

const std::string keyIsNotInteger =
    trace({source.asserted("value->getType() == type_int", updateSignature)});

class RecordStatementTest : public Test
{
protected:
    const sql::FieldSet item = columns({id, name, price, active});
    sql::Record bob = filled(item, {"7", "Bob", "2.5", "1"});

    // Two numbered columns, and two that came later and bear no position.
    static sql::FieldSet halfNumbered()
    {
        const sql::Field later[] = {number, made, sql::Field()};
        sql::FieldSet set = columns({id, name});
        set.initFieldSet(later);
        return set;
    }
};

// The values

TEST_F(RecordStatementTest, ListsTheValuesAsLiterals)
{
    EXPECT_EQ("7, 'Bob', 2.5, 1", bob.toSql());
    EXPECT_EQ("", takeEvents());
}

TEST_F(RecordStatementTest, ListsNullWithoutQuotes)
{
    EXPECT_EQ("null, null, null, null", sql::Record(item).toSql());
}

TEST_F(RecordStatementTest, ListOfOneValueHasNoComma)
{
    const sql::FieldSet set = columns({id});
    EXPECT_EQ("7", filled(set, {"7"}).toSql());
}

TEST_F(RecordStatementTest, ListOfNoColumnsIsEmptyInSilence)
{
    const sql::FieldSet none = columns({});
    EXPECT_EQ("", sql::Record(none).toSql());
    EXPECT_EQ("", takeEvents());
}

TEST_F(RecordStatementTest, ListDoublesTheQuotesOfText)
{
    bob.setString("name", "O'Neil's");
    EXPECT_EQ("7, 'O''Neil''s', 2.5, 1", bob.toSql());
}

TEST_F(RecordStatementTest, ListQuotesByTheTypeOfTheColumn)
{
    bob.initColumnValue(1, "5", sql::type_int);
    bob.initColumnValue(2, "it's", sql::type_text);
    EXPECT_EQ("7, '5', it's, 1", bob.toSql());
}

TEST_F(RecordStatementTest, ListHasTimesAsSeconds)
{
    const sql::FieldSet set = columns({id, made});
    EXPECT_EQ("7, 86400", filled(set, {"7", "86400"}).toSql());
    EXPECT_EQ("", takeEvents());
}

TEST_F(RecordStatementTest, ListHasTimeInTextColumnAsQuotedLocalTime)
{
    const TimeZone zone("CET-1");
    bob.initColumnValue(1, "86400", sql::type_time);
    EXPECT_EQ("7, '02-01-1970 01:00:00, Fri', 2.5, 1", bob.toSql());
    EXPECT_EQ(timeMade(86400), takeEvents());
}

TEST_F(RecordStatementTest, ListHasTheFirstOfTwoColumnsOfOneNameTwice)
{
    const sql::FieldSet set = columns({id, name, name});
    EXPECT_EQ("7, 'Bob', 'Bob'", filled(set, {"7", "Bob", "Ann"}).toSql());
}

TEST_F(RecordStatementTest, ListQuotesByTheColumnThoughTheValueIsOfItsNamesake)
{
    const sql::FieldSet set = columns({number, sql::Field("number", sql::type_text, 0)});
    EXPECT_EQ("5, '5'", filled(set, {"5", "Bob"}).toSql());
}

TEST_F(RecordStatementTest, ListReportsUnnumberedColumnAfterItsPosition)
{
    const sql::FieldSet set = unnumbered({id, name});
    EXPECT_EQ("", sql::Record(set).toSql());
    EXPECT_EQ(noValueAt(-1, readByIndex) + noValueInList(0), takeEvents());
}

TEST_F(RecordStatementTest, ListIsEmptiedByAnUnnumberedColumnBehindNumberedOnes)
{
    const sql::FieldSet set = halfNumbered();
    EXPECT_EQ("", filled(set, {"7", "Bob", "1", "2"}).toSql());
    EXPECT_EQ(noValueAt(-1, readByIndex) + noValueInList(2), takeEvents());
}

TEST_F(RecordStatementTest, ListReportsColumnThatCameLater)
{
    sql::FieldSet set = columns({id, name});
    const sql::Record record = filled(set, {"7", "Bob"});
    set = item;
    EXPECT_EQ("", record.toSql());
    EXPECT_EQ(noValueAt(2, readByIndex) + noValueInList(2), takeEvents());
}

// INSERT

TEST_F(RecordStatementTest, InsertNamesEveryColumnAndGivesEveryValue)
{
    EXPECT_EQ("insert into item (id, name, price, active) values (7, 'Bob', 2.5, 1)",
              bob.toSqlInsert("item"));
    EXPECT_EQ("", takeEvents());
}

TEST_F(RecordStatementTest, InsertWritesNull)
{
    bob.setNull("name");
    EXPECT_EQ("insert into item (id, name, price, active) values (7, null, 2.5, 1)",
              bob.toSqlInsert("item"));
}

TEST_F(RecordStatementTest, InsertOfRecordJustBuiltIsAllNulls)
{
    const sql::FieldSet set = columns({id, name});
    EXPECT_EQ("insert into t (id, name) values (null, null)", sql::Record(set).toSqlInsert("t"));
    EXPECT_EQ("", takeEvents());
}

TEST_F(RecordStatementTest, InsertOfOneColumnHasNoComma)
{
    const sql::FieldSet set = columns({id});
    EXPECT_EQ("insert into t (id) values (7)", filled(set, {"7"}).toSqlInsert("t"));
}

TEST_F(RecordStatementTest, InsertNeedsNoKey)
{
    const sql::FieldSet set = columns({name, price});
    EXPECT_EQ("insert into t (name, price) values ('Bob', 2.5)",
              filled(set, {"Bob", "2.5"}).toSqlInsert("t"));
    EXPECT_EQ("", takeEvents());
}

TEST_F(RecordStatementTest, InsertTakesTextKeyQuoted)
{
    const sql::FieldSet set = columns({code, number});
    EXPECT_EQ("insert into t (code, number) values ('A1', 5)",
              filled(set, {"A1", "5"}).toSqlInsert("t"));
    EXPECT_EQ("", takeEvents());
}

TEST_F(RecordStatementTest, InsertOfTwoColumnsOfOneNameGivesTheFirstTwice)
{
    const sql::FieldSet set = columns({id, name, name});
    EXPECT_EQ("insert into t (id, name, name) values (7, 'Bob', 'Bob')",
              filled(set, {"7", "Bob", "Ann"}).toSqlInsert("t"));
}

TEST_F(RecordStatementTest, InsertTakesNamesOfTablesAndColumnsAsTheyAre)
{
    const sql::FieldSet set = columns({id, sql::Field("\"it's\"", sql::type_text, 0)});
    EXPECT_EQ("insert into main.'a b' (id, \"it's\") values (7, 'Bob')",
              filled(set, {"7", "Bob"}).toSqlInsert("main.'a b'"));
}

TEST_F(RecordStatementTest, InsertDoublesTheQuotesOfText)
{
    bob.setString("name", "'");
    EXPECT_EQ("insert into item (id, name, price, active) values (7, '''', 2.5, 1)",
              bob.toSqlInsert("item"));
}

TEST_F(RecordStatementTest, InsertHoldsPercentSignsAsTheyAre)
{
    const sql::FieldSet set = columns({id, sql::Field("%s", sql::type_text, 0)});
    EXPECT_EQ("insert into %d (id, %s) values (7, '100%n')",
              filled(set, {"7", "100%n"}).toSqlInsert("%d"));
}

TEST_F(RecordStatementTest, InsertHoldsNulBytes)
{
    const sql::FieldSet set = columns({id, name});
    sql::Record record = filled(set, {"7"});
    record.setString("name", nulText);
    EXPECT_EQ("insert into t (id, name) values (7, '" + nulText + "')", record.toSqlInsert("t"));
}

TEST_F(RecordStatementTest, InsertReportsEmptyTableNameBeforeAnyColumn)
{
    const sql::FieldSet none = columns({});
    EXPECT_EQ("", sql::Record(none).toSqlInsert(""));
    EXPECT_EQ(fault(source, "toSqlInsert", insertSignature, "No table name given"), takeEvents());
}

TEST_F(RecordStatementTest, InsertReportsSetWithoutColumns)
{
    const sql::FieldSet none = columns({});
    EXPECT_EQ("", sql::Record(none).toSqlInsert("t"));
    EXPECT_EQ(noFieldsToInsert("t"), takeEvents());
}

TEST_F(RecordStatementTest, InsertTakesOneColumnWithoutNameForNone)
{
    const sql::FieldSet set = unnumbered({sql::Field()});
    EXPECT_EQ("", sql::Record(set).toSqlInsert("t"));
    EXPECT_EQ(noFieldsToInsert("t"), takeEvents());
}

TEST_F(RecordStatementTest, InsertReportsTableNameWithPercentSignsAsItIs)
{
    const sql::FieldSet none = columns({});
    EXPECT_EQ("", sql::Record(none).toSqlInsert("100%s%n"));
    EXPECT_EQ(noFieldsToInsert("100%s%n"), takeEvents());
}

TEST_F(RecordStatementTest, InsertReportsMissingValueAfterTheList)
{
    const sql::FieldSet set = unnumbered({id, name});
    EXPECT_EQ("", sql::Record(set).toSqlInsert("t%d"));
    EXPECT_EQ(noValueAt(-1, readByIndex) + noValueInList(0) + noValuesToInsert("t%d"),
              takeEvents());
}

TEST_F(RecordStatementTest, InsertIsEmptiedByAnUnnumberedColumnBehindNumberedOnes)
{
    const sql::FieldSet set = halfNumbered();
    EXPECT_EQ("", filled(set, {"7", "Bob", "1", "2"}).toSqlInsert("t"));
    EXPECT_EQ(noValueAt(-1, readByIndex) + noValueInList(2) + noValuesToInsert("t"), takeEvents());
}

TEST_F(RecordStatementTest, InsertTakesOneEmptyNumberForNoValues)
{
    const sql::FieldSet set = columns({id});
    EXPECT_EQ("", filled(set, {""}).toSqlInsert("t"));
    EXPECT_EQ(noValuesToInsert("t"), takeEvents());
}

TEST_F(RecordStatementTest, InsertAtLevel2StillReportsAssertions)
{
    setTraceLevel(2);
    EXPECT_EQ("", bob.toSqlInsert(""));
    EXPECT_EQ(trace({source.asserted("false", insertSignature)}), takeEvents());
}

// UPDATE

TEST_F(RecordStatementTest, UpdateSetsEveryColumnOutsideTheKey)
{
    EXPECT_EQ("update item set name='Bob', price=2.5, active=1 where id = 7",
              bob.toSqlUpdate("item"));
    EXPECT_EQ("", takeEvents());
}

TEST_F(RecordStatementTest, UpdateWritesNull)
{
    bob.setNull("name");
    EXPECT_EQ("update item set name=null, price=2.5, active=1 where id = 7",
              bob.toSqlUpdate("item"));
}

TEST_F(RecordStatementTest, UpdateOfRecordJustBuiltMatchesNullKeyInSilence)
{
    const sql::FieldSet set = columns({id, name});
    EXPECT_EQ("update t set name=null where id = null", sql::Record(set).toSqlUpdate("t"));
    EXPECT_EQ("", takeEvents());
}

TEST_F(RecordStatementTest, UpdateKeepsTheLastCommaBeforeAKeyAtTheEnd)
{
    const sql::FieldSet set = columns({name, price, id});
    EXPECT_EQ("update item set name='Bob', price=2.5,  where id = 7",
              filled(set, {"Bob", "2.5", "7"}).toSqlUpdate("item"));
    EXPECT_EQ("", takeEvents());
}

TEST_F(RecordStatementTest, UpdateOfKeyAloneSetsNothing)
{
    const sql::FieldSet set = columns({id});
    EXPECT_EQ("update item set  where id = 7", filled(set, {"7"}).toSqlUpdate("item"));
    EXPECT_EQ("", takeEvents());
}

TEST_F(RecordStatementTest, UpdateLeavesNoTraceOfAKeyInTheMiddle)
{
    const sql::FieldSet set = columns({name, id, price});
    EXPECT_EQ("update item set name='Bob', price=2.5 where id = 7",
              filled(set, {"Bob", "7", "2.5"}).toSqlUpdate("item"));
}

TEST_F(RecordStatementTest, UpdateMatchesTheFirstOfTwoKeyColumnsAndSetsNeither)
{
    const sql::FieldSet set = columns({id, name, code, price});
    EXPECT_EQ("update t set name='Bob', price=2.5 where id = 7",
              filled(set, {"7", "Bob", "A1", "2.5"}).toSqlUpdate("t"));
}

TEST_F(RecordStatementTest, UpdateWithSecondKeyColumnAtTheEndKeepsTheLastComma)
{
    const sql::FieldSet set = columns({id, name, code});
    EXPECT_EQ("update t set name='Bob',  where id = 7",
              filled(set, {"7", "Bob", "A1"}).toSqlUpdate("t"));
}

TEST_F(RecordStatementTest, UpdateMatchesTheFirstOfTwoKeyColumnsOfOneName)
{
    const sql::FieldSet set = columns({id, id, name});
    EXPECT_EQ("update t set name='Bob' where id = 7",
              filled(set, {"7", "8", "Bob"}).toSqlUpdate("t"));
}

TEST_F(RecordStatementTest, UpdateOfTwoColumnsOfOneNameSetsBothToTheFirst)
{
    const sql::FieldSet set = columns({id, name, name});
    EXPECT_EQ("update t set name='Bob', name='Bob' where id = 7",
              filled(set, {"7", "Bob", "Ann"}).toSqlUpdate("t"));
}

TEST_F(RecordStatementTest, UpdateFindsTheKeyByPositionAndOtherValuesByName)
{
    const sql::FieldSet set = columns({id, sql::Field("id", sql::type_text, 0)});
    EXPECT_EQ("update t set id='7' where id = 7", filled(set, {"7", "Bob"}).toSqlUpdate("t"));
    const sql::FieldSet turned = columns({sql::Field("id", sql::type_text, 0), id});
    EXPECT_EQ("update t set id='Bob',  where id = 7",
              filled(turned, {"Bob", "7"}).toSqlUpdate("t"));
}

TEST_F(RecordStatementTest, UpdateWritesTextKeyUnquotedAfterAssertionReport)
{
    const sql::FieldSet set = columns({code, number});
    EXPECT_EQ("update t set number=5 where code = A1", filled(set, {"A1", "5"}).toSqlUpdate("t"));
    EXPECT_EQ(keyIsNotInteger, takeEvents());
}

TEST_F(RecordStatementTest, UpdateEscapesNothingInTextKey)
{
    const sql::FieldSet set = columns({code, number});
    EXPECT_EQ("update t set number=5 where code = O'Neil",
              filled(set, {"O'Neil", "5"}).toSqlUpdate("t"));
}

TEST_F(RecordStatementTest, UpdateReportsNullTextKeyToo)
{
    const sql::FieldSet set = columns({code, number});
    EXPECT_EQ("update t set number=5 where code = null",
              filled(set, {nullptr, "5"}).toSqlUpdate("t"));
    EXPECT_EQ(keyIsNotInteger, takeEvents());
}

TEST_F(RecordStatementTest, UpdateChecksTheTypeOfTheKeysValueNotOfItsColumn)
{
    const sql::FieldSet set = columns({code, number});
    sql::Record record = filled(set, {"A1", "5"});
    record.initColumnValue(0, "8", sql::type_int);
    EXPECT_EQ("update t set number=5 where code = 8", record.toSqlUpdate("t"));
    EXPECT_EQ("", takeEvents());
}

TEST_F(RecordStatementTest, UpdateWritesKeyOfIntegerTypeAsItIs)
{
    bob.setString("id", "A'1");
    EXPECT_EQ("update item set name='Bob', price=2.5, active=1 where id = A'1",
              bob.toSqlUpdate("item"));
    EXPECT_EQ("", takeEvents());
}

TEST_F(RecordStatementTest, UpdateWritesTimeKeyAsSecondsAfterAssertionReport)
{
    const sql::FieldSet set = columns({id, name});
    sql::Record record = filled(set, {"7", "Bob"});
    record.initColumnValue(0, "86400", sql::type_time);
    EXPECT_EQ("update t set name='Bob' where id = 86400", record.toSqlUpdate("t"));
    EXPECT_EQ(keyIsNotInteger, takeEvents());
}

TEST_F(RecordStatementTest, UpdateTakesNamesOfTablesAndColumnsAsTheyAre)
{
    const sql::FieldSet set = columns({sql::Field("\"k e\"", sql::type_int, sql::flag_primary_key),
                                       sql::Field("\"it's\"", sql::type_text, 0)});
    EXPECT_EQ("update main.'a b' set \"it's\"='Bob' where \"k e\" = 7",
              filled(set, {"7", "Bob"}).toSqlUpdate("main.'a b'"));
}

TEST_F(RecordStatementTest, UpdateDoublesTheQuotesOfText)
{
    bob.setString("name", "O'Neil's");
    EXPECT_EQ("update item set name='O''Neil''s', price=2.5, active=1 where id = 7",
              bob.toSqlUpdate("item"));
}

TEST_F(RecordStatementTest, UpdateQuotesByTheTypeOfTheColumn)
{
    bob.initColumnValue(1, "5", sql::type_int);
    bob.initColumnValue(2, "it's", sql::type_text);
    EXPECT_EQ("update item set name='5', price=it's, active=1 where id = 7",
              bob.toSqlUpdate("item"));
}

TEST_F(RecordStatementTest, UpdateHoldsPercentSignsAsTheyAre)
{
    const sql::FieldSet set = columns({id, sql::Field("%s", sql::type_text, 0)});
    EXPECT_EQ("update %d set %s='100%n' where id = 7",
              filled(set, {"7", "100%n"}).toSqlUpdate("%d"));
}

TEST_F(RecordStatementTest, UpdateHoldsNulBytes)
{
    const sql::FieldSet set = columns({id, name});
    sql::Record record = filled(set, {"7"});
    record.setString("name", nulText);
    EXPECT_EQ("update t set name='" + nulText + "' where id = 7", record.toSqlUpdate("t"));
}

TEST_F(RecordStatementTest, UpdateReportsEmptyTableNameBeforeAnyColumn)
{
    const sql::FieldSet set = unnumbered({name});
    EXPECT_EQ("", sql::Record(set).toSqlUpdate(""));
    EXPECT_EQ(fault(source, "toSqlUpdate", updateSignature, "No table name given"), takeEvents());
}

TEST_F(RecordStatementTest, UpdateReportsMissingKeyAfterTheColumnSet)
{
    const sql::FieldSet set = columns({name, price});
    EXPECT_EQ("", filled(set, {"Bob", "2.5"}).toSqlUpdate("t"));
    EXPECT_EQ(noKeyInSet + noKeyName("t"), takeEvents());
}

TEST_F(RecordStatementTest, UpdateOfNoColumnsReportsMissingKey)
{
    const sql::FieldSet none = columns({});
    EXPECT_EQ("", sql::Record(none).toSqlUpdate("t"));
    EXPECT_EQ(noKeyInSet + noKeyName("t"), takeEvents());
}

TEST_F(RecordStatementTest, UpdateReportsKeyColumnWithoutNameOnce)
{
    const sql::FieldSet set = [] {
        const Unrecorded emptyName;
        return unnumbered({sql::Field("", sql::type_int, sql::flag_primary_key)});
    }();
    EXPECT_EQ("", sql::Record(set).toSqlUpdate("100%s"));
    EXPECT_EQ(noKeyName("100%s"), takeEvents());
}

TEST_F(RecordStatementTest, UpdateReportsUnnumberedKeyColumnAfterItsPosition)
{
    const sql::FieldSet set = unnumbered({id});
    EXPECT_EQ("", sql::Record(set).toSqlUpdate("t%d"));
    EXPECT_EQ(noValueAt(-1, readByIndex) + noKeyValue("t%d"), takeEvents());
}

TEST_F(RecordStatementTest, UpdateReportsUnnumberedColumnAfterItsPosition)
{
    const sql::FieldSet set = unnumbered({id, name, price});
    EXPECT_EQ("", sql::Record(set).toSqlUpdate("t"));
    EXPECT_EQ(noValueAt(-1, readByIndex) + noValueToSet(1, "name", "t"), takeEvents());
}

TEST_F(RecordStatementTest, UpdateReportsMissingValueBeforeItLooksForTheKey)
{
    const sql::FieldSet set = unnumbered({name, price});
    EXPECT_EQ("", sql::Record(set).toSqlUpdate("t"));
    EXPECT_EQ(noValueAt(-1, readByIndex) + noValueToSet(0, "name", "t"), takeEvents());
}

TEST_F(RecordStatementTest, UpdateIsEmptiedByAnUnnumberedColumnBehindNumberedOnes)
{
    const sql::FieldSet set = halfNumbered();
    EXPECT_EQ("", filled(set, {"7", "Bob", "1", "2"}).toSqlUpdate("t"));
    EXPECT_EQ(noValueAt(-1, readByIndex) + noValueToSet(2, "number", "t"), takeEvents());
}

TEST_F(RecordStatementTest, UpdateReportsNamesWithPercentSignsAsTheyAre)
{
    const sql::FieldSet set = unnumbered({sql::Field("%s%n", sql::type_text, 0)});
    EXPECT_EQ("", sql::Record(set).toSqlUpdate("100%"));
    EXPECT_EQ(noValueAt(-1, readByIndex) + noValueToSet(0, "%s%n", "100%"), takeEvents());
}

TEST_F(RecordStatementTest, UpdateAtLevel2StillReportsAssertions)
{
    setTraceLevel(2);
    const sql::FieldSet set = columns({name});
    EXPECT_EQ("", sql::Record(set).toSqlUpdate("t"));
    EXPECT_EQ(trace({Source("SqlFieldSet")
                         .asserted("false", "sql::string sql::FieldSet::getKeyIdName() const"),
                     source.asserted("false", updateSignature)}),
              takeEvents());
}

// The cost of a statement

// A wide record, so that an allocation for each cell would show.
class RecordStatementCostTest : public Test
{
protected:
    static sql::FieldSet wideSet()
    {
        std::vector<sql::Field> fields = {
            sql::Field("a_key_column_of_a_long_name", sql::type_int, sql::flag_primary_key)};
        while (fields.size() < 100)
            fields.emplace_back("column_" + std::to_string(fields.size()) + "_of_a_long_name",
                                sql::type_text, 0);
        return columns(fields);
    }

    void fill(const std::string& text)
    {
        for (int i = 1; i < record.columnCount(); ++i)
            record.setString(i, text);
    }

    const sql::FieldSet wide = wideSet();
    sql::Record record{wide};
    const std::string table = "a_table_of_a_long_name";
};

TEST_F(RecordStatementCostTest, InsertOfNullsTakesAtMostTwoAllocations)
{
    const long before = allocations();
    record.toSqlInsert(table);
    EXPECT_LE(allocations() - before, 2);
}

TEST_F(RecordStatementCostTest, InsertOfLongTextsTakesAtMostTwoAllocations)
{
    fill(std::string(100, 'x'));
    const long before = allocations();
    record.toSqlInsert(table);
    EXPECT_LE(allocations() - before, 2);
}

TEST_F(RecordStatementCostTest, InsertOfNothingButQuotesTakesAtMostTwoAllocations)
{
    fill(std::string(100, '\''));
    const long before = allocations();
    record.toSqlInsert(table);
    EXPECT_LE(allocations() - before, 2);
}

TEST_F(RecordStatementCostTest, UpdateOfNullsTakesAtMostTwoAllocations)
{
    const long before = allocations();
    record.toSqlUpdate(table);
    EXPECT_LE(allocations() - before, 2);
}

TEST_F(RecordStatementCostTest, UpdateOfLongTextsTakesAtMostTwoAllocations)
{
    fill(std::string(100, 'x'));
    const long before = allocations();
    record.toSqlUpdate(table);
    EXPECT_LE(allocations() - before, 2);
}

TEST_F(RecordStatementCostTest, UpdateOfNothingButQuotesTakesAtMostTwoAllocations)
{
    fill(std::string(100, '\''));
    const long before = allocations();
    record.toSqlUpdate(table);
    EXPECT_LE(allocations() - before, 2);
}

} // namespace
