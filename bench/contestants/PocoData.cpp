// POCO Data, as its user guide shows it: statements kept, with the variables that they take and
// fill, results fetched row by row, many rows inserted from vectors.

#include <array>
#include <deque>

#include <Poco/Data/Session.h>
#include <Poco/Data/SQLite/Connector.h>
#include <Poco/Data/Statement.h>

#include "Compiled.h"

namespace bench
{
namespace
{

namespace keywords = Poco::Data::Keywords;

class Statement;

struct Connection
{
    using Statement = bench::Statement;

    explicit Connection(const std::string& path) : db(opened(path)) {}
    void run(const char* sql) { db << sql, keywords::now; }
    void begin() { db.begin(); }
    void commit() { db.commit(); }

    static Poco::Data::Session opened(const std::string& path)
    {
        Poco::Data::SQLite::Connector::registerConnector();
        return Poco::Data::Session("SQLite", path);
    }

    Poco::Data::Session db;
};

// A statement, and the variables that it is bound to.
class Statement
{
public:
    Statement(Connection& connection, const char* sql, Shape shape) : _statement(connection.db)
    {
        _statement << sql;
        if (shape == Shape::takesItem)
            _statement, keywords::use(_id), keywords::use(_name), keywords::use(_price),
                keywords::use(_active), keywords::use(_created);
        if (shape == Shape::takesKey || shape == Shape::findsItem || shape == Shape::findsKey)
            _statement, keywords::use(_key);
        if (shape == Shape::findsKey)
            _statement, keywords::into(_id), keywords::range(0, 1);
        if (shape == Shape::givesItems || shape == Shape::findsItem)
            _statement, keywords::into(_id), keywords::into(_name), keywords::into(_price),
                keywords::into(_active), keywords::into(_created), keywords::range(0, 1);
        if (shape == Shape::givesTexts) {
            for (std::string& text : _texts)
                _statement, keywords::into(text);
            _statement, keywords::range(0, 1);
        }
    }

    void bind(const Item& item)
    {
        _id = item.id;
        _name = item.name;
        _price = item.price;
        _active = item.active;
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

    void run() { _statement.execute(); }
    bool next()
    {
        const bool ended = _isUnderWay && _statement.done();
        _isUnderWay = !ended && _statement.execute() > 0;
        return _isUnderWay;
    }
    void reset() { _isUnderWay = false; }

    void addTo(Reading& reading) const
    {
        reading.add(_id, _name.size(), _price, _active, _created);
    }
    void addTo(std::string& lines) const
    {
        for (int column = 0; column < 5; ++column) {
            lines += _texts[static_cast<std::size_t>(column)];
            endCell(lines, column);
        }
    }

private:
    Poco::Int64 _key = 0;
    Poco::Int64 _id = 0;
    std::string _name;
    double _price = 0.0;
    bool _active = false;
    Poco::Int64 _created = 0;
    std::array<std::string, 5> _texts;
    bool _isUnderWay = false;
    Poco::Data::Statement _statement;
};

class PocoData : public Compiled<Connection>
{
public:
    void insertAll(const Data& data) override
    {
        std::vector<Poco::Int64> ids, created;
        std::vector<std::string> names;
        std::vector<double> prices;
        std::deque<bool> actives; // which std::vector would pack
        for (std::size_t i = 0; i < data.rows; ++i) {
            const Item& item = *data.row(i);
            ids.push_back(item.id);
            names.push_back(item.name);
            prices.push_back(item.price);
            actives.push_back(item.active);
            created.push_back(item.created);
        }
        _first->db.db << statements::Writes::insert, keywords::use(ids), keywords::use(names),
            keywords::use(prices), keywords::use(actives), keywords::use(created), keywords::now;
    }
};

const Registration entry({"poco-data", make<PocoData>});

} // namespace
} // namespace bench
