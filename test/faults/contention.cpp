// Several processes add rows to one file: no row is lost whose addition returned true.

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <sqlite3.h>

#include "Item.h"
#include "Reports.h"
#include "Sql.h"
#include "SqlPrepared.h"

using faults::Point;

namespace
{

const sql::Field rowFields[] = {
    sql::Field("id", sql::type_int, sql::flag_primary_key),
    sql::Field("writer", sql::type_int, sql::flag_not_null),
    sql::Field(),
};

// What one writer saw.
struct Result
{
    long added;
    long refused;
    long lines;
    long locked; // how often an operation left a lock
};

bool holdsLock(sqlite3* db)
{
    for (sqlite3_stmt* each = sqlite3_next_stmt(db, nullptr); each;
         each = sqlite3_next_stmt(db, each))
        if (sqlite3_stmt_busy(each))
            return true;
    return !sqlite3_get_autocommit(db);
}

// Every other writer uses the companion.
Result addRows(const std::string& path, int writer, long rows, int busyTimeout)
{
    sql::Database database;
    database.open(path, sql::Database::read_write, false, busyTimeout);
    sql::Table table(database.getHandle(), "rows", rowFields);
    sql::Record record(table.fields());
    record.setInteger("writer", writer);
    sql::TableWriter cells(table);
    cells.setInteger("writer", writer);
    Result result = {0, 0, 0, 0};
    const long before = faults::reports.errors;
    for (long i = 0; i < rows; ++i) {
        ++((writer % 2 ? cells.insert() : table.addRecord(record)) ? result.added : result.refused);
        result.locked += holdsLock(database.getHandle()) ? 1 : 0;
    }
    result.lines = faults::reports.errors - before;
    return result;
}

void makeTable(const std::string& path)
{
    sql::Database database;
    database.open(path, sql::Database::read_write_create, false, 0);
    sql::Table(database.getHandle(), "rows", rowFields).create();
    sql::RecordSet(database.getHandle()).query("pragma journal_mode = truncate");
}

// Runs each writer in a process of its own, and returns what each saw.
const Result* runWriters(const Point& point, const std::string& path, int writers, long rows,
                         int busyTimeout)
{
    const std::size_t size = sizeof(Result) * static_cast<std::size_t>(writers);
    Result* const results = static_cast<Result*>(
        mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    for (int writer = 0; writer < writers; ++writer)
        if (fork() == 0) {
            results[writer] = addRows(path, writer, rows, busyTimeout);
            _exit(0);
        }
    for (int writer = 0; writer < writers; ++writer) {
        int status = -1;
        wait(&status);
        point.expect(status == 0, "a writer died");
    }
    return results;
}

void contend(int writers, long rows, int busyTimeout)
{
    const std::string name = std::to_string(writers) + "x" + std::to_string(busyTimeout);
    if (!faults::isWanted(name))
        return;
    const Point point(name, 1800);
    const faults::Folder folder;
    const std::string path = folder.path + "/rows.db";
    makeTable(path);
    const Result* const results = runWriters(point, path, writers, rows, busyTimeout);

    sql::Database database;
    database.open(path, sql::Database::read_write, false, 0);
    sql::Table table(database.getHandle(), "rows", rowFields);
    Result all = {0, 0, 0, 0};
    for (int writer = 0; writer < writers; ++writer) {
        const Result& result = results[writer];
        all.added += result.added;
        all.refused += result.refused;
        point.expect(result.added + result.refused == rows, "a writer ended early");
        point.expect(result.lines == 2 * result.refused,
                     std::to_string(result.refused) + " refusals, but " +
                         std::to_string(result.lines) + " lines");
        point.expect(result.locked == 0, "an operation left a lock");
        table.open("writer = " + std::to_string(writer));
        point.expect(table.recordCount() == result.added,
                     std::to_string(result.added) + " rows were added, " +
                         std::to_string(table.recordCount()) + " are there");
    }
    point.expect(table.totalRecordCount() == all.added, "rows are lost");
    faults::figure("%d writers, busy timeout %d ms: %ld added, %ld refused and reported", writers,
                   busyTimeout, all.added, all.refused);
}

} // namespace

int main(int argc, char** argv)
{
    return faults::run(argc, argv, [](bool quick) {
        for (const int writers : {2, 4, 8})
            for (const int busyTimeout : {0, 5000})
                contend(writers, quick ? 500 : 10000, busyTimeout);
    });
}
