// An upsert is one statement, or two where SQLite is older.

#include "SqlTableWriter.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "support/Items.h"

// In place of SQLite's own, so that a test can be one of an older SQLite.
static int versionNumber = SQLITE_VERSION_NUMBER;

extern "C" int sqlite3_libversion_number()
{
    return versionNumber;
}

using namespace sqltest;

namespace
{

class UpsertTest : public TableWriterTest, public ::testing::WithParamInterface<bool>
{
protected:
    UpsertTest()
    {
        if (GetParam())
            versionNumber = 3023001;
    }
    ~UpsertTest() override { versionNumber = SQLITE_VERSION_NUMBER; }
    bool isOld() const { return GetParam(); }
};

TEST_P(UpsertTest, AddsARowThatIsNotThere)
{
    EXPECT_TRUE(writer.upsert(item(7, "Screw")));
    EXPECT_EQ("7 'Screw' NULL NULL NULL", row("7"));
    EXPECT_EQ(1, writer.changes());
    EXPECT_EQ(7, writer.insertId());
    EXPECT_EQ("", takeDiagnostics());
}

TEST_P(UpsertTest, UpdatesARowThatIsThere)
{
    EXPECT_TRUE(writer.insert(item(7, "Screw")));
    EXPECT_TRUE(writer.upsert(item(2, "Washer")));
    EXPECT_EQ("2 'Washer' NULL NULL NULL", row("2"));
    EXPECT_EQ(1, writer.changes());
    EXPECT_EQ(2, writer.insertId());
    EXPECT_EQ("1 2 7", ids());
}

TEST_P(UpsertTest, GivesANumberToANullKey)
{
    writer.setString("name", "Screw");
    EXPECT_TRUE(writer.upsert());
    EXPECT_EQ(3, writer.insertId());
    EXPECT_TRUE(writer.upsert());
    EXPECT_EQ(4, writer.insertId());
    EXPECT_EQ("1 2 3 4", ids());
}

TEST_P(UpsertTest, TakesATextKeyWhateverItHolds)
{
    for (const char* code : {"A-17", "code", "3/4\"", "1 or 1=1", "it's", ""}) {
        EXPECT_TRUE(partWriter.upsert(part(code, 1))) << code;
        EXPECT_TRUE(partWriter.upsert(part(code, 2))) << code;
    }
    EXPECT_EQ("=2 1 or 1=1=2 3/4\"=2 A-17=2 code=2 it's=2", partRows());
    EXPECT_EQ(0, partWriter.insertId());
}

TEST_P(UpsertTest, LeavesNoTransaction)
{
    EXPECT_TRUE(writer.upsert(item(7, "Screw")));
    EXPECT_NE(0, sqlite3_get_autocommit(db));
    sql::Record nameless = item(8, "");
    nameless.setNull("name");
    EXPECT_FALSE(writer.upsert(nameless));
    EXPECT_NE(0, sqlite3_get_autocommit(db));
    EXPECT_EQ("1299: NOT NULL constraint failed: item.name", words(writer.error()));
    EXPECT_EQ(0, writer.changes());
    EXPECT_EQ(7, writer.insertId());
}

TEST_P(UpsertTest, BelongsToTheTransactionAroundIt)
{
    run("begin");
    EXPECT_TRUE(writer.upsert(item(7, "Screw")));
    EXPECT_TRUE(writer.upsert(item(1, "Screw")));
    EXPECT_EQ(0, sqlite3_get_autocommit(db));
    run("rollback");
    EXPECT_EQ("1 2", ids());
    EXPECT_EQ("1 'Bolt' NULL NULL NULL", row("1"));
}

TEST_P(UpsertTest, OtherUniqueColumnsAreNotOverwritten)
{
    run("create unique index names on item(name)");
    EXPECT_FALSE(writer.upsert(item(7, "Nut")));
    EXPECT_EQ("2067: UNIQUE constraint failed: item.name", words(writer.error()));
    EXPECT_EQ("1 2", ids());
}

TEST_P(UpsertTest, ChangesTableOfKeysAlone)
{
    run("create table key (id INTEGER PRIMARY KEY)");
    const sql::Field fields[] = {itemFields[0], sql::Field()};
    sql::Table keys(db, "key", fields);
    sql::TableWriter keyWriter(keys);
    keyWriter.setInteger(0, 5);
    EXPECT_TRUE(keyWriter.update());
    EXPECT_EQ(0, keyWriter.changes());
    EXPECT_TRUE(keyWriter.upsert());
    EXPECT_EQ(1, keyWriter.changes());
    EXPECT_TRUE(keyWriter.upsert());
    EXPECT_EQ(1, keyWriter.changes());
    EXPECT_TRUE(keyWriter.update());
    EXPECT_EQ(1, keyWriter.changes());
    EXPECT_EQ("1", cell("select count(*) from key"));
}

INSTANTIATE_TEST_SUITE_P(InOneStatementAndInTwo, UpsertTest, ::testing::Bool());

class BusyUpsertTest : public FileTest, public ::testing::WithParamInterface<bool>
{
protected:
    BusyUpsertTest()
    {
        mine.run("create table item (id INTEGER PRIMARY KEY, name TEXT NOT NULL, price REAL, "
                 "active INTEGER, made INTEGER)");
        if (GetParam())
            versionNumber = 3007015;
    }
    ~BusyUpsertTest() override { versionNumber = SQLITE_VERSION_NUMBER; }
};

TEST_P(BusyUpsertTest, LeavesTheWriterUsable)
{
    sql::Table items(mine.db, "item", itemFields);
    sql::TableWriter writer(items);
    writer.setInteger(0, 1);
    writer.setString(1, "Bolt");
    EXPECT_TRUE(writer.upsert());
    for (const char* lock : {"begin immediate", "begin; select * from item"}) {
        other.run(lock);
        writer.setInteger(0, 2);
        EXPECT_FALSE(writer.upsert());
        EXPECT_EQ("5: database is locked", words(writer.error()));
        EXPECT_EQ(0, writer.changes());
        EXPECT_EQ(1, writer.insertId());
        EXPECT_NE(0, sqlite3_get_autocommit(mine.db));
        other.run("commit");
    }
    EXPECT_EQ("1", other.cell("select count(*) from item"));
    EXPECT_TRUE(writer.upsert());
    EXPECT_EQ("2", other.cell("select count(*) from item"));
}

INSTANTIATE_TEST_SUITE_P(InOneStatementAndInTwo, BusyUpsertTest, ::testing::Bool());

// In the statements that its version knows

const char* const updateItem = "update item set name=?2, price=?3, active=?4, made=?5 where id=?1";

class UpsertVersionTest : public TableWriterTest
{
protected:
    ~UpsertVersionTest() override { versionNumber = SQLITE_VERSION_NUMBER; }

    std::string statementsOf(int version)
    {
        versionNumber = version;
        writer.close();
        setTraceLevel(8);
        EXPECT_TRUE(writer.upsert(item(7, "Screw")));
        setTraceLevel(3);
        return takeDiagnostics();
    }
};

TEST_F(UpsertVersionTest, IsATransactionOfTwoStatementsBefore324)
{
    const std::string transaction =
        together({prepared("COMMIT TRANSACTION"), prepared("ROLLBACK TRANSACTION"),
                  prepared("BEGIN IMMEDIATE TRANSACTION")});
    EXPECT_EQ(trace({transaction, prepared(updateItem), prepared(insertItem)}),
              statementsOf(3023999));
    EXPECT_EQ(trace({transaction, prepared(updateItem)}), statementsOf(3007015));
}

TEST_F(UpsertVersionTest, IsOneStatementFrom324On)
{
    if (sqlite3_libversion_number() < 3024000)
        GTEST_SKIP() << "without ON CONFLICT";
    const std::string upsertItem = std::string(insertItem) +
                                   " on conflict(id) do update set "
                                   "name=?2, price=?3, active=?4, made=?5";
    EXPECT_EQ(trace({prepared(upsertItem)}), statementsOf(3024000));
}

TEST_F(UpsertVersionTest, BeginsNothingWithinATransaction)
{
    run("begin");
    EXPECT_EQ(trace({prepared(updateItem), prepared(insertItem)}), statementsOf(3023999));
    run("commit");
}

TEST_F(UpsertVersionTest, WritesNothingWhenItCannotBegin)
{
    versionNumber = 3023999;
    const auto refuse = [](void*, int action, const char*, const char*, const char*, const char*) {
        return action == SQLITE_TRANSACTION ? SQLITE_DENY : SQLITE_OK;
    };
    sqlite3_set_authorizer(db, refuse, nullptr);
    EXPECT_FALSE(writer.upsert(item(7, "Screw")));
    sqlite3_set_authorizer(db, nullptr, nullptr);
    EXPECT_EQ("23: not authorized", words(writer.error()));
    EXPECT_EQ(0, writer.changes());
    EXPECT_EQ("1 2", ids());
}

TEST_F(UpsertVersionTest, ReportsANullConnectionOnce)
{
    versionNumber = 3023999;
    sql::Table unconnected(nullptr, "item", itemFields);
    sql::TableWriter nowhere(unconnected);
    EXPECT_FALSE(nowhere.upsert());
    EXPECT_EQ("21: no connection", words(nowhere.error()));
    EXPECT_EQ(trace({notPrepared()}), takeDiagnostics());
}

} // namespace
