// A writer killed at random moments: what it committed is there, whole transactions only.

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <random>
#include <string>

#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Sql.h"

namespace fs = std::filesystem;

namespace
{

const int rowsPerTransaction = 50;

const sql::Field rowFields[] = {
    sql::Field("id", sql::type_int, sql::flag_primary_key),
    sql::Field("batch", sql::type_int, sql::flag_not_null),
    sql::Field("text", sql::type_text, 0),
    sql::Field(),
};

// Commits transactions until it is killed, and writes a byte to the pipe after each.
[[noreturn]] void writeForEver(const std::string& path, int pipeEnd, sql::integer batch)
{
    sql::Database database;
    database.open(path, sql::Database::read_write, false, 1000);
    sql::Table table(database.getHandle(), "rows", rowFields);
    sql::Record record(table.fields());
    for (;; ++batch) {
        bool ok = database.transactionBegin();
        for (int i = 0; ok && i < rowsPerTransaction; ++i) {
            record.setNull("id");
            record.setInteger("batch", batch);
            record.setString("text", "a row of this batch, long enough to fill pages soon enough");
            ok = table.addRecord(record);
        }
        if (!ok || !database.transactionCommit())
            _exit(1);
        if (write(pipeEnd, "c", 1) != 1)
            _exit(1);
    }
}

long number(sqlite3* db, const char* query)
{
    long result = -1;
    const auto keep = [](void* kept, int, char** cells, char**) {
        *static_cast<long*>(kept) = cells[0] ? std::atol(cells[0]) : 0;
        return 0;
    };
    sqlite3_exec(db, query, keep, &result, nullptr);
    return result;
}

class Kills
{
public:
    Kills()
    {
        char name[] = "/tmp/sqlwrapper-kill-XXXXXX";
        _folder = mkdtemp(name);
        renew();
    }
    ~Kills() { fs::remove_all(_folder); }

    void run(unsigned seed)
    {
        std::mt19937 random(seed);
        int ends[2];
        if (pipe(ends) != 0)
            std::abort();
        const sql::integer batch = ++_batch * 1000000;
        const pid_t child = fork();
        if (child == 0) {
            close(ends[0]);
            writeForEver(path(), ends[1], batch);
        }
        close(ends[1]);
        char byte = 0;
        bool started = read(ends[0], &byte, 1) == 1; // so that it is at work when it is killed
        usleep(static_cast<useconds_t>(random() % 3000));
        kill(child, SIGKILL);
        int status = 0;
        waitpid(child, &status, 0);
        long committed = started ? 1 : 0;
        while (read(ends[0], &byte, 1) == 1)
            ++committed;
        close(ends[0]);

        ++_cases;
        if (!WIFSIGNALED(status))
            complain(seed, "the writer ended by itself");
        std::error_code none;
        if (fs::file_size(path() + "-journal", none) > 0 && !none)
            ++_journals;
        look(seed, batch, committed);
    }

    int finish() const
    {
        std::printf("cases %ld\n", _cases);
        std::printf("figure %ld of %ld kills left a journal behind\n", _journals, _cases);
        if (_cases > 1 && _journals * 2 < _cases) {
            std::printf("failure -: too few kills hit a transaction\n");
            return 1;
        }
        return _failures ? 1 : 0;
    }

private:
    std::string path() const { return _folder + "/rows.db"; }

    void renew()
    {
        fs::remove(path());
        sql::Database database;
        database.open(path(), sql::Database::read_write_create, false, 0);
        sql::Table table(database.getHandle(), "rows", rowFields);
        if (!table.create())
            std::abort();
    }

    void look(unsigned seed, sql::integer batch, long committed)
    {
        sqlite3* db = nullptr;
        sqlite3_open_v2(path().c_str(), &db, SQLITE_OPEN_READWRITE, nullptr);
        if (number(db, "select count(*) from pragma_integrity_check where integrity_check != 'ok'"))
            complain(seed, "integrity_check");
        if (number(db, "select count(*) from (select count(*) n from rows group by batch) "
                       "where n != 50"))
            complain(seed, "a transaction is there in part");
        const std::string since =
            "select count(distinct batch) from rows where batch >= " + std::to_string(batch);
        const long found = number(db, since.c_str());
        // One more may be there: it was committed, and the kill came before the byte.
        if (found != committed && found != committed + 1)
            complain(seed, std::to_string(committed) + " transactions were committed, " +
                               std::to_string(found) + " are there");
        sqlite3_close(db);
        if (fs::file_size(path()) > 4 << 20)
            renew();
    }

    void complain(unsigned seed, const std::string& what)
    {
        std::printf("failure %u: %s\n", seed, what.c_str());
        ++_failures;
    }

    std::string _folder;
    sql::integer _batch = 0;
    long _cases = 0;
    long _journals = 0;
    long _failures = 0;
};

} // namespace

int main(int argc, char** argv)
{
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    Kills kills;
    if (argc == 3 && std::strcmp(argv[1], "--only") == 0) {
        kills.run(static_cast<unsigned>(std::atol(argv[2])));
        return kills.finish();
    }
    const unsigned count = argc == 2 && std::strcmp(argv[1], "--full") == 0 ? 10000 : 300;
    for (unsigned seed = 1; seed <= count; ++seed)
        kills.run(seed);
    return kills.finish();
}
