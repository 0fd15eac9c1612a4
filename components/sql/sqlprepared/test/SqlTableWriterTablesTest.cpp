#include "SqlTableWriter.h"

#include <limits>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "support/Items.h"

using namespace sqltest;

namespace
{

const sql::integer smallest = std::numeric_limits<sql::integer>::min();
const sql::integer largest = std::numeric_limits<sql::integer>::max();

// Where the table is

class NamedTableTest : public TableWriterTest, public ::testing::WithParamInterface<const char*>
{
};

TEST_P(NamedTableTest, IsWrittenAndErased)
{
    const std::string table = GetParam();
    run("attach ':memory:' as more");
    run("create table " + table + " (id INTEGER PRIMARY KEY, name TEXT)");
    const sql::Field fields[] = {itemFields[0], itemFields[1], sql::Field()};
    sql::Table named(db, table, fields);
    sql::TableWriter own(named);
    own.setInteger(0, 7);
    EXPECT_TRUE(own.upsert());
    own.setString(1, "Screw");
    EXPECT_TRUE(own.upsert());
    EXPECT_TRUE(own.update());
    EXPECT_EQ("7 Screw", cell("select id || ' ' || name from " + table));
    EXPECT_TRUE(own.erase(7));
    EXPECT_EQ(1, own.changes());
}

INSTANTIATE_TEST_SUITE_P(Names, NamedTableTest,
                         ::testing::Values("more.item", "temp.item", "\"two words\"", "[order]",
                                           "\"%t and %n\""));

TEST_F(TableWriterTest, TableOfAnotherConnectionIsWrittenThere)
{
    Connection another(":memory:");
    setItem(7, "Screw");
    EXPECT_TRUE(writer.insert());
    EXPECT_TRUE(writer.update());
    items = sql::Table(another.db, "item", itemFields);
    EXPECT_TRUE(items.create());
    EXPECT_TRUE(writer.insert());
    setItem(7, "Nail");
    EXPECT_TRUE(writer.update());
    EXPECT_EQ("1 2 7", ids());
    EXPECT_EQ("7 'Screw' NULL NULL NULL", row("7"));
    EXPECT_EQ("7 Nail", another.cell("select group_concat(id || ' ' || name) from item"));
    writer.close();
}

TEST_F(TableWriterTest, RecordOfOtherColumnsIsTakenAfterClose)
{
    const sql::Field more[] = {sql::Field("extra", sql::type_int, sql::flag_primary_key),
                               sql::Field()};
    const sql::Record former = item(7, "Screw");
    EXPECT_TRUE(writer.insert(former));
    run("alter table item add column extra");
    EXPECT_TRUE(items.initTable(db, more));
    writer.close();
    sql::Record record = item(8, "Nail");
    record.setInteger(5, 5);
    EXPECT_TRUE(writer.insert(record));
    EXPECT_EQ("5", cell("select extra from item where id = 8"));
    EXPECT_EQ(7, writer.insertId()) << "none of two keys is the number of the row";
    EXPECT_FALSE(writer.insert(former));
    expectRefused({20, "SQLITE_MISMATCH", "the record has other columns than the table"});
}

TEST_F(TableWriterTest, FewerColumnsAreTakenInAfterClose)
{
    setItem(7, "Screw");
    EXPECT_TRUE(writer.insert());
    const sql::Field fewer[] = {itemFields[0], itemFields[1], sql::Field()};
    items = sql::Table(db, "item", fewer);
    writer.close();
    writer.setInteger(0, 8);
    EXPECT_TRUE(writer.insert());
    EXPECT_EQ("8 'Screw' NULL NULL NULL", row("8"));
}

TEST_F(TableWriterTest, ColumnsOfTheFileMayBeMoreAndInAnotherOrder)
{
    run("drop table item; create table item (more default 'kept', made, active, price, name,"
        " id integer primary key)");
    setItem(7, "Screw");
    EXPECT_TRUE(writer.insert());
    run("update item set more = 'own'");
    setItem(7, "Nail");
    EXPECT_TRUE(writer.upsert());
    EXPECT_EQ("Nail own", cell("select name || ' ' || more from item where id = 7"));
}

TEST_F(TableWriterTest, ColumnThatIsGoneIsAnErrorUntilItIsBack)
{
    if (sqlite3_libversion_number() < 3025000)
        GTEST_SKIP() << "without RENAME COLUMN";
    setItem(7, "Screw");
    EXPECT_TRUE(writer.insert());
    run("alter table item rename column price to cost");
    EXPECT_FALSE(writer.update());
    EXPECT_EQ("1: no such column: price", words(writer.error()));
    run("alter table item rename column cost to price");
    EXPECT_TRUE(writer.update());
    EXPECT_EQ("none", words(writer.error()));
}

TEST_F(TableWriterTest, UpsertLeavesTheRowsThatReferToIt)
{
    run("pragma foreign_keys = on;"
        "create table stock (item references item (id) on delete cascade)");
    run("insert into stock values (1)");
    EXPECT_TRUE(writer.upsert(item(1, "Screw")));
    EXPECT_EQ("1", cell("select count(*) from stock"));
}

// Which row was written

TEST_F(TableWriterTest, InsertIdIsNotThatOfARowThatATriggerAdds)
{
    run("create table log (id integer primary key, text); insert into log (id) values (1000);"
        "create trigger added after insert on item begin insert into log (text) values (1); end;"
        "create trigger changed after update on item begin insert into log (text) values (2); end");
    EXPECT_TRUE(writer.insert(item(7, "a")));
    EXPECT_EQ(7, writer.insertId());
    setItem(0, "b");
    writer.setNull(0);
    EXPECT_TRUE(writer.upsert());
    EXPECT_EQ(8, writer.insertId());
    EXPECT_TRUE(writer.upsert(item(7, "c")));
    EXPECT_EQ(7, writer.insertId());
    EXPECT_EQ("1003", cell("select max(id) from log"));
}

TEST_F(TableWriterTest, InsertIdIsTheKeyOfARowThatIsNotTheNewest)
{
    sql::Record record = item(0, "a");
    for (const char* key : {"1e1", "11.0"}) {
        record.setString("id", key);
        EXPECT_TRUE(writer.insert(record));
    }
    EXPECT_TRUE(writer.insert(item(50, "b")));
    EXPECT_TRUE(writer.upsert(record));
    EXPECT_EQ(11, writer.insertId());
    record.setString("id", "1e1");
    EXPECT_TRUE(writer.upsert(record));
    EXPECT_EQ(10, writer.insertId());
}

TEST_F(TableWriterTest, InsertIdIsNoTextKeyThatIsANumber)
{
    EXPECT_TRUE(partWriter.insert(part("17", 1)));
    EXPECT_EQ(0, partWriter.insertId());
}

TEST_F(TableWriterTest, InsertIdIs0WhenSqliteDoesNotConvertTheKey)
{
    sql::Record record = item(0, "a");
    record.setString("id", "1e1");
    const auto refuse = [](void*, int action, const char*, const char*, const char*, const char*) {
        return action == SQLITE_SELECT ? SQLITE_DENY : SQLITE_OK;
    };
    sqlite3_set_authorizer(db, refuse, nullptr);
    EXPECT_TRUE(writer.insert(record));
    sqlite3_set_authorizer(db, nullptr, nullptr);
    EXPECT_EQ(0, writer.insertId());
    EXPECT_EQ("1 2 10", ids());
}

TEST_F(TableWriterTest, WritersOfOneTableCountForThemselves)
{
    sql::TableWriter second(items);
    EXPECT_TRUE(writer.insert(item(7, "a")));
    EXPECT_TRUE(second.insert(item(8, "b")));
    EXPECT_TRUE(second.erase(9));
    EXPECT_EQ(7, writer.insertId());
    EXPECT_EQ(1, writer.changes());
    EXPECT_EQ(8, second.insertId());
    EXPECT_EQ(0, second.changes());
}

TEST_F(TableWriterTest, KeysReachTheLimitsOf64BitsAndTimesThoseOfThePlatform)
{
    for (const sql::integer limit : {smallest, largest}) {
        const sql::Time time(limit);
        setItem(limit, "Screw");
        writer.setTime(4, time);
        EXPECT_TRUE(writer.insert());
        EXPECT_EQ(limit, writer.insertId());
        EXPECT_TRUE(writer.update());
        EXPECT_EQ(1, writer.changes());
        EXPECT_EQ(std::to_string(time.asInteger()),
                  cell("select made from item where id = " + std::to_string(limit)));
        EXPECT_TRUE(writer.erase(limit));
        EXPECT_EQ(1, writer.changes());
    }
}

} // namespace
