// SQLite's C interface as its own documentation recommends it: statements prepared once, values
// bound, cells read by their type.

#include <sqlite3.h>

#include "Compiled.h"

namespace bench
{
namespace
{

class Statement;

struct Connection
{
    using Statement = bench::Statement;

    explicit Connection(const std::string& path)
    {
        require(sqlite3_open(path.c_str(), &db) == SQLITE_OK, "prepared: open");
    }
    ~Connection() { sqlite3_close(db); }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    void run(const char* sql)
    {
        require(sqlite3_exec(db, sql, nullptr, nullptr, nullptr) == SQLITE_OK, "prepared: run");
    }
    void begin() { run("begin"); }
    void commit() { run("commit"); }

    sqlite3* db = nullptr;
};

class Statement
{
public:
    Statement(Connection& connection, const char* sql, Shape)
    {
        require(sqlite3_prepare_v3(connection.db, sql, -1, SQLITE_PREPARE_PERSISTENT, &_stmt,
                                   nullptr) == SQLITE_OK,
                "prepared: prepare");
    }
    ~Statement() { sqlite3_finalize(_stmt); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    void bind(const Item& item, int before = 0)
    {
        sqlite3_bind_int64(_stmt, before + 1, item.id);
        sqlite3_bind_text(_stmt, before + 2, item.name.data(), static_cast<int>(item.name.size()),
                          SQLITE_STATIC);
        sqlite3_bind_double(_stmt, before + 3, item.price);
        sqlite3_bind_int(_stmt, before + 4, item.active ? 1 : 0);
        sqlite3_bind_int64(_stmt, before + 5, item.created);
    }
    void bind(std::int64_t number) { sqlite3_bind_int64(_stmt, 1, number); }
    void bindRow(const Statement& row)
    {
        sqlite3_bind_int64(_stmt, 1, sqlite3_column_int64(row._stmt, 0));
        sqlite3_bind_text(_stmt, 2, row.text(1), row.size(1), SQLITE_STATIC);
        sqlite3_bind_double(_stmt, 3, sqlite3_column_double(row._stmt, 2));
        sqlite3_bind_int(_stmt, 4, sqlite3_column_int(row._stmt, 3));
        sqlite3_bind_int64(_stmt, 5, sqlite3_column_int64(row._stmt, 4));
    }

    bool next()
    {
        const int rc = sqlite3_step(_stmt);
        require(rc == SQLITE_ROW || rc == SQLITE_DONE, "prepared: step");
        if (rc == SQLITE_DONE)
            reset();
        return rc == SQLITE_ROW;
    }
    void reset() { sqlite3_reset(_stmt); }
    void run() { next(); }

    void addTo(Reading& reading) const
    {
        reading.add(sqlite3_column_int64(_stmt, 0), static_cast<std::size_t>(size(1)),
                    sqlite3_column_double(_stmt, 2), sqlite3_column_int(_stmt, 3) == 1,
                    sqlite3_column_int64(_stmt, 4));
    }
    void appendCell(int column, std::string& lines) const
    {
        const char* const begin = text(column);
        lines.append(begin, static_cast<std::size_t>(size(column)));
    }

private:
    const char* text(int column) const
    {
        return reinterpret_cast<const char*>(sqlite3_column_text(_stmt, column));
    }
    int size(int column) const { return sqlite3_column_bytes(_stmt, column); }

    sqlite3_stmt* _stmt = nullptr;
};

// The C interface has no other way for many rows than a statement of many rows.
class Prepared : public Compiled<Connection>
{
public:
    void insertAll(const Data& data) override { insertInGroups(data, 50); }
};

const Registration entry("prepared", make<Prepared>);

} // namespace
} // namespace bench
