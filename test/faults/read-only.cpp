// What may not be written: a file, its folder, the access mode, and a journal that waits for
// recovery.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>

#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Platform.h"
#include "Sql.h"
#include "Workload.h"

namespace fs = std::filesystem;

namespace
{

const sql::Field itemFields[] = {
    sql::Field("id", sql::type_int, sql::flag_primary_key),
    sql::Field("name", sql::type_text, sql::flag_not_null),
    sql::Field("price", sql::type_float, 0),
    sql::Field("active", sql::type_bool, 0),
    sql::Field("created", sql::type_time, 0),
    sql::Field(),
};

std::string bytes(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// A database in a folder of its own, with a user who may only read.
class Place
{
public:
    explicit Place(const char* point) : _point(point)
    {
        char name[] = "/tmp/sqlwrapper-readonly-XXXXXX";
        _folder = mkdtemp(name);
        fs::permissions(_folder, fs::perms(0755));
        faults::makeDatabase(path());
        fs::permissions(path(), fs::perms(0644));
    }
    ~Place()
    {
        fs::remove_all(_folder);
        std::printf("cases %d\n", _cases);
    }

    std::string path() const { return _folder + "/run.db"; }
    const std::string& folder() const { return _folder; }

    // A journal as a killed writer leaves it.
    void leaveHotJournal()
    {
        sqlite3* db = nullptr;
        sqlite3_open_v2(path().c_str(), &db, SQLITE_OPEN_READWRITE, nullptr);
        sqlite3_exec(db,
                     "pragma cache_size = 1; begin; update item set name = name || name;"
                     "with n(i) as (select 1 union all select i + 1 from n where i < 2000)"
                     "insert into copy select i + 100, 'filler', 1, 1, 1 from n;",
                     nullptr, nullptr, nullptr);
        const std::string database = bytes(path()), journal = bytes(path() + "-journal");
        sqlite3_close(db);
        std::ofstream(path(), std::ios::binary) << database;
        std::ofstream(path() + "-journal", std::ios::binary) << journal;
        expect(journal.size() > 512, "there is no journal to recover from");
    }

    // Runs as somebody who is not root, and so is bound by permissions.
    int asReader(const std::function<bool()>& run)
    {
        const std::string before = bytes(path()), journal = bytes(path() + "-journal");
        std::fflush(stdout);
        const pid_t child = fork();
        if (child == 0) {
            if (getuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0))
                _exit(3);
            const bool ok = run();
            std::fflush(stdout);
            _exit(ok ? 0 : 1);
        }
        int status = 0;
        waitpid(child, &status, 0);
        expect(status == 0, "the reader saw another thing");
        expect(bytes(path()) == before && bytes(path() + "-journal") == journal,
               "bytes have changed");
        return status;
    }

    void expect(bool holds, const char* what)
    {
        ++_cases;
        if (holds)
            return;
        std::printf("failure %s: %s\n", _point, what);
        ++failures;
    }

    static int failures;

private:
    const char* _point;
    std::string _folder;
    int _cases = 0;
};

int Place::failures = 0;

bool told(const char* code)
{
    if (std::strstr(faults::told.last, code))
        return true;
    std::printf("the last line is '%s', not %s\n", faults::told.last, code);
    return false;
}

// Reads every row, and is refused every kind of write.
bool readsButDoesNotWrite(const std::string& path, sql::Database::AccessMode mode, const char* code)
{
    sql::Database database;
    if (!database.open(path, mode, false, 0))
        return false;
    sql::Table table(database.getHandle(), "item", itemFields);
    if (!table.open() || table.recordCount() != 5)
        return false;
    sql::Record record(table.getRecord(0));
    record.setString("name", "renamed");
    sql::Record another(record);
    another.setInteger("id", 99);
    return !table.addRecord(another) && told(code) && !table.updateRecord(record) && told(code) &&
           !table.deleteRecord(1) && told(code) && !table.truncate() && told(code) &&
           !table.remove() && told(code) && !database.setUserVersion(1);
}

void accessMode()
{
    Place place("mode");
    place.asReader([&] {
        return readsButDoesNotWrite(place.path(), sql::Database::read_only, "rc=8=SQLITE_READONLY");
    });
}

void file()
{
    Place place("file");
    fs::permissions(place.path(), fs::perms(0444));
    place.asReader([&] {
        return readsButDoesNotWrite(place.path(), sql::Database::read_write,
                                    "rc=8=SQLITE_READONLY");
    });
}

void folder()
{
    Place place("folder");
    fs::permissions(place.path(), fs::perms(0666));
    fs::permissions(place.folder(), fs::perms(0555)); // so that no journal can be made
    place.asReader([&] {
        return readsButDoesNotWrite(place.path(), sql::Database::read_write,
                                    "rc=8=SQLITE_READONLY");
    });
}

void newFileInFolder()
{
    Place place("new-file");
    fs::permissions(place.folder(), fs::perms(0555));
    place.asReader([&] {
        sql::Database database;
        const std::string path = place.folder() + "/new.db";
        return !database.open(path, sql::Database::read_write_create, false, 0) &&
               told("rc=14=SQLITE_CANTOPEN");
    });
}

// Reading would mean to recover, which would mean to write.
void hotJournal()
{
    Place place("hot-journal");
    place.leaveHotJournal();
    place.asReader([&] {
        sql::Database database;
        database.open(place.path(), sql::Database::read_only, false, 0);
        sql::Table table(database.getHandle(), "item", itemFields);
        return !table.open() && told("=SQLITE_") && table.recordCount() == 0;
    });
    sql::Database database; // and who may write recovers
    database.open(place.path(), sql::Database::read_write, false, 0);
    sql::Table table(database.getHandle(), "copy", itemFields);
    place.expect(table.totalRecordCount() == 1, "the journal was not rolled back");
}

} // namespace

int main(int argc, char** argv)
{
    const std::string only = argc == 3 && std::strcmp(argv[1], "--only") == 0 ? argv[2] : "";
    const struct
    {
        const char* name;
        void (*run)();
    } points[] = {{"mode", accessMode},
                  {"file", file},
                  {"folder", folder},
                  {"new-file", newFileInFolder},
                  {"hot-journal", hotJournal}};
    for (const auto& point : points)
        if (only.empty() || only == point.name)
            point.run();
    return Place::failures ? 1 : 0;
}
