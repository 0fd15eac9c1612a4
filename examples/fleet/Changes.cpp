#include "Changes.h"

#include <sqlite3.h>

#include "Program.h"
#include "Tables.h"

namespace fleet
{

namespace
{

void check(int rc, const char* what)
{
    if (rc != SQLITE_OK)
        throw support::Failure{std::string(what) + ": " + sqlite3_errstr(rc)};
}

bool isShared(const char* table)
{
    for (const Description& description : descriptions(newestVersion))
        if (std::string(description.name) == table)
            return true;
    return false;
}

// A value of the row that a change is about: an insertion has new values, the others old ones.
sqlite3_value* valueOf(sqlite3_changeset_iter* change, int operation, int column)
{
    sqlite3_value* value = nullptr;
    if (operation == SQLITE_INSERT)
        sqlite3changeset_new(change, column, &value);
    else
        sqlite3changeset_old(change, column, &value);
    return value;
}

std::string rowOf(sqlite3_changeset_iter* change, int operation, int columns)
{
    std::string row = operation == SQLITE_INSERT   ? "insert"
                      : operation == SQLITE_DELETE ? "delete"
                                                   : "update";
    for (int column = 0; column < columns; ++column) {
        sqlite3_value* value = nullptr;
        if (operation == SQLITE_UPDATE)
            sqlite3changeset_new(change, column, &value);
        if (!value)
            value = valueOf(change, operation, column);
        const auto* text = value ? sqlite3_value_text(value) : nullptr;
        row += '|';
        row += text ? reinterpret_cast<const char*>(text) : "";
    }
    return row;
}

const char* nameOf(int conflict)
{
    switch (conflict) {
        case SQLITE_CHANGESET_DATA:
            return "the row differs";
        case SQLITE_CHANGESET_NOTFOUND:
            return "the row is missing";
        case SQLITE_CHANGESET_CONFLICT:
            return "the row is there";
        default:
            return "a constraint fails";
    }
}

int onConflict(void* context, int kind, sqlite3_changeset_iter* change)
{
    const char* table = nullptr;
    int columns = 0, operation = 0, isIndirect = 0;
    sqlite3changeset_op(change, &table, &columns, &operation, &isIndirect);
    (*static_cast<const Conflict*>(context))(nameOf(kind), table,
                                             rowOf(change, operation, columns));
    return SQLITE_CHANGESET_OMIT;
}

int onTable(void*, const char* table)
{
    return isShared(table);
}

std::string objection(sqlite3_changeset_iter* change, const KeyRange& keys)
{
    while (sqlite3changeset_next(change) == SQLITE_ROW) {
        const char* table = nullptr;
        int columns = 0, operation = 0, isIndirect = 0;
        sqlite3changeset_op(change, &table, &columns, &operation, &isIndirect);
        if (!isShared(table))
            return std::string("it changes the table ") + table;
        sqlite3_value* id = valueOf(change, operation, 0);
        const sql::integer key = id ? sqlite3_value_int64(id) : 0;
        if (key < keys.first || key > keys.last)
            return "it changes row " + sql::intToStr(key) + ", which is another board's";
    }
    return std::string();
}

} // namespace

Changes::Changes(sqlite3* db) : _session(nullptr)
{
    check(sqlite3session_create(db, "main", &_session), "changes cannot be recorded");
    for (const Description& description : descriptions(newestVersion))
        check(sqlite3session_attach(_session, description.name), "changes cannot be recorded");
}

Changes::~Changes()
{
    sqlite3session_delete(_session);
}

void Changes::addAllRows()
{
    for (const Description& description : descriptions(newestVersion))
        check(sqlite3session_diff(_session, "empty", description.name, nullptr),
              "the rows cannot be read");
}

std::string Changes::take()
{
    int size = 0;
    void* bytes = nullptr;
    check(sqlite3session_changeset(_session, &size, &bytes), "the changes cannot be recorded");
    std::string changeset(static_cast<const char*>(bytes), static_cast<std::size_t>(size));
    sqlite3_free(bytes);
    return changeset;
}

void attachEmpty(sqlite3* db)
{
    run(db, "ATTACH ':memory:' AS empty");
    for (const Description& description : descriptions(versionOf(db)))
        run(db, std::string("CREATE TABLE empty.") + description.name + " (" +
                    description.fields.getDefinition() + ")");
}

std::string objection(const std::string& changeset, long long board)
{
    if (changeset.empty())
        return std::string();
    sqlite3_changeset_iter* change = nullptr;
    void* bytes = const_cast<char*>(changeset.data()); // only read
    if (sqlite3changeset_start(&change, static_cast<int>(changeset.size()), bytes) != SQLITE_OK)
        return "it is damaged";
    const std::string found = objection(change, KeyRange(board));
    return sqlite3changeset_finalize(change) != SQLITE_OK ? "it is damaged" : found;
}

int apply(sqlite3* db, const std::string& changeset, const Conflict& conflict)
{
    if (changeset.empty())
        return SQLITE_OK;
    return sqlite3changeset_apply(db, static_cast<int>(changeset.size()),
                                  const_cast<char*>(changeset.data()), onTable, onConflict,
                                  const_cast<Conflict*>(&conflict));
}

} // namespace fleet
