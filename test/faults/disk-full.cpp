// A disk that fills up: a small tmpfs, and a limit on the size of files.

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

#include <sched.h>
#include <sqlite3.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Platform.h"
#include "Sql.h"

namespace fs = std::filesystem;

namespace
{

const sql::Field rowFields[] = {
    sql::Field("id", sql::type_int, sql::flag_primary_key),
    sql::Field("text", sql::type_text, 0),
    sql::Field(),
};

int failures = 0;
int cases = 0;

void expect(bool holds, const char* point, const std::string& what)
{
    ++cases;
    if (holds)
        return;
    std::printf("failure %s: %s\n", point, what.c_str());
    ++failures;
}

// Adds rows until one is refused, and looks at how that was told. Returns how many were added.
sql::integer fill(sql::Table& table, const char* point, sql::integer first, const char* expected)
{
    sql::Record record(table.fields());
    record.setString("text", std::string(2000, 'x'));
    for (sql::integer id = first;; ++id) {
        record.setInteger("id", id);
        const long before = faults::told.errors;
        if (table.addRecord(record))
            continue;
        expect(faults::told.errors == before + 2, point, "a refusal takes two ERROR lines");
        expect(std::strstr(faults::told.last, expected) != nullptr, point,
               std::string("the last line is '") + faults::told.last + "', not " + expected);
        return id - first;
    }
}

void expectRows(sql::Table& table, const char* point, sql::integer count)
{
    expect(table.totalRecordCount() == count, point, "rows are missing");
    expect(table.query("pragma integrity_check") && table.recordCount() == 1, point, "integrity");
}

void smallDisk(const std::string& folder)
{
    const char* const point = "tmpfs";
    // In a mount namespace of its own, so that nobody else sees the disk.
    if (unshare(CLONE_NEWNS) != 0 ||
        mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mount("tmpfs", folder.c_str(), "tmpfs", 0, "size=1m") != 0) {
        expect(false, point, "cannot mount a tmpfs; this item needs to be root");
        return;
    }
    {
        sql::Database database;
        database.open(folder + "/full.db", sql::Database::read_write_create, false, 0);
        sql::Table table(database.getHandle(), "rows", rowFields);
        table.create();
        const sql::integer added = fill(table, point, 1, "rc=13=SQLITE_FULL");
        expect(added > 100, point, "too few rows fitted");
        expectRows(table, point, added);
        expect(mount("none", folder.c_str(), "tmpfs", MS_REMOUNT, "size=2m") == 0, point,
               "remount");
        const sql::integer more = fill(table, point, added + 1, "rc=13=SQLITE_FULL");
        expect(more > 100, point, "nothing could be added when there was room again");
        expectRows(table, point, added + more);
    }
    umount(folder.c_str());
}

void limitedFiles(const std::string& folder)
{
    const char* const point = "rlimit";
    std::signal(SIGXFSZ, SIG_IGN);
    sql::Database database;
    database.open(folder + "/limited.db", sql::Database::read_write_create, false, 0);
    sql::Table table(database.getHandle(), "rows", rowFields);
    table.create();
    // SQLite takes only ENOSPC for a full disk; a file at its limit is EFBIG, and an I/O error.
    const rlimit limit = {500 * 1024, RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &limit);
    const sql::integer added = fill(table, point, 1, "rc=10=SQLITE_IOERR");
    expect(added > 100, point, "too few rows fitted");
    expectRows(table, point, added);
    const rlimit room = {1000 * 1024, RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &room);
    const sql::integer more = fill(table, point, added + 1, "rc=10=SQLITE_IOERR");
    expect(more > 100, point, "nothing could be added when there was room again");
    expectRows(table, point, added + more);
}

// Limits and mounts go with the process that made them.
void inChild(void (*part)(const std::string&), const std::string& folder)
{
    std::fflush(stdout);
    const pid_t child = fork();
    if (child == 0) {
        part(folder);
        std::printf("cases %d\n", cases);
        std::fflush(stdout);
        _exit(failures ? 1 : 0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    if (status != 0)
        ++failures;
}

} // namespace

int main(int argc, char** argv)
{
    const std::string only = argc == 3 && std::strcmp(argv[1], "--only") == 0 ? argv[2] : "";
    char name[] = "/tmp/sqlwrapper-full-XXXXXX";
    const std::string folder = mkdtemp(name);
    if (only.empty() || only == "tmpfs")
        inChild(smallDisk, folder);
    if (only.empty() || only == "rlimit")
        inChild(limitedFiles, folder);
    fs::remove_all(folder);
    return failures ? 1 : 0;
}
