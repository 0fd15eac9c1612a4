#include "SqlTable.h"

#include <syslog.h>

#include "StatementText.h"

#define SQLW_SOURCE_NAME "SqlTable.cpp"

namespace sql
{

Table::Table(const string& name) : _db(nullptr), _name(name) {}

Table::Table(sqlite3* db, const string& name, const Field* fields)
    : _db(db), _name(name), _recordset(db, fields)
{}

Table::Table(sqlite3* db, const string& name, const FieldSet& fields)
    : _db(db), _name(name), _recordset(db, fields)
{}

bool Table::initTable(sqlite3* db, const Field* fields)
{
    _db = db;
    return _recordset.initRecordSet(db, fields);
}

string Table::name() const
{
    return _name;
}

const FieldSet& Table::fields() const
{
    return _recordset.fields();
}

sqlite3* Table::getHandle()
{
    return _db;
}

// The table in the database

bool Table::exists()
{
    SQLW_SIGNATURE("bool sql::Table::exists()");
    if (!SQLW_ASSERT(_db))
        return false;
    const int tables = queryNumber(
        _db, "select count(*) from sqlite_master where type = 'table' and name = '" + _name + "'");
    if (tables == 1) {
        SQLW_DEBUG2("Table '%s' exists", _name.c_str());
        return true;
    }
    if (tables == 0) {
        SQLW_DEBUG2("Table '%s' does not exist", _name.c_str());
        return false;
    }
    SQLW_ERROR("Failed to determine if table '%s' exists", _name.c_str());
    return true; // create() then leaves alone what it knows nothing about
}

bool Table::create()
{
    SQLW_SIGNATURE("bool sql::Table::create()");
    if (exists())
        return true;
    const string definition = getDefinition();
    if (definition.empty()) {
        SQLW_FAULT("Failed to build SQL CREATE TABLE stmt for table %s", _name.c_str());
        return false;
    }
    return _recordset.query(definition);
}

bool Table::truncate()
{
    return _recordset.query("delete from " + _name);
}

bool Table::remove()
{
    return _recordset.query("drop table " + _name);
}

int Table::totalRecordCount() const
{
    SQLW_SIGNATURE("int sql::Table::totalRecordCount() const");
    if (!SQLW_ASSERT(_db))
        return -1;
    return queryNumber(_db, "select count(*) from " + _name);
}

// Reading

bool Table::open()
{
    return open(string(), string());
}

bool Table::open(const string& where)
{
    return open(where, string());
}

bool Table::open(const string& where, const string& orderBy)
{
    string sql = "select * from " + _name;
    if (!where.empty())
        sql += " where " + where;
    if (!orderBy.empty())
        sql += " order by " + orderBy;
    return _recordset.query(sql);
}

bool Table::query(const string& sql)
{
    return _recordset.query(sql);
}

// The rows held

int Table::recordCount() const
{
    return _recordset.count();
}

Record* Table::getRecord(int index)
{
    return _recordset.getRecord(index);
}

Record* Table::getTopRecord()
{
    return getRecord(0);
}

// Writing

bool Table::runAside(const char* sql)
{
    return RecordSet(_db).query(sql, fields());
}

bool Table::addRecord(const Record& record)
{
    StatementText sql;
    if (!record.toSqlInsert(_name, sql)) {
        SQLW_ERROR("Failed to build SQL INSERT statement for table '%s'", _name.c_str());
        return false;
    }
    return runAside(sql.c_str());
}

bool Table::updateRecord(const Record& record)
{
    StatementText sql;
    if (!record.toSqlUpdate(_name, sql)) {
        SQLW_ERROR("Failed to build SQL UPDATE statement for table '%s'", _name.c_str());
        return false;
    }
    return runAside(sql.c_str());
}

bool Table::deleteRecords(const string& where)
{
    string sql = "delete from " + _name;
    if (!where.empty())
        sql += " where " + where;
    return runAside(sql.c_str());
}

// Rows by their key. Text and integer keys differ in the key test and the signature alone.

static void addKey(StatementText& sql, const string& keyId)
{
    sql.add("\""); // double quotes, and none escaped
    sql.add(keyId);
    sql.add("\"");
}

static void addKey(StatementText& sql, integer keyId)
{
    sql.addInteger(keyId);
}

// Answers whether there is a key column.
template <size_t Size, typename Key>
bool Table::buildByKey(StatementText& sql, const char (&start)[Size], const Key& keyId) const
{
    sql.add(start);
    sql.add(_name);
    sql.add(" where ");
    const bool hasKey = fields().getKeyIdName(sql);
    sql.add(" = ");
    addKey(sql, keyId);
    return hasKey;
}

template <typename Key> bool Table::deleteRecord(const Key& keyId, const char* signature)
{
    StatementText sql;
    if (!buildByKey(sql, "delete from ", keyId)) {
        SQLW_FAULT("Failed to get name of PRIMARY KEY column");
        return false;
    }
    return runAside(sql.c_str());
}

bool Table::deleteRecord(string keyId)
{
    return deleteRecord(keyId, "bool sql::Table::deleteRecord(sql::string)");
}

bool Table::deleteRecord(integer keyId)
{
    return deleteRecord(keyId, "bool sql::Table::deleteRecord(sql::integer)");
}

template <typename Key> Record* Table::getRecordByKeyId(const Key& keyId, const char* signature)
{
    StatementText sql;
    if (!buildByKey(sql, "select * from ", keyId)) {
        SQLW_FAULT("Failed to get name of PRIMARY KEY column");
        return nullptr;
    }
    return _recordset.query(sql.c_str(), fields()) ? getRecord(0) : nullptr;
}

Record* Table::getRecordByKeyId(string keyId)
{
    return getRecordByKeyId(keyId, "sql::Record* sql::Table::getRecordByKeyId(sql::string)");
}

Record* Table::getRecordByKeyId(integer keyId)
{
    return getRecordByKeyId(keyId, "sql::Record* sql::Table::getRecordByKeyId(sql::integer)");
}

template <typename Key> bool Table::hasRecordWithKeyId(const Key& keyId, const char* signature)
{
    StatementText sql;
    if (!buildByKey(sql, "select count(*) from ", keyId)) {
        SQLW_FAULT("Failed to get name of PRIMARY KEY column");
        return false;
    }
    return queryNumber(_db, sql.str()) > 0;
}

bool Table::hasRecordWithKeyId(string keyId)
{
    return hasRecordWithKeyId(keyId, "bool sql::Table::hasRecordWithKeyId(sql::string)");
}

bool Table::hasRecordWithKeyId(integer keyId)
{
    return hasRecordWithKeyId(keyId, "bool sql::Table::hasRecordWithKeyId(sql::integer)");
}

bool Table::addOrUpdateRecord(string keyId, const Record& record)
{
    if (hasRecordWithKeyId(keyId)) {
        SQLW_DEBUG2("update record for key=%s", keyId.c_str());
        return updateRecord(record);
    }
    SQLW_DEBUG2("add record for key=%s", keyId.c_str());
    return addRecord(record);
}

bool Table::addOrUpdateRecord(integer keyId, const Record& record)
{
    if (hasRecordWithKeyId(keyId)) {
        SQLW_DEBUG2("update record for key=%lld", keyId);
        return updateRecord(record);
    }
    SQLW_DEBUG2("add record for key=%lld", keyId);
    return addRecord(record);
}

// Copying

bool Table::copyRecords(Table& source)
{
    for (int i = 0; i < source.recordCount(); ++i) {
        const Record* record = source.getRecord(i);
        if (record && !addRecord(*record))
            return false;
    }
    return true;
}

bool Table::backup(Table& source)
{
    if (exists())
        remove();
    if (!create() || !source.open() || !copyRecords(source))
        return false;
    const int expected = source.totalRecordCount();
    return expected == totalRecordCount();
}

// Texts

string Table::getDefinition() const
{
    SQLW_SIGNATURE("sql::string sql::Table::getDefinition() const");
    const string columns = fields().getDefinition();
    if (columns.empty()) {
        SQLW_FAULT("Failed to build SQL CREATE TABLE stmt for table %s", _name.c_str());
        return string();
    }
    return "CREATE TABLE " + _name + " (" + columns + ")";
}

string Table::toString() const
{
    string lines;
    for (int i = 0; i < fields().count(); ++i) {
        lines += intToStr(i + 1) + ". " + fields().getByIndex(i)->getDefinition();
        if (i < fields().count() - 1)
            lines += "\r\n";
    }
    return lines;
}

} // namespace sql
