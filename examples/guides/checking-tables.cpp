// Checking tables: what is wrong with a description, and how it differs from the file.

#include <iostream>

#include <Sql.h>
#include <SqlPrepared.h>

const sql::Field deviceColumns[] = {sql::Field("id", sql::type_int, sql::flag_primary_key),
                                    sql::Field("name", sql::type_text, sql::flag_not_null),
                                    sql::Field("volts", sql::type_float, 0), sql::Field()};

// Each of its columns is a mistake.
const sql::Field groupColumns[] = {sql::Field("order", sql::type_int, 0),
                                   sql::Field("code", sql::type_text, sql::flag_primary_key),
                                   sql::Field()};

// Whether nothing was found.
bool report(const char* what, const std::vector<sql::Finding>& findings)
{
    std::cout << what << ": " << findings.size() << " findings\n";
    for (const sql::Finding& finding : findings)
        std::cout << "- " << finding.text << "\n";
    return findings.empty();
}

int main()
{
    sql::Database database;
    if (!database.open(":memory:", sql::Database::read_write_create, false, 0))
        return 1;
    report("description of groups", sql::checkDescription("groups", sql::FieldSet(groupColumns)));

    // A table as another version of the program left it.
    sql::Table devices(database.getHandle(), "device", deviceColumns);
    if (!devices.query("create table device (id INTEGER PRIMARY KEY, volts INTEGER, name TEXT)"))
        return 1;
    report("old device", sql::checkTable(devices));

    if (!devices.remove() || !devices.create())
        return 1;
    return report("new device", sql::checkTable(devices)) ? 0 : 1;
}
