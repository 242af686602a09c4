#include "platform/linux/LibsecretItems.h"

#include "platform/linux/SecretStore.h"

#include <QFuture>
#include <QPromise>

#include <qcoro/qcorofuture.h>

namespace quillmarsh {

LibsecretItems::LibsecretItems() : store_(std::make_shared<SecretStore>())
{
    thread_.setObjectName(QStringLiteral("secrets"));
    worker_.moveToThread(&thread_);
    thread_.start();
}

LibsecretItems::~LibsecretItems()
{
    store_->close();
    // Behind the calls that are queued already: each of them still gives its answer.
    QMetaObject::invokeMethod(&worker_, [store = store_] {
        store->disconnect();
        QThread::currentThread()->quit();
    });
    thread_.wait();
}

template <typename Result, typename Operation>
Task<Result> LibsecretItems::onWorker(Operation operation)
{
    auto promise = std::make_shared<QPromise<Result>>();
    QFuture<Result> future = promise->future();
    promise->start();
    QMetaObject::invokeMethod(&worker_, [promise, store = store_, operation = std::move(operation)] {
        promise->addResult(operation(*store));
        promise->finish();
    });
    co_return co_await future;
}

Task<SecItemResult> LibsecretItems::copyMatching(SecItemQuery query)
{
    return onWorker<SecItemResult>([query](SecretStore& store) { return store.copyMatching(query); });
}

Task<OSStatus> LibsecretItems::update(SecItemQuery query, QByteArray data)
{
    return onWorker<OSStatus>([query, data](SecretStore& store) { return store.update(query, data); });
}

Task<OSStatus> LibsecretItems::add(SecItemQuery query, QByteArray data, SecAccessible)
{
    return onWorker<OSStatus>([query, data](SecretStore& store) { return store.add(query, data); });
}

Task<OSStatus> LibsecretItems::remove(SecItemQuery query)
{
    return onWorker<OSStatus>([query](SecretStore& store) { return store.remove(query); });
}

Task<OSStatus> LibsecretItems::unlock()
{
    return onWorker<OSStatus>([](SecretStore& store) { return store.unlock(); });
}

} // namespace quillmarsh
