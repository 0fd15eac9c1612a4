// The library, used as its documentation shows: one record is filled again for each row that is
// written. Cells are named by their position or, in a contestant of its own, by their column's
// name.

#include <cstdlib>
#include <optional>

#include "platform/Platform.h"
#include "Records.h"

namespace bench
{
namespace
{

// No contestant breaks a precondition.
void stop(const char*, const char*, int, const char*)
{
    std::abort();
}

struct Opened
{
    Opened(const std::string& path, const sql::FieldSet& fields)
    {
        require(database.open(path, sql::Database::read_write_create, false, 0), "library: open");
        table.emplace(database.getHandle(), "item", fields);
        copy.emplace(database.getHandle(), "item_copy", fields);
        require(table->create(), "library: create");
    }

    sql::Database database;
    std::optional<sql::Table> table;
    std::optional<sql::Table> copy;
};

template <typename Columns> class Library : public Contestant
{
public:
    explicit Library(std::size_t itemsPerRow) : _fields(describe(itemsPerRow)), _record(_fields)
    {
        platform::setReportSink(stop);
    }

    void open(const std::string& path) override { _first.emplace(path, _fields); }
    void openSecond(const std::string& path) override { _second.emplace(path, _fields); }
    void begin() override { require(_first->database.transactionBegin(), "library: begin"); }
    void commit() override { require(_first->database.transactionCommit(), "library: commit"); }

    void insert(const Item* row) override
    {
        require(table().addRecord(filled(row)), "library: insert");
    }
    void update(const Item* row) override
    {
        require(table().updateRecord(filled(row)), "library: update");
    }
    void upsert(const Item* row) override
    {
        require(table().addOrUpdateRecord(row->id, filled(row)), "library: upsert");
    }
    void remove(std::int64_t key) override
    {
        require(table().deleteRecord(sql::integer{key}), "library: remove");
    }
    bool has(std::int64_t key) override { return table().hasRecordWithKeyId(sql::integer{key}); }
    void get(std::int64_t key, Reading& reading) override
    {
        if (const sql::Record* record = table().getRecordByKeyId(sql::integer{key}))
            add<Columns>(*record, reading);
    }
    Reading readAll() override { return readingOf(table()); }
    Reading readCheaperThan(int limit) override
    {
        require(table().open("price < " + sql::intToStr(limit), "name"), "library: read");
        return readingOfHeld(table());
    }
    void exportAll(std::string& lines) override
    {
        require(table().open(), "library: read");
        for (int i = 0; i < table().recordCount(); ++i) {
            const sql::Record& record = *table().getRecord(i);
            for (const Column column : {id, name, price, active}) {
                lines += record.getValue(Columns::of(0, column))->asString();
                lines += '\t';
            }
            lines += sql::intToStr(record.getValue(Columns::of(0, created))->asInteger());
            lines += '\n';
        }
    }
    void copy() override { require(_first->copy->backup(table()), "library: copy"); }
    Reading readCopy() override { return readingOf(*_first->copy); }
    void copyToSecond() override
    {
        require(_second->database.transactionBegin() && _second->table->backup(table()) &&
                    _second->database.transactionCommit(),
                "library: copy");
    }
    Reading readSecond() override { return readingOf(*_second->table); }

private:
    sql::Table& table() { return *_first->table; }
    const sql::Record& filled(const Item* row)
    {
        fill<Columns>(_record, row);
        return _record;
    }
    static Reading readingOf(sql::Table& table)
    {
        require(table.open(), "library: read");
        return readingOfHeld(table);
    }
    static Reading readingOfHeld(sql::Table& table)
    {
        Reading reading;
        for (int i = 0; i < table.recordCount(); ++i)
            add<Columns>(*table.getRecord(i), reading);
        return reading;
    }

    const sql::FieldSet _fields;
    sql::Record _record;
    std::optional<Opened> _first;
    std::optional<Opened> _second;
};

std::unique_ptr<Contestant> makeByName(std::size_t itemsPerRow)
{
    require(itemsPerRow == 1, "names are those of an item");
    return std::make_unique<Library<ByName>>(itemsPerRow);
}

const Registration byPosition("library", makeWide<Library<ByPosition>>);
const Registration byName("library-by-name", makeByName);

} // namespace
} // namespace bench
