#include <cstdio>

#include <gtest/gtest.h>

#include "Locks.h"

bool fill(sql::Database& database);
bool copyFile(sql::Database& database, const std::string& file);
bool copyTable(sql::Database& database, const std::string& file);
bool bringTableBack(sql::Database& database, const std::string& file);
bool copyRecords(sql::Database& database, sql::Database& copy);
bool replaceFile(const std::string& copy, const std::string& file, const std::string& folder);

namespace
{

const char source[] = "locks-source.db";
const char destination[] = "locks-destination.db";

class CopyAndBackupGuide : public testing::Test
{
protected:
    bool make()
    {
        _database.close();
        _copy.close();
        for (const char* file : {source, destination})
            removeDatabase(file);
        return open(_database, source) && fill(_database) && open(_copy, destination) &&
               sql::RecordSet(_copy.getHandle())
                   .query(
                       "create table route (id INTEGER PRIMARY KEY, name TEXT NOT NULL, km REAL);"
                       "insert into route values (9, 'old', 0)");
    }
    static bool open(sql::Database& database, const char* file)
    {
        return database.open(file, sql::Database::read_write_create, false, 0);
    }

    // That of the source has the rows 1 and 2; that of the destination, one that is old.
    static bool hasRows(const char* file, bool areNew)
    {
        return numberIn(file, "select group_concat(id) = '1,2' from route") == (areNew ? 1 : 0);
    }

    Work work()
    {
        Work work;
        work.files = {source, destination};
        work.databases = {&_database, &_copy};
        work.prepare = [this] { return make(); };
        work.isDone = [] { return hasRows(destination, true); };
        return work;
    }

    sql::Database _database;
    sql::Database _copy;
};

} // namespace

TEST_F(CopyAndBackupGuide, CopiesATableAllOrNothingUnderLocks)
{
    Work copying = work();
    copying.run = [this] { return copyTable(_database, destination); };
    EXPECT_LT(10, runWithLocks(copying));
}

TEST_F(CopyAndBackupGuide, BringsATableBackAllOrNothingUnderLocks)
{
    Work restoring = work();
    restoring.run = [this] { return bringTableBack(_database, destination); };
    restoring.isDone = [] { return hasRows(source, false); };
    EXPECT_LT(10, runWithLocks(restoring));
}

TEST_F(CopyAndBackupGuide, CopiesRecordsAllOrNothingUnderLocks)
{
    Work copying = work();
    copying.run = [this] { return copyRecords(_database, _copy); };
    EXPECT_LT(10, runWithLocks(copying));
}

TEST_F(CopyAndBackupGuide, CopiesAFileUnderLocks)
{
    Work copying = work();
    copying.files = {source};
    copying.prepare = [this] {
        const bool made = make();
        _copy.close();
        removeDatabase(destination);
        return made;
    };
    copying.databases = {&_database};
    copying.run = [this] { return copyFile(_database, destination); };
    copying.isDone = [] {
        return numberIn(destination, "select count(*) from sqlite_master") == 1 &&
               hasRows(destination, true);
    };
    EXPECT_LT(0, runWithLocks(copying));
}

TEST_F(CopyAndBackupGuide, DoesNotReplaceAFileThatIsInUse)
{
    for (const char* use : {"BEGIN; select count(*) from route", "BEGIN IMMEDIATE"}) {
        ASSERT_TRUE(make());
        ASSERT_TRUE(sql::RecordSet(_database.getHandle()).query(use));
        _copy.close();
        EXPECT_FALSE(replaceFile(destination, source, ".")) << use;
        EXPECT_TRUE(_database.transactionRollback());
        EXPECT_TRUE(hasRows(source, true));
        EXPECT_TRUE(replaceFile(destination, source, "."));
        EXPECT_TRUE(hasRows(source, false));
    }
}

TEST_F(CopyAndBackupGuide, DoesNotReplaceAFileWithAWriteAheadLogThatIsOpen)
{
    ASSERT_TRUE(make());
    _copy.close();
    ASSERT_TRUE(sql::RecordSet(_database.getHandle())
                    .query("PRAGMA journal_mode = WAL; select count(*) from route"));
    EXPECT_FALSE(replaceFile(destination, source, "."));
    _database.close();
    EXPECT_TRUE(replaceFile(destination, source, "."));
}

TEST_F(CopyAndBackupGuide, ReplacesAFileWhoseJournalModeLeavesAJournal)
{
    for (const char* mode : {"TRUNCATE", "PERSIST"}) {
        ASSERT_TRUE(make());
        _copy.close();
        ASSERT_TRUE(sql::RecordSet(_database.getHandle())
                        .query("PRAGMA journal_mode = " + std::string(mode) +
                               "; delete from route where id = 1"));
        _database.close();
        std::FILE* journal = std::fopen((source + std::string("-journal")).c_str(), "r");
        ASSERT_TRUE(journal) << mode;
        std::fclose(journal);
        EXPECT_TRUE(replaceFile(destination, source, ".")) << mode;
        EXPECT_TRUE(hasRows(source, false));
    }
}

TEST_F(CopyAndBackupGuide, DoesNotPutACopyBesideAForeignJournal)
{
    ASSERT_TRUE(make());
    _copy.close();
    _database.close();
    for (const char* suffix : {"-journal", "-wal"}) {
        std::remove(source);
        const std::string journal = source + std::string(suffix);
        std::fclose(std::fopen(journal.c_str(), "w"));
        EXPECT_FALSE(replaceFile(destination, source, ".")) << suffix;
        std::remove(journal.c_str());
    }
    EXPECT_TRUE(replaceFile(destination, source, "."));
}
