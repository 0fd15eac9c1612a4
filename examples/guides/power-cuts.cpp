// Power cuts: how often a commit waits for the disk, for each journal mode and each value of
// PRAGMA synchronous.

#include <cstdio>
#include <initializer_list>
#include <string>

#include <sys/syscall.h>
#include <unistd.h>

#include <Sql.h>

// SQLite waits for the disk by these two functions of the system. The program takes their place,
// counts the calls, and passes them on.
static int waits = 0;

extern "C" int fsync(int file)
{
    ++waits;
    return static_cast<int>(syscall(SYS_fsync, file));
}

extern "C" int fdatasync(int file)
{
    ++waits;
    return static_cast<int>(syscall(SYS_fdatasync, file));
}

const sql::Field eventColumns[] = {sql::Field("id", sql::type_int, sql::flag_primary_key),
                                   sql::Field("code", sql::type_int, 0), sql::Field()};

// Call this after each open: of the settings, the file keeps only the mode WAL.
bool set(sql::Database& database, const std::string& journal, const std::string& synchronous)
{
    sql::RecordSet settings(database.getHandle());
    return settings.query("PRAGMA journal_mode = " + journal) &&
           settings.query("PRAGMA synchronous = " + synchronous);
}

bool addEvents(sql::Table& events, int count)
{
    sql::Record event(events.fields()); // its key is NULL: SQLite gives the next number
    for (int i = 0; i < count; ++i)
        if (!events.addRecord(event))
            return false;
    return true;
}

// -1 on failure.
int waitsPerCommit(const std::string& journal, const std::string& synchronous)
{
    for (const char* suffix : {"", "-journal", "-wal", "-shm"})
        std::remove((std::string("events.db") + suffix).c_str());
    sql::Database database;
    if (!database.open("events.db", sql::Database::read_write_create, false, 1000) ||
        !set(database, journal, synchronous))
        return -1;
    sql::Table events(database.getHandle(), "event", eventColumns);
    const int commits = 10;
    if (!events.create() || !addEvents(events, commits))
        return -1;
    waits = 0;
    return addEvents(events, commits) ? waits / commits : -1;
}

int main()
{
    std::printf("%-9s", "");
    for (const char* synchronous : {"OFF", "NORMAL", "FULL", "EXTRA"})
        std::printf("%8s", synchronous);
    for (const char* journal : {"DELETE", "TRUNCATE", "PERSIST", "WAL"}) {
        std::printf("\n%-9s", journal);
        for (const char* synchronous : {"OFF", "NORMAL", "FULL", "EXTRA"})
            std::printf("%8d", waitsPerCommit(journal, synchronous));
    }
    std::printf("\n");
    return 0;
}
