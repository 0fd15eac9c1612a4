// Qt SQL, as its documentation shows it: queries prepared once, values bound by position, results
// read forward only.

#include <QCoreApplication>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QVariant>

#include "../Contestant.h"

namespace bench
{
namespace
{

class Query : public QSqlQuery
{
public:
    Query(const QSqlDatabase& db, const char* sql) : QSqlQuery(db)
    {
        setForwardOnly(true);
        require(prepare(sql), "qt-sql: prepare");
    }
    void run() { require(exec(), "qt-sql: exec"); }
    void run(qlonglong key)
    {
        bindValue(0, key);
        run();
    }
    void addRows(Reading& reading)
    {
        while (next())
            reading.add(value(0).toLongLong(), value(1).toString().toUtf8().size(),
                        value(2).toDouble(), value(3).toBool(), value(4).toLongLong());
        finish();
    }
};

struct Queries
{
    explicit Queries(const QSqlDatabase& db)
        : insert(db, "insert into item (name, price, active, created, id) values (?, ?, ?, ?, ?)"),
          update(db, "update item set name=?, price=?, active=?, created=? where id=?"),
          upsert(db, "insert into item (name, price, active, created, id) values (?, ?, ?, ?, ?) "
                     "on conflict (id) do update set name=excluded.name, price=excluded.price, "
                     "active=excluded.active, created=excluded.created"),
          remove(db, "delete from item where id=?"), has(db, "select 1 from item where id=?"),
          get(db, "select * from item where id=?"), readAll(db, "select * from item"),
          readCheaper(db, "select * from item where price < ? order by name")
    {}

    Query insert, update, upsert, remove, has, get, readAll, readCheaper;
};

class QtSql : public Contestant
{
public:
    QtSql() : _application(_argumentCount, _arguments) {}
    ~QtSql() override
    {
        _queries.reset();
        _db = QSqlDatabase();
        QSqlDatabase::removeDatabase(QSqlDatabase::defaultConnection);
    }
    void open(const std::string& path) override
    {
        _db = QSqlDatabase::addDatabase("QSQLITE");
        _db.setDatabaseName(QString::fromStdString(path));
        require(_db.open(), "qt-sql: open");
        Query(_db, "create table if not exists item (id INTEGER PRIMARY KEY, name TEXT NOT NULL, "
                   "price REAL, active INTEGER, created INTEGER)")
            .run();
        _queries = std::make_unique<Queries>(_db);
    }
    void begin() override { require(_db.transaction(), "qt-sql: begin"); }
    void commit() override { require(_db.commit(), "qt-sql: commit"); }

    void insert(const Item* row) override { write(_queries->insert, *row); }
    void update(const Item* row) override { write(_queries->update, *row); }
    void upsert(const Item* row) override { write(_queries->upsert, *row); }
    void remove(std::int64_t id) override { _queries->remove.run(id); }
    bool has(std::int64_t id) override
    {
        _queries->has.run(id);
        const bool found = _queries->has.next();
        _queries->has.finish();
        return found;
    }
    void get(std::int64_t id, Reading& reading) override
    {
        _queries->get.run(id);
        _queries->get.addRows(reading);
    }
    Reading readAll() override
    {
        Reading reading;
        _queries->readAll.run();
        _queries->readAll.addRows(reading);
        return reading;
    }
    Reading readCheaperThan(int price) override
    {
        Reading reading;
        _queries->readCheaper.run(price);
        _queries->readCheaper.addRows(reading);
        return reading;
    }
    void copy() override
    {
        Query(_db, "create table item_copy (id INTEGER PRIMARY KEY, name TEXT NOT NULL, "
                   "price REAL, active INTEGER, created INTEGER)")
            .run();
        Query(_db, "insert into item_copy select * from item").run();
    }
    Reading readCopy() override
    {
        Reading reading;
        Query all(_db, "select * from item_copy");
        all.run();
        all.addRows(reading);
        return reading;
    }

private:
    static void write(Query& query, const Item& item)
    {
        query.bindValue(0, QString::fromStdString(item.name));
        query.bindValue(1, item.price);
        query.bindValue(2, item.active);
        query.bindValue(3, static_cast<qlonglong>(item.created));
        query.bindValue(4, static_cast<qlonglong>(item.id));
        query.run();
    }

    int _argumentCount = 1;
    char _name[6] = "bench";
    char* _arguments[2] = {_name, nullptr};
    QCoreApplication _application; // without which Qt finds no drivers
    QSqlDatabase _db;
    std::unique_ptr<Queries> _queries;
};

std::unique_ptr<Contestant> make(std::size_t)
{
    return std::make_unique<QtSql>();
}

const Registration entry({"qt-sql", make, false});

} // namespace
} // namespace bench
