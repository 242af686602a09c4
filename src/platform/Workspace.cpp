#include "platform/Workspace.h"

#include <QCoreApplication>

namespace quillmarsh {

namespace {

Task<> openUnawaited(Workspace* workspace, QUrl url)
{
    co_await workspace->open(url);
}

} // namespace

bool isSameApplication(const RunningApplication& a, const RunningApplication& b)
{
    // First, as the server gives the connection number of a program that ended to the next one.
    if (a.processIdentifier > 0 && b.processIdentifier > 0)
        return a.processIdentifier == b.processIdentifier;
    if (a.client != 0 && a.client == b.client)
        return true;
    return !a.identifier.isEmpty() && a.identifier == b.identifier;
}

bool isThisApplication(const RunningApplication& application)
{
    return application.processIdentifier == QCoreApplication::applicationPid();
}

void openDetached(Workspace& workspace, const QUrl& url)
{
    detach(openUnawaited(&workspace, url));
}

} // namespace quillmarsh
