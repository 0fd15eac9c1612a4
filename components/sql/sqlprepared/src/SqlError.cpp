#include "SqlError.h"

#include "Companion.h"

namespace sql
{

void Error::set(int extendedCode, const char* text)
{
    _extendedCode = extendedCode;
    _text.clear();
    try {
        _text += text;
    } catch (const std::exception&) { // the code is enough
    }
}

void Error::set(int rc, sqlite3* db)
{
    const int extendedCode = sqlite3_extended_errcode(db);
    if ((extendedCode & 0xff) == (rc & 0xff))
        set(extendedCode, sqlite3_errmsg(db));
    else
        set(rc, sqlite3_errstr(rc));
}

} // namespace sql
