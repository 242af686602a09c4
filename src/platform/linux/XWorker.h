#pragma once

#include "platform/linux/Xcb.h"

#include <QObject>
#include <QThread>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <semaphore>

namespace quillmarsh {

class XConnection;
class HotKeyGrabs;
class KeyInjector;
class SelectionCounter;
class SelectionReader;
class SelectionOwner;

/// The thread that takes hot keys, injects keys and moves the clipboard, on a connection of its own. Nothing
/// the main thread does can delay it: it answers a clipboard requestor or a grab while a window is being
/// drawn. A connection that dies is replaced, and every tap hears that it was disabled.
class XWorker final
{
public:
    /// What lives in the thread; touch it only there.
    struct Parts
    {
        std::unique_ptr<XConnection> connection;
        std::unique_ptr<HotKeyGrabs> hotKeys;
        std::unique_ptr<SelectionCounter> counter;
        std::unique_ptr<SelectionReader> reader;
        std::unique_ptr<SelectionOwner> owner;
        std::unique_ptr<KeyInjector> injector;

        Parts();
        ~Parts();
    };

    /// Null when no X server answers.
    [[nodiscard]] static std::shared_ptr<XWorker> start();
    ~XWorker();

    /// Runs `job` in the thread, soon.
    void post(std::function<void(Parts&)> job);

    /// Runs `job` in the thread and waits for its value. For a few short round trips to the server only; the
    /// thread itself never waits for the main thread.
    template <typename Job>
    auto run(Job job)
    {
        std::optional<std::invoke_result_t<Job, Parts&>> value;
        std::binary_semaphore done(0);
        post([&](Parts& parts) {
            value.emplace(job(parts));
            done.release();
        });
        done.acquire();
        return std::move(*value);
    }

    /// Whether the connection lives and has what hot keys, injection and clipboard watching need. Cheap.
    [[nodiscard]] bool isCapable() const { return capable_; }

private:
    XWorker() = default;
    [[nodiscard]] bool connect();
    void makeParts(qint64 clipboardCount);
    void dropParts();
    void reconnectSoon();
    void reconnect();

    QThread thread_;
    std::unique_ptr<QObject> context_; ///< lives in thread_
    std::unique_ptr<Parts> parts_;
    std::atomic<bool> capable_ = false;
};

} // namespace quillmarsh
