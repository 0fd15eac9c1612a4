#include "SqlTransaction.h"

#include <cstring>

#include "Companion.h"

#define SQLW_SOURCE_NAME "SqlTransaction.cpp"

namespace sql
{

static const char* beginning(Transaction::Mode mode)
{
    switch (mode) {
        case Transaction::deferred:
            return "BEGIN DEFERRED TRANSACTION";
        case Transaction::immediate:
            return "BEGIN IMMEDIATE TRANSACTION";
        case Transaction::exclusive:
            return "BEGIN EXCLUSIVE TRANSACTION";
    }
    return nullptr;
}

Transaction::Transaction(sqlite3* db, Mode mode) : _db(db), _hasEnded(true), _isSavepoint(false)
{
    SQLW_SIGNATURE("sql::Transaction::Transaction(sqlite3*, sql::Transaction::Mode)");
    const char* const sql = beginning(mode);
    if (!SQLW_ASSERT(db) || !SQLW_ASSERT(sql)) {
        _error.set(SQLITE_MISUSE, db ? "there is no such mode" : "no connection");
        return;
    }
    // Within another transaction. Savepoints of one name nest, when they end in reverse order.
    _isSavepoint = sqlite3_get_autocommit(db) == 0;
    _hasEnded = !(_isSavepoint ? begin("SAVEPOINT sqlprepared", "RELEASE sqlprepared",
                                       "ROLLBACK TO sqlprepared")
                               : begin(sql, "COMMIT TRANSACTION", "ROLLBACK TRANSACTION"));
}

Transaction::~Transaction()
{
    if (isOpen())
        rollback();
}

// The ends are compiled first: a transaction that has begun can always end.
bool Transaction::begin(const char* sql, const char* commit, const char* rollback)
{
    Statement statement;
    return prepare(_commit, commit) && prepare(_rollback, rollback) && prepare(statement, sql) &&
           run(statement);
}

bool Transaction::prepare(Statement& statement, const char* sql)
{
    return settle(statement, statement.compile(_db, sql, std::strlen(sql)));
}

bool Transaction::run(Statement& statement)
{
    return settle(statement, statement.run());
}

// The statement has logged it if it failed.
bool Transaction::settle(const Statement& statement, bool hasSucceeded)
{
    const Error& error = statement.error();
    _error.set(error.extendedCode(), error.text().c_str());
    return hasSucceeded;
}

bool Transaction::failHavingEnded()
{
    return fail(SQLITE_MISUSE, "no transaction is open");
}

bool Transaction::fail(int extendedCode, const char* text)
{
    _error.set(extendedCode, text);
    SQLW_ERROR("Failed to end a transaction: rc=%d=%s: %s", _error.code(),
               sqliteRc2Str(_error.code()), text);
    return false;
}

// SQLite rolls back by itself when it can't go on, and then commits each statement by itself.
bool Transaction::isOpen() const
{
    if (_hasEnded) // the connection may be closed by now
        return false;
    if (_db && sqlite3_get_autocommit(_db) != 0)
        _db = nullptr;
    return _db != nullptr;
}

bool Transaction::commit()
{
    if (isOpen())
        return run(_commit) && end();
    return _hasEnded ? failHavingEnded()
                     : fail(SQLITE_ABORT_ROLLBACK,
                            "SQLite has rolled the transaction back, or a statement has ended it");
}

bool Transaction::rollback()
{
    if (_hasEnded)
        return failHavingEnded();
    if (!isOpen())
        _error.clear();
    else if (!run(_rollback) || (_isSavepoint && !run(_commit))) // it stays after a rollback to it
        return false;
    return end();
}

bool Transaction::end()
{
    _hasEnded = true;
    _commit.close();
    _rollback.close();
    return true;
}

} // namespace sql
