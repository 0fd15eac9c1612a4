// Reading the log: some mistakes, and what the log says about them.

#include <cstdio>
#include <string>

#include <syslog.h>

#include <Sql.h>

const sql::Field itemColumns[] = {sql::Field("id", sql::type_int, sql::flag_primary_key),
                                  sql::Field("name", sql::type_text, sql::flag_not_null),
                                  sql::Field()};

void title(const char* text)
{
    std::fprintf(stderr, "-- %s\n", text);
}

void missingFile()
{
    title("a file that does not exist");
    sql::Database database;
    database.open("none.db", sql::Database::read_only, false, 1000);
}

void refusedStatement(sql::Table& items)
{
    title("a row without a name");
    sql::Record item(items.fields());
    item.setInteger("id", 7);
    items.addRecord(item);
}

void brokenCondition(sql::Table& items)
{
    title("a condition that lacks its quotes");
    items.open("name = Bob");
}

void unknownColumn(sql::Table& items)
{
    title("a column that the description lacks");
    sql::Record item(items.fields());
    item.setString("nam", "Bob");
}

void failingCount(sql::Database& database)
{
    title("a number from a missing table");
    sql::queryNumber(database.getHandle(), "select count(*) from items");
}

int main()
{
    openlog("reading-the-log", LOG_PERROR, LOG_USER); // to standard error as well
    sql::Database database;
    if (!database.open(":memory:", sql::Database::read_write_create, false, 0))
        return 1;
    sql::Table items(database.getHandle(), "item", itemColumns);
    items.create();

    missingFile();
    refusedStatement(items);
    brokenCondition(items);
    unknownColumn(items);
    failingCount(database);
    return 0;
}
