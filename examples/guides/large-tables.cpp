// Reading large tables in pieces, so that only a piece at a time is in memory.

#include <cstdio>
#include <iostream>

#include <Sql.h>

const int rows = 10000;
const int piece = 3000;

const sql::Field sampleColumns[] = {sql::Field("id", sql::type_int, sql::flag_primary_key),
                                    sql::Field("value", sql::type_int, sql::flag_not_null),
                                    sql::Field()};

// In one transaction: on its own, each row would wait for the disk.
bool fill(sql::Database& database, sql::Table& samples)
{
    sql::Record sample(samples.fields());
    if (!database.transactionBegin())
        return false;
    for (int id = 1; id <= rows; ++id) {
        sample.setInteger("id", id);
        sample.setInteger("value", id % 10);
        if (!samples.addRecord(sample)) {
            database.transactionRollback();
            return false;
        }
    }
    return database.transactionCommit();
}

// Each piece begins behind the last row of the one before. SQLite finds that row by the key,
// however far down it is; it would have to walk there to skip rows by OFFSET.
bool sum(sql::Table& samples, sql::integer& total)
{
    sql::integer last = 0;
    do {
        if (!samples.open("id > " + sql::intToStr(last), "id limit " + sql::intToStr(piece)))
            return false;
        for (int i = 0; i < samples.recordCount(); ++i) {
            const sql::Record& sample = *samples.getRecord(i);
            last = sample.getValue(0)->asInteger();
            total += sample.getValue(1)->asInteger();
        }
        std::cout << samples.recordCount() << " rows, up to " << last << "\n";
    } while (samples.recordCount() == piece);
    return true;
}

int main()
{
    std::remove("samples.db");
    sql::Database database;
    if (!database.open("samples.db", sql::Database::read_write_create, false, 1000))
        return 1;
    sql::Table samples(database.getHandle(), "sample", sampleColumns);
    sql::integer total = 0;
    if (!samples.create() || !fill(database, samples) || !sum(samples, total))
        return 1;
    std::cout << total << "\n";

    // What SQL can do alone needs no rows in memory at all.
    std::cout << sql::queryNumber(database.getHandle(), "select sum(value) from sample") << "\n";
    return 0;
}
