// Copy and backup: what each way keeps, and how a copy takes the place of a file.

#include <cstdio>
#include <initializer_list>
#include <iostream>
#include <string>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <Sql.h>

#include "Transaction.h"

const sql::Field routeColumns[] = {sql::Field("id", sql::type_int, sql::flag_primary_key),
                                   sql::Field("name", sql::type_text, sql::flag_not_null),
                                   sql::Field("km", sql::type_float, 0), sql::Field()};

bool open(sql::Database& database, const std::string& file)
{
    return database.open(file, sql::Database::read_write_create, false, 1000);
}

bool run(sql::Database& database, const std::string& statement)
{
    return sql::RecordSet(database.getHandle()).query(statement);
}

bool fill(sql::Database& database)
{
    Transaction transaction(database);
    sql::Table routes(database.getHandle(), "route", routeColumns);
    return transaction.isOpen() && routes.create() &&
           run(database, "insert into route values (1, 'North', 12.5), (2, 'South', 100 / 3.0)") &&
           transaction.commit();
}

// The whole file

bool copyFile(sql::Database& database, const std::string& file)
{
    return run(database, "vacuum into '" + sql::quoteStr(file) + "'");
}

// A table

// From one of two attached files to the other: "main" is the file that was opened.
bool copyRoutes(sql::Database& database, const std::string& from, const std::string& to)
{
    const sql::FieldSet columns(routeColumns);
    const std::string names = columns.toSql();
    Transaction transaction(database);
    return transaction.isOpen() &&
           run(database,
               "create table if not exists " + to + ".route (" + columns.getDefinition() + ")") &&
           run(database, "delete from " + to + ".route") &&
           run(database, "insert into " + to + ".route (" + names + ") select " + names + " from " +
                             from + ".route") &&
           transaction.commit();
}

bool copyTable(sql::Database& database, const std::string& file)
{
    if (!run(database, "attach '" + sql::quoteStr(file) + "' as copy"))
        return false;
    const bool done = copyRoutes(database, "main", "copy");
    return run(database, "detach copy") && done;
}

bool bringTableBack(sql::Database& database, const std::string& file)
{
    if (!run(database, "attach '" + sql::quoteStr(file) + "' as copy"))
        return false;
    const bool done = copyRoutes(database, "copy", "main");
    return run(database, "detach copy") && done;
}

// Record by record. The source is read in one transaction, and the copy is written in another.
bool copyRecords(sql::Database& database, sql::Database& copy)
{
    Transaction reading(database, "BEGIN");
    Transaction writing(copy);
    sql::Table routes(database.getHandle(), "route", routeColumns);
    sql::Table copied(copy.getHandle(), "route", routeColumns);
    return reading.isOpen() && writing.isOpen() && copied.backup(routes) && writing.commit();
}

bool isSame(sql::Database& database, const std::string& file)
{
    if (!run(database, "attach '" + sql::quoteStr(file) + "' as copy"))
        return false;
    const int differences = sql::queryNumber(
        database.getHandle(), "select count(*) from (select * from main.route except select * from "
                              "copy.route)");
    return run(database, "detach copy") && differences == 0;
}

// A copy in the place of a file

bool isThere(const std::string& path)
{
    return access(path.c_str(), F_OK) == 0;
}

// Waits until the disk has what the file or folder holds.
bool sync(const std::string& path)
{
    const int descriptor = ::open(path.c_str(), O_RDONLY);
    const bool done = descriptor >= 0 && fsync(descriptor) == 0;
    if (descriptor >= 0)
        close(descriptor);
    return done;
}

// Whether the file is complete without a journal: rolls back what a program left unfinished, moves
// a write-ahead log into the file, deletes a journal that is kept between transactions, and finds
// no program that reads or writes.
bool isSettled(const std::string& file)
{
    if (isThere(file)) {
        sql::Database database;
        if (!database.open(file, sql::Database::read_write, false, 1000) ||
            !run(database, "PRAGMA journal_mode = TRUNCATE; PRAGMA journal_mode = DELETE") ||
            !Transaction(database, "BEGIN EXCLUSIVE").isOpen())
            return false;
    }
    return !isThere(file + "-journal") && !isThere(file + "-wal");
}

// For a file that no program has open.
bool replaceFile(const std::string& copy, const std::string& file, const std::string& folder)
{
    return isSettled(copy) && sync(copy) && isSettled(file) &&
           std::rename(copy.c_str(), file.c_str()) == 0 && sync(folder);
}

// The same demonstration with and without that: a program dies while it writes.

void dieWhileWriting(const char* file)
{
    const std::string addRows = "with recursive n(i) as (select 1 union all select i + 1 from n "
                                "limit 2000) insert into route (name) select zeroblob(100) from n";
    const pid_t child = fork();
    if (child == 0) {
        sql::Database database;
        open(database, file);
        run(database, addRows);
        run(database, "PRAGMA cache_size = 1; BEGIN; " + addRows);
        _exit(0); // in the middle of its transaction
    }
    waitpid(child, nullptr, 0);
}

bool isWhole(const char* file)
{
    const sql::Field columns[] = {sql::Field("result", sql::type_text, sql::flag_primary_key),
                                  sql::Field()};
    sql::Database database;
    sql::RecordSet check;
    return open(database, file) && check.initRecordSet(database.getHandle(), columns) &&
           check.query("PRAGMA integrity_check") &&
           check.getTopRecordFirstValue()->asString() == "ok";
}

void show(const char* what, bool result)
{
    std::cout << what << ": " << std::boolalpha << result << "\n";
}

int main()
{
    for (const char* name : {"routes.db", "table.db", "records.db", "whole.db", "second.db"})
        for (const char* suffix : {"", "-journal", "-wal"})
            std::remove((std::string(name) + suffix).c_str());
    sql::Database database;
    sql::Database records;
    if (!open(database, "routes.db") || !open(records, "records.db") || !fill(database))
        return 1;

    show("file copied", copyFile(database, "whole.db"));
    show("the same", isSame(database, "whole.db"));
    show("table copied", copyTable(database, "table.db"));
    show("the same", isSame(database, "table.db"));
    show("records copied", copyRecords(database, records));
    show("the same", isSame(database, "records.db"));

    run(database, "drop table route");
    show("copied without a source", copyTable(database, "table.db"));
    show("brought back", bringTableBack(database, "table.db"));
    show("the same", isSame(database, "whole.db"));

    copyFile(database, "second.db");
    database.close();
    dieWhileWriting("routes.db");
    std::rename("second.db", "routes.db"); // and the journal of the other file stays beside it
    show("whole after a plain rename", isWhole("routes.db"));

    std::remove("routes.db");
    open(database, "routes.db");
    fill(database);
    database.close();
    dieWhileWriting("routes.db");
    show("replaced", replaceFile("whole.db", "routes.db", "."));
    show("whole", isWhole("routes.db"));
    open(database, "routes.db");
    std::cout << sql::queryNumber(database.getHandle(), "select count(*) from route") << " rows\n";
    return 0;
}
