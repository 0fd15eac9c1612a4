#include "Transaction.h"

#include <sqlite3.h>

namespace inventory
{

Transaction::Transaction(sql::Database& database) : _database(database)
{
    _database.transactionBegin();
}

// SQLite itself rolls back after some failures, such as a full disk.
Transaction::~Transaction()
{
    if (isOpen())
        _database.transactionRollback();
}

bool Transaction::isOpen() const
{
    return sqlite3_get_autocommit(_database.getHandle()) == 0;
}

bool Transaction::commit()
{
    return _database.transactionCommit();
}

} // namespace inventory
