// One database a thread, all at work at once; built under ThreadSanitizer.

#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "Sql.h"

namespace
{

const sql::Field rowFields[] = {
    sql::Field("id", sql::type_int, sql::flag_primary_key),
    sql::Field("text", sql::type_text, 0),
    sql::Field("price", sql::type_float, 0),
    sql::Field("created", sql::type_time, 0),
    sql::Field(),
};

void work(long rows, long* read)
{
    sql::Database database;
    database.open(":memory:", sql::Database::read_write_create, false, 0);
    sql::Table table(database.getHandle(), "rows", rowFields);
    table.create();
    sql::Record record(table.fields());
    for (long i = 0; i < rows; ++i) {
        record.setInteger("id", i);
        record.setString("text", "a text of row " + std::to_string(i));
        record.setDouble("price", static_cast<double>(i) / 3);
        record.setTime("created", sql::Time(i));
        table.addOrUpdateRecord(i, record);
    }
    table.query("no statement"); // failures are told from every thread as well
    if (table.open("id >= 0", "id desc"))
        for (int i = 0; i < table.recordCount(); ++i)
            *read += table.getRecord(i)->getValue("created")->asString().empty() ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    const bool full = argc == 2 && std::string(argv[1]) == "--full";
    const long rows = full ? 5000 : 300;
    const std::size_t count = 8;
    std::vector<long> read(count);
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < count; ++i)
        threads.emplace_back(work, rows, &read[i]);
    for (std::thread& thread : threads)
        thread.join();
    int failures = 0;
    for (const long each : read)
        if (each != rows) {
            std::printf("failure -: a thread read %ld of %ld rows\n", each, rows);
            ++failures;
        }
    std::printf("cases %ld\n", rows * static_cast<long>(count));
    return failures ? 1 : 0;
}
