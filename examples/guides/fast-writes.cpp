// Fast writes: many rows, each kind of write compiled once.

#include <cstdio>
#include <initializer_list>
#include <iostream>
#include <string>

#include <Sql.h>
#include <SqlPrepared.h>

const sql::Field partColumns[] = {
    sql::Field("code", sql::type_text, sql::flag_primary_key | sql::flag_not_null),
    sql::Field("stock", sql::type_int, sql::flag_not_null), sql::Field("price", sql::type_float, 0),
    sql::Field()};

bool open(sql::Database& database)
{
    return database.open("parts.db", sql::Database::read_write_create, false, 1000);
}

// All parts or none. The object that failed has the reason.
bool addParts(sql::Table& parts, int count, std::string& reason)
{
    sql::Transaction transaction(parts.getHandle());
    sql::TableWriter writer(parts);
    bool done = transaction.isOpen() && parts.create();
    for (int i = 0; done && i < count; ++i) {
        writer.setString(0, "part " + std::to_string(i));
        writer.setInteger(1, i);
        writer.setDouble(2, i / 3.0);
        done = writer.upsert();
    }
    reason = !transaction.isOpen() ? transaction.error().text() : writer.error().text();
    if (!done || transaction.commit())
        return done;
    reason = transaction.error().text();
    return false;
}

// Text keys are values here, whatever is in them.
void useTextKeys(sql::Table& parts)
{
    sql::TableWriter writer(parts);
    for (const char* code : {"3/4\"", "007", "1 or 1 = 1"}) {
        writer.setString("code", code);
        writer.setInteger("stock", 1);
        std::cout << code << ": inserted " << writer.insert() << ", ";
        writer.setInteger("stock", 2);
        std::cout << "updated " << writer.update() << ", rows " << writer.changes() << ", ";
        std::cout << "erased " << writer.erase(code) << ", rows " << writer.changes() << "\n";
    }
}

void showFailure(sql::Table& parts)
{
    sql::TableWriter writer(parts);
    writer.setString("code", "part 7");
    writer.setInteger("stock", 1);
    if (!writer.insert())
        std::cout << writer.error().code() << " " << writer.error().extendedCode() << ": "
                  << writer.error().text() << "\n";
    writer.setNull("stock");
    writer.setString("code", "part 1000");
    if (!writer.insert())
        std::cout << writer.error().code() << " " << writer.error().extendedCode() << ": "
                  << writer.error().text() << "\n";
}

// A record is written as the table writes it. The cells of the writer are written as they are.
void showDigits(sql::Table& parts)
{
    sql::TableWriter writer(parts);
    sql::Record record(parts.fields());
    record.setString("code", "record");
    record.setInteger("stock", 0);
    record.setDouble("price", 1 / 3.0);
    writer.insert(record);
    writer.setString("code", "cells");
    writer.setInteger("stock", 0);
    writer.setDouble("price", 1 / 3.0);
    writer.insert();

    sql::Statement prices;
    const bool isReady = prices.selectByKey(parts);
    for (const char* code : {"record", "cells"})
        if (isReady && prices.find(code))
            std::printf("%s: %.16f\n", code, prices.getDouble("price"));
    std::fflush(stdout);
}

int main()
{
    std::remove("parts.db");
    sql::Database database;
    if (!open(database))
        return 1;
    sql::Table parts(database.getHandle(), "part", partColumns);
    std::string reason;
    std::cout << std::boolalpha << addParts(parts, 10000, reason) << ", "
              << parts.totalRecordCount() << " rows" << std::endl;
    useTextKeys(parts);
    showFailure(parts);
    std::cout << std::flush;
    showDigits(parts);
    return 0;
}
