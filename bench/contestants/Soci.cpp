// SOCI, as its documentation advises for repeated statements: prepared once, with the variables
// that they take and fill; many rows are inserted from vectors.

#include <soci/soci.h>
#include <soci/sqlite3/soci-sqlite3.h>

#include "Compiled.h"

namespace bench
{
namespace
{

class Statement;

struct Connection
{
    using Statement = bench::Statement;

    explicit Connection(const std::string& path) : db(soci::sqlite3, path) {}
    void run(const char* sql) { db << sql; }
    void begin() { transaction.emplace(db); }
    void commit()
    {
        transaction->commit();
        transaction.reset();
    }

    soci::session db;
    std::optional<soci::transaction> transaction;
};

// A statement, and the variables that it is bound to.
class Statement
{
public:
    Statement(Connection& connection, const char* sql, Shape shape) : _statement(connection.db)
    {
        if (shape == Shape::takesItem) {
            _statement.exchange(soci::use(_id));
            _statement.exchange(soci::use(_name));
            _statement.exchange(soci::use(_price));
            _statement.exchange(soci::use(_active));
            _statement.exchange(soci::use(_created));
        }
        if (shape == Shape::takesKey || shape == Shape::findsItem || shape == Shape::findsKey)
            _statement.exchange(soci::use(_key));
        if (shape == Shape::findsKey)
            _statement.exchange(soci::into(_id));
        if (shape == Shape::givesItems || shape == Shape::findsItem) {
            _statement.exchange(soci::into(_id));
            _statement.exchange(soci::into(_name));
            _statement.exchange(soci::into(_price));
            _statement.exchange(soci::into(_active));
            _statement.exchange(soci::into(_created));
        }
        if (shape == Shape::givesTexts)
            for (std::string& text : _texts)
                _statement.exchange(soci::into(text));
        _statement.alloc();
        _statement.prepare(sql);
        _statement.define_and_bind();
    }

    void bind(const Item& item)
    {
        _id = item.id;
        _name = item.name;
        _price = item.price;
        _active = item.active ? 1 : 0;
        _created = item.created;
    }
    void bind(std::int64_t key) { _key = key; }
    void bindRow(const Statement& row)
    {
        _id = row._id;
        _name = row._name;
        _price = row._price;
        _active = row._active;
        _created = row._created;
    }

    void run() { _statement.execute(true); }
    bool next()
    {
        if (!_isUnderWay)
            _statement.execute();
        _isUnderWay = _statement.fetch();
        return _isUnderWay;
    }
    void reset() { _isUnderWay = false; }

    void addTo(Reading& reading) const
    {
        reading.add(_id, _name.size(), _price, _active == 1, _created);
    }
    void addTo(std::string& lines) const
    {
        for (int column = 0; column < 5; ++column) {
            lines += _texts[column];
            endCell(lines, column);
        }
    }

private:
    long long _key = 0;
    long long _id = 0;
    std::string _name;
    double _price = 0.0;
    int _active = 0;
    long long _created = 0;
    std::string _texts[5];
    bool _isUnderWay = false;
    soci::statement _statement;
};

class Soci : public Compiled<Connection>
{
public:
    void insertAll(const Data& data) override
    {
        std::vector<long long> ids, created;
        std::vector<std::string> names;
        std::vector<double> prices;
        std::vector<int> actives;
        for (std::size_t i = 0; i < data.rows; ++i) {
            const Item& item = *data.row(i);
            ids.push_back(item.id);
            names.push_back(item.name);
            prices.push_back(item.price);
            actives.push_back(item.active ? 1 : 0);
            created.push_back(item.created);
        }
        _first->db.db << statements::Writes::insert, soci::use(ids), soci::use(names),
            soci::use(prices), soci::use(actives), soci::use(created);
    }
};

const Registration entry({"soci", make<Soci>});

} // namespace
} // namespace bench
