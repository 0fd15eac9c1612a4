/// @file
/// All or nothing.

#ifndef SQLW_EXAMPLE_TRANSACTION_H
#define SQLW_EXAMPLE_TRANSACTION_H

#include "Sql.h"

namespace inventory
{

/// A transaction that is rolled back at its end unless it was committed.
class Transaction
{
public:
    /// Begins it; `isOpen` tells whether that succeeded.
    explicit Transaction(sql::Database& database);
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    bool isOpen() const;
    bool commit();

private:
    sql::Database& _database;
};

} // namespace inventory

#endif
