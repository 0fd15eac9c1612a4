#include "Tables.h"

namespace inventory
{

// The key comes first: an UPDATE of a table whose key is the last column is no valid SQL.
const sql::Field packageFields[] = {
    sql::Field("id", sql::type_int, sql::flag_primary_key),
    sql::Field("name", sql::type_text, sql::flag_not_null),
    sql::Field("architecture", sql::type_text, sql::flag_not_null),
    sql::Field("version", sql::type_text, sql::flag_not_null),
    sql::Field("section", sql::type_text, 0),
    sql::Field("installed_size", sql::type_int, 0),
    sql::Field("share", sql::type_float, 0),
    sql::Field("essential", sql::type_bool, sql::flag_not_null),
    sql::Field("files_changed", sql::type_time, 0),
    sql::Field(),
};

const sql::Field sectionFields[] = {
    sql::Field("name", sql::type_text, sql::flag_primary_key | sql::flag_not_null),
    sql::Field("packages", sql::type_int, sql::flag_not_null),
    sql::Field("installed_size", sql::type_int, 0),
    sql::Field(),
};

// The cells of a new record are NULL: what the source does not say is left alone.
sql::Record toRecord(const Package& package, const sql::FieldSet& fields)
{
    sql::Record record(fields);
    record.setInteger("id", package.id);
    record.setString("name", package.name);
    record.setString("architecture", package.architecture);
    record.setString("version", package.version);
    if (package.section)
        record.setString("section", *package.section);
    if (package.installedSize)
        record.setInteger("installed_size", *package.installedSize);
    if (package.share)
        record.setDouble("share", *package.share);
    record.setBool("essential", package.essential);
    if (package.filesChanged)
        record.setTime("files_changed", *package.filesChanged);
    return record;
}

Package toPackage(const sql::Record& record)
{
    Package package;
    package.id = record.getValue("id")->asInteger();
    package.name = record.getValue("name")->asString();
    package.architecture = record.getValue("architecture")->asString();
    package.version = record.getValue("version")->asString();
    if (const sql::Value* section = record.getValue("section"); !section->isNull())
        package.section = section->asString();
    if (const sql::Value* size = record.getValue("installed_size"); !size->isNull())
        package.installedSize = size->asInteger();
    if (const sql::Value* share = record.getValue("share"); !share->isNull())
        package.share = share->asDouble();
    package.essential = record.getValue("essential")->asBool();
    if (const sql::Value* changed = record.getValue("files_changed"); !changed->isNull())
        package.filesChanged = changed->asTime();
    return package;
}

Section toSection(const sql::Record& record)
{
    Section section;
    section.name = record.getValue("name")->asString();
    section.packages = record.getValue("packages")->asInteger();
    if (const sql::Value* size = record.getValue("installed_size"); !size->isNull())
        section.installedSize = size->asInteger();
    return section;
}

} // namespace inventory
