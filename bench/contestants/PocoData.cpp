// POCO Data, as its user guide shows it: statements kept, with the variables that they take and
// fill, results fetched row by row, many rows inserted from vectors.

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
class Statement : public Variables<Poco::Int64, bool>
{
public:
    Statement(Connection& connection, const char* sql, Shape shape) : _statement(connection.db)
    {
        _statement << sql;
        if (shape == Shape::takesItem)
            forEachCell([&](auto& cell) { _statement, keywords::use(cell); });
        if (shape == Shape::takesKey || shape == Shape::findsItem || shape == Shape::findsKey)
            _statement, keywords::use(key);
        if (shape == Shape::findsKey)
            _statement, keywords::into(row.id);
        if (shape == Shape::givesItems || shape == Shape::findsItem)
            forEachCell([&](auto& cell) { _statement, keywords::into(cell); });
        if (shape == Shape::givesTexts)
            for (std::string& text : texts)
                _statement, keywords::into(text);
        if (shape != Shape::takesItem && shape != Shape::takesKey)
            _statement, keywords::range(0, 1);
    }

    void run() { _statement.execute(); }
    bool next()
    {
        const bool ended = isUnderWay && _statement.done();
        isUnderWay = !ended && _statement.execute() > 0;
        return isUnderWay;
    }
    void reset() { isUnderWay = false; }

private:
    Poco::Data::Statement _statement;
};

class PocoData : public Compiled<Connection>
{
public:
    void insertAll(const Data& data) override
    {
        Columns<Poco::Int64, std::deque<bool>> columns(data); // std::vector would pack them
        _first->db.db << statements::Writes::insert, keywords::use(columns.ids),
            keywords::use(columns.names), keywords::use(columns.prices),
            keywords::use(columns.actives), keywords::use(columns.created), keywords::now;
    }
};

const Registration entry("poco-data", make<PocoData>);

} // namespace
} // namespace bench
