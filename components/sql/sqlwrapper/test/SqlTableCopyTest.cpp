#include "SqlTable.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "support/People.h"
#include "support/Statements.h"
#include "support/World.h"

using namespace sqltest;

namespace
{

const Source source("SqlTable");
const Source record("SqlRecord");

const char* const archiveDefinition =
    "CREATE TABLE archive (id INTEGER PRIMARY KEY, name TEXT NOT NULL, age INTEGER)";
const char* const insertAda = "insert into archive (id, name, age) values (1, 'Ada', 36)";
const char* const insertBob = "insert into archive (id, name, age) values (2, 'Bob', 29)";
const char* const insertCid = "insert into archive (id, name, age) values (3, 'Cid', 41)";

const Refusal noArchive = {1, "SQLITE_ERROR", "no such table: archive"};
const Refusal archiveHasKey = {19, "SQLITE_CONSTRAINT", "UNIQUE constraint failed: archive.id"};

// People are the source, and an archive, which is not there, is the destination.
class TableCopyTest : public PeopleTest
{
protected:
    // What a backup does after it has created the archive: reads, writes, counts.
    static std::string read() { return queried("select * from people", {ada, bob, cid}); }
    static std::string written()
    {
        return together({queried(insertAda), queried(insertBob), queried(insertCid)});
    }
    static std::string countedBoth(int people, int archive)
    {
        return together({
            counted("select count(*) from people", people),
            counted("select count(*) from archive", archive),
        });
    }
    // The keys in the database, such as "1 2 3".
    std::string archived()
    {
        return cell("select group_concat(id, ' ') from (select id from archive order by rowid)");
    }

    sql::Table archive{db, "archive", personFields};
};

// Copying the rows held

class TableCopyRecordsTest : public TableCopyTest
{
protected:
    TableCopyRecordsTest() { run(archiveDefinition); }
};

TEST_F(TableCopyRecordsTest, AddsEachRowHeld)
{
    EXPECT_TRUE(people.open());
    forgetEvents();
    EXPECT_TRUE(archive.copyRecords(people));
    EXPECT_EQ(trace({written()}), takeEvents());
    EXPECT_EQ("1 2 3", archived());
}

TEST_F(TableCopyRecordsTest, CopiesNothingBeforeTheFirstRead)
{
    EXPECT_TRUE(archive.copyRecords(people));
    EXPECT_EQ(trace({}), takeEvents());
    EXPECT_EQ("0", cell("select count(*) from archive"));
}

TEST_F(TableCopyRecordsTest, CopiesNothingAfterReadWithoutRows)
{
    EXPECT_TRUE(people.open("id > 9"));
    forgetEvents();
    EXPECT_TRUE(archive.copyRecords(people));
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(TableCopyRecordsTest, NothingToCopyNeedsNoConnection)
{
    EXPECT_TRUE(sql::Table("archive").copyRecords(people));
    EXPECT_EQ(trace({}), takeEvents());
}

TEST_F(TableCopyRecordsTest, CopiesTheRowsHeldAlone)
{
    EXPECT_TRUE(people.open("id > 1"));
    forgetEvents();
    EXPECT_TRUE(archive.copyRecords(people));
    EXPECT_EQ(trace({queried(insertBob), queried(insertCid)}), takeEvents());
}

TEST_F(TableCopyRecordsTest, CopiesTheRowFetchedByKey)
{
    EXPECT_NE(nullptr, people.getRecordByKeyId(2));
    forgetEvents();
    EXPECT_TRUE(archive.copyRecords(people));
    EXPECT_EQ(trace({queried(insertBob)}), takeEvents());
}

TEST_F(TableCopyRecordsTest, CopiesTheRowsOfAnyQuery)
{
    EXPECT_TRUE(people.query("select 7, 'Eve', null"));
    forgetEvents();
    EXPECT_TRUE(archive.copyRecords(people));
    EXPECT_EQ(trace({queried("insert into archive (id, name, age) values (7, 'Eve', null)")}),
              takeEvents());
}

TEST_F(TableCopyRecordsTest, CopiesInTheOrderHeld)
{
    EXPECT_TRUE(people.open("", "id desc"));
    forgetEvents();
    EXPECT_TRUE(archive.copyRecords(people));
    EXPECT_EQ(trace({queried(insertCid), queried(insertBob), queried(insertAda)}), takeEvents());
}

TEST_F(TableCopyRecordsTest, CopiesCellsAsTheyAreHeld)
{
    EXPECT_TRUE(people.open("id = 1"));
    people.getTopRecord()->setString("name", "O'Neil");
    people.getTopRecord()->setNull("age");
    forgetEvents();
    EXPECT_TRUE(archive.copyRecords(people));
    EXPECT_EQ(trace({queried("insert into archive (id, name, age) values (1, 'O''Neil', null)")}),
              takeEvents());
}

TEST_F(TableCopyRecordsTest, CopiesRowsThatTheDatabaseHasNoMore)
{
    EXPECT_TRUE(people.open());
    run("drop table people");
    EXPECT_TRUE(archive.copyRecords(people));
    EXPECT_EQ("1 2 3", archived());
}

TEST_F(TableCopyRecordsTest, AppendsToWhatIsThere)
{
    run("insert into archive values (9, 'Max', 1)");
    EXPECT_TRUE(people.open());
    EXPECT_TRUE(archive.copyRecords(people));
    EXPECT_EQ("4", cell("select count(*) from archive"));
}

TEST_F(TableCopyRecordsTest, StopsAtTheFirstRowThatFails)
{
    run("insert into archive values (2, 'Max', 1)");
    EXPECT_TRUE(people.open());
    forgetEvents();
    EXPECT_FALSE(archive.copyRecords(people));
    EXPECT_EQ(trace({queried(insertAda), refused(insertBob, archiveHasKey)}), takeEvents());
}

TEST_F(TableCopyRecordsTest, KeepsTheRowsBeforeTheOneThatFails)
{
    run("insert into archive values (2, 'Max', 1)");
    EXPECT_TRUE(people.open());
    EXPECT_FALSE(archive.copyRecords(people));
    EXPECT_EQ("1 2", archived());
}

TEST_F(TableCopyRecordsTest, LeavesTheRowsOfTheSource)
{
    EXPECT_TRUE(people.open());
    const sql::Record* const first = people.getTopRecord();
    EXPECT_TRUE(archive.copyRecords(people));
    EXPECT_EQ("1 2 3", held());
    EXPECT_EQ(first, people.getTopRecord());
}

TEST_F(TableCopyRecordsTest, LeavesTheRowsOfTheDestination)
{
    run("insert into archive values (9, 'Max', 1)");
    EXPECT_TRUE(archive.open());
    EXPECT_TRUE(people.open());
    EXPECT_TRUE(archive.copyRecords(people));
    EXPECT_EQ("9", held(archive));
}

TEST_F(TableCopyRecordsTest, TableCanTakeItsOwnRowsBack)
{
    EXPECT_TRUE(people.open("id > 1"));
    EXPECT_TRUE(people.deleteRecords(""));
    forgetEvents();
    EXPECT_TRUE(people.copyRecords(people));
    EXPECT_EQ(trace({
                  queried("insert into people (id, name, age) values (2, 'Bob', 29)"),
                  queried("insert into people (id, name, age) values (3, 'Cid', 41)"),
              }),
              takeEvents());
    EXPECT_EQ("2 3", held());
    EXPECT_EQ("2", cell("select count(*) from people"));
}

TEST_F(TableCopyRecordsTest, TableCannotTakeItsOwnRowsTwice)
{
    EXPECT_TRUE(people.open());
    forgetEvents();
    EXPECT_FALSE(people.copyRecords(people));
    EXPECT_EQ(trace({refused("insert into people (id, name, age) values (1, 'Ada', 36)",
                             {19, "SQLITE_CONSTRAINT", "UNIQUE constraint failed: people.id"})}),
              takeEvents());
}

TEST_F(TableCopyRecordsTest, GoesFromOneConnectionToAnother)
{
    Connection other(":memory:");
    other.run(archiveDefinition);
    sql::Table elsewhere(other.db, "archive", personFields);
    EXPECT_TRUE(people.open());
    EXPECT_TRUE(elsewhere.copyRecords(people));
    EXPECT_EQ("3", other.cell("select count(*) from archive"));
    EXPECT_EQ("0", cell("select count(*) from archive"));
}

TEST_F(TableCopyRecordsTest, RowsBringTheColumnsOfTheSource)
{
    run("alter table archive add column mail text");
    const sql::Field fields[] = {
        sql::Field("id", sql::type_int, sql::flag_primary_key),
        sql::Field("mail", sql::type_text, 0),
        sql::Field(),
    };
    sql::Table other(db, "archive", fields);
    EXPECT_TRUE(people.open("id = 1"));
    forgetEvents();
    EXPECT_TRUE(other.copyRecords(people));
    EXPECT_EQ(trace({queried(insertAda)}), takeEvents());
}

TEST_F(TableCopyRecordsTest, ColumnThatTheDestinationHasNotIsRefused)
{
    run("drop table archive; create table archive (id integer primary key, name text)");
    EXPECT_TRUE(people.open());
    forgetEvents();
    EXPECT_FALSE(archive.copyRecords(people));
    EXPECT_EQ(
        trace({refused(insertAda, {1, "SQLITE_ERROR", "table archive has no column named age"})}),
        takeEvents());
}

TEST_F(TableCopyRecordsTest, RowThatCannotBeRenderedIsReportedForTheDestination)
{
    sql::Table bare(db, "people", noFields);
    EXPECT_TRUE(bare.open("id = 1"));
    forgetEvents();
    EXPECT_FALSE(archive.copyRecords(bare));
    EXPECT_EQ(
        trace({
            record.error("toSqlInsert", "No fields to insert in table '%s'", "archive"),
            record.asserted("false", "sql::string sql::Record::toSqlInsert(const string&) const"),
            source.error("addRecord", "Failed to build SQL INSERT statement for table '%s'",
                         "archive"),
        }),
        takeEvents());
}

TEST_F(TableCopyRecordsTest, MissingConnectionIsReportedByTheFirstStatement)
{
    EXPECT_TRUE(people.open());
    forgetEvents();
    EXPECT_FALSE(sql::Table("archive").copyRecords(people));
    EXPECT_EQ(trace({notConnected()}), takeEvents());
}

// Backing a table up

class TableBackupTest : public TableCopyTest
{
};

TEST_F(TableBackupTest, CreatesReadsAddsAndCounts)
{
    EXPECT_TRUE(archive.backup(people));
    EXPECT_EQ(trace({
                  missed("archive"),
                  missed("archive"),
                  queried(archiveDefinition),
                  read(),
                  written(),
                  countedBoth(3, 3),
              }),
              takeEvents());
    EXPECT_EQ("1 2 3", archived());
}

TEST_F(TableBackupTest, DropsWhatWasThereFirst)
{
    run("create table archive (nickname text); insert into archive values ('Max')");
    EXPECT_TRUE(archive.backup(people));
    EXPECT_EQ(trace({
                  found("archive"),
                  queried("drop table archive"),
                  missed("archive"),
                  queried(archiveDefinition),
                  read(),
                  written(),
                  countedBoth(3, 3),
              }),
              takeEvents());
    EXPECT_EQ("1 2 3", archived());
}

TEST_F(TableBackupTest, EmptySourceGivesAnEmptyTable)
{
    run("delete from people");
    EXPECT_TRUE(archive.backup(people));
    EXPECT_EQ(trace({
                  missed("archive"),
                  missed("archive"),
                  queried(archiveDefinition),
                  queried("select * from people"),
                  countedBoth(0, 0),
              }),
              takeEvents());
    EXPECT_EQ("0", cell("select count(*) from archive"));
}

TEST_F(TableBackupTest, TableIsCreatedFromItsOwnColumns)
{
    run("alter table people add column mail text");
    EXPECT_TRUE(archive.backup(people));
    EXPECT_EQ(archiveDefinition, cell("select sql from sqlite_master where name = 'archive'"));
}

TEST_F(TableBackupTest, EveryRowIsCopiedWhateverTheSourceHeld)
{
    hold();
    EXPECT_TRUE(archive.backup(people));
    EXPECT_EQ("1 2 3", archived());
}

TEST_F(TableBackupTest, SourceHoldsEveryRowAfterwards)
{
    hold();
    EXPECT_TRUE(archive.backup(people));
    EXPECT_EQ("1 2 3", held());
}

TEST_F(TableBackupTest, DestinationHoldsNoRowAfterwards)
{
    run("create table archive (id, name, age); insert into archive values (9, 'Max', 1)");
    EXPECT_TRUE(archive.open());
    EXPECT_TRUE(archive.backup(people));
    EXPECT_EQ(0, archive.recordCount());
}

TEST_F(TableBackupTest, GoesFromOneConnectionToAnother)
{
    Connection other(":memory:");
    sql::Table elsewhere(other.db, "archive", personFields);
    EXPECT_TRUE(elsewhere.backup(people));
    EXPECT_EQ("3", other.cell("select count(*) from archive"));
    EXPECT_EQ("(none)", cell("select name from sqlite_master where name = 'archive'"));
}

TEST_F(TableBackupTest, CanBeRepeated)
{
    EXPECT_TRUE(archive.backup(people));
    run("delete from people where id = 2");
    EXPECT_TRUE(archive.backup(people));
    EXPECT_EQ("1 3", archived());
}

TEST_F(TableBackupTest, OntoItselfEmptiesTheTable)
{
    EXPECT_TRUE(people.backup(people));
    EXPECT_EQ(trace({
                  found("people"),
                  queried("drop table people"),
                  missed("people"),
                  queried("CREATE TABLE people (id INTEGER PRIMARY KEY, name TEXT NOT NULL, age "
                          "INTEGER)"),
                  queried("select * from people"),
                  counted("select count(*) from people", 0),
                  counted("select count(*) from people", 0),
              }),
              takeEvents());
}

// What stops a backup

class TableBackupFailureTest : public TableCopyTest
{
};

TEST_F(TableBackupFailureTest, SourceThatIsNotThereFailsAfterTheTableIsCreated)
{
    run("create table archive (nickname text); insert into archive values ('Max')");
    sql::Table pets(db, "pets", personFields);
    EXPECT_FALSE(archive.backup(pets));
    EXPECT_EQ(trace({
                  found("archive"),
                  queried("drop table archive"),
                  missed("archive"),
                  queried(archiveDefinition),
                  refused("select * from pets", {1, "SQLITE_ERROR", "no such table: pets"}),
              }),
              takeEvents());
    EXPECT_EQ("0", cell("select count(*) from archive"));
    EXPECT_EQ(archiveDefinition, cell("select sql from sqlite_master where name = 'archive'"));
}

TEST_F(TableBackupFailureTest, SourceThatFailsMidwayIsNotCopied)
{
    run("create view worn as select id, name, case id when 3 then abs(-9223372036854775808) else age end as age "
        "from people");
    sql::Table worn(db, "worn", personFields);
    EXPECT_FALSE(archive.backup(worn));
    EXPECT_EQ(2, worn.recordCount());
    EXPECT_EQ(
        trace({
            missed("archive"),
            missed("archive"),
            queried(archiveDefinition),
            refused("select * from worn", {1, "SQLITE_ERROR", "integer overflow"}, {ada, bob}),
        }),
        takeEvents());
    EXPECT_EQ("0", cell("select count(*) from archive"));
}

TEST_F(TableBackupFailureTest, SourceWithoutConnectionFailsAfterTheTableIsCreated)
{
    sql::Table unconnected(nullptr, "people", personFields);
    EXPECT_FALSE(archive.backup(unconnected));
    EXPECT_EQ(trace({
                  missed("archive"),
                  missed("archive"),
                  queried(archiveDefinition),
                  notConnected(),
              }),
              takeEvents());
}

TEST_F(TableBackupFailureTest, DestinationWithoutConnectionFailsBeforeTheSourceIsRead)
{
    sql::Table unconnected(nullptr, "archive", personFields);
    EXPECT_FALSE(unconnected.backup(people));
    EXPECT_EQ(trace({
                  source.asserted("_db", "bool sql::Table::exists()"),
                  source.asserted("_db", "bool sql::Table::exists()"),
                  notConnected(),
              }),
              takeEvents());
}

TEST_F(TableBackupFailureTest, DestinationWithoutColumnsIsDroppedAllTheSame)
{
    run(archiveDefinition);
    sql::Table bare(db, "archive", noFields);
    const char* const text = "Failed to build SQL CREATE TABLE stmt for table %s";
    EXPECT_FALSE(bare.backup(people));
    EXPECT_EQ(trace({
                  found("archive"),
                  queried("drop table archive"),
                  missed("archive"),
                  source.error("getDefinition", text, "archive"),
                  source.asserted("false", "sql::string sql::Table::getDefinition() const"),
                  source.error("create", text, "archive"),
                  source.asserted("false", "bool sql::Table::create()"),
              }),
              takeEvents());
}

TEST_F(TableBackupFailureTest, RowThatCannotBeAddedStopsTheCopy)
{
    run("drop table people; create table people (id, name, age);"
        "insert into people values (1, 'Ada', 36), (1, 'Eve', 1), (3, 'Cid', 41)");
    EXPECT_FALSE(archive.backup(people));
    EXPECT_EQ(
        trace({
            missed("archive"),
            missed("archive"),
            queried(archiveDefinition),
            queried("select * from people", {ada, "id = 1|name = Eve|age = 1", cid}),
            queried(insertAda),
            refused("insert into archive (id, name, age) values (1, 'Eve', 1)", archiveHasKey),
        }),
        takeEvents());
    EXPECT_EQ("1", archived());
}

TEST_F(TableBackupFailureTest, FailedExistenceTestLeadsToRemovalAndToNoCreation)
{
    run(archiveDefinition);
    const CountsRefused counts(db);
    EXPECT_FALSE(archive.backup(people));
    EXPECT_EQ(trace({
                  undetermined("archive", CountsRefused::refusal),
                  queried("drop table archive"),
                  undetermined("archive", CountsRefused::refusal),
                  read(),
                  refused(insertAda, noArchive),
              }),
              takeEvents());
}

TEST_F(TableBackupFailureTest, RemovalThatFailsIsIgnored)
{
    const CountsRefused counts(db);
    EXPECT_FALSE(archive.backup(people));
    EXPECT_EQ(trace({
                  undetermined("archive", CountsRefused::refusal),
                  refused("drop table archive", noArchive),
                  undetermined("archive", CountsRefused::refusal),
                  read(),
                  refused(insertAda, noArchive),
              }),
              takeEvents());
}

TEST_F(TableBackupFailureTest, TwoFailedCountsAreEqual)
{
    run("delete from people");
    const CountsRefused counts(db);
    EXPECT_TRUE(archive.backup(people));
    EXPECT_EQ(trace({
                  undetermined("archive", CountsRefused::refusal),
                  refused("drop table archive", noArchive),
                  undetermined("archive", CountsRefused::refusal),
                  queried("select * from people"),
                  uncounted("select count(*) from people", CountsRefused::refusal),
                  uncounted("select count(*) from archive", noArchive),
              }),
              takeEvents());
}

// A statement in progress keeps SQLite from dropping any table of the connection.
class TableBackupWhileReadingTest : public TableCopyTest
{
protected:
    TableBackupWhileReadingTest()
    {
        run(archiveDefinition);
        Unrecorded setup;
        EXPECT_EQ(SQLITE_OK, sqlite3_prepare_v2(db, "select id from people", -1, &reader, nullptr));
        EXPECT_EQ(SQLITE_ROW, sqlite3_step(reader));
    }
    ~TableBackupWhileReadingTest() override
    {
        Unrecorded teardown;
        EXPECT_EQ(SQLITE_OK, sqlite3_finalize(reader));
    }

    static std::string kept()
    {
        return together({
            found("archive"),
            refused("drop table archive", {6, "SQLITE_LOCKED", "database table is locked"}),
            found("archive"),
        });
    }

    sqlite3_stmt* reader = nullptr;
};

TEST_F(TableBackupWhileReadingTest, FillsTableThatCouldNotBeDropped)
{
    EXPECT_TRUE(archive.backup(people));
    EXPECT_EQ(trace({kept(), read(), written(), countedBoth(3, 3)}), takeEvents());
}

TEST_F(TableBackupWhileReadingTest, RowsThatCouldNotBeDroppedMakeTheCountsDiffer)
{
    run("insert into archive values (9, 'Max', 1)");
    EXPECT_FALSE(archive.backup(people));
    EXPECT_EQ(trace({kept(), read(), written(), countedBoth(3, 4)}), takeEvents());
}

// Another connection writes at the moment when the backup starts one of its statements.
class TableBackupWithWriterTest : public Test
{
protected:
    TableBackupWithWriterTest()
    {
        writer.run("create table people (id integer primary key, name text, age integer);"
                   "insert into people values (1, 'Ada', 36)");
    }

    void writeAt(const char* stmt, const char* what)
    {
        _stmt = stmt;
        _what = what;
        const auto writeOnce = [](void* test, const char* text) {
            auto& self = *static_cast<TableBackupWithWriterTest*>(test);
            if (self._stmt == text)
                self.writer.run(self._what);
        };
        sqlite3_trace(connection.db, writeOnce, this); // which every SQLite has
    }
    static std::string throughCopy()
    {
        return together({
            missed("archive"),
            missed("archive"),
            queried(archiveDefinition),
            queried("select * from people", {ada}),
            queried(insertAda),
        });
    }

    const TemporaryFile file;
    Connection connection{file.path};
    Connection writer{file.path};
    sql::Table people{connection.db, "people", personFields};
    sql::Table archive{connection.db, "archive", personFields};

private:
    std::string _stmt;
    std::string _what;
};

TEST_F(TableBackupWithWriterTest, RowAddedToTheSourceMakesTheCountsDiffer)
{
    writeAt("select count(*) from people", "insert into people values (2, 'Bob', 29)");
    EXPECT_FALSE(archive.backup(people));
    EXPECT_EQ(trace({
                  throughCopy(),
                  counted("select count(*) from people", 2),
                  counted("select count(*) from archive", 1),
              }),
              takeEvents());
}

TEST_F(TableBackupWithWriterTest, RowAddedToTheDestinationMakesTheCountsDiffer)
{
    writeAt("select count(*) from people", "insert into archive values (2, 'Bob', 29)");
    EXPECT_FALSE(archive.backup(people));
    EXPECT_EQ(trace({
                  throughCopy(),
                  counted("select count(*) from people", 1),
                  counted("select count(*) from archive", 2),
              }),
              takeEvents());
}

TEST_F(TableBackupWithWriterTest, RowAddedBetweenTheCountsMissesTheFirst)
{
    writeAt("select count(*) from archive",
            "insert into people values (2, 'Bob', 29); insert into archive values (2, 'Bob', 29)");
    EXPECT_FALSE(archive.backup(people));
    EXPECT_EQ(trace({
                  throughCopy(),
                  counted("select count(*) from people", 1),
                  counted("select count(*) from archive", 2),
              }),
              takeEvents());
}

TEST_F(TableBackupWithWriterTest, RowAddedToBothBeforeTheCountsIsNotNoticed)
{
    writeAt("select count(*) from people",
            "insert into people values (2, 'Bob', 29); insert into archive values (2, 'Bob', 29)");
    EXPECT_TRUE(archive.backup(people));
}

TEST_F(TableBackupWithWriterTest, WritesAreNotHeldTogetherByTransaction)
{
    writeAt(insertAda, "insert into archive values (9, 'Max', 1)");
    EXPECT_FALSE(archive.backup(people));
    EXPECT_EQ("2", writer.cell("select count(*) from archive"));
}

} // namespace
