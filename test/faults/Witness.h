// Holds operations to what they answered, and the file to what it must hold after them.

#ifndef SQLW_FAULTS_WITNESS_H
#define SQLW_FAULTS_WITNESS_H

#include <functional>
#include <map>
#include <string>
#include <utility>

#include "Item.h"

namespace faults
{

/// Watches one run of a scenario: holds each operation to what it answered.
class Witness
{
public:
    explicit Witness(const Point& point) : _point(point) {}

    /// What a query on the file must give.
    using Effects = std::map<std::string, std::string>;

    /// Runs an operation with faults on. When it answers true its effects must be in the file at
    /// the end of the run. When it answers false, or memory runs out in it, they may be or not, but
    /// a false must have been told by a line or a report.
    bool operation(const char* name, const std::function<bool()>& run, const Effects& effects = {});

    bool expect(bool holds, const std::string& what) { return _point.expect(holds, what); }

    /// From `begin` on, effects are only due when `end`, a commit or a rollback, commits and
    /// answers true.
    bool begin(const std::function<bool()>& run);
    void end(const char* name, const std::function<bool()>& run);

    /// From here on, objects that met a fault must be of use again once it is over.
    void demandUse() { _demandsUse = true; }
    bool demandsUse() const { return _demandsUse; }

    /// Whatever happens, `query` must give the one value or the other at the end of the run.
    void either(const std::string& query, const std::string& one, const std::string& other)
    {
        _either[query] = {one, other};
    }

    const Effects& due() const { return _due; }
    const std::map<std::string, std::pair<std::string, std::string>>& choices() const
    {
        return _either;
    }
    long outOfMemory() const { return _outOfMemory; }

private:
    void settle(const Effects& effects, bool answer);

    const Point& _point;
    Effects _due;
    Effects _pending;
    std::map<std::string, std::pair<std::string, std::string>> _either;
    bool _inTransaction = false;
    bool _demandsUse = false;
    long _outOfMemory = 0;
};

/// Opens the file again, with faults off, and compares it with what it must hold. What operations
/// answered is looked at only where `durable` says so.
void verifyFile(const Point& point, const Witness& witness, const std::string& path,
                bool durable = true);

} // namespace faults

#endif
