// Decides which of many similar calls fails.

#ifndef SQLW_FAULTS_INJECTOR_H
#define SQLW_FAULTS_INJECTOR_H

namespace faults
{

/// Fails the n-th call after it was armed: only that one, or that one and all later ones. Calls
/// count only while the library is at work, not while a check looks at what it did.
class Injector
{
public:
    void arm(long nth, bool fromThenOn)
    {
        _left = nth;
        _fromThenOn = fromThenOn;
        _fired = false;
    }
    void disarm() { _left = 0; }
    bool fired() const { return _fired; }

    void resume() { _active = true; }
    void pause() { _active = false; }

    /// Whether this call must fail.
    bool strikes()
    {
        if (!_active || _left == 0)
            return false;
        if (_left > 1) {
            --_left;
            return false;
        }
        if (!_fromThenOn)
            _left = 0;
        _fired = true;
        return true;
    }

private:
    long _left = 0;
    bool _fromThenOn = false;
    bool _fired = false;
    bool _active = false;
};

/// The one of this program.
extern Injector injector;

} // namespace faults

#endif
