// One database per thread, all at work at once, every other one through the companion, at each
// trace level that makes a difference. Built with ThreadSanitizer.

#include <cstring>
#include <functional>
#include <thread>

#include <dlfcn.h>
#include <pthread.h>
#include <sqlite3.h>

#include "Item.h"
#include "platform/Platform.h"
#include "Sql.h"
#include "SqlPrepared.h"

using faults::Point;

// From ThreadSanitizer's runtime.
extern "C" int __tsan_get_report_data(void* report, const char** description, int* count,
                                      int* stackCount, int* mopCount, int* locationCount,
                                      int* mutexCount, int* threadCount, int* uniqueThreadCount,
                                      void** sleepTrace, unsigned long traceSize);
extern "C" int __tsan_get_report_mop(void* report, unsigned long index, int* thread, void** address,
                                     int* size, int* write, int* atomic, void** trace,
                                     unsigned long traceSize);
extern "C" void AnnotateIgnoreSyncBegin(const char* file, int line);
extern "C" void AnnotateIgnoreSyncEnd(const char* file, int line);

namespace
{

// The reports to expect: those that pass through a function of the library, from a trace level on.
const struct
{
    const char* symbol; // the beginning of its mangled name
    const char* what;
    int fromLevel;
} listed[] = {
    {"_ZN3sql4TimeC", "ctime of Time's constructors, which all threads share", 9},
};

// The runtime holds its locks while it reports. Code that it watches would wait for them for ever
// when the report is about two threads that report.
#define SQLW_UNWATCHED __attribute__((disable_sanitizer_instrumentation))

long listedReports = 0; // counted one report at a time
long otherReports = 0;

SQLW_UNWATCHED bool passesThrough(void* const* trace, std::size_t size, const char* symbol)
{
    Dl_info info;
    for (std::size_t i = 0; i < size && trace[i]; ++i)
        if (dladdr(trace[i], &info) && info.dli_sname &&
            std::strncmp(info.dli_sname, symbol, std::strlen(symbol)) == 0)
            return true;
    return false;
}

} // namespace

extern "C" const char* __tsan_default_options()
{
    return "exitcode=0:history_size=7"; // the reports are counted here, and none may be forgotten
}

extern "C" SQLW_UNWATCHED void __tsan_on_report(void* report)
{
    const char* description = nullptr;
    int numbers[8];
    void* sleepTrace[1];
    __tsan_get_report_data(report, &description, &numbers[0], &numbers[1], &numbers[2], &numbers[3],
                           &numbers[4], &numbers[5], &numbers[6], sleepTrace, 1);
    bool known = false;
    for (int i = 0; i < numbers[2]; ++i) {
        void* trace[64] = {};
        void* address = nullptr;
        int unused[4];
        __tsan_get_report_mop(report, static_cast<unsigned long>(i), &unused[0], &address,
                              &unused[1], &unused[2], &unused[3], trace, 64);
        for (const auto& each : listed)
            known = known || passesThrough(trace, 64, each.symbol);
    }
    ++(known ? listedReports : otherReports);
}

namespace
{

// All threads share some mutexes of SQLite, and take one for each allocation. They guard its own
// data, but ThreadSanitizer would also take what the threads do in between for ordered, and report
// no race there.
struct Unseen
{
    Unseen() { AnnotateIgnoreSyncBegin(__FILE__, __LINE__); }
    ~Unseen() { AnnotateIgnoreSyncEnd(__FILE__, __LINE__); }
};

sqlite3_mutex_methods mutexes; // SQLite's own

void hideMutexes()
{
    sqlite3_initialize(); // sets them; they can be read and replaced only after a shutdown
    sqlite3_shutdown();
    sqlite3_config(SQLITE_CONFIG_GETMUTEX, &mutexes);
    sqlite3_mutex_methods hidden = mutexes;
    hidden.xMutexEnter = [](sqlite3_mutex* each) {
        const Unseen unseen;
        mutexes.xMutexEnter(each);
    };
    hidden.xMutexTry = [](sqlite3_mutex* each) {
        const Unseen unseen;
        return mutexes.xMutexTry(each);
    };
    hidden.xMutexLeave = [](sqlite3_mutex* each) {
        const Unseen unseen;
        mutexes.xMutexLeave(each);
    };
    sqlite3_config(SQLITE_CONFIG_MUTEX, &hidden);
}

const sql::Field rowFields[] = {
    sql::Field("id", sql::type_int, sql::flag_primary_key),
    sql::Field("text", sql::type_text, 0),
    sql::Field("price", sql::type_float, 0),
    sql::Field("created", sql::type_time, 0),
    sql::Field(),
};

void fill(sql::Record& record, long i)
{
    record.setInteger("id", i);
    record.setString("text", "a text of row " + std::to_string(i));
    record.setDouble("price", static_cast<double>(i) / 3);
    record.setTime("created", sql::Time(i));
}

void useTable(sql::Table& table, long rows, long* read)
{
    sql::Record record(table.fields());
    for (long i = 0; i < rows; ++i) {
        fill(record, i);
        table.addOrUpdateRecord(i, record);
    }
    table.query("no statement"); // so that every thread reports failures, too
    if (table.open("id >= 0", "id desc"))
        for (int i = 0; i < table.recordCount(); ++i)
            *read += table.getRecord(i)->getValue("created")->asString().empty() ? 0 : 1;
}

// From records and from cells, and one transaction that is rolled back.
void writeRows(sql::Table& table, sql::Record& record, long rows)
{
    sql::TableWriter writer(table);
    sql::Transaction transaction(table.getHandle());
    for (long i = 0; i < rows; i += 2) {
        fill(record, i);
        writer.upsert(record);
        writer.setInteger(0, i + 1);
        writer.setString(1, "another text");
        writer.setDouble(2, static_cast<double>(i) / 3);
        writer.setTime(3, sql::Time(i));
        writer.insert();
    }
    transaction.commit();
    sql::Transaction undone(table.getHandle());
    writer.erase(0);
}

void readRows(sql::Table& table, sql::Record& record, long* read)
{
    sql::Statement found;
    found.selectByKey(table);
    sql::Statement statement;
    statement.prepare(table.getHandle(), "no statement");
    statement.select(table, "id >= 0", "id desc");
    while (statement.next())
        *read += statement.read(record) && !statement.getTime(3).asString().empty() &&
                 found.find(statement.getInteger(0), record);
}

void useCompanion(sql::Table& table, long rows, long* read)
{
    sql::Record record(table.fields());
    writeRows(table, record, rows);
    sql::Database copy;
    copy.open(":memory:", sql::Database::read_write_create, false, 0);
    sql::Backup backup(copy.getHandle(), table.getHandle());
    while (backup.step(2)) {
    }
    sql::Table copied(copy.getHandle(), table.name(), rowFields);
    if (sql::checkTable(copied).empty())
        readRows(copied, record, read);
}

const std::size_t threadCount = 8;

// Where all threads wait for one another, to begin and to end together. ThreadSanitizer reports no
// race with a thread that has ended: it forgets what that thread did.
class Meeting
{
public:
    Meeting() { pthread_barrier_init(&_barrier, nullptr, threadCount); }
    ~Meeting() { pthread_barrier_destroy(&_barrier); }
    void await() { pthread_barrier_wait(&_barrier); }

private:
    pthread_barrier_t _barrier;
};

void work(bool withCompanion, long rows, Meeting& meeting, long* read)
{
    sql::Database database;
    database.open(":memory:", sql::Database::read_write_create, false, 0);
    sql::Table table(database.getHandle(), "rows", rowFields);
    table.create();
    meeting.await();
    (withCompanion ? useCompanion : useTable)(table, rows, read);
    meeting.await();
}

void workAt(int level, long rows)
{
    if (!faults::isWanted(std::to_string(level)))
        return;
    const Point point(std::to_string(level), 1800);
    platform::setTraceLevel(level);
    listedReports = otherReports = 0;
    std::vector<long> read(threadCount);
    Meeting meeting;
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < threadCount; ++i)
        threads.emplace_back(work, i % 2 == 1, rows, std::ref(meeting), &read[i]);
    for (std::thread& thread : threads)
        thread.join();
    for (const long each : read)
        point.expect(each == rows, "a thread reads all of its rows");
    point.expect(otherReports == 0, "ThreadSanitizer reports nothing that is not listed");
    for (const auto& each : listed)
        point.expect((listedReports > 0) == (level >= each.fromLevel),
                     std::string("reported from level ") + std::to_string(each.fromLevel) +
                         " on alone: " + each.what);
    faults::figure("trace level %d: %zu threads, %ld rows, %ld reports, all listed", level,
                   threadCount, rows * static_cast<long>(threadCount), listedReports);
}

} // namespace

int main(int argc, char** argv)
{
    hideMutexes();
    return faults::run(argc, argv, [](bool quick) {
        for (const int level : {3, 8, 9})
            workAt(level, quick ? 300 : 5000);
    });
}
