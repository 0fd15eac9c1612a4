#include "SqlRecordSet.h"

#include <exception>
#include <utility>

#include <sqlite3.h>
#include <syslog.h>

#define SQLW_SOURCE_NAME "SqlRecordSet.cpp"

namespace sql
{

RecordSet::RecordSet() : RecordSet(nullptr) {}

// Deliberate: A record set without columns counts rows, and drops their cells
RecordSet::RecordSet(sqlite3* db) : RecordSet(db, static_cast<const Field*>(nullptr)) {}

RecordSet::RecordSet(sqlite3* db, const FieldSet& fields)
    : _db(db), _result(SQLITE_ERROR), _fields(fields), _columns(&_fields)
{}

RecordSet::RecordSet(sqlite3* db, const Field* fields)
    : _db(db), _result(SQLITE_ERROR), _fields(fields), _columns(&_fields)
{}

RecordSet::~RecordSet()
{
    close();
}

RecordSet::RecordSet(const RecordSet& other)
    : _db(other._db), _result(other._result), _fields(other._fields), _records(other._records),
      _columns(&_fields)
{
    adoptRecordsOf(other);
}

RecordSet& RecordSet::operator=(const RecordSet& other)
{
    if (this == &other)
        return *this;
    RecordSet copy(other);
    _db = copy._db;
    _result = copy._result;
    _fields = std::move(copy._fields);
    _records = std::move(copy._records);
    adoptRecordsOf(copy);
    return *this;
}

void RecordSet::adoptRecordsOf(const RecordSet& other)
{
    for (Record& record : _records)
        if (record.fields() == &other._fields)
            record.adopt(_fields);
}

bool RecordSet::initRecordSet(sqlite3* db, const Field* fields)
{
    close();
    _db = db;
    return _fields.initFieldSet(fields);
}

void RecordSet::close()
{
    _records.clear();
    _result = SQLITE_ERROR;
}

bool RecordSet::query(const string& sql)
{
    return query(sql.c_str(), _fields);
}

bool RecordSet::query(const char* sql, const FieldSet& columns)
{
    SQLW_SIGNATURE("bool sql::RecordSet::query(const string&)");
    close();
    _columns = &columns;
    if (!SQLW_ASSERT(_db))
        return false;
    SQLW_DEBUG2("stmt='%s'", sql);

    char* errorText = nullptr;
    const int rc = sqlite3_exec(_db, sql, on_next_record, this, &errorText);
    if (_result != SQLITE_NOMEM) // which the callback leaves when it could not keep a row
        _result = rc;
    // Deliberate: Rows before a failure are kept
    _records.shrink_to_fit(); // rows may be held for long, but no room for more of them
    if (isResultOk())
        return true;

    SQLW_ERROR("Failed to run the SQL stmt '%s'", sql);
    if (errorText)
        SQLW_ERROR("  rc=%d=%s: %s", _result, sqliteRc2Str(_result), errorText);
    else
        SQLW_ERROR("  rc=%d=%s", _result, sqliteRc2Str(_result));
    if (errorText)
        sqlite3_free(errorText);
    return false;
}

int RecordSet::on_next_record(void* param, int argc, char** argv, char** /*columnNames*/)
{
    RecordSet& set = *static_cast<RecordSet*>(param);
    if (set._result == SQLITE_NOMEM)
        return 0; // no rows after one that is missing

    try {
        // Deliberate: Result columns are taken by position
        Record record(*set._columns, argc, argv);
        SQLW_DEBUG3("%s", record.dump(false).c_str());
        set._records.push_back(std::move(record));
    } catch (const std::exception&) { // memory has run out, and SQLite's frames know no exceptions
        set._result = SQLITE_NOMEM;
    }
    return 0;
}

bool RecordSet::isResultOk() const
{
    return _result == SQLITE_OK;
}

int RecordSet::count() const
{
    return static_cast<int>(_records.size());
}

const FieldSet& RecordSet::fields() const
{
    return _fields;
}

Record* RecordSet::getRecord(int index)
{
    return const_cast<Record*>(static_cast<const RecordSet*>(this)->getRecord(index));
}

const Record* RecordSet::getRecord(int index) const
{
    return index >= 0 && index < count() ? &_records[static_cast<size_t>(index)] : nullptr;
}

const Record* RecordSet::getTopRecord() const
{
    return isResultOk() ? getRecord(0) : nullptr;
}

const Value* RecordSet::getTopRecordFirstValue() const
{
    const Record* top = getTopRecord();
    return top ? top->getValue(0) : nullptr;
}

string RecordSet::toString() const
{
    string lines;
    int number = 0;
    for (const Record& record : _records) {
        // Deliberate: Texts for people count from 1
        lines += intToStr(++number);
        lines += ". ";
        lines += record.toString();
        lines += "\r\n";
    }
    return lines;
}

} // namespace sql
