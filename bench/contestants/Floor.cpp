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

/// The text of a statement, in a buffer that is used again for the next.
class Statement
{
public:
    Statement& start(std::string_view text)
    {
        _end = _buffer;
        return add(text);
    }
    Statement& add(std::string_view text)
    {
        std::memcpy(_end, text.data(), text.size());
        _end += text.size();
        return *this;
    }
    Statement& add(std::int64_t number)
    {
        _end = std::to_chars(_end, std::end(_buffer), number).ptr;
        return *this;
    }
    Statement& add(double number)
    {
        _end = std::to_chars(_end, std::end(_buffer), number, std::chars_format::fixed, 8).ptr;
        return *this;
    }
    Statement& addQuoted(std::string_view text)
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

class Floor : public Contestant
{
public:
    explicit Floor(std::size_t itemsPerRow);
    ~Floor() override { sqlite3_close(_db); }

    void open(const std::string& path) override;
    void begin() override { run("BEGIN TRANSACTION"); }
    void commit() override { run("COMMIT TRANSACTION"); }
    void insert(const Item* row) override;
    void update(const Item* row) override;
    void upsert(const Item* row) override;
    void remove(std::int64_t id) override;
    bool has(std::int64_t id) override;
    void get(std::int64_t id, Reading& reading) override;
    Reading readAll() override;
    Reading readCheaperThan(int price) override;
    void copy() override;
    Reading readCopy() override;
    sqlite3* handle() override { return _db; }

private:
    void run(const char* sql);
    void read(const char* sql);
    int queryNumber(const char* sql);
    bool exists(std::string_view table);
    void insertCells(const std::string* row);
    void addTo(Reading& reading) const;

    static int keep(void* floor, int count, char** texts, char**);

    sqlite3* _db = nullptr;
    const std::size_t _itemsPerRow;
    std::string _columns;
    std::string _definitions;
    std::vector<std::string> _names;
    Statement _sql;
    std::vector<std::string> _cells;
};

Floor::Floor(std::size_t itemsPerRow) : _itemsPerRow(itemsPerRow)
{
    for (std::size_t i = 0; i < itemsPerRow; ++i) {
        const std::string suffix = i > 0 ? "_" + std::to_string(i + 1) : "";
        for (const char* column : {"id", "name", "price", "active", "created"}) {
            _names.push_back(column + suffix);
            _columns += (_columns.empty() ? "" : ", ") + _names.back();
        }
        const char* const key = i == 0 ? " INTEGER PRIMARY KEY, name" : " INTEGER, name";
        _definitions += (i > 0 ? ", id" : "id") + suffix + key + suffix + " TEXT NOT NULL, price" +
                        suffix + " REAL, active" + suffix + " INTEGER, created" + suffix +
                        " INTEGER";
    }
}

void Floor::open(const std::string& path)
{
    require(sqlite3_open(path.c_str(), &_db) == SQLITE_OK, "floor: open");
    if (!exists("item"))
        run(_sql.start("CREATE TABLE item (").add(_definitions).add(")").text());
}

void Floor::run(const char* sql)
{
    require(sqlite3_exec(_db, sql, nullptr, nullptr, nullptr) == SQLITE_OK, "floor: run");
}

int Floor::keep(void* cells, int count, char** texts, char**)
{
    for (int i = 0; i < count; ++i)
        static_cast<std::vector<std::string>*>(cells)->emplace_back(texts[i] ? texts[i] : "");
    return 0;
}

void Floor::read(const char* sql)
{
    _cells.clear();
    require(sqlite3_exec(_db, sql, keep, &_cells, nullptr) == SQLITE_OK, "floor: read");
}

int Floor::queryNumber(const char* sql)
{
    sqlite3_stmt* statement = nullptr;
    require(sqlite3_prepare_v2(_db, sql, -1, &statement, nullptr) == SQLITE_OK &&
                sqlite3_step(statement) == SQLITE_ROW,
            "floor: number");
    const int number = sqlite3_column_int(statement, 0);
    sqlite3_finalize(statement);
    return number;
}

void Floor::addTo(Reading& reading) const
{
    for (std::size_t i = 0; i < _cells.size(); i += 5)
        reading.add(parse<std::int64_t>(_cells[i]), _cells[i + 1].size(),
                    parse<double>(_cells[i + 2]), _cells[i + 3] == "1",
                    parse<std::int64_t>(_cells[i + 4]));
}

void Floor::insert(const Item* row)
{
    _sql.start("insert into item (").add(_columns).add(") values (");
    for (std::size_t i = 0; i < _itemsPerRow; ++i) {
        const Item& item = row[i];
        _sql.add(i > 0 ? ", " : "").add(item.id).add(", ").addQuoted(item.name);
        _sql.add(", ").add(item.price).add(item.active ? ", 1, " : ", 0, ").add(item.created);
    }
    run(_sql.add(")").text());
}

void Floor::update(const Item* row)
{
    _sql.start("update item set name=").addQuoted(row->name).add(", price=").add(row->price);
    _sql.add(row->active ? ", active=1" : ", active=0").add(", created=").add(row->created);
    run(_sql.add(" where id = ").add(row->id).text());
}

void Floor::upsert(const Item* row)
{
    if (has(row->id))
        update(row);
    else
        insert(row);
}

void Floor::remove(std::int64_t id)
{
    run(_sql.start("delete from item where id = ").add(id).text());
}

bool Floor::has(std::int64_t id)
{
    return queryNumber(_sql.start("select count(*) from item where id = ").add(id).text()) > 0;
}

void Floor::get(std::int64_t id, Reading& reading)
{
    read(_sql.start("select * from item where id = ").add(id).text());
    addTo(reading);
}

Reading Floor::readAll()
{
    Reading reading;
    read("select * from item");
    addTo(reading);
    return reading;
}

Reading Floor::readCheaperThan(int price)
{
    Reading reading;
    _sql.start("select * from item where price < ").add(std::int64_t{price});
    read(_sql.add(" order by name").text());
    addTo(reading);
    return reading;
}

bool Floor::exists(std::string_view table)
{
    _sql.start("select count(*) from sqlite_master where type = 'table' and name = '").add(table);
    return queryNumber(_sql.add("'").text()) == 1;
}

void Floor::insertCells(const std::string* row)
{
    _sql.start("insert into item_copy (").add(_columns).add(") values (");
    for (std::size_t i = 0; i < _names.size(); ++i) {
        _sql.add(i > 0 ? ", " : "");
        if (i % 5 == 1)
            _sql.addQuoted(row[i]);
        else
            _sql.add(row[i]);
    }
    run(_sql.add(")").text());
}

void Floor::copy()
{
    if (exists("item_copy"))
        run("drop table item_copy");
    if (!exists("item_copy"))
        run(_sql.start("CREATE TABLE item_copy (").add(_definitions).add(")").text());
    read("select * from item");
    for (std::size_t i = 0; i < _cells.size(); i += _names.size())
        insertCells(&_cells[i]);
    const int expected = queryNumber("select count(*) from item");
    require(queryNumber("select count(*) from item_copy") == expected, "floor: copy");
}

Reading Floor::readCopy()
{
    Reading reading;
    read("select * from item_copy");
    addTo(reading);
    return reading;
}

std::unique_ptr<Contestant> make(std::size_t itemsPerRow)
{
    return std::make_unique<Floor>(itemsPerRow);
}

const Registration entry({"floor", make, true});

} // namespace
} // namespace bench
