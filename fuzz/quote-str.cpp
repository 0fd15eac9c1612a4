// A quoted text between single quotes is read back by SQLite as the text.

#include <sqlite3.h>

#include "Fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static sqlite3* db = nullptr;
    if (!db)
        sqlite3_open_v2(":memory:", &db, SQLITE_OPEN_READWRITE, nullptr);

    const std::string text(reinterpret_cast<const char*>(data), size);
    const std::string quoted = sql::quoteStr(text);
    if (text.find('\0') != std::string::npos)
        return 0; // ends a statement

    const std::string query = "select '" + quoted + "'";
    sqlite3_stmt* stmt = nullptr;
    fuzz::require(sqlite3_prepare_v2(db, query.c_str(), -1, &stmt, nullptr) == SQLITE_OK, "valid");
    fuzz::require(sqlite3_step(stmt) == SQLITE_ROW, "a row");
    const char* cell = reinterpret_cast<const char*>(sqlite3_column_text(stmt, 0));
    fuzz::require(text ==
                      std::string(cell, static_cast<std::size_t>(sqlite3_column_bytes(stmt, 0))),
                  "the text comes back");
    sqlite3_finalize(stmt);
    return 0;
}
