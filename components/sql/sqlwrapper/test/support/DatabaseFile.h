// A database file, for tests of databases.

#ifndef SQLW_TEST_DATABASE_FILE_H
#define SQLW_TEST_DATABASE_FILE_H

#include <fstream>
#include <string>

#include "SqlDatabase.h"
#include "Statements.h"
#include "World.h"

namespace sqltest
{

/// A database that is closed, and a file that is not there.
class FileTest : public Test
{
protected:
    void makeFile() { Connection(file.path).run("create table item (id integer primary key)"); }
    bool fileExists() const { return std::ifstream(file.path).good(); }

    bool open(sql::Database::AccessMode mode, int busyTimeoutMs = 0)
    {
        return database.open(file.path, mode, false, busyTimeoutMs);
    }
    void openUnrecorded()
    {
        Unrecorded setup;
        EXPECT_TRUE(open(sql::Database::read_write_create));
        forgetEvents();
    }

    std::string opening() const
    {
        return Source("SqlDatabase").debug1("open", "Opening database '%s'", file.path.c_str());
    }
    std::string opened(int flags, int busyTimeoutMs = 0) const
    {
        return together({
            opening(),
            sqlite("open_v2", file.path + ", " + std::to_string(flags)),
            sqlite("busy_timeout", std::to_string(busyTimeoutMs)),
        });
    }
    std::string failedToOpen(int rc, const char* name, const char* text) const
    {
        return Source("SqlDatabase")
            .error("open", "Failed to open the database %s: rc=%d=%s: %s", file.path.c_str(), rc,
                   name, text);
    }
    std::string notFound(int flags) const
    {
        return together({
            opening(),
            sqlite("open_v2", file.path + ", " + std::to_string(flags)),
            sqlite("errmsg"),
            failedToOpen(14, "SQLITE_CANTOPEN", "unable to open database file"),
        });
    }

    const TemporaryFile file;
    sql::Database database;
};

} // namespace sqltest

#endif
