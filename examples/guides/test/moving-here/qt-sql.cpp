// The same ten lines with Qt SQL.

#include <cstdio>

#include <QCoreApplication>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QVariant>

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    std::remove("items.db");
    QSqlDatabase database = QSqlDatabase::addDatabase("QSQLITE");
    database.setDatabaseName("items.db");
    database.setConnectOptions("QSQLITE_BUSY_TIMEOUT=1000");
    QSqlQuery query(database.open() ? database : QSqlDatabase());
    if (!query.exec("create table item (id INTEGER PRIMARY KEY, name TEXT NOT NULL, price REAL)") ||
        !query.prepare("insert into item values (?, ?, ?)"))
        return 1;
    query.addBindValue(7);
    query.addBindValue("Driver's cab");
    query.addBindValue(2.5);
    if (!query.exec() || !query.prepare("select name, price from item where price > ?"))
        return 1;
    query.addBindValue(2.0);
    if (!query.exec())
        return 1;
    while (query.next())
        std::printf("%s: %g\n", qPrintable(query.value(0).toString()), query.value(1).toDouble());
    return 0;
}
