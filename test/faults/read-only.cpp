// What may not be written: a file, its folder, the access mode, and a journal that waits for
// recovery.

#include <filesystem>

#include <sqlite3.h>
#include <unistd.h>

#include "Item.h"
#include "Reports.h"
#include "Workload.h"

namespace fs = std::filesystem;
using faults::bytesOf;
using faults::Point;

namespace
{

// A database in a folder of its own, with a user who may only read.
class Place
{
public:
    explicit Place(const Point& point) : _point(point)
    {
        fs::permissions(_folder.path, fs::perms(0755));
        faults::makeDatabase(path());
        fs::permissions(path(), fs::perms(0644));
    }

    std::string path() const { return _folder.path + "/run.db"; }
    const std::string& folder() const { return _folder.path; }

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
        const std::string database = bytesOf(path()), journal = bytesOf(path() + "-journal");
        sqlite3_close(db);
        faults::writeBytes(path(), database);
        faults::writeBytes(path() + "-journal", journal);
        _point.expect(journal.size() > 512, "there is a journal to recover from");
    }

    // Runs as a user other than root, to whom permissions apply.
    void asReader(const std::function<bool()>& run)
    {
        const std::string before = bytesOf(path()), journal = bytesOf(path() + "-journal");
        _point.inChild([&] {
            _point.expect((getuid() != 0 || (setgid(65534) == 0 && setuid(65534) == 0)) && run(),
                          "the reader sees what it may, and is refused the rest");
        });
        _point.expect(bytesOf(path()) == before && bytesOf(path() + "-journal") == journal,
                      "no byte has changed");
    }

private:
    const Point& _point;
    const faults::Folder _folder{"/tmp"};
};

bool reported(const char* code)
{
    if (faults::lastLineHas(code))
        return true;
    std::printf("the last line is '%s', not %s\n", faults::reports.last, code);
    return false;
}

// Reads every row, and is refused every kind of write.
bool readsButDoesNotWrite(const std::string& path, sql::Database::AccessMode mode)
{
    sql::Database database;
    if (!database.open(path, mode, false, 0))
        return false;
    sql::Table table(database.getHandle(), "item", faults::itemFields);
    if (!table.open() || table.recordCount() != 5)
        return false;
    sql::Record record(table.getRecord(0));
    record.setString("name", "renamed");
    sql::Record another(record);
    another.setInteger("id", 99);
    const auto refused = [](bool done) { return !done && reported("rc=8=SQLITE_READONLY"); };
    return refused(table.addRecord(another)) && refused(table.updateRecord(record)) &&
           refused(table.deleteRecord(1)) && refused(table.truncate()) && refused(table.remove()) &&
           !database.setUserVersion(1);
}

void accessMode(const Point& point)
{
    Place place(point);
    place.asReader([&] { return readsButDoesNotWrite(place.path(), sql::Database::read_only); });
}

void file(const Point& point)
{
    Place place(point);
    fs::permissions(place.path(), fs::perms(0444));
    place.asReader([&] { return readsButDoesNotWrite(place.path(), sql::Database::read_write); });
}

void folder(const Point& point)
{
    Place place(point);
    fs::permissions(place.path(), fs::perms(0666));
    fs::permissions(place.folder(), fs::perms(0555)); // so that no journal can be made
    place.asReader([&] { return readsButDoesNotWrite(place.path(), sql::Database::read_write); });
}

void newFileInFolder(const Point& point)
{
    Place place(point);
    fs::permissions(place.folder(), fs::perms(0555));
    place.asReader([&] {
        sql::Database database;
        const std::string path = place.folder() + "/new.db";
        return !database.open(path, sql::Database::read_write_create, false, 0) &&
               reported("rc=14=SQLITE_CANTOPEN");
    });
}

// Reading would require recovery, and recovery writes.
void hotJournal(const Point& point)
{
    Place place(point);
    place.leaveHotJournal();
    place.asReader([&] {
        sql::Database database;
        database.open(place.path(), sql::Database::read_only, false, 0);
        sql::Table table(database.getHandle(), "item", faults::itemFields);
        return !table.open() && reported("=SQLITE_") && table.recordCount() == 0;
    });
    sql::Database database; // one that may write recovers
    database.open(place.path(), sql::Database::read_write, false, 0);
    sql::Table table(database.getHandle(), "copy", faults::itemFields);
    point.expect(table.totalRecordCount() == 1, "the journal was rolled back");
}

} // namespace

int main(int argc, char** argv)
{
    return faults::run(argc, argv,
                       {{"mode", accessMode},
                        {"file", file},
                        {"folder", folder},
                        {"new-file", newFileInFolder},
                        {"hot-journal", hotJournal}});
}
