// Hostile names, keys and conditions: the statements are those that are documented, whatever the
// texts make of them, and results and rows are SQLite's own.

#include <algorithm>

#include <sqlite3.h>

#include "Compared.h"

namespace
{

int refuseFiles(void*, int action, const char*, const char*, const char*, const char*)
{
    return action == SQLITE_ATTACH || action == SQLITE_PRAGMA ? SQLITE_DENY : SQLITE_OK;
}

int giveUp(void* steps)
{
    return ++*static_cast<int*>(steps) > 200;
}

// A connection in memory that ends what takes too long.
struct Memory
{
    Memory()
    {
        database.open(":memory:", sql::Database::read_write_create, false, 0);
        sqlite3_set_authorizer(database.getHandle(), refuseFiles, nullptr);
        sqlite3_progress_handler(database.getHandle(), 1000, giveUp, &steps);
        sqlite3_limit(database.getHandle(), SQLITE_LIMIT_LENGTH, 100000);
    }
    sql::Database database;
    int steps = 0;
};

std::string escaped(const std::string& text)
{
    std::string result;
    for (const char character : text)
        result += std::string(character == '\'' ? 2 : 1, character);
    return result;
}

// The column's name as a definition has it, which is trimmed.
std::string withoutLeadingBlanks(const std::string& text)
{
    return std::string(std::find_if_not(text.begin(), text.end(), fuzz::isBlank), text.end());
}

// The texts of one input, and the statements that are documented for them.
struct Texts
{
    explicit Texts(FuzzedDataProvider& input)
        : column(input.ConsumeRandomLengthString(16)), name(input.ConsumeRandomLengthString(16)),
          key(input.ConsumeRandomLengthString(24)), where(input.ConsumeRandomLengthString(48)),
          order(input.ConsumeRandomLengthString(24)), value(input.ConsumeRandomLengthString(16))
    {
        if (column.empty() || column == "value_") // no description, or one name twice
            column = "k";
    }

    // Without a table's name no statement is built.
    std::string insert() const
    {
        const std::string values = "('" + escaped(key) + "', " + value + ")";
        return name.empty() ? ""
                            : "insert into " + name + " (" + column + ", value_) values " + values;
    }
    std::string update() const
    {
        const std::string test = " where " + column + " = " + key;
        return name.empty() ? "" : "update " + name + " set value_=" + value + test;
    }
    std::string create() const
    {
        return "CREATE TABLE " + name + " (" + withoutLeadingBlanks(column + " TEXT") +
               " PRIMARY KEY, value_ INTEGER)";
    }
    std::string exists() const
    {
        return "select count(*) from sqlite_master where type = 'table' and name = '" + name + "'";
    }
    std::string keyTest() const { return name + " where " + column + " = \"" + key + "\""; }
    std::string condition() const { return where.empty() ? "" : " where " + where; }
    std::string ordered() const { return order.empty() ? "" : " order by " + order; }

    std::string column;
    const std::string name, key, where, order, value;
};

void write(fuzz::Compared& compared, const Texts& texts, sql::Table& table)
{
    compared.create(texts.exists(), texts.create(), table.create());
    sql::Record record(table.fields());
    record.setString(0, texts.key);
    record.setString(1, texts.value);
    compared.statement(texts.insert(), table.addRecord(record));
    compared.either("select count(*) from " + texts.keyTest(), texts.update(), texts.insert(),
                    table.addOrUpdateRecord(texts.key, record));
}

void read(fuzz::Compared& compared, const Texts& texts, sql::Table& table)
{
    compared.has("select count(*) from " + texts.keyTest(), table.hasRecordWithKeyId(texts.key));
    const sql::Record* const found = table.getRecordByKeyId(texts.key);
    compared.first("select * from " + texts.keyTest(), found, table);
    const std::string all = "select * from " + texts.name;
    compared.rows(all + texts.condition() + texts.ordered(), table.open(texts.where, texts.order),
                  table);
    compared.number("select count(*) from " + texts.name, table.totalRecordCount());
}

void remove(fuzz::Compared& compared, const Texts& texts, sql::Table& table)
{
    compared.statement("delete from " + texts.name + texts.condition(),
                       table.deleteRecords(texts.where));
    compared.statement("delete from " + texts.keyTest(), table.deleteRecord(texts.key));
    sql::Table copy(table.getHandle(), "copy", table.fields());
    compared.backup(texts.name, "copy", copy.backup(table));
    compared.statement("drop table " + texts.name, table.remove());
}

} // namespace

void fuzz::tryInput(FuzzedDataProvider& input)
{
    const Texts texts(input);
    const sql::Field fields[] = {
        sql::Field(texts.column, sql::type_text, sql::flag_primary_key),
        sql::Field("value_", sql::type_int, 0),
        sql::Field(),
    };
    Memory memory;
    fuzz::Compared compared(memory.database.getHandle());
    sql::Table table(memory.database.getHandle(), texts.name, fields);
    write(compared, texts, table);
    read(compared, texts, table);
    remove(compared, texts, table);
}
