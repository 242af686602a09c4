#pragma once

#include "platform/InstanceGuard.h"

namespace quillmarsh {

/// One instance per session by the bus name "com.quillmarsh.app". The object "/com/quillmarsh/app" has the
/// method Activate of the interface "com.quillmarsh.app", which a second start calls.
class DBusInstanceGuard final : public InstanceGuard
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.quillmarsh.app")

public:
    using InstanceGuard::InstanceGuard;
    ~DBusInstanceGuard() override;

    Task<InstanceClaim> claim(bool waitForPredecessor) override;
    void release() override;

public slots:
    Q_SCRIPTABLE void Activate() { emit activationRequested(); } // NOLINT: the name on the bus

private:
    bool registered_ = false;
};

} // namespace quillmarsh
