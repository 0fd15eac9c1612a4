// Online backup: a copy of a database that is in use, some pages at a time, and back again.

#include <cstdio>
#include <functional>
#include <initializer_list>
#include <iostream>
#include <string>

#include <unistd.h>

#include <Sql.h>
#include <SqlPrepared.h>

const sql::Field eventColumns[] = {sql::Field("id", sql::type_int, sql::flag_primary_key),
                                   sql::Field("text", sql::type_text, 0), sql::Field()};
const int pages = 64;
const int patienceMs = 2000;

bool addEvents(sql::Table& events, int count)
{
    sql::Transaction transaction(events.getHandle());
    sql::TableWriter writer(events);
    if (!transaction.isOpen() || !events.create())
        return false;
    for (int i = 0; i < count; ++i) {
        writer.setString("text", std::string(100, '*'));
        if (!writer.insert())
            return false;
    }
    return transaction.commit();
}

// Copies `source` over `destination`, and gives other programs a chance in between. Gives up when
// locks are in the way for too long. `between` is what this program does between two steps.
bool copy(sqlite3* destination, sqlite3* source,
          const std::function<void(const sql::Backup&)>& between)
{
    sql::Backup backup(destination, source);
    int waited = 0;
    while (backup.step(pages)) {
        if (backup.isBusy() && (waited += 100) > patienceMs)
            return false;
        usleep(backup.isBusy() ? 100000 : 1000);
        between(backup);
    }
    if (backup.error())
        std::cout << backup.error().text() << "\n";
    return backup.isDone();
}

void showProgress(const sql::Backup& backup)
{
    std::cout << 100 - 100 * backup.remaining() / backup.pageCount() << " %\n";
}

int count(sql::Database& database)
{
    return sql::queryNumber(database.getHandle(), "select count(*) from event");
}

int main()
{
    for (const char* file : {"events.db", "backup.db"})
        std::remove(file);
    sql::Database database;
    sql::Database backup;
    sql::Table events("event");
    if (!database.open("events.db", sql::Database::read_write_create, false, 1000) ||
        !events.initTable(database.getHandle(), eventColumns) || !addEvents(events, 10000))
        return 1;

    // A program writes through the same connection: the copy has it.
    bool hasWritten = false;
    const auto write = [&](const sql::Backup& copying) {
        showProgress(copying);
        hasWritten = hasWritten || addEvents(events, 1);
    };
    std::cout << std::boolalpha;
    if (!backup.open("backup.db", sql::Database::read_write_create, false, 1000))
        return 1;
    std::cout << copy(backup.getHandle(), database.getHandle(), write) << "\n";
    std::cout << count(backup) << " events\n";

    // Back again, while another connection has the file open.
    sql::Database other;
    if (!other.open("events.db", sql::Database::read_only, false, 1000) || !events.truncate())
        return 1;
    std::cout << count(other) << " events\n";
    std::cout << copy(database.getHandle(), backup.getHandle(), [](const sql::Backup&) {}) << "\n";
    std::cout << count(other) << " events\n";
    return 0;
}
