// SQLiteCpp, as its README shows it: statements kept, bound by position, and reset for the next
// row.

#include <SQLiteCpp/SQLiteCpp.h>

#include "../Contestant.h"

namespace bench
{
namespace
{

struct Statements
{
    explicit Statements(SQLite::Database& db)
        : insert(db, "insert into item values (?, ?, ?, ?, ?)"),
          update(db, "update item set name=?2, price=?3, active=?4, created=?5 where id=?1"),
          upsert(db, "insert into item values (?1, ?2, ?3, ?4, ?5) on conflict (id) do update set "
                     "name=?2, price=?3, active=?4, created=?5"),
          remove(db, "delete from item where id=?"), has(db, "select 1 from item where id=?"),
          get(db, "select * from item where id=?"), readAll(db, "select * from item"),
          readCheaper(db, "select * from item where price < ? order by name")
    {}

    SQLite::Statement insert, update, upsert, remove, has, get, readAll, readCheaper;
};

class SqliteCpp : public Contestant
{
public:
    void open(const std::string& path) override
    {
        _db =
            std::make_unique<SQLite::Database>(path, SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
        _db->exec("create table if not exists item (id INTEGER PRIMARY KEY, name TEXT NOT NULL, "
                  "price REAL, active INTEGER, created INTEGER)");
        _statements = std::make_unique<Statements>(*_db);
    }
    void begin() override { _transaction = std::make_unique<SQLite::Transaction>(*_db); }
    void commit() override
    {
        _transaction->commit();
        _transaction.reset();
    }

    void insert(const Item* row) override { write(_statements->insert, *row); }
    void update(const Item* row) override { write(_statements->update, *row); }
    void upsert(const Item* row) override { write(_statements->upsert, *row); }
    void remove(std::int64_t id) override
    {
        _statements->remove.bind(1, id);
        _statements->remove.exec();
        _statements->remove.reset();
    }
    bool has(std::int64_t id) override
    {
        _statements->has.bind(1, id);
        const bool found = _statements->has.executeStep();
        _statements->has.reset();
        return found;
    }
    void get(std::int64_t id, Reading& reading) override
    {
        _statements->get.bind(1, id);
        addRows(_statements->get, reading);
    }
    Reading readAll() override
    {
        Reading reading;
        addRows(_statements->readAll, reading);
        return reading;
    }
    Reading readCheaperThan(int price) override
    {
        Reading reading;
        _statements->readCheaper.bind(1, price);
        addRows(_statements->readCheaper, reading);
        return reading;
    }
    void copy() override
    {
        _db->exec("create table item_copy (id INTEGER PRIMARY KEY, name TEXT NOT NULL, "
                  "price REAL, active INTEGER, created INTEGER)");
        _db->exec("insert into item_copy select * from item");
    }
    Reading readCopy() override
    {
        Reading reading;
        SQLite::Statement all(*_db, "select * from item_copy");
        addRows(all, reading);
        return reading;
    }

private:
    static void write(SQLite::Statement& statement, const Item& item)
    {
        statement.bind(1, item.id);
        statement.bind(2, item.name);
        statement.bind(3, item.price);
        statement.bind(4, item.active ? 1 : 0);
        statement.bind(5, item.created);
        statement.exec();
        statement.reset();
    }
    static void addRows(SQLite::Statement& statement, Reading& reading)
    {
        while (statement.executeStep())
            reading.add(statement.getColumn(0).getInt64(),
                        statement.getColumn(1).getString().size(),
                        statement.getColumn(2).getDouble(), statement.getColumn(3).getInt() == 1,
                        statement.getColumn(4).getInt64());
        statement.reset();
    }

    std::unique_ptr<SQLite::Database> _db;
    std::unique_ptr<Statements> _statements;
    std::unique_ptr<SQLite::Transaction> _transaction;
};

std::unique_ptr<Contestant> make(std::size_t)
{
    return std::make_unique<SqliteCpp>();
}

const Registration entry({"sqlitecpp", make, false});

} // namespace
} // namespace bench
