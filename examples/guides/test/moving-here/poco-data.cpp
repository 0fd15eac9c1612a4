// The same ten lines with POCO Data.

#include <cstdio>
#include <string>

#include <Poco/Data/RecordSet.h>
#include <Poco/Data/Session.h>
#include <Poco/Data/SQLite/Connector.h>

using namespace Poco::Data::Keywords;

int main()
{
    std::remove("items.db");
    Poco::Data::SQLite::Connector::registerConnector();
    Poco::Data::Session database("SQLite", "items.db");
    database << "create table item (id INTEGER PRIMARY KEY, name TEXT NOT NULL, price REAL)", now;
    int id = 7;
    std::string name = "Driver's cab";
    double price = 2.5;
    database << "insert into item values (?, ?, ?)", use(id), use(name), use(price), now;
    double least = 2.0;
    Poco::Data::Statement select(database);
    select << "select name, price from item where price > ?", use(least), now;
    Poco::Data::RecordSet rows(select);
    for (bool more = rows.moveFirst(); more; more = rows.moveNext())
        std::printf("%s: %g\n", rows[0].convert<std::string>().c_str(), rows[1].convert<double>());
    return 0;
}
