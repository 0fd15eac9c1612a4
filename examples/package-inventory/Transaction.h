/// @file
/// All or nothing.

#ifndef SQLW_EXAMPLE_TRANSACTION_H
#define SQLW_EXAMPLE_TRANSACTION_H

#include "Sql.h"

namespace inventory
{

/// A transaction that is rolled back at its end unless it was committed.
///
/// SQLite itself rolls back after some failures, such as a full disk, and would then take each
/// further statement for a transaction of its own. While this lives, it writes nothing more.
class Transaction
{
public:
    /// Begins it; `isOpen` shows whether that succeeded.
    explicit Transaction(sql::Database& database);
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    bool isOpen() const;
    bool commit();

private:
    static int refuseCommit(void* transaction);

    sql::Database& _database;
    bool _isCommitting = false;
};

} // namespace inventory

#endif
