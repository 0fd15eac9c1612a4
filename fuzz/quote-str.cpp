// A quoted text between single quotes is read back by SQLite as the text.

#include <sqlite3.h>

#include "Fuzz.h"

void fuzz::tryInput(FuzzedDataProvider& input)
{
    static sqlite3* db = nullptr;
    if (!db)
        sqlite3_open_v2(":memory:", &db, SQLITE_OPEN_READWRITE, nullptr);

    const std::string text = input.ConsumeRemainingBytesAsString();
    const std::string quoted = sql::quoteStr(text);
    if (text.find('\0') != std::string::npos)
        return; // ends a statement

    const std::string query = "select '" + quoted + "'";
    sqlite3_stmt* stmt = nullptr;
    require(sqlite3_prepare_v2(db, query.c_str(), -1, &stmt, nullptr) == SQLITE_OK, "valid");
    require(sqlite3_step(stmt) == SQLITE_ROW, "a row");
    const char* cell = reinterpret_cast<const char*>(sqlite3_column_text(stmt, 0));
    require(text == std::string(cell, static_cast<std::size_t>(sqlite3_column_bytes(stmt, 0))),
            "the text comes back");
    sqlite3_finalize(stmt);
}
