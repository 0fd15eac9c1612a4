// The companion library, used as its documentation shows, in three ways:
//
//     statement  Statement alone, as near to the C API as it goes: texts are lent both ways
//     writer     cells of their types: set on TableWriter, read from Statement, texts as strings
//     record     records, to TableWriter and from Statement

#include <SqlPrepared.h>

#include "Compiled.h"
#include "Records.h"

namespace bench
{
namespace
{

template <bool copies> class Rows;

template <bool copies> struct Connection
{
    using Statement = Rows<copies>;

    explicit Connection(const std::string& path)
    {
        require(db.open(path, sql::Database::read_write_create, false, 0), "companion: open");
    }
    void run(const char* text)
    {
        sql::Statement statement;
        require(statement.prepare(db.getHandle(), text) && statement.run(), "companion: run");
    }
    void begin() { transaction.emplace(db.getHandle()); }
    void commit()
    {
        require(transaction->commit(), "companion: commit");
        transaction.reset();
    }

    sql::Database db;
    std::optional<sql::Transaction> transaction;
};

template <bool copies> class Rows
{
public:
    Rows(Connection<copies>& connection, const char* text, Shape)
    {
        require(rows.prepare(connection.db.getHandle(), text), "companion: prepare");
    }

    void bind(const Item& item, int before = 0)
    {
        rows.bindInteger(before + 1, item.id);
        rows.bindText(before + 2, item.name.data(), static_cast<int>(item.name.size()));
        rows.bindDouble(before + 3, item.price);
        rows.bindBool(before + 4, item.active);
        rows.bindInteger(before + 5, item.created);
    }
    void bind(std::int64_t key) { rows.bindInteger(1, key); }
    void bindRow(const Rows& row)
    {
        rows.bindInteger(1, row.rows.getInteger(0));
        rows.bindText(2, row.rows.getText(1), row.rows.getSize(1));
        rows.bindDouble(3, row.rows.getDouble(2));
        rows.bindInteger(4, row.rows.getInteger(3));
        rows.bindInteger(5, row.rows.getInteger(4));
    }

    void run() { require(rows.run(), "companion: run"); }
    bool next()
    {
        const bool row = rows.next();
        require(row || !rows.error(), "companion: next");
        return row;
    }
    void reset() { rows.reset(); }

    void addTo(Reading& reading) const
    {
        reading.add(rows.getInteger(0), nameLength(), rows.getDouble(2), isActive(),
                    rows.getInteger(4));
    }
    void appendCell(int column, std::string& lines) const
    {
        const char* const text = rows.getText(column);
        lines.append(text, static_cast<std::size_t>(rows.getSize(column)));
    }

    sql::Statement rows;

private:
    std::size_t nameLength() const
    {
        if constexpr (copies)
            return rows.getString(1).size();
        else
            return static_cast<std::size_t>(rows.getSize(1));
    }
    // getBool looks at the type too, as the library does, which a program that uses the C API
    // leaves.
    bool isActive() const { return copies ? rows.getBool(3) : rows.getInteger(3) == 1; }
};

class Statement : public Compiled<Connection<false>>
{
public:
    void insertAll(const Data& data) override { insertInGroups(data, 50); }
};

// A table of a database, and its writer.
struct Written
{
    Written(sql::Database& db, const sql::FieldSet& fields) : table(db.getHandle(), "item", fields)
    {}
    sql::Table table;
    sql::TableWriter writer{table};
};

class Writer : public Compiled<Connection<true>>
{
public:
    void open(const std::string& path) override
    {
        Compiled::open(path);
        _items.emplace(_first->db.db, _fields);
    }
    void openSecond(const std::string& path) override
    {
        Compiled::openSecond(path);
        _secondItems.emplace(_second->db.db, _fields);
    }
    void insert(const Item* row) override { require(set(row).insert(), "writer: insert"); }
    void update(const Item* row) override { require(set(row).update(), "writer: update"); }
    void upsert(const Item* row) override { require(set(row).upsert(), "writer: upsert"); }
    void remove(std::int64_t key) override
    {
        require(writer().erase(sql::integer{key}), "writer: erase");
    }
    void copyToSecond() override
    {
        const sql::Statement& row = _first->readAll.rows;
        sql::TableWriter& second = _secondItems->writer;
        _second->db.begin();
        while (_first->readAll.next()) {
            second.setInteger(id, row.getInteger(id));
            second.setString(name, row.getString(name));
            second.setDouble(price, row.getDouble(price));
            second.setBool(active, row.getBool(active));
            second.setInteger(created, row.getInteger(created));
            require(second.insert(), "writer: insert");
        }
        _second->db.commit();
    }

protected:
    sql::TableWriter& writer() { return _items->writer; }

    const sql::FieldSet _fields = describe(1);
    std::optional<Written> _items;
    std::optional<Written> _secondItems;

private:
    sql::TableWriter& set(const Item* row)
    {
        writer().setInteger(id, row->id);
        writer().setString(name, row->name);
        writer().setDouble(price, row->price);
        writer().setBool(active, row->active);
        writer().setInteger(created, row->created);
        return writer();
    }
};

class Records : public Writer
{
public:
    void open(const std::string& path) override
    {
        Writer::open(path);
        _record = sql::Record(_items->table.fields());
    }
    void insert(const Item* row) override { require(writer().insert(filled(row)), "insert"); }
    void update(const Item* row) override { require(writer().update(filled(row)), "update"); }
    void upsert(const Item* row) override { require(writer().upsert(filled(row)), "upsert"); }
    void get(std::int64_t key, Reading& reading) override
    {
        require(_first->get.rows.find(sql::integer{key}, _record), "record: find");
        add<ByPosition>(_record, reading);
    }
    Reading readAll() override { return read(_first->readAll); }
    Reading readCheaperThan(int limit) override
    {
        _first->readCheaper.bind(std::int64_t{limit});
        return read(_first->readCheaper);
    }
    void copyToSecond() override
    {
        _second->db.begin();
        while (_first->readAll.next())
            require(_first->readAll.rows.read(_record) && _secondItems->writer.insert(_record),
                    "record: copy");
        _second->db.commit();
    }

private:
    const sql::Record& filled(const Item* row)
    {
        fill<ByPosition>(_record, row);
        return _record;
    }
    Reading read(Rows<true>& statement)
    {
        Reading reading;
        while (statement.next()) {
            require(statement.rows.read(_record), "record: read");
            add<ByPosition>(_record, reading);
        }
        return reading;
    }

    sql::Record _record{_fields};
};

const Registration statement("statement", make<Statement>);
const Registration writer("writer", make<Writer>);
const Registration record("record", make<Records>);

} // namespace
} // namespace bench
