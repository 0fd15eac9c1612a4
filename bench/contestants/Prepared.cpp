// SQLite's C interface as its own documentation recommends it: statements prepared once, values
// bound, cells read by their type.

#include <sqlite3.h>

#include "../Contestant.h"

namespace bench
{
namespace
{

class Statement
{
public:
    Statement(sqlite3* db, const char* sql)
    {
        require(sqlite3_prepare_v3(db, sql, -1, SQLITE_PREPARE_PERSISTENT, &_stmt, nullptr) ==
                    SQLITE_OK,
                "prepared: prepare");
    }
    ~Statement() { sqlite3_finalize(_stmt); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    void bind(const Item& item)
    {
        sqlite3_bind_int64(_stmt, 1, item.id);
        sqlite3_bind_text(_stmt, 2, item.name.data(), static_cast<int>(item.name.size()),
                          SQLITE_STATIC);
        sqlite3_bind_double(_stmt, 3, item.price);
        sqlite3_bind_int(_stmt, 4, item.active ? 1 : 0);
        sqlite3_bind_int64(_stmt, 5, item.created);
    }
    void bind(std::int64_t number) { sqlite3_bind_int64(_stmt, 1, number); }

    bool step()
    {
        const int rc = sqlite3_step(_stmt);
        require(rc == SQLITE_ROW || rc == SQLITE_DONE, "prepared: step");
        return rc == SQLITE_ROW;
    }
    void reset() { sqlite3_reset(_stmt); }
    void run()
    {
        step();
        reset();
    }
    void addRows(Reading& reading)
    {
        while (step())
            reading.add(sqlite3_column_int64(_stmt, 0),
                        static_cast<std::size_t>(sqlite3_column_bytes(_stmt, 1)),
                        sqlite3_column_double(_stmt, 2), sqlite3_column_int(_stmt, 3) == 1,
                        sqlite3_column_int64(_stmt, 4));
        reset();
    }

private:
    sqlite3_stmt* _stmt = nullptr;
};

struct Statements
{
    explicit Statements(sqlite3* db)
        : insert(db, "insert into item values (?1, ?2, ?3, ?4, ?5)"),
          update(db, "update item set name=?2, price=?3, active=?4, created=?5 where id=?1"),
          upsert(db, "insert into item values (?1, ?2, ?3, ?4, ?5) on conflict (id) do update set "
                     "name=?2, price=?3, active=?4, created=?5"),
          remove(db, "delete from item where id=?1"), has(db, "select 1 from item where id=?1"),
          get(db, "select * from item where id=?1"), readAll(db, "select * from item"),
          readCheaper(db, "select * from item where price < ?1 order by name")
    {}

    Statement insert, update, upsert, remove, has, get, readAll, readCheaper;
};

class Prepared : public Contestant
{
public:
    ~Prepared() override
    {
        _statements.reset();
        sqlite3_close(_db);
    }
    void open(const std::string& path) override
    {
        require(sqlite3_open(path.c_str(), &_db) == SQLITE_OK, "prepared: open");
        exec("create table if not exists item (id INTEGER PRIMARY KEY, name TEXT NOT NULL, "
             "price REAL, active INTEGER, created INTEGER)");
        _statements = std::make_unique<Statements>(_db);
    }
    void begin() override { exec("begin"); }
    void commit() override { exec("commit"); }

    void insert(const Item* row) override { write(_statements->insert, *row); }
    void update(const Item* row) override { write(_statements->update, *row); }
    void upsert(const Item* row) override { write(_statements->upsert, *row); }
    void remove(std::int64_t id) override
    {
        _statements->remove.bind(id);
        _statements->remove.run();
    }
    bool has(std::int64_t id) override
    {
        _statements->has.bind(id);
        const bool found = _statements->has.step();
        _statements->has.reset();
        return found;
    }
    void get(std::int64_t id, Reading& reading) override
    {
        _statements->get.bind(id);
        _statements->get.addRows(reading);
    }
    Reading readAll() override
    {
        Reading reading;
        _statements->readAll.addRows(reading);
        return reading;
    }
    Reading readCheaperThan(int price) override
    {
        Reading reading;
        _statements->readCheaper.bind(price);
        _statements->readCheaper.addRows(reading);
        return reading;
    }
    void copy() override
    {
        exec("create table item_copy (id INTEGER PRIMARY KEY, name TEXT NOT NULL, "
             "price REAL, active INTEGER, created INTEGER)");
        exec("insert into item_copy select * from item");
    }
    Reading readCopy() override
    {
        Reading reading;
        Statement(_db, "select * from item_copy").addRows(reading);
        return reading;
    }
    sqlite3* handle() override { return _db; }

private:
    void exec(const char* sql)
    {
        require(sqlite3_exec(_db, sql, nullptr, nullptr, nullptr) == SQLITE_OK, "prepared: exec");
    }
    static void write(Statement& statement, const Item& item)
    {
        statement.bind(item);
        statement.run();
    }

    sqlite3* _db = nullptr;
    std::unique_ptr<Statements> _statements;
};

std::unique_ptr<Contestant> make(std::size_t)
{
    return std::make_unique<Prepared>();
}

const Registration entry({"prepared", make, false});

} // namespace
} // namespace bench
