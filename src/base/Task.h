#pragma once

#include <chrono>
#include <stop_token>

#include <qcoro/qcorotask.h>

namespace quillmarsh {

/// A flow on the event loop of the thread that started it. It runs eagerly up to its first suspension and
/// always to its end, whether or not anybody keeps the handle; whatever may die meanwhile is held weakly.
template <typename T = void>
using Task = QCoro::Task<T>;

/// Throws Cancelled when a stop was requested.
void throwIfStopped(const std::stop_token& stop);

/// Suspends the flow for `duration` (millisecond resolution, never early) or until a stop is requested,
/// whichever comes first. It never throws: a caller that must end on a stop says so itself. The flow resumes
/// from the event loop, never from inside the call that requested the stop.
[[nodiscard]] Task<> sleepFor(std::chrono::nanoseconds duration, std::stop_token stop = {});

/// Lets a task run with nobody waiting for it. Cancelled ends it silently; any other exception is logged as a
/// warning without its text, which may hold what the user wrote.
void detach(Task<> task);

} // namespace quillmarsh
