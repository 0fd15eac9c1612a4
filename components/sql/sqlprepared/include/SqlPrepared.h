/// @file
/// The whole interface of the companion library, which runs prepared statements on the library's
/// databases, tables and records.

#ifndef SQLW_SQL_PREPARED_H
#define SQLW_SQL_PREPARED_H

#include "SqlBackup.h"
#include "SqlError.h"
#include "SqlStatement.h"
#include "SqlTableCheck.h"
#include "SqlTableWriter.h"
#include "SqlTransaction.h"

#endif
