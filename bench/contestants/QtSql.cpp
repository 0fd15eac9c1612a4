// Qt SQL, as its documentation shows it: queries prepared once, values bound by position, results
// read forward only, many rows inserted as a batch.

#include <QCoreApplication>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QVariant>

#include "Compiled.h"

namespace bench
{
namespace
{

class Query;

struct Connection
{
    using Statement = Query;

    explicit Connection(const std::string& path)
        : name(QString::number(QSqlDatabase::connectionNames().size())),
          db(QSqlDatabase::addDatabase("QSQLITE", name))
    {
        db.setDatabaseName(QString::fromStdString(path));
        require(db.open(), "qt-sql: open");
    }
    ~Connection()
    {
        db = QSqlDatabase();
        QSqlDatabase::removeDatabase(name);
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    void run(const char* sql) { require(QSqlQuery(db).exec(sql), "qt-sql: run"); }
    void begin() { require(db.transaction(), "qt-sql: begin"); }
    void commit() { require(db.commit(), "qt-sql: commit"); }

    const QString name;
    QSqlDatabase db;
};

class Query
{
public:
    Query(Connection& connection, const char* sql, Shape) : _query(connection.db)
    {
        _query.setForwardOnly(true);
        require(_query.prepare(sql), "qt-sql: prepare");
    }

    void bind(const Item& item)
    {
        _query.bindValue(0, QString::fromStdString(item.name));
        _query.bindValue(1, item.price);
        _query.bindValue(2, item.active);
        _query.bindValue(3, static_cast<qlonglong>(item.created));
        _query.bindValue(4, static_cast<qlonglong>(item.id));
    }
    void bind(std::int64_t key) { _query.bindValue(0, static_cast<qlonglong>(key)); }
    void bindRow(const Query& row)
    {
        for (int column = 0; column < 5; ++column)
            _query.bindValue(column, row._query.value((column + 1) % 5));
    }

    void run() { require(_query.exec(), "qt-sql: exec"); }
    bool next()
    {
        if (!_query.isActive())
            run();
        const bool row = _query.next();
        if (!row)
            reset();
        return row;
    }
    void reset() { _query.finish(); }

    void addTo(Reading& reading) const
    {
        reading.add(_query.value(0).toLongLong(), _query.value(1).toString().toUtf8().size(),
                    _query.value(2).toDouble(), _query.value(3).toBool(),
                    _query.value(4).toLongLong());
    }
    void appendCell(int column, std::string& lines) const
    {
        lines += _query.value(column).toString().toStdString();
    }

    void runBatch(const Data& data)
    {
        QVariantList columns[5];
        for (std::size_t i = 0; i < data.rows; ++i) {
            const Item& item = *data.row(i);
            columns[0] << QString::fromStdString(item.name);
            columns[1] << item.price;
            columns[2] << item.active;
            columns[3] << static_cast<qlonglong>(item.created);
            columns[4] << static_cast<qlonglong>(item.id);
        }
        for (int column = 0; column < 5; ++column)
            _query.bindValue(column, columns[column]);
        require(_query.execBatch(), "qt-sql: batch");
    }

private:
    QSqlQuery _query;
};

struct Application
{
    int argumentCount = 1;
    char name[6] = "bench";
    char* arguments[2] = {name, nullptr};
    QCoreApplication application{argumentCount, arguments};
};

class QtSql : Application,
              public Compiled<Connection,
                              statements::WritesInOrder> // without an application Qt has no drivers
{
public:
    void insertAll(const Data& data) override { _first->insert.runBatch(data); }
};

const Registration entry("qt-sql", make<QtSql>);

} // namespace
} // namespace bench
