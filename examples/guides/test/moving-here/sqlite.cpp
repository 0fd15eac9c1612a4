// The same ten lines with SQLite's own C interface.

#include <cstdio>

#include <sqlite3.h>

int main()
{
    std::remove("items.db");
    sqlite3* db = nullptr;
    sqlite3_stmt* insert = nullptr;
    sqlite3_stmt* select = nullptr;
    if (sqlite3_open("items.db", &db) != SQLITE_OK || sqlite3_busy_timeout(db, 1000) != SQLITE_OK ||
        sqlite3_exec(db,
                     "create table item (id INTEGER PRIMARY KEY, name TEXT NOT NULL, price REAL)",
                     nullptr, nullptr, nullptr) != SQLITE_OK ||
        sqlite3_prepare_v2(db, "insert into item values (?1, ?2, ?3)", -1, &insert, nullptr) !=
            SQLITE_OK ||
        sqlite3_bind_int64(insert, 1, 7) != SQLITE_OK ||
        sqlite3_bind_text(insert, 2, "Driver's cab", -1, SQLITE_STATIC) != SQLITE_OK ||
        sqlite3_bind_double(insert, 3, 2.5) != SQLITE_OK || sqlite3_step(insert) != SQLITE_DONE ||
        sqlite3_prepare_v2(db, "select name, price from item where price > ?1", -1, &select,
                           nullptr) != SQLITE_OK ||
        sqlite3_bind_double(select, 1, 2.0) != SQLITE_OK)
        return 1;
    while (sqlite3_step(select) == SQLITE_ROW)
        std::printf("%s: %g\n", reinterpret_cast<const char*>(sqlite3_column_text(select, 0)),
                    sqlite3_column_double(select, 1));
    sqlite3_finalize(insert);
    sqlite3_finalize(select);
    sqlite3_close(db);
    return 0;
}
