#pragma once

#include "platform/XTestSession.h"
#include "platform/linux/XWorker.h"

#include <QPointer>
#include <QTest>

namespace quillmarsh::test {

/// Has the server end the worker's connection and waits for the next one. That it has none in between lasts
/// 200 ms, which a busy machine may let pass between two looks.
inline void awaitNextConnection(XWorker& worker, XConnection& other)
{
    QPointer<XConnection> former;
    worker.run([&former](XWorker::Parts& parts) {
        former = parts.connection.get();
        return true;
    });
    endConnection(worker, other);
    QTRY_VERIFY(worker.run([&former](XWorker::Parts&) { return former.isNull(); }));
}

} // namespace quillmarsh::test
