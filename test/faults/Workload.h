// The library's whole interface in scenarios, each of which knows what must be in the file after
// it.

#ifndef SQLW_FAULTS_WORKLOAD_H
#define SQLW_FAULTS_WORKLOAD_H

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace faults
{

/// Watches one run of a scenario: holds each operation to what it answered.
class Witness
{
public:
    /// What a query on the file must give.
    using Effects = std::map<std::string, std::string>;

    /// Runs an operation with faults on. When it answers true its effects must be in the file at
    /// the end of the run. When it answers false, or memory runs out in it, they may be or not, but
    /// a false must have been told by a line or a report.
    bool operation(const char* name, const std::function<bool()>& run, const Effects& effects = {});

    /// Notes a failure.
    void complain(const std::string& what);

    /// Between these, effects are only due when `commit` answers true.
    void begin(const std::function<bool()>& run);
    void commit(const std::function<bool()>& run);

    const Effects& due() const { return _due; }
    const std::vector<std::string>& failures() const { return _failures; }
    long outOfMemory() const { return _outOfMemory; }

private:
    void settle(const Effects& effects, bool answer);

    Effects _due;
    Effects _pending;
    bool _inTransaction = false;
    long _outOfMemory = 0;
    std::vector<std::string> _failures;
};

struct Scenario
{
    const char* name;
    void (*run)(Witness& witness, const std::string& path);
};

const std::vector<Scenario>& scenarios();

/// A database file with the tables `item` (rows 1 to 5) and `copy` (one row), written once and
/// copied for each run.
void makeDatabase(const std::string& path);

/// Opens the file anew, with faults off, and compares it with what is due.
void verifyFile(Witness& witness, const std::string& path);

} // namespace faults

#endif
