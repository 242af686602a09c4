#include "platform/linux/XWorker.h"

#include "platform/linux/HotKeyGrabs.h"
#include "platform/linux/KeyInjector.h"
#include "platform/linux/SelectionCounter.h"
#include "platform/linux/SelectionOwner.h"
#include "platform/linux/SelectionReader.h"
#include "platform/linux/XConnection.h"

namespace quillmarsh {

XWorker::Parts::Parts() = default;

XWorker::Parts::~Parts() = default;

std::shared_ptr<XWorker> XWorker::start()
{
    std::shared_ptr<XWorker> worker(new XWorker);
    worker->context_ = std::make_unique<QObject>();
    worker->context_->moveToThread(&worker->thread_);
    worker->parts_ = std::make_unique<Parts>();
    worker->thread_.setObjectName(QStringLiteral("X11"));
    worker->thread_.start();
    const bool connected = worker->run([&worker](Parts& parts) {
        parts.connection = XConnection::open();
        if (parts.connection)
            worker->makeParts();
        return parts.connection != nullptr;
    });
    if (!connected)
        return nullptr;
    return worker;
}

void XWorker::makeParts()
{
    XConnection& connection = *parts_->connection;
    const auto& offered = connection.extensions();
    capable_ = offered.xtest && offered.xkb && offered.xfixesEvent != 0 && offered.inputOpcode != 0;
    parts_->hotKeys = std::make_unique<HotKeyGrabs>(connection);
    parts_->counter = std::make_unique<SelectionCounter>(connection);
    parts_->owner = std::make_unique<SelectionOwner>(connection);
    parts_->reader = std::make_unique<SelectionReader>(connection, *parts_->counter, *parts_->owner);
    parts_->injector = std::make_unique<KeyInjector>(connection, *parts_->hotKeys, *parts_->owner);
}

XWorker::~XWorker()
{
    run([](Parts& parts) {
        parts.injector.reset();
        parts.reader.reset();
        parts.owner.reset();
        parts.counter.reset();
        parts.hotKeys.reset();
        parts.connection.reset();
        return true;
    });
    thread_.quit();
    thread_.wait();
}

void XWorker::post(std::function<void(Parts&)> job)
{
    QMetaObject::invokeMethod(
        context_.get(), [this, job = std::move(job)] { job(*parts_); }, Qt::QueuedConnection);
}

} // namespace quillmarsh
