// Several processes add rows to one file: none is lost that was answered true.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

#include "Platform.h"
#include "Sql.h"

namespace fs = std::filesystem;

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
};

Result addRows(const std::string& path, int writer, long rows, int busyTimeout)
{
    sql::Database database;
    database.open(path, sql::Database::read_write, false, busyTimeout);
    sql::Table table(database.getHandle(), "rows", rowFields);
    sql::Record record(table.fields());
    record.setInteger("writer", writer);
    Result result = {0, 0, 0};
    const long before = faults::told.errors;
    for (long i = 0; i < rows; ++i)
        ++(table.addRecord(record) ? result.added : result.refused);
    result.lines = faults::told.errors - before;
    return result;
}

int failures = 0;
long cases = 0;

void run(int writers, long rows, int busyTimeout)
{
    char name[] = "/dev/shm/sqlwrapper-contention-XXXXXX";
    const std::string folder = mkdtemp(name);
    const std::string path = folder + "/rows.db";
    {
        sql::Database database;
        database.open(path, sql::Database::read_write_create, false, 0);
        sql::Table(database.getHandle(), "rows", rowFields).create();
        sql::RecordSet(database.getHandle()).query("pragma journal_mode = truncate");
    }

    std::vector<int> ends;
    for (int writer = 0; writer < writers; ++writer) {
        int pipeEnds[2];
        if (pipe(pipeEnds) != 0)
            std::abort();
        if (fork() == 0) {
            const Result result = addRows(path, writer, rows, busyTimeout);
            _exit(write(pipeEnds[1], &result, sizeof(result)) == sizeof(result) ? 0 : 1);
        }
        close(pipeEnds[1]);
        ends.push_back(pipeEnds[0]);
    }

    const std::string point = std::to_string(writers) + "x" + std::to_string(busyTimeout);
    const auto complain = [&](const std::string& what) {
        std::printf("failure %s: %s\n", point.c_str(), what.c_str());
        ++failures;
    };
    long added = 0, refused = 0;
    sql::Database database;
    database.open(path, sql::Database::read_write, false, 60000);
    sql::Table table(database.getHandle(), "rows", rowFields);
    for (int writer = 0; writer < writers; ++writer) {
        Result result = {-1, -1, -1};
        if (read(ends[static_cast<std::size_t>(writer)], &result, sizeof(result)) != sizeof(result))
            complain("a writer died");
        close(ends[static_cast<std::size_t>(writer)]);
        wait(nullptr);
        if (result.lines != 2 * result.refused)
            complain(std::to_string(result.refused) + " refusals, but " +
                     std::to_string(result.lines) + " lines");
        added += result.added;
        refused += result.refused;
        table.open("writer = " + std::to_string(writer));
        if (table.recordCount() != result.added)
            complain(std::to_string(result.added) + " were answered true, " +
                     std::to_string(table.recordCount()) + " are there");
    }
    if (table.totalRecordCount() != added)
        complain("rows are lost");
    cases += added + refused;
    std::printf("figure %d writers, busy timeout %d ms: %ld added, %ld refused and told\n", writers,
                busyTimeout, added, refused);
    fs::remove_all(folder);
}

} // namespace

int main(int argc, char** argv)
{
    const std::string only = argc == 3 && std::strcmp(argv[1], "--only") == 0 ? argv[2] : "";
    const bool full = argc == 2 && std::strcmp(argv[1], "--full") == 0;
    const long rows = full ? 10000 : 500;
    for (const int writers : {2, 4, 8})
        for (const int busyTimeout : {0, 5000})
            if (only.empty() || only == std::to_string(writers) + "x" + std::to_string(busyTimeout))
                run(writers, rows, busyTimeout);
    std::printf("cases %ld\n", cases);
    return failures ? 1 : 0;
}
