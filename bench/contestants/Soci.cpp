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
class Statement : public Variables<long long, int>
{
public:
    Statement(Connection& connection, const char* sql, Shape shape) : _statement(connection.db)
    {
        if (shape == Shape::takesItem)
            forEachCell([&](auto& cell) { _statement.exchange(soci::use(cell)); });
        if (shape == Shape::takesKey || shape == Shape::findsItem || shape == Shape::findsKey)
            _statement.exchange(soci::use(key));
        if (shape == Shape::findsKey)
            _statement.exchange(soci::into(row.id));
        if (shape == Shape::givesItems || shape == Shape::findsItem)
            forEachCell([&](auto& cell) { _statement.exchange(soci::into(cell)); });
        if (shape == Shape::givesTexts)
            for (std::string& text : texts)
                _statement.exchange(soci::into(text));
        _statement.alloc();
        _statement.prepare(sql);
        _statement.define_and_bind();
    }

    void run() { _statement.execute(true); }
    bool next()
    {
        if (!isUnderWay)
            _statement.execute();
        isUnderWay = _statement.fetch();
        return isUnderWay;
    }
    void reset() { isUnderWay = false; }

private:
    soci::statement _statement;
};

class Soci : public Compiled<Connection>
{
public:
    void insertAll(const Data& data) override
    {
        Columns<long long, std::vector<int>> columns(data);
        _first->db.db << statements::Writes::insert, soci::use(columns.ids),
            soci::use(columns.names), soci::use(columns.prices), soci::use(columns.actives),
            soci::use(columns.created);
    }
};

const Registration entry("soci", make<Soci>);

} // namespace
} // namespace bench
