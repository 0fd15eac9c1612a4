/// @file
/// Why an operation failed.

#ifndef SQLW_SQL_ERROR_H
#define SQLW_SQL_ERROR_H

#include "SqlCommon.h"

namespace sql
{

/// SQLite's code and words for the last operation of a `Statement`, `TableWriter`, `Transaction` or
/// `Backup`. The next success of that object clears its error.
///
/// A value type: copied freely, owns nothing outside itself. Nothing here is logged.
class Error
{
public:
    /// Nothing failed: code 0 and no text.
    Error() : _extendedCode(0) {}
    /// A failure, with a primary or an extended code of SQLite.
    Error(int extendedCode, const string& text) : _extendedCode(extendedCode), _text(text) {}

    /// Whether something failed.
    explicit operator bool() const { return _extendedCode != 0; }

    /// The primary code: 5 is SQLITE_BUSY, 19 SQLITE_CONSTRAINT; 0 when nothing failed.
    /// `sqliteRc2Str` returns its name.
    int code() const { return _extendedCode & 0xff; }
    /// The extended code, which has more detail: 2067 is SQLITE_CONSTRAINT_UNIQUE. The same as
    /// `code()` where SQLite has no detail.
    int extendedCode() const { return _extendedCode; }
    /// The words for people: "UNIQUE constraint failed: item.id". Valid until the object changes.
    /// Empty when nothing failed, or when memory has run out for them.
    const string& text() const { return _text; }

private:
    friend class Backup; // they fail
    friend class Statement;
    friend class TableWriter;
    friend class Transaction;
    SQLW_INTERNAL void set(int extendedCode, const char* text);
    SQLW_INTERNAL void set(int rc, sqlite3* db);
    SQLW_INTERNAL void clear()
    {
        if (*this)
            set(0, "");
    }

    int _extendedCode;
    string _text;
};

} // namespace sql

#endif
