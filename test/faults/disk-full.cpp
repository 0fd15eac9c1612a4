// A disk that fills up: a small tmpfs, and a limit on the size of files.

#include <csignal>

#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>

#include "Item.h"
#include "Sql.h"
#include "Told.h"

using faults::Point;

namespace
{

const sql::Field rowFields[] = {
    sql::Field("id", sql::type_int, sql::flag_primary_key),
    sql::Field("text", sql::type_text, 0),
    sql::Field(),
};

// Adds rows until one is refused, and looks at how that was told. Returns how many were added.
sql::integer fill(const Point& point, sql::Table& table, sql::integer first, const char* expected)
{
    sql::Record record(table.fields());
    record.setString("text", std::string(2000, 'x'));
    for (sql::integer id = first;; ++id) {
        record.setInteger("id", id);
        const long before = faults::told.errors;
        if (table.addRecord(record))
            continue;
        point.expect(faults::told.errors == before + 2, "a refusal takes two ERROR lines");
        point.expect(faults::lastLineHas(expected), std::string("the last line has ") + expected);
        return id - first;
    }
}

// Fills what there is, makes room, and fills that.
void fillTwice(const Point& point, const std::string& path, const char* expected,
               const std::function<bool()>& makeRoom)
{
    sql::Database database;
    database.open(path, sql::Database::read_write_create, false, 0);
    sql::Table table(database.getHandle(), "rows", rowFields);
    table.create();
    const auto expectRows = [&](sql::integer count) {
        point.expect(table.totalRecordCount() == count, "no row is missing");
        point.expect(table.query("pragma integrity_check") && table.recordCount() == 1 &&
                         table.getTopRecord()->getValue(0)->asString() == "ok",
                     "the file is whole");
    };
    const sql::integer added = fill(point, table, 1, expected);
    point.expect(added > 100, "more than 100 rows fit");
    expectRows(added);
    point.expect(makeRoom(), "there is more room");
    const sql::integer more = fill(point, table, added + 1, expected);
    point.expect(more > 100, "more than 100 rows fit in what was added");
    expectRows(added + more);
}

void smallDisk(const Point& point)
{
    const faults::Folder folder("/tmp");
    const char* const path = folder.path.c_str();
    point.inChild([&] {
        // In a mount namespace of its own, so that nobody else sees the disk.
        if (point.expect(unshare(CLONE_NEWNS) == 0 &&
                             mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                             mount("tmpfs", path, "tmpfs", 0, "size=1m") == 0,
                         "a tmpfs can be mounted, for which this item needs to be root"))
            fillTwice(point, folder.path + "/full.db", "rc=13=SQLITE_FULL",
                      [&] { return mount("none", path, "tmpfs", MS_REMOUNT, "size=2m") == 0; });
    });
}

bool limitFiles(rlim_t kilobytes)
{
    const rlimit limit = {kilobytes * 1024, RLIM_INFINITY};
    return setrlimit(RLIMIT_FSIZE, &limit) == 0;
}

// SQLite takes only ENOSPC for a full disk; a file at its limit is EFBIG, and an I/O error.
void limitedFiles(const Point& point)
{
    const faults::Folder folder("/tmp");
    point.inChild([&] {
        std::signal(SIGXFSZ, SIG_IGN);
        point.expect(limitFiles(500), "files can be limited");
        fillTwice(point, folder.path + "/limited.db", "rc=10=SQLITE_IOERR",
                  [] { return limitFiles(1000); });
    });
}

} // namespace

int main(int argc, char** argv)
{
    return faults::run(argc, argv, {{"tmpfs", smallDisk}, {"rlimit", limitedFiles}});
}
