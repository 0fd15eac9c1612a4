// SOCI, as its documentation advises for repeated statements: prepared once, with the variables
// that they take and fill.

#include <soci/soci.h>
#include <soci/sqlite3/soci-sqlite3.h>

#include "../Contestant.h"

namespace bench
{
namespace
{

// The variables to which statements are bound.
struct Cells
{
    long long id = 0;
    std::string name;
    double price = 0.0;
    int active = 0;
    long long created = 0;

    void operator=(const Item& item)
    {
        id = item.id;
        name = item.name;
        price = item.price;
        active = item.active ? 1 : 0;
        created = item.created;
    }
};

struct Statements
{
    Statements(soci::session& db, Cells& cells, long long& id, int& found, int& price)
        : insert(
              write(db, cells, "insert into item values (:id, :name, :price, :active, :created)")),
          update(write(db, cells,
                       "update item set name=:name, price=:price, active=:active, "
                       "created=:created where id=:id")),
          upsert(write(db, cells,
                       "insert into item values (:id, :name, :price, :active, :created) "
                       "on conflict (id) do update set name=excluded.name, price=excluded.price, "
                       "active=excluded.active, created=excluded.created")),
          remove((db.prepare << "delete from item where id=:id", soci::use(id))),
          has((db.prepare << "select 1 from item where id=:id", soci::use(id), soci::into(found))),
          get(read(db, cells, "select * from item where id=:id", id)),
          readAll(read(db, cells, "select * from item")),
          readCheaper(
              read(db, cells, "select * from item where price < :price order by name", price))
    {}

    static soci::statement write(soci::session& db, Cells& cells, const char* sql)
    {
        return (db.prepare << sql, soci::use(cells.id, "id"), soci::use(cells.name, "name"),
                soci::use(cells.price, "price"), soci::use(cells.active, "active"),
                soci::use(cells.created, "created"));
    }
    static soci::statement read(soci::session& db, Cells& cells, const char* sql)
    {
        return (db.prepare << sql, soci::into(cells.id), soci::into(cells.name),
                soci::into(cells.price), soci::into(cells.active), soci::into(cells.created));
    }
    template <typename Argument>
    static soci::statement read(soci::session& db, Cells& cells, const char* sql,
                                Argument& argument)
    {
        return (db.prepare << sql, soci::use(argument), soci::into(cells.id),
                soci::into(cells.name), soci::into(cells.price), soci::into(cells.active),
                soci::into(cells.created));
    }

    soci::statement insert, update, upsert, remove, has, get, readAll, readCheaper;
};

class Soci : public Contestant
{
public:
    void open(const std::string& path) override
    {
        _db.open(soci::sqlite3, path);
        _db << "create table if not exists item (id INTEGER PRIMARY KEY, name TEXT NOT NULL, "
               "price REAL, active INTEGER, created INTEGER)";
        _statements = std::make_unique<Statements>(_db, _cells, _id, _found, _price);
    }
    void begin() override { _transaction = std::make_unique<soci::transaction>(_db); }
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
        _id = id;
        _statements->remove.execute(true);
    }
    bool has(std::int64_t id) override
    {
        _id = id;
        return _statements->has.execute(true);
    }
    void get(std::int64_t id, Reading& reading) override
    {
        _id = id;
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
        _price = price;
        addRows(_statements->readCheaper, reading);
        return reading;
    }
    void copy() override
    {
        _db << "create table item_copy (id INTEGER PRIMARY KEY, name TEXT NOT NULL, "
               "price REAL, active INTEGER, created INTEGER)";
        _db << "insert into item_copy select * from item";
    }
    Reading readCopy() override
    {
        Reading reading;
        soci::statement all = Statements::read(_db, _cells, "select * from item_copy");
        addRows(all, reading);
        return reading;
    }

private:
    void write(soci::statement& statement, const Item& item)
    {
        _cells = item;
        statement.execute(true);
    }
    void addRows(soci::statement& statement, Reading& reading)
    {
        statement.execute();
        while (statement.fetch())
            reading.add(_cells.id, _cells.name.size(), _cells.price, _cells.active == 1,
                        _cells.created);
    }

    soci::session _db;
    Cells _cells;
    long long _id = 0;
    int _found = 0;
    int _price = 0;
    std::unique_ptr<Statements> _statements;
    std::unique_ptr<soci::transaction> _transaction;
};

std::unique_ptr<Contestant> make(std::size_t)
{
    return std::make_unique<Soci>();
}

const Registration entry({"soci", make, false});

} // namespace
} // namespace bench
