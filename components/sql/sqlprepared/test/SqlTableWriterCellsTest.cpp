#include "SqlTableWriter.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "support/Items.h"

using namespace sqltest;

namespace
{

// Cells

TEST_F(TableWriterTest, CellsAreSetByColumnAndByName)
{
    writer.setInteger(0, 7);
    writer.setString(1, "Screw");
    writer.setDouble(2, 1.0 / 3);
    writer.setBool(3, true);
    writer.setTime(4, sql::Time(1000));
    EXPECT_TRUE(writer.insert());
    EXPECT_EQ("7 'Screw' 1 1 1000",
              cell("select id || ' ' || quote(name) || ' ' || (price = 1.0/3) || "
                   "' ' || active || ' ' || made from item where id = 7"));
    writer.setInteger("id", 8);
    writer.setString("name", "Nail");
    writer.setDouble("price", -0.5);
    writer.setBool("active", false);
    writer.setTime("made", sql::Time(-1));
    EXPECT_TRUE(writer.insert());
    EXPECT_EQ("8 'Nail' -0.5 0 -1", row("8"));
    writer.setInteger("id", 9);
    writer.setNull(2);
    writer.setNull("made");
    EXPECT_TRUE(writer.insert());
    EXPECT_EQ("9 'Nail' NULL 0 NULL", row("9"));
}

TEST_F(TableWriterTest, CellsAreNullAtFirstAndStaySet)
{
    EXPECT_FALSE(writer.insert());
    EXPECT_EQ("1299: NOT NULL constraint failed: item.name", words(writer.error()));
    writer.setString("name", "Screw");
    EXPECT_TRUE(writer.insert());
    EXPECT_TRUE(writer.insert());
    EXPECT_EQ("3 'Screw' NULL NULL NULL", row("3"));
    EXPECT_EQ("4 'Screw' NULL NULL NULL", row("4"));
}

TEST_F(TableWriterTest, HasNoCellsAndNoIdInTheMemoryOfAnother)
{
    alignas(sql::TableWriter) unsigned char memory[sizeof(sql::TableWriter)];
    for (const int id : {7, 8}) {
        sql::TableWriter* const fresh = new (memory) sql::TableWriter(items);
        EXPECT_EQ(0, fresh->insertId());
        EXPECT_EQ(0, fresh->changes());
        fresh->setInteger(0, id);
        fresh->setString(1, "Screw");
        EXPECT_TRUE(fresh->insert());
        EXPECT_EQ(id, fresh->insertId());
        fresh->setInteger(99, 0); // which the next write would report
        fresh->~TableWriter();
    }
}

TEST_F(TableWriterTest, ClearMakesEveryCellNull)
{
    setItem(7, "Screw");
    writer.setDouble(2, 1);
    writer.clear();
    writer.setString(1, "Nail");
    EXPECT_TRUE(writer.insert());
    EXPECT_EQ("3 'Nail' NULL NULL NULL", row("3"));
}

TEST_F(TableWriterTest, CellsUpdateAndErase)
{
    setItem(2, "Washer");
    EXPECT_TRUE(writer.update());
    EXPECT_EQ("2 'Washer' NULL NULL NULL", row("2"));
    EXPECT_TRUE(writer.erase(2));
    EXPECT_EQ(1, writer.changes());
    EXPECT_EQ("1", ids());
    EXPECT_TRUE(writer.erase(2));
    EXPECT_EQ(0, writer.changes());
}

TEST_F(TableWriterTest, TextsAreStoredWholeWithNulBytes)
{
    setItem(7, std::string("a\0b\0", 4));
    EXPECT_TRUE(writer.insert());
    EXPECT_EQ("61006200", cell("select hex(name) from item where id = 7"));
    EXPECT_TRUE(writer.insert(item(8, std::string("\0", 1))));
    EXPECT_EQ("00", cell("select hex(name) from item where id = 8"));
}

TEST_F(TableWriterTest, TextOfACellInANumberColumnIsStoredAsSqliteDoes)
{
    setItem(7, "Screw");
    writer.setString("price", "2.50");
    EXPECT_TRUE(writer.insert());
    EXPECT_EQ("7 'Screw' 2.5 NULL NULL", row("7"));
    setItem(8, "Screw");
    writer.setString("price", "cheap");
    EXPECT_TRUE(writer.insert());
    EXPECT_EQ("8 'Screw' 'cheap' NULL NULL", row("8"));
}

TEST_F(TableWriterTest, ColumnIsFoundByName)
{
    EXPECT_EQ(0, writer.column("id"));
    EXPECT_EQ(4, writer.column("made"));
    EXPECT_EQ(-1, writer.column("Made"));
    EXPECT_EQ(-1, writer.column(""));
    EXPECT_EQ("", takeDiagnostics());
}

TEST_F(TableWriterTest, ColumnThatIsNotThereFailsTheNextWriteOfTheCells)
{
    const Refusal range = {25, "SQLITE_RANGE", "a cell was set of a column that is not there"};
    setItem(7, "Screw");
    for (int column : {5, -1, 1000}) {
        writer.setInteger(column, 1);
        EXPECT_FALSE(writer.insert());
        expectRefused(range);
    }
    writer.setNull("none");
    EXPECT_FALSE(writer.update());
    expectRefused(range);
    writer.setString(9, "none");
    EXPECT_FALSE(writer.upsert());
    expectRefused(range);
    writer.setDouble("none", 1);
    EXPECT_TRUE(writer.insert(item(8, "Record")));
    EXPECT_TRUE(writer.erase(8));
    EXPECT_FALSE(writer.insert());
    expectRefused(range);
    EXPECT_TRUE(writer.insert());
    EXPECT_EQ("1 2 7", ids());
    writer.setBool("none", true);
    writer.clear();
    setItem(8, "Nail");
    EXPECT_TRUE(writer.insert());
}

TEST_F(TableWriterTest, TextsBeyondTheLimitOfTheConnectionAreRefused)
{
    const std::string longText(101, 'x');
    EXPECT_TRUE(partWriter.erase("none")); // statements that are compiled have no limit
    EXPECT_TRUE(writer.update(item(9, "none")));
    sqlite3_limit(db, SQLITE_LIMIT_LENGTH, 100);
    EXPECT_FALSE(writer.update(item(1, longText)));
    expectRefused({18, "SQLITE_TOOBIG", "string or blob too big"});
    EXPECT_FALSE(partWriter.erase(longText));
    EXPECT_EQ("18: string or blob too big", words(partWriter.error()));
    EXPECT_EQ(0, partWriter.changes());
    EXPECT_TRUE(writer.update(item(1, "Screw")));
    EXPECT_EQ("none", words(writer.error()));
}

TEST_F(TableWriterTest, NumbersThatSqliteCannotStoreFailEveryWriteOfTheCells)
{
    const double infinity = std::numeric_limits<double>::infinity();
    for (double number : {std::nan(""), infinity, -infinity}) {
        setItem(7, "Screw");
        writer.setDouble("price", number);
        for (int i = 0; i < 2; ++i) {
            EXPECT_FALSE(writer.insert());
            expectRefused({20, "SQLITE_MISMATCH", "SQLite stores neither NaN nor infinities"});
        }
        EXPECT_FALSE(writer.upsert());
        EXPECT_FALSE(writer.update());
        EXPECT_EQ(20, writer.error().code());
        EXPECT_TRUE(writer.insert(item(8, "Record")));
        EXPECT_TRUE(writer.erase(8));
        EXPECT_FALSE(writer.insert());
        writer.setDouble("price", 1);
        EXPECT_TRUE(writer.insert());
        EXPECT_TRUE(writer.erase(7));
        takeEvents();
    }
    writer.setDouble("price", std::nan(""));
    writer.clear();
    setItem(7, "Screw");
    EXPECT_TRUE(writer.insert());
    EXPECT_EQ("7 'Screw' NULL NULL NULL", row("7"));
}

// Numbers of records

class RecordNumberTest : public TableWriterTest
{
};

TEST_F(RecordNumberTest, WhatIsNoDecimalNumberIsRefused)
{
    for (const char* text :
         {"abc", "",      "1e",  "1e+",   "nan", "inf",   "-inf", "2+3", "true", "null", "0x1F",
          " 7",  "7 ",    "'x'", "7)--",  "--7", "+-7",   "- 7",  "+",   "-",    ".",    "e5",
          ".e5", "1_000", "7;",  "1.2.3", "7\n", "1e5.0", "7:",   "0.:", "1e:"}) {
        sql::Record record = item(7, "Screw");
        record.setString("price", text);
        EXPECT_FALSE(writer.insert(record)) << text;
        const std::string error =
            "column price takes one decimal number, not '" + std::string(text) + "'";
        expectRefused({20, "SQLITE_MISMATCH", error.c_str()});
    }
    sql::Record record = item(7, "Screw");
    record.setString("price", std::string("7\0", 2));
    EXPECT_FALSE(writer.insert(record));
    EXPECT_EQ(20, writer.error().code());
    record.setDouble("price", std::nan(""));
    EXPECT_FALSE(writer.insert(record));
    record.setDouble("price", std::numeric_limits<double>::infinity());
    EXPECT_FALSE(writer.insert(record));
    EXPECT_EQ("1 2", ids());
}

TEST_F(RecordNumberTest, EveryNumberColumnRefuses)
{
    for (const char* column : {"id", "price", "active", "made"}) {
        sql::Record record = item(7, "Screw");
        if (std::string(column) == "made") // a time reads any text as a number
            record.initColumnValue(4, "abc", sql::type_text);
        else
            record.setString(column, "abc");
        EXPECT_FALSE(writer.insert(record));
        EXPECT_FALSE(writer.update(record));
        EXPECT_FALSE(writer.upsert(record));
        EXPECT_EQ(20, writer.error().code()) << column;
    }
}

// A column that has no affinity shows what SQLite is given.
TEST_F(RecordNumberTest, NumberOfFewDigitsIsStoredAsOneWhateverTheColumnIs)
{
    run("drop table item; create table item (id integer primary key, name, price, active, made)");
    for (const std::string number : {"7", "-7", "999999999999999999", "0.5", "-0.125", "7.0",
                                     "2.50", "12.1250000", "999999999999.999"}) {
        sql::Record record = item(7, "Screw");
        record.setString("price", number);
        EXPECT_TRUE(writer.upsert(record));
        EXPECT_EQ(
            number.find('.') == std::string::npos ? "integer 1" : "real 1",
            cell("select typeof(price) || ' ' || (price = " + number + ") from item where id = 7"));
    }
}

TEST_F(RecordNumberTest, NumberOfManyDigitsIsConvertedByTheColumn)
{
    run("drop table item; create table item (id integer primary key, name, price, active, made)");
    for (const char* number :
         {"1000000000000000000", "0.1234", "1000000000000.5", "1e3", "7.0e0"}) {
        sql::Record record = item(7, "Screw");
        record.setString("price", number);
        EXPECT_TRUE(writer.upsert(record));
        EXPECT_EQ(number, cell("select price from item where id = 7"));
        EXPECT_EQ("text", cell("select typeof(price) from item where id = 7"));
    }
}

TEST_F(RecordNumberTest, TimeThatIsNoNumberIs0)
{
    sql::Record record = item(7, "Screw");
    record.setString("made", "abc");
    EXPECT_TRUE(writer.insert(record));
    EXPECT_EQ("7 'Screw' NULL NULL 0", row("7"));
}

} // namespace
