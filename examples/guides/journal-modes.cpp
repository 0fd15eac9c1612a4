// Journal modes: how many bytes a transaction writes to the database and to its journal.

#include <cstdio>
#include <initializer_list>
#include <string>

#include <sqlite3.h>

#include <Sql.h>

#include "Transaction.h"

// All that SQLite writes to files goes through a VFS. This one counts, and passes on to SQLite's
// own.

struct Written
{
    long long database;
    long long journal; // or write-ahead log
};
static Written written = {};
static sqlite3_vfs* systemVfs = nullptr;
static int (*writeOfSystem)(sqlite3_file*, const void*, int, sqlite3_int64) = nullptr;

static int writeDatabase(sqlite3_file* file, const void* data, int size, sqlite3_int64 offset)
{
    written.database += size;
    return writeOfSystem(file, data, size, offset);
}

static int writeJournal(sqlite3_file* file, const void* data, int size, sqlite3_int64 offset)
{
    written.journal += size;
    return writeOfSystem(file, data, size, offset);
}

// The program measures bytes, not times, and does not wait for the disk.
static int syncNothing(sqlite3_file*, int)
{
    return SQLITE_OK;
}

static int deleteFile(sqlite3_vfs*, const char* name, int)
{
    return systemVfs->xDelete(systemVfs, name, 0);
}

static int openCounted(sqlite3_vfs*, const char* name, sqlite3_file* file, int flags, int* outFlags)
{
    static sqlite3_io_methods database, journal;
    const int rc = systemVfs->xOpen(systemVfs, name, file, flags, outFlags);
    if (rc != SQLITE_OK)
        return rc;
    const bool isDatabase = (flags & SQLITE_OPEN_MAIN_DB) != 0;
    sqlite3_io_methods& counted = isDatabase ? database : journal;
    counted = *file->pMethods;
    writeOfSystem = counted.xWrite;
    counted.xWrite = isDatabase ? writeDatabase : writeJournal;
    counted.xSync = syncNothing;
    file->pMethods = &counted;
    return rc;
}

static bool countWrites()
{
    static sqlite3_vfs counting;
    systemVfs = sqlite3_vfs_find(nullptr);
    counting = *systemVfs;
    counting.zName = "counting";
    counting.xOpen = openCounted;
    counting.xDelete = deleteFile;
    return sqlite3_vfs_register(&counting, 1) == SQLITE_OK;
}

// What is measured

const sql::Field eventColumns[] = {sql::Field("id", sql::type_int, sql::flag_primary_key),
                                   sql::Field("code", sql::type_int, 0),
                                   sql::Field("text", sql::type_text, 0), sql::Field()};

struct Setting
{
    const char* name;
    const char* journal;
    const char* more; // other statements, before the first table
    int rows;         // per transaction
};

// Page sizes must be set before the first table is created, and journal modes after each open.
bool open(sql::Database& database, const Setting& setting)
{
    for (const char* suffix : {"", "-journal", "-wal", "-shm"})
        std::remove((std::string("events.db") + suffix).c_str());
    if (!database.open("events.db", sql::Database::read_write_create, false, 1000))
        return false;
    sql::RecordSet settings(database.getHandle());
    return settings.query(setting.more) &&
           settings.query(std::string("PRAGMA journal_mode = ") + setting.journal);
}

bool addEvents(sql::Database& database, sql::Table& events, int count)
{
    Transaction transaction(database);
    sql::Record event(events.fields()); // its key is NULL: SQLite gives the next number
    event.setInteger("code", 4711);
    event.setString("text", "oil pressure is low");
    if (!transaction.isOpen())
        return false;
    for (int i = 0; i < count; ++i)
        if (!events.addRecord(event))
            return false;
    return transaction.commit();
}

// Prints the bytes per transaction, with the checkpoints of a write-ahead log: also the last one,
// when the database is closed.
bool measure(const Setting& setting)
{
    const int transactions = 1000;
    sql::Database database;
    if (!open(database, setting))
        return false;
    sql::Table events(database.getHandle(), "event", eventColumns);
    if (!events.create() || !addEvents(database, events, 1000))
        return false;
    written = Written();
    for (int i = 0; i < transactions; ++i)
        if (!addEvents(database, events, setting.rows))
            return false;
    database.close();
    const long long journal = written.journal / transactions;
    const long long file = written.database / transactions;
    std::printf("%-28s%9lld%9lld%9lld\n", setting.name, journal, file, journal + file);
    return true;
}

int main()
{
    const Setting settings[] = {
        {"DELETE", "DELETE", "", 1},
        {"TRUNCATE", "TRUNCATE", "", 1},
        {"PERSIST", "PERSIST", "", 1},
        {"WAL", "WAL", "", 1},
        {"DELETE, 10 rows", "DELETE", "", 10},
        {"WAL, 10 rows", "WAL", "", 10},
        {"DELETE, page_size 512", "DELETE", "PRAGMA page_size = 512", 1},
        {"DELETE, page_size 65536", "DELETE", "PRAGMA page_size = 65536", 1},
        {"WAL, page_size 512", "WAL", "PRAGMA page_size = 512", 1},
        {"WAL, page_size 65536", "WAL", "PRAGMA page_size = 65536", 1},
        {"WAL, checkpoint at 10 pages", "WAL", "PRAGMA wal_autocheckpoint = 10", 1},
        {"DELETE, locking EXCLUSIVE", "DELETE", "PRAGMA locking_mode = EXCLUSIVE", 1},
    };
    if (!countWrites())
        return 1;
    std::printf("%-28s%9s%9s%9s\n", "bytes per transaction", "journal", "database", "both");
    for (const Setting& setting : settings)
        if (!measure(setting))
            return 1;
    return 0;
}
