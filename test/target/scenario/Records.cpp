#include <climits>

#include "Trace.h"

namespace scenario
{

static const sql::Field itemFields[] = {
    sql::Field("id", sql::type_int, sql::flag_primary_key),
    sql::Field("name", sql::type_text, sql::flag_not_null),
    sql::Field("price", sql::type_float, 0),
    sql::Field("active", sql::type_bool, 0),
    sql::Field("changed", sql::type_time, 0),
    sql::Field(),
};

static const sql::Field codeFields[] = {
    sql::Field("name", sql::type_text, 0),
    sql::Field("code", sql::type_text, sql::flag_primary_key),
    sql::Field(),
};

static void tellRecord(const sql::Record& record)
{
    ASK(record.toString());
    ASK(record.dump(false));
    ASK(record.dump(true));
    ASK(record.toSql());
    ASK(record.toSqlInsert("item"));
    ASK(record.toSqlUpdate("item"));
}

static void setByPosition(sql::Record& record, int first)
{
    STEP(record.setInteger(first, LLONG_MAX));
    STEP(record.setString(first + 1, "it's \xE2\x82\xAC"));
    STEP(record.setDouble(first + 2, 2.5));
    STEP(record.setBool(first + 3, true));
    STEP(record.setTime(first + 4, sql::Time(86400)));
    STEP(record.setNull(first + 5));
}

static void setByName(sql::Record& record, const sql::string& prefix)
{
    STEP(record.setInteger(prefix + "id", -7));
    STEP(record.setString(prefix + "name", "Bob"));
    STEP(record.setDouble(prefix + "price", 1e10));
    STEP(record.setBool(prefix + "active", false));
    STEP(record.setTime(prefix + "changed", sql::Time(-1)));
    STEP(record.setNull(prefix + "price"));
}

void records()
{
    heading("Records");
    STEP(const sql::FieldSet fields(itemFields));
    STEP(sql::Record record(fields));
    STEP(const sql::Record& readOnly = record);
    tellRecord(record);
    setByPosition(record, 0);
    setByPosition(record, 100);
    tellRecord(record);
    setByName(record, "");
    setByName(record, "no");
    tellRecord(record);

    ASK(record.columnCount());
    ASK(record.fields() == &fields);
    ASK(record.getValue(0));
    ASK(record.getValue(-1));
    ASK(readOnly.getValue(0));
    ASK(readOnly.getValue(5));
    ASK(record.getValue("name"));
    ASK(record.getValue("Name"));
    ASK(readOnly.getValue("name"));
    ASK(readOnly.getValue("Name"));
    ASK(readOnly.getKeyIdValue());
    ASK(readOnly.fieldByName("name"));
    ASK(readOnly.fieldByName("Name"));
    ASK(record.initColumnValue(0, "42", sql::type_int));
    ASK(record.initColumnValue(1, nullptr, sql::type_text));
    ASK(record.initColumnValue(-1, "42", sql::type_int));
    ASK(record.initColumnValue(5, "42", sql::type_int));

    STEP(sql::Record copy(&record));
    ASK(copy.equalsValues(&record));
    STEP(copy.setInteger("id", 43));
    ASK(copy.equalsValues(&record));
    ASK(copy.equalsColumnValue(&record, "id"));
    ASK(copy.equalsColumnValue(&record, "name"));
    ASK(copy.equalsColumnValue(&record, "none"));
    ASK(copy.equalsColumnValue(nullptr, "id"));
    ASK(copy.equalsValues(nullptr));
}

void statements()
{
    heading("Statements of records");
    STEP(const sql::FieldSet fields(itemFields));
    STEP(const sql::Record record(fields));
    ASK(record.toSqlInsert(""));
    ASK(record.toSqlUpdate(""));

    STEP(const sql::FieldSet keyed(codeFields));
    STEP(sql::Record textKeyed(keyed));
    STEP(textKeyed.setString("code", "A1"));
    tellRecord(textKeyed);

    STEP(const sql::FieldSet none(nullptr));
    STEP(const sql::Record empty(none));
    tellRecord(empty);
    ASK(empty.getKeyIdValue());
    ASK(empty.equalsValues(&record));

    STEP(const sql::FieldSet keyless(std::vector<sql::Field>{sql::Field("a", sql::type_int, 0)}));
    STEP(const sql::Record unnumbered(keyless));
    tellRecord(unnumbered);
    ASK(unnumbered.getKeyIdValue());
    ASK(unnumbered.equalsValues(&record));
}

} // namespace scenario
