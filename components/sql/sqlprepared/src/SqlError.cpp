#include "SqlError.h"

#include "Companion.h"

namespace sql
{

Error::Error() : _extendedCode(SQLITE_OK) {}

Error::Error(int extendedCode, const string& text) : _extendedCode(extendedCode), _text(text) {}

Error::operator bool() const
{
    return _extendedCode != SQLITE_OK;
}

int Error::code() const
{
    return _extendedCode & 0xff;
}

int Error::extendedCode() const
{
    return _extendedCode;
}

const string& Error::text() const
{
    return _text;
}

void setError(Error& error, int extendedCode, const char* text)
{
    error = Error(extendedCode, string());
    try {
        error = Error(extendedCode, text);
    } catch (const std::exception&) { // the code is enough
    }
}

void setError(Error& error, int rc, sqlite3* db)
{
    const int extendedCode = sqlite3_extended_errcode(db);
    if ((extendedCode & 0xff) == (rc & 0xff))
        setError(error, extendedCode, sqlite3_errmsg(db));
    else
        setError(error, rc, sqlite3_errstr(rc));
}

} // namespace sql
