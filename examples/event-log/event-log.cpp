// A log of events in a database file: bounded in size, and appended to by any number of programs.

#include <cstdio>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

#include <Sql.h>

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
    "       event-log FILE rotate                      put aside all events\n"
    "       event-log FILE backup COPY                 copy the log to another file\n"
    "\n"
    "A log that has SIZE events (1000) is full: it is rotated before the next one is added, and\n"
    "the events that the last rotation put aside are dropped.\n"
    "\n"
    "Exit status: 0 on success, 1 on failure, 2 for wrong usage.\n";

const int logVersion = 1;
const int waitMs = 10000; // for other programs that write at the moment

const sql::Field eventColumns[] = {sql::Field("id", sql::type_int, sql::flag_primary_key),
                                   sql::Field("at", sql::type_time, sql::flag_not_null),
                                   sql::Field("source", sql::type_text, sql::flag_not_null),
                                   sql::Field("text", sql::type_text, sql::flag_not_null),
                                   sql::Field()};

/// Undoes what was written unless it is committed.
class Transaction
{
public:
    /// A transaction that is to write takes the lock at once. If it took it after its first read
    /// only, two programs could both have read, and one of them could not go on.
    Transaction(sql::Database& database, bool writes) : _database(database)
    {
        _open = sql::RecordSet(database.getHandle()).query(writes ? "BEGIN IMMEDIATE" : "BEGIN");
    }
    ~Transaction()
    {
        if (_open)
            _database.transactionRollback();
    }
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    bool isOpen() const { return _open; }
    bool commit()
    {
        _open = !_database.transactionCommit();
        return !_open;
    }

private:
    sql::Database& _database;
    bool _open;
};

class Log
{
public:
    Log(const std::string& file, sql::Database::AccessMode mode)
        : _file(file), _events("event"), _previous("previous")
    {
        const bool makes = mode == sql::Database::read_write_create;
        const std::string refusal =
            support::refusal(file, makes ? support::Missing::made : support::Missing::refused);
        if (!refusal.empty())
            throw Failure{refusal};
        if (!_database.open(support::plainPath(file), mode, false, waitMs))
            throw Failure{file + " cannot be opened"};
        _events.initTable(_database.getHandle(), eventColumns);
        _previous.initTable(_database.getHandle(), eventColumns);
    }

    void append(const std::string& source, const std::string& text, int size)
    {
        Transaction transaction(_database, true);
        prepare(transaction);
        if (_events.totalRecordCount() >= size)
            putAside();
        sql::Record event(_events.fields());
        event.setInteger("id", lastId() + 1);
        event.setTime("at", sql::Time::now());
        event.setString("source", source);
        event.setString("text", text);
        require(_events.addRecord(event) && transaction.commit());
    }

    void show(int count)
    {
        Transaction transaction(_database, false);
        check(transaction);
        require(_events.query("select * from (select * from previous union all select * from event "
                              "order by id desc limit " +
                              sql::intToStr(count) + ") order by id"));
        for (int i = 0; i < _events.recordCount(); ++i)
            print(*_events.getRecord(i));
    }

    void rotate()
    {
        Transaction transaction(_database, true);
        check(transaction);
        putAside();
        require(transaction.commit());
    }

    /// The copy is complete or as it was before: it changes in one transaction. This log is read in
    /// one, so that no event is added in between.
    void backup(Log& copy)
    {
        Transaction reading(_database, false);
        check(reading);
        Transaction writing(copy._database, true);
        copy.prepare(writing);
        copy.require(copy._events.backup(_events) && copy._previous.backup(_previous) &&
                     writing.commit());
    }

private:
    void require(bool done) const
    {
        if (!done)
            throw Failure{_file + " cannot be read or written; the system log says why"};
    }

    /// Makes an empty database a log. Any other must be one.
    void prepare(const Transaction& transaction)
    {
        if (transaction.isOpen() && _database.getUserVersion() == 0 &&
            sql::queryNumber(_database.getHandle(), "select count(*) from sqlite_master") == 0)
            require(_events.create() && _previous.create() && _database.setUserVersion(logVersion));
        check(transaction);
    }

    void check(const Transaction& transaction)
    {
        const int version = transaction.isOpen() ? _database.getUserVersion() : -1;
        if (version < 0)
            throw Failure{_file + " is not a database, or in use for too long"};
        if (version != logVersion)
            throw Failure{_file + " is not an event log: its version is " + sql::intToStr(version) +
                          ", not " + sql::intToStr(logVersion)};
        checkColumns(_events);
        checkColumns(_previous);
    }

    /// Rows are read by position, so the columns must be these and no others.
    void checkColumns(const sql::Table& table)
    {
        const std::vector<sql::Field> nameColumn = {sql::Field("name", sql::type_text, 0)};
        sql::RecordSet columns(_database.getHandle(), nameColumn);
        require(columns.query("select name from pragma_table_info('" + table.name() + "')"));
        if (columns.count() == 0)
            throw Failure{_file + " has no table '" + table.name() + "'"};
        for (int i = 0; i < table.fields().count(); ++i) {
            const std::string name = table.fields().getByIndex(i)->getName();
            if (i >= columns.count() || columns.getRecord(i)->getValue(0)->asString() != name)
                throw Failure{"table '" + table.name() + "' of " + _file + " lacks its column '" +
                              name + "'"};
        }
        if (columns.count() > table.fields().count())
            throw Failure{"table '" + table.name() + "' of " + _file + " has too many columns"};
    }

    int lastId()
    {
        const int id = sql::queryNumber(_database.getHandle(),
                                        "select max(ifnull((select max(id) from event), 0), "
                                        "ifnull((select max(id) from previous), 0))");
        require(id >= 0);
        return id;
    }

    void putAside()
    {
        if (_events.totalRecordCount() != 0)
            require(_previous.backup(_events) && _events.truncate());
    }

    static void print(const sql::Record& event)
    {
        std::cout << event.getValue("id")->asInteger() << "  "
                  << event.getValue("at")->asTime().format("%Y-%m-%d %H:%M:%S") << "  "
                  << support::exact(event.getValue("source")->asString()) << ": "
                  << support::exact(event.getValue("text")->asString()) << "\n";
    }

    const std::string _file;
    sql::Database _database;
    sql::Table _events;
    sql::Table _previous;
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
    std::error_code error;
    if (std::filesystem::equivalent(file, copyFile, error))
        throw Failure{copyFile + " is the log itself"};
    const NewFile made(copyFile); // before the copy, which closes the file first
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
    } else if (command == "rotate" && count == 2) {
        Log(arguments[0], sql::Database::read_write).rotate();
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
