// First steps: a table of sensors, from nothing to rows read back.

#include <iostream>

#include <syslog.h>

#include <Sql.h>

const sql::Field sensorColumns[] = {sql::Field("id", sql::type_int, sql::flag_primary_key),
                                    sql::Field("place", sql::type_text, sql::flag_not_null),
                                    sql::Field("celsius", sql::type_float, 0), sql::Field()};

bool fill(sql::Table& sensors)
{
    sql::Record record(sensors.fields());
    record.setInteger("id", 7);
    record.setString("place", "Gearbox");
    record.setDouble("celsius", 61.5);
    if (!sensors.addOrUpdateRecord(7, record))
        return false;

    record.setInteger("id", 8);
    record.setString("place", "Driver's cab");
    record.setNull("celsius");
    return sensors.addOrUpdateRecord(8, record);
}

// One column of one row. The others stay as they are in the file.
bool change(sql::Database& database)
{
    return sql::RecordSet(database.getHandle())
        .query("update sensor set celsius = 65 where id = 7");
}

void print(sql::Table& sensors)
{
    for (int i = 0; i < sensors.recordCount(); ++i) {
        const sql::Record& row = *sensors.getRecord(i);
        std::cout << row.getValue("place")->asString() << ": ";
        if (row.getValue("celsius")->isNull())
            std::cout << "not measured\n";
        else
            std::cout << row.getValue("celsius")->asDouble() << " degrees\n";
    }
}

int main()
{
    openlog("first-steps", LOG_PERROR, LOG_USER); // log lines go to standard error as well
    sql::Database database;
    if (!database.open("sensors.db", sql::Database::read_write_create, false, 1000))
        return 1;
    sql::Table sensors(database.getHandle(), "sensor", sensorColumns);
    if (!sensors.create() || !fill(sensors) || !change(database) || !sensors.open())
        return 1;
    print(sensors);
    return 0;
}
