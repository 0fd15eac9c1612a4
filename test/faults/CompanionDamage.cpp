#include "CompanionDamage.h"

#include <sqlite3.h>

#include "Reports.h"
#include "SqlPrepared.h"

namespace faults
{

int giveUp(void* calls)
{
    return ++*static_cast<int*>(calls) > patience;
}

namespace
{

// The result of a statement: its rows, and SQLite's code, which is 0 for success.
struct Result
{
    int code = 0;
    std::string rows;
};

void addCell(std::string& rows, const char* text, int size)
{
    rows += text ? "'" + std::string(text, static_cast<std::size_t>(size)) + "' " : "NULL ";
}

// A file used through SQLite's own interface.
class Plain
{
public:
    explicit Plain(const std::string& path)
    {
        sqlite3_open_v2(path.c_str(), &_db, SQLITE_OPEN_READWRITE, nullptr);
        sqlite3_progress_handler(_db, 1000, giveUp, &_calls);
    }
    ~Plain() { sqlite3_close(_db); }
    Plain(const Plain&) = delete;
    Plain& operator=(const Plain&) = delete;

    Result run(const std::string& sql)
    {
        Result result;
        sqlite3_stmt* statement = nullptr;
        result.code = sqlite3_prepare_v2(_db, sql.c_str(), -1, &statement, nullptr);
        if (statement) {
            while (sqlite3_step(statement) == SQLITE_ROW)
                for (int i = 0; i < sqlite3_column_count(statement); ++i)
                    addCell(result.rows,
                            reinterpret_cast<const char*>(sqlite3_column_text(statement, i)),
                            sqlite3_column_bytes(statement, i));
            result.code = sqlite3_finalize(statement);
        }
        return result;
    }

private:
    sqlite3* _db = nullptr;
    int _calls = 0;
};

// A file used through the companion, and its twin.
class Twins
{
public:
    Twins(const Point& point, const std::string& bytes, const char* table, const sql::Field* fields)
        : _point(point), _name(table), _plain(twin(bytes)), _table(table), _writer(_table)
    {
        writeBytes(_folder.path + "/damaged.db", bytes);
        _database.open(_folder.path + "/damaged.db", sql::Database::read_write, false, 0);
        sqlite3_progress_handler(_database.getHandle(), 1000, giveUp, &_calls);
        _table.initTable(_database.getHandle(), fields);
        for (int i = 0; i < _table.fields().count(); ++i)
            _columns += (i == 0 ? "" : ", ") + _table.fields().getByIndex(i)->getName();
    }

    void read()
    {
        sql::Statement statement;
        Result result;
        bool more = statement.select(_table);
        while (more && (more = statement.next()))
            for (int i = 0; i < statement.columnCount(); ++i)
                addCell(result.rows, statement.getText(i), statement.getSize(i));
        expectSame("reading", result, statement.error(), "select " + _columns + " from " + _name);
    }

    void write()
    {
        std::string values;
        for (int i = 0; i < _table.fields().count(); ++i) {
            _writer.setInteger(i, 987654);
            values += i == 0 ? "987654" : ", 987654";
        }
        _writer.insert();
        expectSame("insert", {}, _writer.error(),
                   "insert into " + _name + " (" + _columns + ") values (" + values + ")");
        _writer.erase(7);
        expectSame("erase", {}, _writer.error(), "delete from " + _name + " where id = 7");
    }

    void check()
    {
        const long before = reports.errors;
        for (const sql::Finding& finding : sql::checkTable(_table))
            if (finding.kind == sql::Finding::failed) {
                _point.expect(reports.errors != before, "checkTable reports that it failed");
                ++_refused;
            }
        sql::Database memory;
        memory.open(":memory:", sql::Database::read_write_create, false, 0);
        sql::Backup backup(memory.getHandle(), _database.getHandle());
        while (backup.step(50)) {
        }
        _point.expect(backup.isDone() != bool(backup.error()), "a backup is done or has failed");
    }

    long refused() const { return _refused; }

private:
    std::string twin(const std::string& bytes) const
    {
        writeBytes(_folder.path + "/twin.db", bytes);
        return _folder.path + "/twin.db";
    }

    void expectSame(const char* what, Result result, const sql::Error& error,
                    const std::string& sql)
    {
        const Result plain = _plain.run(sql);
        result.code = error.code();
        _point.expect(result.code == (plain.code & 0xff),
                      std::string(what) + " gives " + std::to_string(result.code) +
                          ", and SQLite itself " + std::to_string(plain.code));
        _point.expect(result.rows == plain.rows, std::string(what) + " gives SQLite's rows");
        _refused += result.code == 0 ? 0 : 1;
    }

    const Point& _point;
    const Folder _folder;
    const std::string _name;
    std::string _columns;
    Plain _plain;
    int _calls = 0;
    long _refused = 0;
    sql::Database _database;
    sql::Table _table;
    sql::TableWriter _writer;
};

} // namespace

long compareCompanion(const Point& point, const std::string& bytes, const char* table,
                      const sql::Field* fields)
{
    Twins twins(point, bytes, table, fields);
    twins.read();
    twins.write();
    twins.check();
    return twins.refused();
}

} // namespace faults
