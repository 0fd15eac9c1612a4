// Schema versions: a file tells by its stamp what is in it, and is brought up to date in steps.

#include <cstdio>
#include <iostream>
#include <string>

#include <Sql.h>

const int currentVersion = 3;

// As it is in version 3. New columns come last: a migrated table has them there, too.
const sql::Field deviceColumns[] = {sql::Field("id", sql::type_int, sql::flag_primary_key),
                                    sql::Field("name", sql::type_text, sql::flag_not_null),
                                    sql::Field("address", sql::type_int, 0),
                                    sql::Field("seen", sql::type_time, 0), sql::Field()};

// Statements are taken from version to version. None of them is ever changed: files of all ages
// are out there.
bool step(sql::RecordSet& statement, int from)
{
    switch (from) {
        case 1: // addresses are new
            return statement.query("alter table device add column address INTEGER");
        case 2: // so is the time of the last contact; names lose their blanks
            return statement.query("alter table device add column seen INTEGER") &&
                   statement.query("update device set name = trim(name)");
        default:
            return false;
    }
}

// Tables and stamp change in one transaction: whatever happens, they agree.
bool bringUpToDate(sql::Database& database)
{
    sql::RecordSet statement(database.getHandle());
    if (!statement.query("BEGIN IMMEDIATE"))
        return false;
    int version = database.getUserVersion();
    bool ok = version >= 0 && version <= currentVersion;
    if (version > currentVersion)
        std::cout << "version " << version << " is newer than this program\n";
    if (version == 0) {
        sql::Table devices(database.getHandle(), "device", deviceColumns);
        ok = devices.create();
        version = currentVersion;
    }
    for (; ok && version < currentVersion; ++version) {
        std::cout << "from version " << version << " to " << version + 1 << "\n";
        ok = step(statement, version);
    }
    ok = ok && database.setUserVersion(static_cast<unsigned int>(version)) &&
         database.transactionCommit();
    if (!ok)
        database.transactionRollback();
    return ok;
}

// A file as the first version of the program left it.
bool makeOldFile(const char* file)
{
    sql::Database database;
    return database.open(file, sql::Database::read_write_create, false, 1000) &&
           sql::RecordSet(database.getHandle())
               .query("create table device (id INTEGER PRIMARY KEY, name TEXT NOT NULL);"
                      "insert into device values (1, ' pump '), (2, 'valve')") &&
           database.setUserVersion(1);
}

bool show(const char* file)
{
    sql::Database database;
    if (!database.open(file, sql::Database::read_write_create, false, 1000) ||
        !bringUpToDate(database))
        return false;
    sql::Table devices(database.getHandle(), "device", deviceColumns);
    if (!devices.open())
        return false;
    std::cout << file << ": version " << database.getUserVersion() << "\n";
    for (int i = 0; i < devices.recordCount(); ++i)
        std::cout << "    " << devices.getRecord(i)->dump(false) << "\n";
    return true;
}

int main()
{
    for (const char* file : {"old.db", "new.db"})
        std::remove(file);
    if (!makeOldFile("old.db") || !show("old.db") || !show("old.db") || !show("new.db"))
        return 1;

    sql::Database future;
    if (!future.open("new.db", sql::Database::read_write, false, 1000) || !future.setUserVersion(9))
        return 1;
    return show("new.db") ? 1 : 0;
}
