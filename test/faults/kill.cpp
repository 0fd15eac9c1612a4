// Writers of every kind, killed at random moments: everything that they committed is there, and
// only whole transactions.

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <random>

#include <sys/wait.h>
#include <unistd.h>

#include "Item.h"
#include "Sql.h"
#include "SqlPrepared.h"

using faults::Point;

namespace
{

const int rowsPerTransaction = 50;
const char* const rowText = "a row of this batch, long enough to fill pages quickly";

const sql::Field rowFields[] = {
    sql::Field("id", sql::type_int, sql::flag_primary_key),
    sql::Field("batch", sql::type_int, sql::flag_not_null),
    sql::Field("text", sql::type_text, 0),
    sql::Field(),
};

bool commitByTable(sql::Database& database, sql::integer batch)
{
    sql::Table table(database.getHandle(), "rows", rowFields);
    sql::Record record(table.fields());
    record.setInteger("batch", batch);
    record.setString("text", rowText);
    bool ok = database.transactionBegin();
    for (int i = 0; ok && i < rowsPerTransaction; ++i)
        ok = table.addRecord(record);
    return ok && database.transactionCommit();
}

bool commitByWriter(sql::Database& database, sql::integer batch)
{
    sql::Table table(database.getHandle(), "rows", rowFields);
    sql::Transaction transaction(database.getHandle());
    sql::TableWriter writer(table);
    writer.setInteger("batch", batch);
    writer.setString("text", rowText);
    for (int i = 0; i < rowsPerTransaction; ++i)
        if (!writer.insert())
            return false;
    return transaction.commit();
}

// Overwrites the file with a copy, page by page.
bool commitByBackup(sql::Database& database, sql::integer batch)
{
    static sql::Database source;
    if (!source.isOpen()) {
        source.open(":memory:", sql::Database::read_write_create, false, 0);
        sql::Table(source.getHandle(), "rows", rowFields).create();
    }
    if (!commitByWriter(source, batch))
        return false;
    sql::Backup backup(database.getHandle(), source.getHandle());
    while (backup.step(1)) {
    }
    return backup.isDone();
}

const struct
{
    const char* name;
    bool (*commit)(sql::Database& database, sql::integer batch);
} writers[] = {{"table", commitByTable}, {"writer", commitByWriter}, {"backup", commitByBackup}};
const std::size_t writerCount = sizeof(writers) / sizeof(writers[0]);

// Commits transactions until it is killed, and writes a byte to the pipe after each.
[[noreturn]] void writeForEver(const std::string& path, int pipeEnd, sql::integer batch,
                               std::size_t writer)
{
    sql::Database database;
    database.open(path, sql::Database::read_write, false, 1000);
    for (;; ++batch)
        if (!writers[writer].commit(database, batch) || write(pipeEnd, "c", 1) != 1)
            _exit(1);
}

class Kills
{
public:
    Kills() { renew(); }

    void tryAll(bool quick)
    {
        const long count = quick ? 300 : 10000;
        for (long seed = 1; seed <= count; ++seed)
            killWriter(static_cast<std::size_t>(seed) % writerCount, static_cast<unsigned>(seed));
        if (!faults::isWanted("-"))
            return;
        faults::figure("%ld of %ld kills left a journal behind", _journals, count);
        Point("-").expect(_journals * 2 >= count, "most kills hit a transaction");
    }

private:
    std::string path() const { return _folder.path + "/rows.db"; }

    void renew()
    {
        std::filesystem::remove(path());
        sql::Database database;
        database.open(path(), sql::Database::read_write_create, false, 0);
        sql::Table table(database.getHandle(), "rows", rowFields);
        if (!table.create())
            std::abort();
    }

    void killWriter(std::size_t writer, unsigned seed)
    {
        const std::string name = std::string(writers[writer].name) + ":" + std::to_string(seed);
        if (!faults::isWanted(name))
            return;
        const Point point(name);
        std::mt19937 random(seed);
        int ends[2];
        if (pipe(ends) != 0)
            std::abort();
        const sql::integer batch = ++_batch * 1000000;
        const pid_t child = fork();
        if (child == 0) {
            close(ends[0]);
            writeForEver(path(), ends[1], batch, writer);
        }
        close(ends[1]);
        char byte = 0;
        const bool started = read(ends[0], &byte, 1) == 1; // it is at work when it is killed
        usleep(static_cast<useconds_t>(random() % 3000));
        kill(child, SIGKILL);
        int status = 0;
        waitpid(child, &status, 0);
        long committed = started ? 1 : 0;
        while (read(ends[0], &byte, 1) == 1)
            ++committed;
        close(ends[0]);

        point.expect(WIFSIGNALED(status), "the writer did not end by itself");
        std::error_code none;
        if (std::filesystem::file_size(path() + "-journal", none) > 0 && !none)
            ++_journals;
        look(point, batch, committed);
    }

    void look(const Point& point, sql::integer batch, long committed)
    {
        sql::Database database;
        database.open(path(), sql::Database::read_write, false, 0);
        const auto number = [&](const std::string& query) {
            return sql::queryNumber(database.getHandle(), query);
        };
        point.expect(number("select count(*) from pragma_integrity_check"
                            " where integrity_check != 'ok'") == 0,
                     "the file is whole");
        point.expect(number("select count(*) from (select count(*) n from rows group by batch)"
                            " where n != " +
                            std::to_string(rowsPerTransaction)) == 0,
                     "every transaction is there as a whole");
        const long found = number("select count(distinct batch) from rows where batch >= " +
                                  std::to_string(batch));
        // There may be one more: it was committed, and the kill came before the byte.
        point.expect(found == committed || found == committed + 1,
                     std::to_string(committed) + " transactions were committed, " +
                         std::to_string(found) + " are there");
        database.close();
        if (std::filesystem::file_size(path()) > 4 << 20)
            renew();
    }

    const faults::Folder _folder{"/tmp"};
    sql::integer _batch = 0;
    long _journals = 0;
};

} // namespace

int main(int argc, char** argv)
{
    return faults::run(argc, argv, [](bool quick) { Kills().tryAll(quick); });
}
