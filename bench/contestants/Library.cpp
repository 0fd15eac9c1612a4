// The library, used as its documentation shows. Cells are named by their position, and one record
// is filled anew for each row that is written.

#include <cstdlib>

#include <Sql.h>

#include "../Contestant.h"
#include "platform/Platform.h"

namespace bench
{
namespace
{

enum Column { id, name, price, active, created, columnsPerItem };

sql::FieldSet describe(std::size_t itemsPerRow)
{
    std::vector<sql::Field> fields;
    for (std::size_t i = 0; i < itemsPerRow; ++i) {
        const std::string suffix = i > 0 ? "_" + std::to_string(i + 1) : "";
        const int key = i == 0 ? sql::flag_primary_key : 0;
        fields.emplace_back("id" + suffix, sql::type_int, key);
        fields.emplace_back("name" + suffix, sql::type_text, sql::flag_not_null);
        fields.emplace_back("price" + suffix, sql::type_float, 0);
        fields.emplace_back("active" + suffix, sql::type_bool, 0);
        fields.emplace_back("created" + suffix, sql::type_time, 0);
    }
    fields.emplace_back();
    return sql::FieldSet(fields.data());
}

class Library : public Contestant
{
public:
    explicit Library(std::size_t itemsPerRow);

    void open(const std::string& path) override;
    void begin() override { require(_database.transactionBegin(), "library: begin"); }
    void commit() override { require(_database.transactionCommit(), "library: commit"); }
    void insert(const Item* row) override;
    void update(const Item* row) override;
    void upsert(const Item* row) override;
    void remove(std::int64_t key) override;
    bool has(std::int64_t key) override { return _table->hasRecordWithKeyId(integer(key)); }
    void get(std::int64_t key, Reading& reading) override;
    Reading readAll() override;
    Reading readCheaperThan(int limit) override;
    void copy() override;
    Reading readCopy() override;
    sqlite3* handle() override { return _database.getHandle(); }

private:
    static sql::integer integer(std::int64_t number) { return number; }
    const sql::Record& filled(const Item* row);
    static void add(const sql::Record& record, Reading& reading);
    static Reading addAll(sql::Table& table);

    const sql::FieldSet _fields;
    sql::Record _record;
    sql::Database _database;
    std::unique_ptr<sql::Table> _table;
    std::unique_ptr<sql::Table> _copy;
};

// No contestant breaks a precondition.
void stop(const char*, const char*, int, const char*)
{
    std::abort();
}

Library::Library(std::size_t itemsPerRow) : _fields(describe(itemsPerRow)), _record(_fields)
{
    platform::setReportSink(stop);
}

void Library::open(const std::string& path)
{
    require(_database.open(path, sql::Database::read_write_create, false, 0), "library: open");
    _table = std::make_unique<sql::Table>(_database.getHandle(), "item", _fields);
    _copy = std::make_unique<sql::Table>(_database.getHandle(), "item_copy", _fields);
    require(_table->create(), "library: create");
}

const sql::Record& Library::filled(const Item* row)
{
    for (int first = 0; first < _record.columnCount(); first += columnsPerItem, ++row) {
        _record.setInteger(first + id, row->id);
        _record.setString(first + name, row->name);
        _record.setDouble(first + price, row->price);
        _record.setBool(first + active, row->active);
        _record.setTime(first + created, sql::Time(integer(row->created)));
    }
    return _record;
}

void Library::add(const sql::Record& record, Reading& reading)
{
    for (int first = 0; first < record.columnCount(); first += columnsPerItem)
        reading.add(record.getValue(first + id)->asInteger(),
                    record.getValue(first + name)->asString().size(),
                    record.getValue(first + price)->asDouble(),
                    record.getValue(first + active)->asBool(),
                    record.getValue(first + created)->asTime().asInteger());
}

Reading Library::addAll(sql::Table& table)
{
    Reading reading;
    for (int i = 0; i < table.recordCount(); ++i)
        add(*table.getRecord(i), reading);
    return reading;
}

void Library::insert(const Item* row)
{
    require(_table->addRecord(filled(row)), "library: insert");
}

void Library::update(const Item* row)
{
    require(_table->updateRecord(filled(row)), "library: update");
}

void Library::upsert(const Item* row)
{
    require(_table->addOrUpdateRecord(integer(row->id), filled(row)), "library: upsert");
}

void Library::remove(std::int64_t key)
{
    require(_table->deleteRecord(integer(key)), "library: remove");
}

void Library::get(std::int64_t key, Reading& reading)
{
    if (const sql::Record* record = _table->getRecordByKeyId(integer(key)))
        add(*record, reading);
}

Reading Library::readAll()
{
    require(_table->open(), "library: read");
    return addAll(*_table);
}

Reading Library::readCheaperThan(int limit)
{
    require(_table->open("price < " + sql::intToStr(limit), "name"), "library: read");
    return addAll(*_table);
}

void Library::copy()
{
    require(_copy->backup(*_table), "library: copy");
}

Reading Library::readCopy()
{
    require(_copy->open(), "library: read");
    return addAll(*_copy);
}

std::unique_ptr<Contestant> make(std::size_t itemsPerRow)
{
    return std::make_unique<Library>(itemsPerRow);
}

const Registration entry({"library", make, true});

} // namespace
} // namespace bench
