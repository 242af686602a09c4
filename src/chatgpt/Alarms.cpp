#include "chatgpt/Alarms.h"

#include <QTimer>

namespace quillmarsh {

Alarm setAlarm(std::chrono::milliseconds delay, std::function<void()> ring)
{
    auto timer = std::make_unique<QTimer>();
    timer->setSingleShot(true);
    timer->setTimerType(Qt::PreciseTimer);
    QObject::connect(timer.get(), &QTimer::timeout, timer.get(), std::move(ring));
    timer->start(delay);
    return timer;
}

} // namespace quillmarsh
