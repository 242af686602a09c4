#include "platform/linux/XWorker.h"

#include "base/Log.h"
#include "platform/linux/HotKeyGrabs.h"
#include "platform/linux/KeyInjector.h"
#include "platform/linux/SelectionCounter.h"
#include "platform/linux/SelectionOwner.h"
#include "platform/linux/SelectionReader.h"
#include "platform/linux/XConnection.h"

#include <QTimer>

namespace quillmarsh {

namespace {

using namespace std::chrono_literals;

// Long enough not to be busy with a server that ends every connection, short beside the product's own look at
// its permission every two seconds.
constexpr auto reconnectDelay = 200ms;

} // namespace

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
    const bool connected = worker->run([&worker](Parts&) { return worker->connect(); });
    if (!connected)
        return nullptr;
    return worker;
}

bool XWorker::connect()
{
    std::unique_ptr<XConnection> connection = XConnection::open();
    if (!connection)
        return false;
    const qint64 clipboardCount = parts_->counter ? parts_->counter->count() : 0;
    dropParts();
    parts_->connection = std::move(connection);
    makeParts(clipboardCount);
    return true;
}

void XWorker::makeParts(qint64 clipboardCount)
{
    XConnection& connection = *parts_->connection;
    const auto& offered = connection.extensions();
    capable_ = offered.xtest && offered.xkb && offered.xfixesEvent != 0 && offered.inputOpcode != 0;
    parts_->hotKeys = std::make_unique<HotKeyGrabs>(connection);
    parts_->counter = std::make_unique<SelectionCounter>(connection, clipboardCount);
    parts_->owner = std::make_unique<SelectionOwner>(connection);
    parts_->reader = std::make_unique<SelectionReader>(connection, *parts_->counter, *parts_->owner);
    parts_->injector =
        std::make_unique<KeyInjector>(connection, *parts_->hotKeys, *parts_->owner, *parts_->counter);
    QObject::connect(&connection, &XConnection::lost, context_.get(), [this] {
        capable_ = false;
        reconnectSoon();
    });
}

void XWorker::dropParts()
{
    parts_->injector.reset();
    parts_->reader.reset();
    parts_->owner.reset();
    parts_->counter.reset();
    parts_->hotKeys.reset();
    parts_->connection.reset();
}

void XWorker::reconnectSoon()
{
    QTimer::singleShot(reconnectDelay, context_.get(), [this] { reconnect(); });
}

void XWorker::reconnect()
{
    if (!parts_->connection) // the worker is ending
        return;
    const auto listeners = parts_->hotKeys->listeners();
    if (!connect()) {
        reconnectSoon();
        return;
    }
    qCInfo(lcQuillmarsh, "Connected to the X server again");
    parts_->injector->forgetSelection(); // nobody saw what the user did meanwhile
    for (const auto& notify : listeners)
        notify({.type = KeyEvent::Type::TapDisabledByTimeout});
}

XWorker::~XWorker()
{
    run([this](Parts&) {
        dropParts();
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
