// Streaming reads: one row at a time, however many there are.

#include <cstdio>
#include <iostream>

#include <Sql.h>
#include <SqlPrepared.h>

const sql::Field sampleColumns[] = {sql::Field("id", sql::type_int, sql::flag_primary_key),
                                    sql::Field("place", sql::type_text, 0),
                                    sql::Field("celsius", sql::type_float, 0), sql::Field()};

bool fill(sql::Table& samples)
{
    sql::Transaction transaction(samples.getHandle());
    sql::TableWriter writer(samples);
    if (!transaction.isOpen() || !samples.create())
        return false;
    for (int id = 1; id <= 100000; ++id) {
        writer.setInteger(0, id);
        writer.setString(1, id % 2 ? "Gearbox" : "Driver's cab");
        writer.setDouble(2, 20 + id / 1000.0);
        if (!writer.insert())
            return false;
    }
    return transaction.commit();
}

// The values are parameters: none of them needs quotes, a comma of the locale does no harm.
bool printHot(sql::Table& samples)
{
    sql::Statement hot;
    if (!hot.select(samples, "celsius > ?1 and place = ?2", "celsius desc") ||
        !hot.bindDouble(1, 119.995) || !hot.bindString(2, "Driver's cab"))
        return false;
    while (hot.next())
        std::cout << hot.getInteger("id") << ": " << hot.getDouble("celsius") << "\n";
    return !hot.error();
}

bool average(sql::Table& samples, double& result)
{
    sql::Statement all;
    if (!all.select(samples))
        return false;
    const int celsius = all.column("celsius"); // the position, once for all rows
    double sum = 0;
    int count = 0;
    for (; all.next(); ++count)
        sum += all.getDouble(celsius);
    result = count ? sum / count : 0;
    return !all.error();
}

// The same statement for each key. The record is used again, too.
bool printById(sql::Table& samples)
{
    sql::Statement byId;
    if (!byId.selectByKey(samples))
        return false;
    sql::Record sample(samples.fields());
    for (const sql::integer id : {7, 70000, 700000}) {
        if (byId.find(id, sample))
            std::cout << sample.toString() << "\n";
        else if (!byId.error())
            std::cout << "no sample " << id << "\n";
        else
            return false;
    }
    return true;
}

// Any statement: here with a result that no table describes.
bool printPlaces(sqlite3* db)
{
    sql::Statement places;
    if (!places.prepare(db, "select place, count(*) as samples from sample group by 1 order by 1"))
        return false;
    while (places.next())
        std::cout << places.getText(0) << ": " << places.getInteger("samples") << "\n";
    return !places.error();
}

// A statement on a row holds a lock, which keeps other connections from committing.
void holdARow(sql::Table& samples)
{
    sql::Database other;
    other.open("samples.db", sql::Database::read_write, false, 0);
    sql::RecordSet writer(other.getHandle());
    sql::Statement one;
    if (!one.select(samples) || !one.next())
        return;
    std::cout << "on a row: " << writer.query("update sample set celsius = 0 where id = 1") << "\n";
    one.reset();
    std::cout << "reset: " << writer.query("update sample set celsius = 0 where id = 1") << "\n";
}

int main()
{
    std::remove("samples.db");
    sql::Database database;
    if (!database.open("samples.db", sql::Database::read_write_create, false, 1000))
        return 1;
    sql::Table samples(database.getHandle(), "sample", sampleColumns);
    double mean = 0;
    if (!fill(samples) || !printHot(samples) || !average(samples, mean) || !printById(samples) ||
        !printPlaces(database.getHandle()))
        return 1;
    std::cout << "average: " << mean << "\n" << std::boolalpha;
    holdARow(samples);
    return 0;
}
