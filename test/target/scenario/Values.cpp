#include <climits>
#include <limits>

#include "Trace.h"

namespace scenario
{

static const auto unknownType = static_cast<sql::field_type>(9);

static void tellField(const sql::Field& field)
{
    ASK(field.isEndingField());
    ASK(static_cast<int>(field.getType()));
    ASK(field.getIndex());
    ASK(field.getName());
    ASK(field.getTypeStr());
    ASK(field.isNotNull());
    ASK(field.isPrimaryKey());
    ASK(field.isUnique());
    ASK(field.getFlags());
    ASK(field.getDefinition());
    ASK(field.dump());
}

static void tellSet(const sql::FieldSet& set)
{
    ASK(set.count());
    ASK(set.getByIndex(-1));
    ASK(set.getByIndex(0));
    ASK(set.getByIndex(set.count()));
    ASK(set.getByName("id"));
    ASK(set.getByName("ID"));
    ASK(set.getDefinition());
    ASK(set.toSql());
    ASK(set.dump());
    ASK(set.getKeyIdName());
}

void columns()
{
    heading("Columns");
    STEP(const sql::Field end);
    tellField(end);
    STEP(const sql::Field id("id", sql::type_int, sql::flag_primary_key));
    tellField(id);
    STEP(const sql::Field all(" b ", sql::type_text, 7 | 8));
    tellField(all);
    STEP(const sql::Field unknown("x", unknownType, sql::flag_unique));
    tellField(unknown);
    STEP(const sql::Field unnamed("", sql::type_float, 0));

    heading("Column sets");
    STEP(const sql::Field described[] = {id, all, end});
    STEP(sql::FieldSet set(described));
    tellSet(set);
    ASK(set.initFieldSet(described));
    tellSet(set);
    ASK(set.initFieldSet(nullptr));
    STEP(const sql::Field keyless[] = {all, end});
    STEP(const sql::FieldSet noKey(keyless));
    tellSet(noKey);
    STEP(const sql::Field wronglyKeyed[] = {
             id, sql::Field("f", sql::type_float, sql::flag_primary_key), end});
    STEP(const sql::FieldSet empty(wronglyKeyed));
    tellSet(empty);
    STEP(const sql::FieldSet unchecked(std::vector<sql::Field>{all, end}));
    tellSet(unchecked);
}

static void tellValue(const sql::Value& value)
{
    ASK(value.isNull());
    ASK(static_cast<int>(value.getType()));
    ASK(value.asInteger());
    ASK(value.asDouble());
    ASK(value.asBool());
    ASK(value.asString());
    ASK(value.toString());
    ASK(value.dump(true));
    ASK(value.toSql(sql::type_text));
    ASK(value.toSql(sql::type_int));
}

void values()
{
    heading("Values");
    const sql::field_type types[] = {sql::type_int,  sql::type_text, sql::type_float,
                                     sql::type_bool, sql::type_time, unknownType};
    for (sql::field_type type : types) {
        STEP(sql::Value value(type));
        tellValue(value);
        STEP(sql::Value other(value));
        STEP(value.setValue(" 12abc", type));
        tellValue(value);
        ASK(value.equals(other));
        ASK(other.equals(value));
    }
    STEP(sql::Value value(sql::type_int));
    STEP(value.setInteger(LLONG_MIN));
    tellValue(value);
    STEP(value.setInteger(LLONG_MAX));
    tellValue(value);
    STEP(value.setString("99999999999999999999"));
    tellValue(value);
    STEP(value.setString("O'Neil \xC3\xA4\xFF"));
    tellValue(value);
    STEP(value.setBool(true));
    tellValue(value);
    STEP(value.setTime(sql::Time(INT_MIN)));
    tellValue(value);
    ASK(value.asTime().asInteger());
    STEP(value.setNull());
    tellValue(value);
}

void floats()
{
    heading("Floats");
    using limits = std::numeric_limits<double>;
    const double numbers[] = {0.0,
                              -0.0,
                              0.1,
                              1.0 / 3,
                              -2.5,
                              5e-9,
                              123456789.125,
                              9007199254740993.0,
                              1e22,
                              1e126,
                              limits::max(),
                              limits::min(),
                              limits::denorm_min(),
                              limits::infinity(),
                              limits::quiet_NaN()};
    for (double number : numbers) {
        STEP(sql::Value value(sql::type_float));
        STEP(value.setDouble(number));
        tellValue(value);
    }
    const char* const texts[] = {"1e-9", "0x1p3", "1e400", "-.5", "0.1234567890123456789"};
    for (const char* text : texts) {
        STEP(sql::Value value(sql::type_float));
        STEP(value.setValue(text, sql::type_float));
        tellValue(value);
        ASK(value.equals(value));
    }
}

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
