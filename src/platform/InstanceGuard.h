#pragma once

#include "base/Task.h"

#include <QObject>

namespace quillmarsh {

enum class InstanceClaim {
    First,   ///< this process is the one instance
    Running, ///< another one runs; it was asked to come forward
    Unknown, ///< the desktop offers no way to tell (logged); go on
};

/// Makes one instance per session. Another start brings the running one forward instead.
class InstanceGuard : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    /// `waitForPredecessor`: a relaunch waits up to 30 s for the old process to leave instead of waking it.
    virtual Task<InstanceClaim> claim(bool waitForPredecessor) = 0;
    /// Lets go of the name, so that a relaunched copy can take over before this process ends.
    virtual void release() = 0;

signals:
    /// A second start asked this instance to come forward.
    void activationRequested();
};

} // namespace quillmarsh
