// The floor of the design: the same texts to the same functions of SQLite, by hand and with nothing
// to spare. Statements are rendered into one buffer and go through sqlite3_exec; rows are kept as
// one flat vector of strings. A single number is asked for as the library does, which is cheaper.

#include <charconv>
#include <cstring>
#include <string_view>

#include <sqlite3.h>

#include "../Contestant.h"

namespace bench
{
namespace
{

/// A statement, in a buffer that is used again for the next.
class Text
{
public:
    Text& start(std::string_view text)
    {
        _end = _buffer;
        return add(text);
    }
    Text& add(std::string_view text)
    {
        std::memcpy(_end, text.data(), text.size());
        _end += text.size();
        return *this;
    }
    Text& add(std::int64_t number)
    {
        _end = std::to_chars(_end, std::end(_buffer), number).ptr;
        return *this;
    }
    Text& add(double number)
    {
        _end = std::to_chars(_end, std::end(_buffer), number, std::chars_format::fixed, 8).ptr;
        return *this;
    }
    Text& addEnclosed(std::string_view text)
    {
        *_end++ = '\'';
        for (std::size_t quote; (quote = text.find('\'')) != text.npos;) {
            add(text.substr(0, quote + 1));
            *_end++ = '\'';
            text.remove_prefix(quote + 1);
        }
        add(text);
        *_end++ = '\'';
        return *this;
    }
    const char* text()
    {
        *_end = '\0';
        return _buffer;
    }

private:
    char _buffer[1 << 16]; // a row of 200 columns takes a quarter
    char* _end = _buffer;
};

template <typename Number> Number parse(const std::string& text)
{
    Number number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

const char* const columns[][2] = {{"id", " INTEGER"},
                                  {"name", " TEXT NOT NULL"},
                                  {"price", " REAL"},
                                  {"active", " INTEGER"},
                                  {"created", " INTEGER"}};

class Floor : public Contestant
{
public:
    explicit Floor(std::size_t itemsPerRow) : _itemsPerRow(itemsPerRow)
    {
        for (std::size_t i = 0; i < itemsPerRow; ++i) {
            const std::string suffix = i > 0 ? "_" + std::to_string(i + 1) : "";
            for (const auto& [column, type] : columns) {
                const char* const separator = _names.empty() ? "" : ", ";
                _names.push_back(column + suffix);
                _columns += separator + _names.back();
                _definitions += separator + _names.back() + type;
                _definitions += _names.size() == 1 ? " PRIMARY KEY" : "";
            }
        }
    }
    ~Floor() override
    {
        sqlite3_close(_db);
        sqlite3_close(_second);
    }

    void open(const std::string& path) override { _db = opened(path); }
    void openSecond(const std::string& path) override { _second = opened(path); }
    void begin() override { run(_db, "BEGIN TRANSACTION"); }
    void commit() override { run(_db, "COMMIT TRANSACTION"); }
    void insert(const Item* row) override
    {
        _sql.start("insert into item (").add(_columns).add(") values (");
        for (std::size_t i = 0; i < _itemsPerRow; ++i) {
            const Item& item = row[i];
            _sql.add(i > 0 ? ", " : "").add(item.id).add(", ").addEnclosed(item.name);
            _sql.add(", ").add(item.price).add(item.active ? ", 1, " : ", 0, ").add(item.created);
        }
        run(_db, _sql.add(")").text());
    }
    void update(const Item* row) override
    {
        _sql.start("update item set name=").addEnclosed(row->name).add(", price=").add(row->price);
        _sql.add(row->active ? ", active=1" : ", active=0").add(", created=").add(row->created);
        run(_db, _sql.add(" where id = ").add(row->id).text());
    }
    void upsert(const Item* row) override
    {
        if (has(row->id))
            update(row);
        else
            insert(row);
    }
    void remove(std::int64_t id) override
    {
        run(_db, _sql.start("delete from item where id = ").add(id).text());
    }
    bool has(std::int64_t id) override
    {
        return queryNumber(_db,
                           _sql.start("select count(*) from item where id = ").add(id).text()) > 0;
    }
    void get(std::int64_t id, Reading& reading) override
    {
        read(_db, _sql.start("select * from item where id = ").add(id).text());
        addTo(reading);
    }
    Reading readAll() override { return readingFrom(_db, "select * from item"); }
    Reading readCheaperThan(int price) override
    {
        _sql.start("select * from item where price < ").add(std::int64_t{price});
        return readingFrom(_db, _sql.add(" order by name").text());
    }
    void exportAll(std::string& lines) override
    {
        read(_db, "select * from item");
        for (std::size_t i = 0; i < _cells.size(); ++i) {
            lines += _cells[i];
            lines += (i + 1) % _names.size() > 0 ? '\t' : '\n';
        }
    }
    void copy() override { copyTo(_db, "item_copy"); }
    Reading readCopy() override { return readingFrom(_db, "select * from item_copy"); }
    void copyToSecond() override
    {
        run(_second, "BEGIN TRANSACTION");
        copyTo(_second, "item");
        run(_second, "COMMIT TRANSACTION");
    }
    Reading readSecond() override { return readingFrom(_second, "select * from item"); }

private:
    sqlite3* opened(const std::string& path)
    {
        sqlite3* db = nullptr;
        require(sqlite3_open(path.c_str(), &db) == SQLITE_OK, "floor: open");
        if (!exists(db, "item"))
            createTable(db, "item");
        return db;
    }
    static void run(sqlite3* db, const char* sql)
    {
        require(sqlite3_exec(db, sql, nullptr, nullptr, nullptr) == SQLITE_OK, "floor: run");
    }
    static int keep(void* cells, int count, char** texts, char**)
    {
        for (int i = 0; i < count; ++i)
            static_cast<std::vector<std::string>*>(cells)->emplace_back(texts[i] ? texts[i] : "");
        return 0;
    }
    void read(sqlite3* db, const char* sql)
    {
        _cells.clear();
        require(sqlite3_exec(db, sql, keep, &_cells, nullptr) == SQLITE_OK, "floor: read");
    }
    static int queryNumber(sqlite3* db, const char* sql)
    {
        sqlite3_stmt* statement = nullptr;
        require(sqlite3_prepare_v2(db, sql, -1, &statement, nullptr) == SQLITE_OK &&
                    sqlite3_step(statement) == SQLITE_ROW,
                "floor: number");
        const int number = sqlite3_column_int(statement, 0);
        sqlite3_finalize(statement);
        return number;
    }
    void addTo(Reading& reading) const
    {
        for (std::size_t i = 0; i < _cells.size(); i += 5)
            reading.add(parse<std::int64_t>(_cells[i]), _cells[i + 1].size(),
                        parse<double>(_cells[i + 2]), _cells[i + 3] == "1",
                        parse<std::int64_t>(_cells[i + 4]));
    }
    Reading readingFrom(sqlite3* db, const char* sql)
    {
        Reading reading;
        read(db, sql);
        addTo(reading);
        return reading;
    }
    bool exists(sqlite3* db, std::string_view table)
    {
        _sql.start("select count(*) from sqlite_master where type = 'table' and name = '")
            .add(table);
        return queryNumber(db, _sql.add("'").text()) == 1;
    }
    void createTable(sqlite3* db, std::string_view table)
    {
        run(db, _sql.start("CREATE TABLE ").add(table).add(" (").add(_definitions).add(")").text());
    }
    void insertCells(sqlite3* db, std::string_view table, const std::string* row)
    {
        _sql.start("insert into ").add(table).add(" (").add(_columns).add(") values (");
        for (std::size_t i = 0; i < _names.size(); ++i) {
            _sql.add(i > 0 ? ", " : "");
            if (i % 5 == 1)
                _sql.addEnclosed(row[i]);
            else
                _sql.add(row[i]);
        }
        run(db, _sql.add(")").text());
    }
    void copyTo(sqlite3* db, std::string_view table)
    {
        if (exists(db, table))
            run(db, _sql.start("drop table ").add(table).text());
        if (!exists(db, table))
            createTable(db, table);
        read(_db, "select * from item");
        for (std::size_t i = 0; i < _cells.size(); i += _names.size())
            insertCells(db, table, &_cells[i]);
        const int expected = queryNumber(_db, "select count(*) from item");
        _sql.start("select count(*) from ").add(table);
        require(queryNumber(db, _sql.text()) == expected, "floor: copy");
    }

    sqlite3* _db = nullptr;
    sqlite3* _second = nullptr;
    const std::size_t _itemsPerRow;
    std::string _columns;
    std::string _definitions;
    std::vector<std::string> _names;
    Text _sql;
    std::vector<std::string> _cells;
};

const Registration entry("floor", makeWide<Floor>);

} // namespace
} // namespace bench
