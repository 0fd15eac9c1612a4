// The same ten lines with SQLiteCpp.

#include <cstdio>

#include <SQLiteCpp/SQLiteCpp.h>

int main()
{
    std::remove("items.db");
    SQLite::Database database("items.db", SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE, 1000);
    database.exec("create table item (id INTEGER PRIMARY KEY, name TEXT NOT NULL, price REAL)");
    SQLite::Statement insert(database, "insert into item values (?, ?, ?)");
    insert.bind(1, 7);
    insert.bind(2, "Driver's cab");
    insert.bind(3, 2.5);
    insert.exec();
    SQLite::Statement select(database, "select name, price from item where price > ?");
    select.bind(1, 2.0);
    while (select.executeStep())
        std::printf("%s: %g\n", select.getColumn(0).getText(), select.getColumn(1).getDouble());
    return 0;
}
