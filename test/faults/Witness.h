// Checks that the file holds what the operations on it have returned.

#ifndef SQLW_FAULTS_WITNESS_H
#define SQLW_FAULTS_WITNESS_H

#include <functional>
#include <map>
#include <string>
#include <utility>

#include "Item.h"

namespace faults
{

/// Watches one run of a scenario, and keeps what the file must hold after it.
class Witness
{
public:
    explicit Witness(const Point& point) : _point(point) {}

    /// What a query on the file must give.
    using Effects = std::map<std::string, std::string>;

    /// Runs an operation with faults on. When it returns true, its effects must be in the file at
    /// the end of the run. When it returns false or runs out of memory, they may or may not be. It
    /// must report each false by a line or an assertion report.
    bool operation(const char* name, const std::function<bool()>& run, const Effects& effects = {});

    bool expect(bool holds, const std::string& what) { return _point.expect(holds, what); }

    /// After `begin`, effects are due only once `end`, a commit or a rollback, commits and returns
    /// true.
    bool begin(const std::function<bool()>& run);
    void end(const char* name, const std::function<bool()>& run);

    /// From now on, objects that met a fault must be usable again once it is over.
    void demandUse() { _demandsUse = true; }
    bool demandsUse() const { return _demandsUse; }

    /// Whatever happens, `query` must give one value or the other at the end of the run.
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
    void settle(const Effects& effects, bool succeeded);

    const Point& _point;
    Effects _due;
    Effects _pending;
    std::map<std::string, std::pair<std::string, std::string>> _either;
    bool _inTransaction = false;
    bool _demandsUse = false;
    long _outOfMemory = 0;
};

/// Opens the file again, with faults off, and compares it with what it must hold. Unless `durable`,
/// what operations returned is ignored.
void verifyFile(const Point& point, const Witness& witness, const std::string& path,
                bool durable = true);

} // namespace faults

#endif
