// A log of events in a database file: bounded in size, and appended to by any number of programs.

#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

#include <Sql.h>
#include <SqlPrepared.h>

#include "DatabaseFile.h"
#include "Program.h"
#include "Terminal.h"

namespace
{

using support::Arguments;
using support::Failure;
using support::wrongUsage;

const char usage[] =
    "usage: event-log FILE append SOURCE TEXT [SIZE]   add an event\n"
    "       event-log FILE show [COUNT]                print the last events (10)\n"
    "       event-log FILE backup COPY                 copy the log to another file\n"
    "\n"
    "A log keeps its last SIZE events (1000). FILE and COPY are paths, or URIs that SQLite takes, as\n"
    "file:events.db?mode=ro.\n"
    "\n"
    "Exit status: 0 on success, 1 on failure, 2 for wrong usage.\n";

const int logVersion = 2;
const int waitMs = 10000; // for other programs that write at the moment

const sql::Field eventColumns[] = {sql::Field("id", sql::type_int, sql::flag_primary_key),
                                   sql::Field("at", sql::type_time, sql::flag_not_null),
                                   sql::Field("source", sql::type_text, sql::flag_not_null),
                                   sql::Field("text", sql::type_text, sql::flag_not_null),
                                   sql::Field()};

class Log
{
public:
    Log(const std::string& file, sql::Database::AccessMode mode) : _file(file), _events("event")
    {
        const bool makes = mode == sql::Database::read_write_create;
        const std::string refusal =
            support::refusal(file, makes ? support::Missing::made : support::Missing::refused);
        if (!refusal.empty())
            throw Failure{refusal};
        if (!_database.open(support::sqliteName(file), mode, false, waitMs))
            throw Failure{file + " cannot be opened"};
        _events.initTable(_database.getHandle(), eventColumns);
    }

    /// The oldest events go when there are more than `size`. SQLite numbers a new one after the
    /// last, so that no number is missing and the numbers show how many there are.
    void append(const std::string& source, const std::string& text, int size)
    {
        sql::Transaction transaction(_database.getHandle());
        require(transaction.isOpen(), transaction);
        prepare();
        sql::TableWriter writer(_events);
        writer.setTime("at", sql::Time::now());
        writer.setString("source", source);
        writer.setString("text", text);
        require(writer.insert(), writer);
        run("delete from event where id <= " + sql::intToStr(writer.insertId() - size));
        require(transaction.commit(), transaction);
    }

    void show(int count)
    {
        sql::Transaction transaction(_database.getHandle(), sql::Transaction::deferred);
        require(transaction.isOpen(), transaction);
        check();
        sql::Statement last;
        last.select(_events, "id > (select max(id) from event) - ?1", "id");
        last.bindInteger(1, count);
        while (last.next())
            print(last);
        require(!last.error(), last);
    }

    /// The copy is complete or as it was before. What it replaces must be a log, too.
    void backup(Log& copy)
    {
        check();
        if (copy.number("select count(*) from sqlite_master") != 0)
            copy.check();
        sql::Backup backup(copy._database.getHandle(), _database.getHandle());
        while (backup.step(-1) && !backup.isBusy())
            continue;
        copy.require(!backup.error(), backup);
        if (!backup.isDone())
            throw Failure{_file + " or " + copy._file + ": in use for too long"};
    }

private:
    /// What the companion refuses ends the program, with SQLite's own words.
    template <typename Operation> void require(bool done, const Operation& operation) const
    {
        if (!done)
            throw Failure{_file + ": " + operation.error().text()};
    }

    void run(const std::string& sql)
    {
        sql::Statement statement;
        require(statement.prepare(_database.getHandle(), sql) && statement.run(), statement);
    }

    sql::integer number(const std::string& query)
    {
        sql::Statement statement;
        require(statement.prepare(_database.getHandle(), query) && statement.next(), statement);
        return statement.getInteger(0);
    }

    /// Makes an empty database a log. Any other must be one.
    void prepare()
    {
        if (number("select count(*) from sqlite_master") == 0 &&
            number("pragma user_version") == 0) {
            run(_events.getDefinition());
            run("pragma user_version = " + sql::intToStr(logVersion));
        }
        check();
    }

    void check()
    {
        const sql::integer version = number("pragma user_version");
        if (version != logVersion)
            throw Failure{_file + " is not an event log: its version is " + sql::intToStr(version) +
                          ", not " + sql::intToStr(logVersion)};
        const std::vector<sql::Finding> findings = sql::checkTable(_events);
        if (!findings.empty())
            throw Failure{_file + " is not an event log: " + findings[0].text};
    }

    static void print(const sql::Statement& event)
    {
        std::cout << event.getInteger("id") << "  "
                  << event.getTime("at").format("%Y-%m-%d %H:%M:%S") << "  "
                  << support::exact(event.getString("source")) << ": "
                  << support::exact(event.getString("text")) << "\n";
    }

    const std::string _file;
    sql::Database _database;
    sql::Table _events;
};

// The command line

/// The argument at `index`, a number that a log can hold; `fallback` when there is none.
int numberAt(const Arguments& arguments, std::size_t index, int fallback)
{
    if (index >= arguments.size())
        return fallback;
    const std::string& text = arguments[index];
    const bool isNumber = text.find_first_not_of("0123456789") == std::string::npos;
    if (!isNumber || text.empty() || text.size() > 6 || std::stoi(text) == 0)
        throw wrongUsage("'" + text + "' is not a number from 1 to 999999");
    return std::stoi(text);
}

/// A file that SQLite makes when it opens it: gone again unless it was kept, or was there before.
class NewFile
{
public:
    explicit NewFile(const std::string& path)
        : _path(path), _isNew(!std::filesystem::exists(path, _error))
    {}
    ~NewFile()
    {
        if (_isNew && std::filesystem::file_size(_path, _error) == 0)
            std::filesystem::remove(_path, _error);
    }
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

private:
    std::error_code _error;
    const std::string _path;
    const bool _isNew;
};

void backup(const std::string& file, const std::string& copyFile)
{
    Log log(file, sql::Database::read_only);
    if (support::isSameDatabase(file, copyFile))
        throw Failure{copyFile + " is the log itself"};
    // Before the copy, which closes the file first.
    const NewFile made(support::localPath(copyFile));
    Log copy(copyFile, sql::Database::read_write_create);
    log.backup(copy);
}

void run(const Arguments& arguments)
{
    const std::size_t count = arguments.size();
    const std::string command = count > 1 ? arguments[1] : "";
    if (command == "append" && (count == 4 || count == 5)) {
        const int size = numberAt(arguments, 4, 1000);
        Log(arguments[0], sql::Database::read_write_create)
            .append(arguments[2], arguments[3], size);
    } else if (command == "show" && (count == 2 || count == 3)) {
        const int last = numberAt(arguments, 2, 10);
        Log(arguments[0], sql::Database::read_only).show(last);
    } else if (command == "backup" && count == 3) {
        backup(arguments[0], arguments[2]);
    } else {
        throw wrongUsage("a file, a command and its arguments are needed");
    }
}

} // namespace

int main(int argc, char** argv)
{
    return support::runProgram("event-log", usage, argc, argv, run);
}
