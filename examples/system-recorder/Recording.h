/// @file
/// Samples in a database.

#ifndef SQLW_EXAMPLE_RECORDING_H
#define SQLW_EXAMPLE_RECORDING_H

#include <functional>
#include <string>
#include <vector>

#include <Sql.h>
#include <SqlPrepared.h>

#include "Counters.h"

namespace recorder
{

/// A span of time in milliseconds since the epoch, ends included.
struct Span
{
    sql::integer fromMs = 0;
    sql::integer toMs = 0;
    sql::integer samples = 0; ///< that are within
};

/// A database of samples: a row per sample, with a column per counter. Each operation throws
/// support::Failure with the database as it was.
///
/// It has a write-ahead log: readers and a backup see the samples as they were when they began, and
/// do not keep the recorder from writing.
class Recording
{
public:
    enum class Use { read, write };

    /// Opens a recording; makes it for writing when it is not there.
    Recording(const std::string& file, Use use);

    /// Adds the columns that are missing for these counters, which `append` then takes.
    void recordCounters(const std::vector<std::string>& names);

    /// Adds samples, and drops the oldest ones beyond `keep`, in one transaction.
    void append(const std::vector<Sample>& batch, sql::integer keep);

    /// The counters that it has.
    std::vector<std::string> counters() const;

    /// The part of `wanted` that has samples.
    Span within(Span wanted);

    /// Hands over the samples of some counters in the order of their times, one at a time, until
    /// `take` returns false. The statement has the time in column 0, and then the counters.
    void read(const std::vector<std::string>& counters, const Span& span,
              const std::function<bool(const sql::Statement&)>& take);

    /// Copies all of it over `copy`, and calls `progress` with the pages done and in all.
    void backup(const std::string& copy, const std::function<void(int, int)>& progress);

    /// What is wrong with it, a line each.
    std::vector<std::string> problems();

private:
    template <typename Operation> void require(bool done, const Operation& operation) const;
    void run(const std::string& sql);
    sql::integer number(const std::string& query);
    void prepare();
    void describe();
    void copyTo(sql::Database& destination, const std::string& copy,
                const std::function<void(int, int)>& progress);

    const std::string _file;
    sql::Database _database;
    std::vector<sql::Field> _fields; // id, at_ms and the counters
    std::vector<int> _columns;       // of the counters that are recorded
};

} // namespace recorder

#endif
