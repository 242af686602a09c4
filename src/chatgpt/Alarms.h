#pragma once

#include <QObject>

#include <chrono>
#include <functional>
#include <memory>

namespace quillmarsh {

/// Something that happens once, later; not at all when this is gone by then.
using Alarm = std::unique_ptr<QObject>;
/// Makes the alarm that calls `ring` from the event loop after `delay`. Tests bring a clock of their own.
using Alarms = std::function<Alarm(std::chrono::milliseconds delay, std::function<void()> ring)>;

/// By the system's monotonic clock, to the millisecond.
[[nodiscard]] Alarm setAlarm(std::chrono::milliseconds delay, std::function<void()> ring);

} // namespace quillmarsh
