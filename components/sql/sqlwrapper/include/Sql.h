/// @file
/// The whole interface of the library.

#ifndef SQLW_SQL_H
#define SQLW_SQL_H

#include "SqlCommon.h"
#include "SqlDatabase.h"
#include "SqlField.h"
#include "SqlFieldSet.h"
#include "SqlRecord.h"
#include "SqlRecordSet.h"
#include "SqlTable.h"
#include "SqlTime.h"
#include "SqlValue.h"

#endif
