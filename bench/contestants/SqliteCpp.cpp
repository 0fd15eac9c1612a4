// SQLiteCpp, as its README shows it: statements kept, bound by position, and reset for the next
// row; many rows are inserted one by one in a transaction.

#include <SQLiteCpp/SQLiteCpp.h>

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
        : db(path, SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE)
    {}
    void run(const char* sql) { db.exec(sql); }
    void begin() { transaction.emplace(db); }
    void commit()
    {
        transaction->commit();
        transaction.reset();
    }

    SQLite::Database db;
    std::optional<SQLite::Transaction> transaction;
};

class Statement
{
public:
    Statement(Connection& connection, const char* sql, Shape) : _statement(connection.db, sql) {}

    void bind(const Item& item)
    {
        _statement.bind(1, item.id);
        _statement.bind(2, item.name);
        _statement.bind(3, item.price);
        _statement.bind(4, item.active ? 1 : 0);
        _statement.bind(5, item.created);
    }
    void bind(std::int64_t key) { _statement.bind(1, key); }
    void bindRow(Statement& row)
    {
        _statement.bind(1, row.cell(0).getInt64());
        _statement.bindNoCopy(2, row.cell(1).getText());
        _statement.bind(3, row.cell(2).getDouble());
        _statement.bind(4, row.cell(3).getInt());
        _statement.bind(5, row.cell(4).getInt64());
    }

    void run()
    {
        _statement.exec();
        _statement.reset();
    }
    bool next()
    {
        const bool row = _statement.executeStep();
        if (!row)
            _statement.reset();
        return row;
    }
    void reset() { _statement.reset(); }

    void addTo(Reading& reading)
    {
        reading.add(cell(0).getInt64(), cell(1).getString().size(), cell(2).getDouble(),
                    cell(3).getInt() == 1, cell(4).getInt64());
    }
    void appendCell(int column, std::string& lines)
    {
        const SQLite::Column text = cell(column);
        lines.append(text.getText(), static_cast<std::size_t>(text.getBytes()));
    }

private:
    SQLite::Column cell(int column) { return _statement.getColumn(column); }

    SQLite::Statement _statement;
};

const Registration entry("sqlitecpp", make<Compiled<Connection>>);

} // namespace
} // namespace bench
