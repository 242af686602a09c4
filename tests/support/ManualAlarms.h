#pragma once

#include "chatgpt/Alarms.h"

#include <QPointer>

#include <vector>

namespace quillmarsh::test {

/// A clock that stands still until a test moves it.
class ManualAlarms final
{
public:
    /// Outlived by this object.
    [[nodiscard]] Alarms alarms()
    {
        return [this](std::chrono::milliseconds delay, std::function<void()> ring) {
            auto alarm = std::make_unique<QObject>();
            set_.push_back({now_ + delay, alarm.get(), std::move(ring)});
            return alarm;
        };
    }
    /// Rings everything that is due by then, in the order in which it was set.
    void advance(std::chrono::milliseconds by)
    {
        now_ += by;
        const std::vector<Set> before = std::exchange(set_, {});
        for (const Set& set : before) {
            if (set.alarm && set.due > now_)
                set_.push_back(set);
            else if (set.alarm)
                set.ring();
        }
    }
    /// How many are set and not gone.
    [[nodiscard]] qsizetype pending() const
    {
        return std::count_if(set_.begin(), set_.end(), [](const Set& set) { return !set.alarm.isNull(); });
    }

private:
    struct Set
    {
        std::chrono::milliseconds due;
        QPointer<QObject> alarm;
        std::function<void()> ring;
    };

    std::chrono::milliseconds now_{0};
    std::vector<Set> set_;
};

} // namespace quillmarsh::test
