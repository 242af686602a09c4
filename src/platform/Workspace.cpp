#include "platform/Workspace.h"

namespace quillmarsh {

bool isSameApplication(const RunningApplication& a, const RunningApplication& b)
{
    if (a.client != 0 && a.client == b.client)
        return true;
    if (a.processIdentifier > 0 && b.processIdentifier > 0)
        return a.processIdentifier == b.processIdentifier;
    return !a.identifier.isEmpty() && a.identifier == b.identifier;
}

} // namespace quillmarsh
