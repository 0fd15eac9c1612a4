// What the contestants have in common that compile each statement once.

#ifndef SQLW_BENCH_COMPILED_H
#define SQLW_BENCH_COMPILED_H

#include <optional>
#include <string>

#include "../Contestant.h"

// The statements
namespace bench::statements
{

inline const char createItem[] = "create table if not exists item (id INTEGER PRIMARY KEY, "
                                 "name TEXT NOT NULL, price REAL, active INTEGER, created INTEGER)";
inline const char createCopy[] = "create table item_copy (id INTEGER PRIMARY KEY, "
                                 "name TEXT NOT NULL, price REAL, active INTEGER, created INTEGER)";
inline const char copy[] = "insert into item_copy select * from item";
inline const char remove[] = "delete from item where id=?1";
inline const char has[] = "select 1 from item where id=?1";
inline const char get[] = "select * from item where id=?1";
inline const char readAll[] = "select * from item";
inline const char readCheaper[] = "select * from item where price < ?1 order by name";
inline const char readCopy[] = "select * from item_copy";

/// What takes an item.
struct Writes
{
    static constexpr const char* insert = "insert into item values (?1, ?2, ?3, ?4, ?5)";
    static constexpr const char* update = "update item set name=?2, price=?3, active=?4, "
                                          "created=?5 where id=?1";
    static constexpr const char* upsert = "insert into item values (?1, ?2, ?3, ?4, ?5) "
                                          "on conflict (id) do update set name=?2, price=?3, "
                                          "active=?4, created=?5";
};

/// The same for those that number no parameters: the id comes last.
struct WritesInOrder
{
    static constexpr const char* insert = "insert into item (name, price, active, created, id) "
                                          "values (?, ?, ?, ?, ?)";
    static constexpr const char* update = "update item set name=?, price=?, active=?, created=? "
                                          "where id=?";
    static constexpr const char* upsert = "insert into item (name, price, active, created, id) "
                                          "values (?, ?, ?, ?, ?) on conflict (id) do update set "
                                          "name=excluded.name, price=excluded.price, "
                                          "active=excluded.active, created=excluded.created";
};

/// An INSERT of so many rows, five parameters each.
inline std::string insertOf(std::size_t rows)
{
    std::string sql = "insert into item values (?, ?, ?, ?, ?)";
    while (--rows > 0)
        sql += ", (?, ?, ?, ?, ?)";
    return sql;
}

} // namespace bench::statements

namespace bench
{

/// What a statement takes and gives, for contestants that attach variables to it.
enum class Shape { takesItem, takesKey, givesItems, givesTexts, findsItem, findsKey };

/// A Connection has
///
///     Connection(path), run(sql), begin(), commit()
///
/// and a class Statement with
///
///     Statement(connection, sql, shape)
///     bind(item), bind(key), bindRow(statement)   the parameters
///     run()                                       of what gives no rows
///     next(), reset()                             next() resets after the last row
///     addTo(reading), appendCell(column, lines)   the cells of the row
template <typename Connection, typename Writes = statements::Writes>
class Compiled : public Contestant
{
public:
    void open(const std::string& path) override { _first.emplace(path); }
    void openSecond(const std::string& path) override { _second.emplace(path); }

    void begin() override { _first->db.begin(); }
    void commit() override { _first->db.commit(); }

    void insert(const Item* row) override { write(_first->insert, *row); }
    void update(const Item* row) override { write(_first->update, *row); }
    void upsert(const Item* row) override { write(_first->upsert, *row); }
    void remove(std::int64_t id) override
    {
        _first->remove.bind(id);
        _first->remove.run();
    }
    bool has(std::int64_t id) override
    {
        _first->has.bind(id);
        const bool found = _first->has.next();
        if (found)
            _first->has.reset();
        return found;
    }
    void get(std::int64_t id, Reading& reading) override
    {
        _first->get.bind(id);
        addRows(_first->get, reading);
    }
    Reading readAll() override { return readingFrom(_first->readAll); }
    Reading readCheaperThan(int price) override
    {
        _first->readCheaper.bind(std::int64_t{price});
        return readingFrom(_first->readCheaper);
    }
    void exportAll(std::string& lines) override
    {
        while (_first->exportAll.next())
            for (int column = 0; column < 5; ++column) {
                _first->exportAll.appendCell(column, lines);
                lines += column < 4 ? '\t' : '\n';
            }
    }
    void copy() override
    {
        _first->db.run(statements::createCopy);
        _first->db.run(statements::copy);
    }
    Reading readCopy() override
    {
        Statement all(_first->db, statements::readCopy, Shape::givesItems);
        return readingFrom(all);
    }
    void copyToSecond() override
    {
        _second->db.begin();
        while (_first->readAll.next()) {
            _second->insert.bindRow(_first->readAll);
            _second->insert.run();
        }
        _second->db.commit();
    }
    Reading readSecond() override { return readingFrom(_second->readAll); }

protected:
    using Statement = typename Connection::Statement;

    struct Table
    {
        explicit Table(const std::string& path) : db(path) { db.run(statements::createItem); }
        Connection db;
    };
    struct Opened : Table
    {
        using Table::db;
        explicit Opened(const std::string& path) : Table(path) {}

        Statement insert{db, Writes::insert, Shape::takesItem};
        Statement update{db, Writes::update, Shape::takesItem};
        Statement upsert{db, Writes::upsert, Shape::takesItem};
        Statement remove{db, statements::remove, Shape::takesKey};
        Statement has{db, statements::has, Shape::findsKey};
        Statement get{db, statements::get, Shape::findsItem};
        Statement readAll{db, statements::readAll, Shape::givesItems};
        Statement readCheaper{db, statements::readCheaper, Shape::findsItem};
        Statement exportAll{db, statements::readAll, Shape::givesTexts};
    };

    static void write(Statement& statement, const Item& item)
    {
        statement.bind(item);
        statement.run();
    }
    static void addRows(Statement& statement, Reading& reading)
    {
        while (statement.next())
            statement.addTo(reading);
    }
    static Reading readingFrom(Statement& statement)
    {
        Reading reading;
        addRows(statement, reading);
        return reading;
    }
    /// Inserts by a statement of several rows.
    void insertInGroups(const Data& data, std::size_t size)
    {
        Statement group(_first->db, statements::insertOf(size).c_str(), Shape::takesItem);
        std::size_t done = 0;
        for (; done + size <= data.rows; done += size) {
            for (std::size_t i = 0; i < size; ++i)
                group.bind(*data.row(done + i), static_cast<int>(5 * i));
            group.run();
        }
        for (; done < data.rows; ++done)
            insert(data.row(done));
    }

    std::optional<Opened> _first;
    std::optional<Opened> _second;
};

/// What a statement is bound to, for libraries that take and fill variables.
template <typename Integer, typename Truth> struct Variables
{
    struct Row
    {
        Integer id = 0;
        std::string name;
        double price = 0.0;
        Truth active = 0;
        Integer created = 0;
    };

    void bind(const Item& item)
    {
        row.id = item.id;
        row.name = item.name;
        row.price = item.price;
        row.active = item.active;
        row.created = item.created;
    }
    void bind(std::int64_t number) { key = number; }
    void bindRow(const Variables& other) { row = other.row; }
    template <typename Use> void forEachCell(Use use)
    {
        use(row.id);
        use(row.name);
        use(row.price);
        use(row.active);
        use(row.created);
    }

    void addTo(Reading& reading) const
    {
        reading.add(row.id, row.name.size(), row.price, row.active != 0, row.created);
    }
    void appendCell(int column, std::string& lines) const { lines += texts[column]; }

    Integer key = 0;
    Row row;
    std::string texts[5];
    bool isUnderWay = false;
};

/// The cells of all rows, for libraries that insert vectors.
template <typename Integer, typename Truths> struct Columns
{
    explicit Columns(const Data& data)
    {
        for (std::size_t i = 0; i < data.rows; ++i) {
            const Item& item = *data.row(i);
            ids.push_back(item.id);
            names.push_back(item.name);
            prices.push_back(item.price);
            actives.push_back(item.active);
            created.push_back(item.created);
        }
    }

    std::vector<Integer> ids, created;
    std::vector<std::string> names;
    std::vector<double> prices;
    Truths actives;
};

} // namespace bench

#endif
