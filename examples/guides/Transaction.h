// A transaction for the programs of the guides, and for yours.

#ifndef SQLW_GUIDES_TRANSACTION_H
#define SQLW_GUIDES_TRANSACTION_H

#include <Sql.h>

// Ends with the block that it is declared in: rolled back, unless it was committed before. It takes
// the lock for writing at once. To only read, pass "BEGIN".
class Transaction
{
public:
    explicit Transaction(sql::Database& database, const char* begin = "BEGIN IMMEDIATE")
        : _database(database), _open(sql::RecordSet(database.getHandle()).query(begin))
    {}
    ~Transaction()
    {
        if (_open)
            _database.transactionRollback();
    }
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    bool isOpen() const { return _open; }

    // False while another program reads: the transaction is still open, and you may try again.
    bool commit()
    {
        const bool done = _open && _database.transactionCommit();
        _open = _open && !done;
        return done;
    }

private:
    sql::Database& _database;
    bool _open;
};

#endif
