// Reading large tables in pieces, so that only a piece at a time is in memory.

#include <cstdio>
#include <iostream>
#include <string>

#include <Sql.h>

#include "Transaction.h"

const int rows = 10000;
const int piece = 3000;

const sql::Field sampleColumns[] = {sql::Field("id", sql::type_int, sql::flag_primary_key),
                                    sql::Field("value", sql::type_int, sql::flag_not_null),
                                    sql::Field()};

// In one transaction: otherwise each row would wait for the disk.
bool fill(sql::Database& database, sql::Table& samples)
{
    Transaction transaction(database);
    sql::Record sample(samples.fields());
    if (!transaction.isOpen())
        return false;
    for (int id = 1; id <= rows; ++id) {
        sample.setInteger("id", id);
        sample.setInteger("value", 1000000 + id % 10);
        if (!samples.addRecord(sample))
            return false;
    }
    return transaction.commit();
}

// Each piece begins after the last row of the one before. SQLite finds that row by the key,
// however far down it is; to skip rows by OFFSET, it would have to walk over them.
bool sum(sql::Database& database, sql::integer& total)
{
    Transaction transaction(database, "BEGIN"); // all pieces show the table at one moment
    sql::Table samples(database.getHandle(), "sample", sampleColumns);
    std::string where; // the first piece begins at the first row, whatever its key is
    do {
        if (!transaction.isOpen() || !samples.open(where, "id limit " + sql::intToStr(piece)))
            return false;
        for (int i = 0; i < samples.recordCount(); ++i) {
            total += samples.getRecord(i)->getValue(1)->asInteger();
            where = "id > " + samples.getRecord(i)->getValue(0)->asString();
        }
        std::cout << samples.recordCount() << " rows, then " << where << "\n";
    } while (samples.recordCount() == piece);
    return true;
}

// What SQL can do alone needs no rows in memory. queryNumber would cut the sum to 32 bits.
bool sumBySql(sql::Database& database, sql::integer& total)
{
    const sql::Field columns[] = {sql::Field("total", sql::type_int, sql::flag_primary_key),
                                  sql::Field()};
    sql::RecordSet sums(database.getHandle(), columns);
    if (!sums.query("select sum(value) from sample"))
        return false;
    total = sums.getTopRecordFirstValue()->asInteger();
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
    if (!samples.create() || !fill(database, samples) || !sum(database, total))
        return 1;
    std::cout << total << "\n";
    if (!sumBySql(database, total))
        return 1;
    std::cout << total << "\n";
    return 0;
}
