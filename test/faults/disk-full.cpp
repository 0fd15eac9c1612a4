// A disk that fills up: a small tmpfs, and a limit on the size of files.

#include <csignal>

#include <sched.h>
#include <sqlite3.h>
#include <sys/mount.h>
#include <sys/resource.h>

#include "Item.h"
#include "Reports.h"
#include "Sql.h"
#include "SqlPrepared.h"

using faults::Point;

namespace
{

const sql::Field rowFields[] = {
    sql::Field("id", sql::type_int, sql::flag_primary_key),
    sql::Field("text", sql::type_text, 0),
    sql::Field(),
};

// An application that writes rows through the table or the writer.
class Application
{
public:
    explicit Application(const Point& point, const std::string& path)
        : _point(point), _table("rows"), _writer(_table)
    {
        database.open(path, sql::Database::read_write_create, false, 0);
        _table.initTable(database.getHandle(), rowFields);
        _table.create();
        _table.query("pragma synchronous = off"); // the disk stays up
    }

    bool addByTable(sql::integer id)
    {
        sql::Record record(_table.fields());
        record.setInteger("id", id);
        record.setString("text", _text);
        return _table.addRecord(record);
    }
    bool addByWriter(sql::integer id)
    {
        _writer.setInteger(0, id);
        _writer.setString(1, _text);
        const bool added = _writer.insert();
        _point.expect(added != bool(_writer.error()), "the writer has an error when it failed");
        return added;
    }

    void expectRows(sql::integer count)
    {
        _point.expect(_table.totalRecordCount() == count, "no row is missing or too many");
        _point.expect(_table.query("pragma integrity_check") && _table.recordCount() == 1 &&
                          _table.getTopRecord()->getValue(0)->asString() == "ok",
                      "the file is whole");
    }

    sqlite3* db() { return database.getHandle(); }

    sql::Database database;

private:
    const Point& _point;
    const std::string _text = std::string(2000, 'x');
    sql::Table _table;
    sql::TableWriter _writer;
};

using Add = bool (Application::*)(sql::integer id);
using MakeRoom = std::function<bool()>;
using Fill = std::function<void(const Point&, const std::string& path, const MakeRoom&)>;

// Adds rows until one is refused, and checks how that was reported. Returns how many were added.
sql::integer fill(const Point& point, Application& application, Add add, sql::integer first,
                  const char* expected)
{
    for (sql::integer id = first;; ++id) {
        const long before = faults::reports.errors;
        if ((application.*add)(id))
            continue;
        point.expect(faults::reports.errors == before + 2, "a refusal takes two ERROR lines");
        point.expect(faults::lastLineHas(expected), std::string("the last line has ") + expected);
        return id - first;
    }
}

// Fills what there is, makes room, and fills that.
void fillTwice(const Point& point, const std::string& path, const MakeRoom& makeRoom, Add add,
               const char* expected)
{
    Application application(point, path);
    const sql::integer added = fill(point, application, add, 1, expected);
    point.expect(added > 100, "more than 100 rows fit");
    application.expectRows(added);
    point.expect(makeRoom(), "there is more room");
    const sql::integer more = fill(point, application, add, added + 1, expected);
    point.expect(more > 100, "more than 100 rows fit in what was added");
    application.expectRows(added + more);
}

void addInTransaction(const Point& point, Application& application, sql::integer first, int rows)
{
    sql::Transaction transaction(application.db());
    for (sql::integer id = first; id < first + rows; ++id)
        point.expect(application.addByWriter(id), "a row is added");
    point.expect(transaction.commit(), "a transaction is committed where there is room");
}

// When the disk is full, SQLite rolls back by itself: within the transaction if its cache is small,
// otherwise at the commit. The guard must not take that for an open transaction.
void fillTransaction(const Point& point, const std::string& path, const MakeRoom& makeRoom,
                     int pagesOfCache)
{
    Application application(point, path);
    sql::RecordSet(application.db()).query("pragma cache_size = " + sql::intToStr(pagesOfCache));
    addInTransaction(point, application, 1, 10);
    {
        sql::Transaction transaction(application.db());
        point.expect(transaction.isOpen(), "a transaction begins");
        const sql::integer beyond = 1000;
        sql::integer id = 11;
        while (id < beyond && application.addByWriter(id))
            ++id;
        point.expect(transaction.isOpen() == (id == beyond), "it ends at the first refusal");
        point.expect(!transaction.commit() && transaction.error(), "it cannot be committed");
        point.expect(id < beyond || transaction.error().code() == SQLITE_FULL, "the disk is full");
        point.expect(!transaction.isOpen() && sqlite3_get_autocommit(application.db()),
                     "SQLite has rolled it back, and the guard knows");
        point.expect(transaction.rollback(), "it is rolled back");
        application.expectRows(10);
    }
    point.expect(makeRoom(), "there is more room");
    addInTransaction(point, application, 11, 100);
    application.expectRows(110);
}

// A copy that does not fit leaves the old content.
void fillByBackup(const Point& point, const std::string& path, const MakeRoom& makeRoom)
{
    Application source(point, ":memory:");
    addInTransaction(point, source, 1, 600);
    Application copy(point, path);
    addInTransaction(point, copy, 1, 10);
    const auto backUp = [&] {
        sql::Backup backup(copy.db(), source.db());
        while (backup.step(20)) {
        }
        point.expect(backup.isDone() || backup.error().code() == SQLITE_FULL, "the disk is full");
        point.expect(backup.isDone() || faults::lastLineHas("rc=13=SQLITE_FULL"),
                     "and that is reported");
        return backup.isDone();
    };
    point.expect(!backUp(), "the copy does not fit");
    copy.expectRows(10);
    point.expect(makeRoom(), "there is more room");
    point.expect(backUp(), "the copy fits");
    copy.expectRows(600);
}

// Fills a disk of one megabyte, which can be doubled.
void onSmallDisk(const Point& point, const Fill& fill)
{
    const faults::Folder folder("/tmp");
    const char* const path = folder.path.c_str();
    point.inChild([&] {
        // In a mount namespace of its own, so that no other process sees the disk.
        if (point.expect(unshare(CLONE_NEWNS) == 0 &&
                             mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                             mount("tmpfs", path, "tmpfs", 0, "size=1m") == 0,
                         "a tmpfs can be mounted, for which this item needs to be root"))
            fill(point, folder.path + "/full.db",
                 [&] { return mount("none", path, "tmpfs", MS_REMOUNT, "size=2m") == 0; });
    });
}

bool limitFiles(rlim_t kilobytes)
{
    const rlimit limit = {kilobytes * 1024, RLIM_INFINITY};
    return setrlimit(RLIMIT_FSIZE, &limit) == 0;
}

// Fills files that end at 500 kilobytes, which can be doubled.
void inLimitedFiles(const Point& point, const Fill& fill)
{
    const faults::Folder folder("/tmp");
    point.inChild([&] {
        std::signal(SIGXFSZ, SIG_IGN);
        point.expect(limitFiles(500), "files can be limited");
        fill(point, folder.path + "/limited.db", [] { return limitFiles(1000); });
    });
}

// A trial of one of these places. What the fill takes besides comes last.
template <typename Filler, typename... More>
std::function<void(const Point&)> in(void (*place)(const Point&, const Fill&), Filler filler,
                                     More... more)
{
    return [=](const Point& point) {
        place(point, [&](const Point& within, const std::string& path, const MakeRoom& makeRoom) {
            filler(within, path, makeRoom, more...);
        });
    };
}

} // namespace

int main(int argc, char** argv)
{
    const Add byTable = &Application::addByTable, byWriter = &Application::addByWriter;
    const char* const full = "rc=13=SQLITE_FULL";
    const char* const beyond = "rc=10=SQLITE_IOERR"; // EFBIG: only ENOSPC is a full disk to SQLite
    return faults::run(argc, argv,
                       {{"tmpfs", in(onSmallDisk, fillTwice, byTable, full)},
                        {"tmpfs-writer", in(onSmallDisk, fillTwice, byWriter, full)},
                        {"tmpfs-transaction", in(onSmallDisk, fillTransaction, 10)},
                        {"tmpfs-commit", in(onSmallDisk, fillTransaction, 2000)},
                        {"tmpfs-backup", in(onSmallDisk, fillByBackup)},
                        {"rlimit", in(inLimitedFiles, fillTwice, byTable, beyond)},
                        {"rlimit-writer", in(inLimitedFiles, fillTwice, byWriter, beyond)}});
}
