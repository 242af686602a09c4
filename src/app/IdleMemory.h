#pragma once

#include "platform/FreeMemory.h"

#include <QObject>
#include <QTimer>

#include <chrono>
#include <functional>

namespace quillmarsh {

/// What IdleMemory works with; a test replaces all of it.
struct IdleMemoryOptions
{
    /// Whether a window is open or a rewrite runs: then nothing is handed back, as it would be needed at
    /// once.
    std::function<bool()> isInUse;
    std::function<void()> giveBack = giveBackFreeMemory;
    /// A person who goes through a text sentence by sentence comes back within this; nobody's next rewrite
    /// shall wait for what was just handed back.
    std::chrono::milliseconds pause = std::chrono::seconds(15);
};

/// Hands memory back when it is no longer used: at once when a window is gone, and after the progress panel
/// only once no further rewrite has followed for a while.
class IdleMemory final : public QObject
{
    Q_OBJECT

public:
    explicit IdleMemory(IdleMemoryOptions options, QObject* parent = nullptr);

    /// Hands back now, unless something is in use.
    void giveBack();
    /// Hands back after the pause, counted anew by each call.
    void giveBackLater();

private:
    IdleMemoryOptions options_;
    QTimer pause_;
};

} // namespace quillmarsh
