#include "platform/linux/LibsecretItems.h"

#include "platform/linux/SecretStore.h"

#include <qcoro/qcorofuture.h>

namespace quillmarsh {

namespace {

template <typename Result>
Task<Result> resultOf(QFuture<Result> future)
{
    co_return co_await future;
}

} // namespace

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
std::shared_ptr<QPromise<Result>> LibsecretItems::onWorker(Operation operation)
{
    auto promise = std::make_shared<QPromise<Result>>();
    promise->start();
    QMetaObject::invokeMethod(&worker_, [promise, store = store_, operation = std::move(operation)] {
        promise->addResult(operation(*store));
        promise->finish();
    });
    return promise;
}

template <typename Operation>
Task<OSStatus> LibsecretItems::write(Operation operation)
{
    reading_.reset();
    return resultOf(onWorker<OSStatus>(std::move(operation))->future());
}

Task<SecItemResult> LibsecretItems::copyMatching(SecItemQuery query)
{
    auto reading = reading_.lock();
    const bool waits = reading && !reading->future().isFinished();
    if (!waits || readingOf_.service != query.service || readingOf_.account != query.account) {
        reading = onWorker<SecItemResult>([query](SecretStore& store) { return store.copyMatching(query); });
        reading_ = reading;
        readingOf_ = query;
    }
    return resultOf(reading->future());
}

Task<OSStatus> LibsecretItems::update(SecItemQuery query, QByteArray data)
{
    return write([query, data](SecretStore& store) { return store.update(query, data); });
}

Task<OSStatus> LibsecretItems::add(SecItemQuery query, QByteArray data, SecAccessible)
{
    return write([query, data](SecretStore& store) { return store.add(query, data); });
}

Task<OSStatus> LibsecretItems::remove(SecItemQuery query)
{
    return write([query](SecretStore& store) { return store.remove(query); });
}

Task<OSStatus> LibsecretItems::unlock()
{
    return write([](SecretStore& store) { return store.unlock(); });
}

} // namespace quillmarsh
