// Schema versions: the stamp of a file says what is in it; steps bring an older one up to date.

#include <cstdio>
#include <iostream>
#include <string>

#include <Sql.h>

#include "Transaction.h"

const int currentVersion = 3;

// The table of version 3. New columns come last, where ALTER TABLE puts them in older files.
const sql::Field deviceColumns[] = {sql::Field("id", sql::type_int, sql::flag_primary_key),
                                    sql::Field("name", sql::type_text, sql::flag_not_null),
                                    sql::Field("address", sql::type_int, 0),
                                    sql::Field("seen", sql::type_time, 0), sql::Field()};

// From each version to the next. No step is ever changed: files of every version are in the field.
bool step(sql::RecordSet& statement, int from)
{
    switch (from) {
        case 1: // adds addresses
            return statement.query("alter table device add column address INTEGER");
        case 2: // adds the time of the last contact, and trims the names
            return statement.query("alter table device add column seen INTEGER") &&
                   statement.query("update device set name = trim(name)");
        default:
            return false;
    }
}

// The version of what is in the file: 0 when it is empty, -1 when this program does not know it.
// The stamp is 0 both in a new file and in one that nobody has stamped.
int versionOf(sql::Database& database)
{
    const int stamp = database.getUserVersion();
    if (stamp != 0)
        return stamp <= currentVersion ? stamp : -1;
    const int objects =
        sql::queryNumber(database.getHandle(), "select count(*) from sqlite_master");
    if (objects <= 0)
        return objects;
    // The first version of this program did not stamp its files. Its columns show them.
    const bool isFirst =
        sql::queryNumber(database.getHandle(), "select group_concat(name) = 'id,name' "
                                               "from pragma_table_info('device')") == 1;
    return isFirst ? 1 : -1;
}

// Tables and stamp change in one transaction: whatever happens, they agree.
bool bringUpToDate(sql::Database& database)
{
    Transaction transaction(database);
    int version = transaction.isOpen() ? versionOf(database) : -1;
    if (version < 0)
        return false;
    if (version == 0) {
        sql::Table devices(database.getHandle(), "device", deviceColumns);
        if (!devices.create())
            return false;
        version = currentVersion;
    }
    sql::RecordSet statement(database.getHandle());
    for (; version < currentVersion; ++version) {
        std::cout << "from version " << version << " to " << version + 1 << "\n";
        if (!step(statement, version))
            return false;
    }
    return database.setUserVersion(currentVersion) && transaction.commit();
}

// A file of another time or another program.
bool makeFile(const char* file, const char* statements, unsigned int stamp)
{
    sql::Database database;
    return database.open(file, sql::Database::read_write_create, false, 1000) &&
           sql::RecordSet(database.getHandle()).query(statements) && database.setUserVersion(stamp);
}

void show(const char* file)
{
    sql::Database database;
    if (!database.open(file, sql::Database::read_write_create, false, 1000) ||
        !bringUpToDate(database)) {
        std::cout << file << ": not a file for this program\n";
        return;
    }
    sql::Table devices(database.getHandle(), "device", deviceColumns);
    devices.open();
    std::cout << file << ": version " << database.getUserVersion() << "\n";
    for (int i = 0; i < devices.recordCount(); ++i)
        std::cout << "    " << devices.getRecord(i)->dump(false) << "\n";
}

int main()
{
    for (const char* file : {"unstamped.db", "second.db", "new.db", "future.db", "foreign.db"})
        std::remove(file);
    const char first[] = "create table device (id INTEGER PRIMARY KEY, name TEXT NOT NULL);"
                         "insert into device values (1, ' pump '), (2, 'valve')";
    const char second[] =
        "create table device (id INTEGER PRIMARY KEY, name TEXT NOT NULL, address INTEGER);"
        "insert into device values (1, 'pump', 17)";
    if (!makeFile("unstamped.db", first, 0) || !makeFile("second.db", second, 2) ||
        !makeFile("future.db", first, 9) || !makeFile("foreign.db", "create table song (x)", 0))
        return 1;
    for (const char* file :
         {"unstamped.db", "unstamped.db", "second.db", "new.db", "future.db", "foreign.db"})
        show(file);
    return 0;
}
