// POCO Data, as its user guide shows it: statements kept, with the variables that they take and
// fill, and results fetched row by row.

#include <Poco/Data/Session.h>
#include <Poco/Data/SQLite/Connector.h>
#include <Poco/Data/Statement.h>
#include <Poco/Data/Transaction.h>

#include "../Contestant.h"

namespace bench
{
namespace
{

namespace keywords = Poco::Data::Keywords;
using Poco::Data::Statement;

// The variables to which statements are bound.
struct Cells
{
    Poco::Int64 id = 0;
    std::string name;
    double price = 0.0;
    bool active = false;
    Poco::Int64 created = 0;

    void operator=(const Item& item)
    {
        id = item.id;
        name = item.name;
        price = item.price;
        active = item.active;
        created = item.created;
    }
};

struct Statements
{
    Statements(Poco::Data::Session& db, Cells& cells, Poco::Int64& id, int& price)
        : insert(db), update(db), upsert(db), remove(db), has(db), get(db), readAll(db),
          readCheaper(db)
    {
        insert << "insert into item values (?, ?, ?, ?, ?)", keywords::use(cells.id),
            keywords::use(cells.name), keywords::use(cells.price), keywords::use(cells.active),
            keywords::use(cells.created);
        update << "update item set name=?, price=?, active=?, created=? where id=?",
            keywords::use(cells.name), keywords::use(cells.price), keywords::use(cells.active),
            keywords::use(cells.created), keywords::use(cells.id);
        upsert << "insert into item values (?, ?, ?, ?, ?) on conflict (id) do update set "
                  "name=excluded.name, price=excluded.price, active=excluded.active, "
                  "created=excluded.created",
            keywords::use(cells.id), keywords::use(cells.name), keywords::use(cells.price),
            keywords::use(cells.active), keywords::use(cells.created);
        remove << "delete from item where id=?", keywords::use(id);
        has << "select count(*) from item where id=?", keywords::use(id), keywords::into(found),
            keywords::range(0, 1);
        get << "select * from item where id=?", keywords::use(id);
        intoCells(get, cells);
        readAll << "select * from item";
        intoCells(readAll, cells);
        readCheaper << "select * from item where price < ? order by name", keywords::use(price);
        intoCells(readCheaper, cells);
    }

    static void intoCells(Statement& statement, Cells& cells)
    {
        statement, keywords::into(cells.id), keywords::into(cells.name),
            keywords::into(cells.price), keywords::into(cells.active),
            keywords::into(cells.created), keywords::range(0, 1);
    }

    Poco::Int64 found = 0;
    Statement insert, update, upsert, remove, has, get, readAll, readCheaper;
};

class PocoData : public Contestant
{
public:
    void open(const std::string& path) override
    {
        Poco::Data::SQLite::Connector::registerConnector();
        _db = std::make_unique<Poco::Data::Session>("SQLite", path);
        *_db << "create table if not exists item (id INTEGER PRIMARY KEY, name TEXT NOT NULL, "
                "price REAL, active INTEGER, created INTEGER)",
            keywords::now;
        _statements = std::make_unique<Statements>(*_db, _cells, _id, _price);
    }
    void begin() override { _db->begin(); }
    void commit() override { _db->commit(); }

    void insert(const Item* row) override { write(_statements->insert, *row); }
    void update(const Item* row) override { write(_statements->update, *row); }
    void upsert(const Item* row) override { write(_statements->upsert, *row); }
    void remove(std::int64_t id) override
    {
        _id = id;
        _statements->remove.execute();
    }
    bool has(std::int64_t id) override
    {
        _id = id;
        _statements->has.execute();
        return _statements->found > 0;
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
        *_db << "create table item_copy (id INTEGER PRIMARY KEY, name TEXT NOT NULL, "
                "price REAL, active INTEGER, created INTEGER)",
            keywords::now;
        *_db << "insert into item_copy select * from item", keywords::now;
    }
    Reading readCopy() override
    {
        Reading reading;
        Statement all(*_db);
        all << "select * from item_copy";
        Statements::intoCells(all, _cells);
        addRows(all, reading);
        return reading;
    }

private:
    void write(Statement& statement, const Item& item)
    {
        _cells = item;
        statement.execute();
    }
    void addRows(Statement& statement, Reading& reading)
    {
        do {
            if (statement.execute() > 0)
                reading.add(_cells.id, _cells.name.size(), _cells.price, _cells.active,
                            _cells.created);
        } while (!statement.done());
    }

    std::unique_ptr<Poco::Data::Session> _db;
    Cells _cells;
    Poco::Int64 _id = 0;
    int _price = 0;
    std::unique_ptr<Statements> _statements;
};

std::unique_ptr<Contestant> make(std::size_t)
{
    return std::make_unique<PocoData>();
}

const Registration entry({"poco-data", make, false});

} // namespace
} // namespace bench
