#include "Locks.h"

#include <cstdio>

#include <gtest/gtest.h>
#include <sqlite3.h>

namespace
{

/// The other program. It locks a file when the statement number `step` of this one begins.
class Intruder
{
public:
    Intruder(const std::string& file, const char* lock, int step) : _lock(lock), _steps(step)
    {
        sqlite3_open_v2(file.c_str(), &_db, SQLITE_OPEN_READWRITE, nullptr);
        sqlite3_exec(_db, "PRAGMA schema_version", nullptr, nullptr, nullptr);
    }
    ~Intruder() { sqlite3_close(_db); }
    Intruder(const Intruder&) = delete;
    Intruder& operator=(const Intruder&) = delete;

    /// Watches the statements of a connection. None of them waits.
    void watch(sqlite3* db)
    {
        sqlite3_busy_timeout(db, 0);
        sqlite3_trace_v2(db, SQLITE_TRACE_STMT, onStatement, this);
    }
    /// Whether the work has had the step.
    bool hasCome() const { return _steps < 0; }

private:
    static int onStatement(unsigned int, void* intruder, void*, void*)
    {
        Intruder& self = *static_cast<Intruder*>(intruder);
        if (self._steps-- == 0)
            sqlite3_exec(self._db, self._lock, nullptr, nullptr, nullptr);
        return 0;
    }

    const char* _lock;
    int _steps;
    sqlite3* _db = nullptr;
};

void expectNothingOpen(const Work& work)
{
    for (sql::Database* database : work.databases)
        EXPECT_NE(0, sqlite3_get_autocommit(database->getHandle())) << "a transaction is open";
}

} // namespace

int runWithLocks(const Work& work)
{
    int refused = 0;
    for (const std::string& file : work.files)
        for (const char* lock :
             {"BEGIN; SELECT count(*) FROM sqlite_master", "BEGIN IMMEDIATE", "BEGIN EXCLUSIVE"}) {
            bool hasCome = true;
            for (int step = 0; hasCome && !testing::Test::HasFailure(); ++step) {
                SCOPED_TRACE(file + ", " + lock + ", step " + std::to_string(step));
                if (!work.prepare()) {
                    ADD_FAILURE() << "the work can't be prepared";
                    return refused;
                }
                bool done;
                {
                    Intruder intruder(file, lock, step);
                    for (sql::Database* database : work.databases)
                        intruder.watch(database->getHandle());
                    done = work.run();
                    hasCome = intruder.hasCome();
                    for (sql::Database* database : work.databases)
                        sqlite3_trace_v2(database->getHandle(), 0, nullptr, nullptr);
                }
                refused += done ? 0 : 1;
                expectNothingOpen(work);
                EXPECT_EQ(done, work.isDone());
                EXPECT_TRUE(done || work.run()) << "the program does not work again";
                EXPECT_TRUE(work.isDone());
            }
        }
    return refused;
}

int numberIn(const std::string& file, const std::string& query)
{
    sql::Database database;
    return database.open(file, sql::Database::read_write, false, 0)
               ? sql::queryNumber(database.getHandle(), query)
               : -1;
}

void removeDatabase(const std::string& file)
{
    std::remove(file.c_str());
    std::remove((file + "-journal").c_str());
}
