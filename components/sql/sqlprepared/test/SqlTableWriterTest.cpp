#include "SqlTableWriter.h"

#include <memory>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "SqlDatabase.h"
#include "support/Items.h"

using namespace sqltest;

namespace
{

// Records

TEST_F(TableWriterTest, InsertAddsARow)
{
    sql::Record record = item(7, "Screw");
    record.setDouble("price", 0.1);
    record.setBool("active", true);
    record.setTime("made", sql::Time(1000));
    EXPECT_TRUE(writer.insert(record));
    EXPECT_EQ("7 'Screw' 0.1 1 1000", row("7"));
    EXPECT_EQ(1, writer.changes());
    EXPECT_EQ(7, writer.insertId());
    EXPECT_EQ("none", words(writer.error()));
    EXPECT_EQ("", takeDiagnostics());
}

TEST_F(TableWriterTest, UpdateChangesTheRowOfTheKey)
{
    EXPECT_TRUE(writer.update(item(2, "Washer")));
    EXPECT_EQ("2 'Washer' NULL NULL NULL", row("2"));
    EXPECT_EQ("1 'Bolt' NULL NULL NULL", row("1"));
    EXPECT_EQ(1, writer.changes());
    EXPECT_EQ(0, writer.insertId());
}

TEST_F(TableWriterTest, UpdateWithoutSuchARowIsTrue)
{
    EXPECT_TRUE(writer.update(item(9, "Washer")));
    EXPECT_EQ(0, writer.changes());
    EXPECT_EQ("1 2", ids());
    sql::Record keyless = item(0, "Washer");
    keyless.setNull("id");
    EXPECT_TRUE(writer.update(keyless));
    EXPECT_EQ(0, writer.changes());
}

TEST_F(TableWriterTest, EachKindIsCompiledOnce)
{
    setTraceLevel(8);
    EXPECT_TRUE(writer.insert(item(3, "a")));
    EXPECT_TRUE(writer.insert(item(4, "b")));
    EXPECT_TRUE(writer.update(item(3, "c")));
    EXPECT_TRUE(writer.update(item(4, "d")));
    EXPECT_TRUE(writer.upsert(item(3, "e")));
    EXPECT_TRUE(writer.upsert(item(4, "f")));
    EXPECT_TRUE(writer.erase(3));
    EXPECT_TRUE(writer.erase(4));
    EXPECT_TRUE(writer.insert(item(5, "g")));
    EXPECT_EQ(trace({prepared(insertItem),
                     prepared("update item set name=?2, price=?3, active=?4, made=?5 where id=?1"),
                     prepared(std::string(insertItem) +
                              " on conflict(id) do update set name=?2, price=?3, active=?4, "
                              "made=?5"),
                     prepared("delete from item where id=?1")}),
              takeDiagnostics());
}

TEST_F(TableWriterTest, RecordOfAnotherColumnSetOfTheSameNamesIsTaken)
{
    const sql::FieldSet same(itemFields);
    sql::Record record(same);
    record.setInteger(0, 7);
    record.setString(1, "Screw");
    EXPECT_TRUE(writer.insert(record));
    EXPECT_EQ("7 'Screw' NULL NULL NULL", row("7"));
}

TEST_F(TableWriterTest, RecordOfAnotherTableIsRefused)
{
    const Refusal refusal = {20, "SQLITE_MISMATCH", "the record has other columns than the table"};
    EXPECT_FALSE(writer.insert(part("A-17", 1)));
    expectRefused(refusal);
    EXPECT_FALSE(writer.update(part("A-17", 1)));
    expectRefused(refusal);
    EXPECT_FALSE(writer.upsert(part("A-17", 1)));
    expectRefused(refusal);

    const sql::Field key("number", sql::type_int, sql::flag_primary_key);
    const sql::Field swapped[] = {itemFields[1], itemFields[0], itemFields[2],
                                  itemFields[3], itemFields[4], sql::Field()};
    const sql::Field renamed[] = {key,           itemFields[1], itemFields[2],
                                  itemFields[3], itemFields[4], sql::Field()};
    for (const sql::Field* fields : {swapped, renamed}) {
        const sql::FieldSet others(fields);
        EXPECT_FALSE(writer.insert(sql::Record(others)));
        expectRefused(refusal);
    }
    EXPECT_EQ("1 2", ids());
}

TEST_F(TableWriterTest, WritingARecordLeavesTheCells)
{
    setItem(7, "Cell");
    writer.setDouble("price", 1.5);
    EXPECT_TRUE(writer.insert(item(8, "Record")));
    EXPECT_FALSE(writer.insert(item(8, "Record")));
    EXPECT_FALSE(writer.insert(part("A-17", 1)));
    EXPECT_TRUE(writer.insert());
    EXPECT_EQ("7 'Cell' 1.5 NULL NULL", row("7"));
}

// Keys

TEST_F(TableWriterTest, TextKeysHitTheRightRowAlone)
{
    for (const char* code : {"A-17", "code", "3/4\"", "1 or 1=1"})
        EXPECT_TRUE(partWriter.insert(part(code, 1)));
    EXPECT_TRUE(partWriter.update(part("code", 2)));
    EXPECT_EQ(1, partWriter.changes());
    EXPECT_TRUE(partWriter.update(part("1 or 1=1", 3)));
    EXPECT_EQ(1, partWriter.changes());
    EXPECT_EQ("1 or 1=1=3 3/4\"=1 A-17=1 code=2", partRows());
    EXPECT_TRUE(partWriter.erase("3/4\""));
    EXPECT_EQ(1, partWriter.changes());
    EXPECT_TRUE(partWriter.erase("count"));
    EXPECT_EQ(0, partWriter.changes());
    EXPECT_EQ("1 or 1=1=3 A-17=1 code=2", partRows());
    EXPECT_EQ("", takeDiagnostics());
}

TEST_F(TableWriterTest, EveryKeyColumnIsCompared)
{
    run("create table place (shelf INTEGER, box TEXT, item INTEGER, PRIMARY KEY (shelf, box));"
        "insert into place values (1, 'a', 10), (1, 'b', 11), (2, 'a', 12)");
    const sql::Field fields[] = {sql::Field("shelf", sql::type_int, sql::flag_primary_key),
                                 sql::Field("box", sql::type_text, sql::flag_primary_key),
                                 sql::Field("item", sql::type_int, 0), sql::Field()};
    sql::Table places(db, "place", fields);
    sql::TableWriter placeWriter(places);
    placeWriter.setInteger(0, 1);
    placeWriter.setString(1, "b");
    placeWriter.setInteger(2, 99);
    EXPECT_TRUE(placeWriter.update());
    EXPECT_EQ(1, placeWriter.changes());
    placeWriter.setString(1, "c");
    EXPECT_TRUE(placeWriter.upsert());
    placeWriter.setInteger(2, 98);
    EXPECT_TRUE(placeWriter.upsert());
    EXPECT_EQ("10 99 98 12", cell("select group_concat(item, ' ') from (select item from place "
                                  "order by shelf, box)"));
    EXPECT_EQ(0, placeWriter.insertId());
    EXPECT_FALSE(placeWriter.erase(1));
    EXPECT_EQ("21: the description has not exactly one key column", words(placeWriter.error()));
    EXPECT_FALSE(placeWriter.erase("a"));
    EXPECT_EQ(21, placeWriter.error().code());
    EXPECT_EQ("4", cell("select count(*) from place"));
}

TEST_F(TableWriterTest, TableOfKeysAloneIsSetToItsKeys)
{
    const sql::Field fields[] = {sql::Field("shelf", sql::type_int, sql::flag_primary_key),
                                 sql::Field("box", sql::type_text, sql::flag_primary_key),
                                 sql::Field()};
    run("create table place (shelf INTEGER, box TEXT, primary key (shelf, box));"
        "insert into place values (7, 'a')");
    sql::Table places(db, "place", fields);
    sql::TableWriter ofPlaces(places);
    ofPlaces.setInteger("shelf", 7);
    ofPlaces.setString("box", "a");
    setTraceLevel(8);
    EXPECT_TRUE(ofPlaces.update());
    EXPECT_EQ(1, ofPlaces.changes());
    EXPECT_EQ(trace({prepared("update place set shelf=?1, box=?2 where shelf=?1 and box=?2")}),
              takeDiagnostics());
}

TEST_F(TableWriterTest, WithoutAKeyColumnRowsAreOnlyAdded)
{
    run("create table note (text TEXT)");
    sql::Table notes(db, "note", sql::FieldSet({sql::Field("text", sql::type_text, 0)}));
    sql::TableWriter noteWriter(notes);
    noteWriter.setString(0, "a");
    EXPECT_TRUE(noteWriter.insert());
    EXPECT_EQ(0, noteWriter.insertId());
    EXPECT_FALSE(noteWriter.update());
    EXPECT_EQ("21: the description has no key column", words(noteWriter.error()));
    EXPECT_FALSE(noteWriter.upsert());
    EXPECT_EQ("21: the description has no key column", words(noteWriter.error()));
    EXPECT_FALSE(noteWriter.erase(1));
    EXPECT_EQ("21: the description has not exactly one key column", words(noteWriter.error()));
    EXPECT_EQ("1", cell("select count(*) from note"));
}

TEST_F(TableWriterTest, WithoutColumnsNothingIsWritten)
{
    sql::Table bare("item");
    EXPECT_TRUE(bare.initTable(db, nullptr));
    sql::TableWriter bareWriter(bare);
    EXPECT_FALSE(bareWriter.insert());
    EXPECT_EQ("21: the description has no columns", words(bareWriter.error()));
}

// Insert ids and changes

TEST_F(TableWriterTest, InsertIdIsThatOfTheLastRowWritten)
{
    EXPECT_EQ(0, writer.insertId());
    EXPECT_TRUE(writer.insert(item(7, "a")));
    EXPECT_EQ(7, writer.insertId());
    run("insert into item values (100, 'other', null, null, null)");
    EXPECT_TRUE(writer.update(item(1, "a")));
    EXPECT_EQ(7, writer.insertId());
    EXPECT_TRUE(writer.erase(1));
    EXPECT_EQ(7, writer.insertId());
    EXPECT_FALSE(writer.insert(item(7, "a")));
    EXPECT_EQ(7, writer.insertId());
    EXPECT_TRUE(writer.upsert(item(2, "a")));
    EXPECT_EQ(2, writer.insertId());
    sql::Record numbered = item(0, "a");
    numbered.setNull("id");
    EXPECT_TRUE(writer.insert(numbered));
    EXPECT_EQ(101, writer.insertId());
    writer.close();
    EXPECT_EQ(101, writer.insertId());
}

TEST_F(TableWriterTest, InsertIdIsTheKeyHoweverItIsWritten)
{
    const std::pair<const char*, sql::integer> keys[] = {
        {"007", 7},
        {"1e3", 1000},
        {"+8", 8},
        {"11.0", 11},
        {"-5", -5},
        {"9223372036854775807", 9223372036854775807},
        {"00000000000000000000000012", 12}};
    for (const auto& key : keys) {
        sql::Record record = item(0, "a");
        record.setString("id", key.first);
        EXPECT_TRUE(writer.insert(record)) << key.first;
        EXPECT_EQ(key.second, writer.insertId());
        EXPECT_EQ("1", cell("select count(*) from item where id = " + std::to_string(key.second)));
        EXPECT_TRUE(writer.upsert(record)) << key.first;
        EXPECT_EQ(key.second, writer.insertId());
    }
    writer.setString("name", "a");
    writer.setDouble("id", 21);
    EXPECT_TRUE(writer.insert());
    EXPECT_EQ(21, writer.insertId());
    writer.setString("id", "22");
    EXPECT_TRUE(writer.insert());
    EXPECT_EQ(22, writer.insertId());
}

TEST_F(TableWriterTest, RowThatATriggerIgnoresLeavesTheInsertId)
{
    run("create trigger ignored before insert on item when new.name is 'ignored' "
        "begin select raise(ignore); end");
    EXPECT_TRUE(writer.insert(item(7, "a")));
    run("insert into item (id, name) values (100, 'other')");
    writer.setString("name", "ignored");
    EXPECT_TRUE(writer.insert());
    EXPECT_EQ(0, writer.changes());
    EXPECT_EQ(7, writer.insertId());
    EXPECT_TRUE(writer.upsert(item(8, "ignored")));
    EXPECT_EQ(7, writer.insertId());
}

TEST_F(TableWriterTest, InsertIdOfATableWithoutRowidIsItsKey)
{
    run("create table bare (id INTEGER PRIMARY KEY, name TEXT) without rowid");
    const sql::Field fields[] = {itemFields[0], sql::Field("name", sql::type_text, 0),
                                 sql::Field()};
    sql::Table table(db, "bare", fields);
    sql::TableWriter bare(table);
    EXPECT_TRUE(writer.insert(item(7, "a")));
    bare.setInteger(0, 42);
    EXPECT_TRUE(bare.insert());
    EXPECT_EQ(42, bare.insertId());
}

TEST_F(TableWriterTest, ChangesOfTriggersDoNotCount)
{
    run("create table log (text); create trigger logged after insert on item begin "
        "insert into log values (new.name); insert into log values (new.name); end");
    EXPECT_TRUE(writer.insert(item(7, "a")));
    EXPECT_EQ(1, writer.changes());
    EXPECT_EQ(7, writer.insertId());
    EXPECT_EQ("2", cell("select count(*) from log"));
}

// Failures

TEST_F(TableWriterTest, FailureOfSqliteIsLoggedWithItsStatement)
{
    EXPECT_FALSE(writer.insert(item(2, "Twice")));
    EXPECT_EQ("1555: UNIQUE constraint failed: item.id", words(writer.error()));
    EXPECT_EQ(0, writer.changes());
    EXPECT_EQ(
        trace({failed(insertItem, {19, "SQLITE_CONSTRAINT", "UNIQUE constraint failed: item.id"})}),
        takeDiagnostics());
    EXPECT_TRUE(writer.insert(item(3, "Once")));
    EXPECT_EQ("none", words(writer.error()));
}

TEST_F(TableWriterTest, TableThatIsGoneIsAnErrorUntilItIsBack)
{
    sql::Table pets(db, "pet", itemFields);
    sql::TableWriter petWriter(pets);
    petWriter.setString(1, "Cat");
    EXPECT_FALSE(petWriter.insert());
    EXPECT_EQ("1: no such table: pet", words(petWriter.error()));
    run("create table pet (made, price, active, id INTEGER PRIMARY KEY, name TEXT)");
    EXPECT_TRUE(petWriter.insert());
    run("drop table pet");
    EXPECT_FALSE(petWriter.insert());
    EXPECT_EQ("1: no such table: pet", words(petWriter.error()));
    run("create table pet (id INTEGER PRIMARY KEY, name TEXT, made, price, active, extra)");
    EXPECT_TRUE(petWriter.insert());
    EXPECT_EQ("Cat", cell("select name from pet"));
}

TEST_F(TableWriterTest, LeavesNoLock)
{
    EXPECT_TRUE(writer.insert(item(7, "a")));
    EXPECT_FALSE(writer.insert(item(7, "a")));
    EXPECT_TRUE(writer.update(item(7, "a")));
    EXPECT_TRUE(writer.upsert(item(7, "a")));
    EXPECT_TRUE(writer.erase(7));
    EXPECT_TRUE(items.remove());
}

TEST_F(TableWriterTest, CloseCompilesAgain)
{
    setItem(7, "Kept");
    EXPECT_TRUE(writer.insert());
    writer.close();
    setTraceLevel(8);
    EXPECT_TRUE(writer.erase(7));
    EXPECT_TRUE(writer.insert());
    EXPECT_EQ(trace({prepared("delete from item where id=?1"), prepared(insertItem)}),
              takeDiagnostics());
    EXPECT_EQ("7 'Kept' NULL NULL NULL", row("7"));
}

TEST_F(TableWriterTest, TableMayGetItsConnectionLate)
{
    sql::Table late("item");
    sql::TableWriter lateWriter(late);
    EXPECT_FALSE(lateWriter.insert());
    EXPECT_EQ("21: no connection", words(lateWriter.error()));
    EXPECT_EQ(trace({notPrepared()}), takeDiagnostics());
    EXPECT_TRUE(late.initTable(db, itemFields));
    lateWriter.setString("name", "Late");
    EXPECT_TRUE(lateWriter.insert());
    EXPECT_EQ(3, lateWriter.insertId());
}

TEST_F(TableWriterTest, OtherDescriptionIsTakenInAfterClose)
{
    const sql::Field more[] = {sql::Field("extra", sql::type_int, 0), sql::Field()};
    const sql::Record record = item(7, "a");
    EXPECT_TRUE(writer.insert(record));
    run("alter table item add column extra");
    EXPECT_TRUE(items.initTable(db, more));
    const sql::FieldSet former(itemFields);
    for (const sql::FieldSet* fields : {&former, &items.fields()}) {
        EXPECT_FALSE(writer.insert(sql::Record(*fields)));
        expectRefused({20, "SQLITE_MISMATCH", "the record has other columns than the table"});
    }
    writer.close();
    setItem(8, "b");
    writer.setInteger("extra", 5);
    EXPECT_TRUE(writer.insert());
    EXPECT_EQ("5", cell("select extra from item where id = 8"));
}

TEST_F(TableWriterTest, NullConnectionIsReportedOnceByEachWrite)
{
    sql::Table unconnected(nullptr, "item", itemFields);
    sql::TableWriter nowhere(unconnected);
    const sql::Record record = item(7, "a");
    nowhere.setInteger(0, 7);
    const auto expectReport = [&](bool written) {
        EXPECT_FALSE(written);
        EXPECT_EQ("21: no connection", words(nowhere.error()));
        EXPECT_EQ(trace({notPrepared()}), takeDiagnostics());
    };
    expectReport(nowhere.insert(record));
    expectReport(nowhere.update(record));
    expectReport(nowhere.upsert(record));
    expectReport(nowhere.insert());
    expectReport(nowhere.update());
    expectReport(nowhere.upsert());
    expectReport(nowhere.erase(7));
    expectReport(nowhere.erase("7"));
    EXPECT_EQ(0, nowhere.insertId());
    EXPECT_EQ(0, nowhere.changes());
    EXPECT_EQ(0, nowhere.column("id"));
    nowhere.clear();
    nowhere.close();
}

TEST_F(TableWriterTest, DatabaseThatIsClosedTooEarlyStaysOpen)
{
    sql::Database database;
    ASSERT_TRUE(database.open(":memory:", sql::Database::read_write_create, false, 0));
    sqlite3* const own = database.getHandle();
    sql::Table table(own, "item", itemFields);
    EXPECT_TRUE(table.create());
    std::unique_ptr<sql::TableWriter> early(new sql::TableWriter(table));
    early->setString(1, "a");
    EXPECT_TRUE(early->insert());
    takeEvents();
    database.close();
    EXPECT_EQ(
        trace({Source("SqlDatabase").asserted("rc == SQLITE_OK", "void sql::Database::close()")}),
        takeDiagnostics());
    EXPECT_TRUE(early->insert());
    EXPECT_EQ(2, early->insertId());
    early.reset();
    EXPECT_EQ(SQLITE_OK, sqlite3_close(own));
}

// Memory

TEST_F(TableWriterTest, ShortCellsTakeNoMemory)
{
    setItem(7, "Screw");
    EXPECT_TRUE(writer.upsert());
    const long before = allocations();
    for (int i = 0; i < 100; ++i) {
        setItem(i, "Nail");
        writer.setDouble(2, 0.5 * i);
        EXPECT_TRUE(writer.upsert());
    }
    EXPECT_EQ(before, allocations());
}

TEST_F(TableWriterTest, WithoutMemoryNothingIsThrown)
{
    const std::string longText(1000, 'x');
    const sql::Record record = item(7, longText);
    const sql::Record longer = item(7, longText + longText);
    const auto expectNoMemory = [this](bool written) {
        faults.allocationsLeft = -1;
        EXPECT_FALSE(written);
        EXPECT_EQ(7, writer.error().code());
    };
    faults.allocationsLeft = 0;
    expectNoMemory(writer.insert(record)); // to compile
    EXPECT_TRUE(writer.insert(record));
    faults.allocationsLeft = 0;
    expectNoMemory(writer.update(record));
    EXPECT_TRUE(writer.update(record));
    faults.allocationsLeft = 0;
    expectNoMemory(writer.update(longer));
}

TEST_F(TableWriterTest, WithoutMemoryForACellWritesFailUntilCleared)
{
    setItem(7, "Screw");
    const std::string longText(1000, 'x');
    faults.allocationsLeft = 0;
    writer.setString(1, longText);
    faults.allocationsLeft = -1;
    for (int i = 0; i < 2; ++i) {
        EXPECT_FALSE(writer.insert());
        EXPECT_EQ("7: out of memory", words(writer.error()));
    }
    writer.clear();
    setItem(7, longText);
    EXPECT_TRUE(writer.insert());
}

TEST_F(TableWriterTest, WithoutMemoryForTheCellsWritesFailUntilCleared)
{
    faults.allocationsLeft = 0;
    writer.setInteger(0, 7);
    faults.allocationsLeft = -1;
    EXPECT_FALSE(writer.insert());
    EXPECT_EQ("7: out of memory", words(writer.error()));
    writer.clear();
    setItem(7, "Screw");
    EXPECT_TRUE(writer.insert());
}

} // namespace
