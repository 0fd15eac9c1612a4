// The same ten lines with SOCI.

#include <cstdio>
#include <string>

#include <soci/soci.h>
#include <soci/sqlite3/soci-sqlite3.h>

int main()
{
    std::remove("items.db");
    soci::session database(soci::sqlite3, "db=items.db timeout=1");
    database << "create table item (id INTEGER PRIMARY KEY, name TEXT NOT NULL, price REAL)";
    const int id = 7;
    const std::string name = "Driver's cab";
    const double price = 2.5;
    database << "insert into item values (:id, :name, :price)", soci::use(id), soci::use(name),
        soci::use(price);
    const double least = 2.0;
    const soci::rowset<soci::row> rows =
        (database.prepare << "select name, price from item where price > :least", soci::use(least));
    for (const soci::row& row : rows)
        std::printf("%s: %g\n", row.get<std::string>(0).c_str(), row.get<double>(1));
    return 0;
}
