// A program of the library that does what standard input says, one line at a time, so that a test
// decides when. It prints one line for each, "failed: ..." for a failure; log lines go to standard
// error.
//
//   load                     loads Ceph's VFS, as a program does that nothing is preloaded into
//   NUMBER open NAME         opens a connection to a database, which is made when it is missing
//   NUMBER find NAME         opens a database that is there
//   NUMBER run SQL           runs statements, and prints the first value that they give
//   NUMBER append N ROWS     N transactions of ROWS rows; prints the number of rows after each
//   fork                     does what follows in a child

#include <csignal>
#include <iostream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <sqlite3.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <Sql.h>

namespace
{

const int waitMs = 1000;

const sql::Field rowColumns[] = {sql::Field("id", sql::type_int, sql::flag_primary_key),
                                 sql::Field("text", sql::type_text, sql::flag_not_null),
                                 sql::Field()};

void print(const std::string& line)
{
    std::cout << line << std::endl;
}

std::string load()
{
    sql::Database any;
    const bool isLoaded =
        any.open(":memory:", sql::Database::read_write_create, false, 0) &&
        sqlite3_enable_load_extension(any.getHandle(), 1) == SQLITE_OK &&
        sqlite3_load_extension(any.getHandle(), "libcephsqlite.so", nullptr, nullptr) == SQLITE_OK;
    return isLoaded ? "loaded" : "failed: the VFS cannot be loaded";
}

class Connection
{
public:
    std::string open(const std::string& name, sql::Database::AccessMode mode)
    {
        return _database.open(name, mode, false, waitMs) ? "open" : "failed: not opened";
    }

    std::string run(const std::string& statements)
    {
        const std::vector<sql::Field> column = {sql::Field("value", sql::type_text, 0)};
        sql::RecordSet rows(_database.getHandle(), sql::FieldSet(column));
        if (!rows.query(statements))
            return std::string("failed: ") + sqlite3_errmsg(_database.getHandle());
        const sql::Value* const value = rows.getTopRecordFirstValue();
        return value ? value->asString() : "done";
    }

    std::string append(int transactions, int rows)
    {
        std::string outcome = "done";
        for (int i = 0; i < transactions && outcome.find("failed") != 0; ++i) {
            outcome = appendOnce(rows);
            print(outcome);
        }
        return "end";
    }

private:
    std::string appendOnce(int rows)
    {
        const std::string begun = run("BEGIN IMMEDIATE");
        if (begun != "done")
            return begun;
        sql::Table table(_database.getHandle(), "row", rowColumns);
        bool isGood = table.create();
        int id = sql::queryNumber(_database.getHandle(), "SELECT ifnull(max(id), 0) FROM row");
        sql::Record record(table.fields());
        record.setString("text", std::string(60, 'x'));
        for (int i = 0; i < rows && isGood; ++i) {
            record.setInteger("id", ++id);
            isGood = table.addRecord(record);
        }
        if (isGood && _database.transactionCommit())
            return std::to_string(id);
        const std::string reason = sqlite3_errmsg(_database.getHandle());
        run("ROLLBACK");
        return "failed: " + reason;
    }

    sql::Database _database;
};

/// The first word of `line`, which loses it.
std::string takeWord(std::string& line)
{
    const std::string::size_type end = line.find(' ');
    const std::string word = line.substr(0, end);
    line.erase(0, end == std::string::npos ? end : end + 1);
    return word;
}

std::string doOn(Connection& connection, const std::string& what, const std::string& rest)
{
    if (what == "open")
        return connection.open(rest, sql::Database::read_write_create);
    if (what == "find")
        return connection.open(rest, sql::Database::read_write);
    if (what == "run")
        return connection.run(rest);
    int transactions = 0;
    int rows = 0;
    if (what == "append" && std::istringstream(rest) >> transactions >> rows)
        return connection.append(transactions, rows);
    return "failed: not understood";
}

} // namespace

int main()
{
    openlog("session", LOG_PERROR, LOG_USER);
    std::map<std::string, Connection> connections;
    for (std::string line; std::getline(std::cin, line);) {
        const std::string word = takeWord(line);
        if (word == "load") {
            print(load());
        } else if (word == "fork") {
            if (fork() != 0)
                return wait(nullptr) < 0;
            prctl(PR_SET_PDEATHSIG, SIGKILL); // a child does not inherit it
            print("forked");
        } else {
            const std::string what = takeWord(line);
            print(doOn(connections[word], what, line));
        }
    }
    return 0;
}
