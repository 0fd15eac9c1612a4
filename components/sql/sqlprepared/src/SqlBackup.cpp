#include "SqlBackup.h"

#include "Companion.h"

#define SQLW_SOURCE_NAME "SqlBackup.cpp"

namespace sql
{

Backup::Backup(sqlite3* destination, sqlite3* source)
    : _destination(destination), _handle(nullptr), _remaining(0), _pageCount(0), _isDone(false),
      _isBusy(false)
{
    SQLW_SIGNATURE("sql::Backup::Backup(sqlite3*, sqlite3*)");
    if (!SQLW_ASSERT(destination) || !SQLW_ASSERT(source)) {
        _error.set(SQLITE_MISUSE, "no connection");
        return;
    }
    static const char idle[] = "select 1";
    if (!_pin.compile(destination, idle, sizeof(idle) - 1)) {
        _error.set(_pin.error().extendedCode(), _pin.error().text().c_str());
        return;
    }
    _handle = sqlite3_backup_init(destination, "main", source, "main");
    if (!_handle)
        fail(sqlite3_errcode(destination));
}

Backup::~Backup()
{
    end();
}

void Backup::end()
{
    if (_handle)
        sqlite3_backup_finish(_handle);
    _handle = nullptr;
    _pin.close();
}

void Backup::fail(int rc)
{
    end();               // leaves SQLite's words with the destination
    if (rc == SQLITE_OK) // SQLite has no word for a source that could not be opened
        _error.set(SQLITE_MISUSE, "the source is not open");
    else
        _error.set(rc, _destination);
    SQLW_ERROR("Failed to copy a database: rc=%d=%s: %s", _error.code(),
               sqliteRc2Str(_error.code()), _error.text().c_str());
}

bool Backup::step(int pages)
{
    if (!_handle)
        return false;
    const int rc = sqlite3_backup_step(_handle, pages);
    _remaining = sqlite3_backup_remaining(_handle);
    _pageCount = sqlite3_backup_pagecount(_handle);
    _isBusy = rc == SQLITE_BUSY || rc == SQLITE_LOCKED;
    _isDone = rc == SQLITE_DONE;
    if (rc == SQLITE_OK || _isBusy)
        return true;
    if (_isDone)
        end();
    else
        fail(rc);
    return false;
}

} // namespace sql
