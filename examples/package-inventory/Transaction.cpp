#include "Transaction.h"

#include <sqlite3.h>

namespace inventory
{

Transaction::Transaction(sql::Database& database) : _database(database)
{
    _database.transactionBegin();
    sqlite3_commit_hook(_database.getHandle(), refuseCommit, this);
}

Transaction::~Transaction()
{
    sqlite3_commit_hook(_database.getHandle(), nullptr, nullptr);
    if (isOpen())
        _database.transactionRollback();
}

bool Transaction::isOpen() const
{
    return sqlite3_get_autocommit(_database.getHandle()) == 0;
}

bool Transaction::commit()
{
    _isCommitting = true;
    const bool done = _database.transactionCommit();
    _isCommitting = false;
    return done;
}

// SQLite asks before each commit, and rolls back when the result is not 0.
int Transaction::refuseCommit(void* transaction)
{
    return static_cast<const Transaction*>(transaction)->_isCommitting ? 0 : 1;
}

} // namespace inventory
