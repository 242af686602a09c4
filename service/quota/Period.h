#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace quillmarsh::service {

/// The stretch of time that one allowance is for. Periods follow the calendar in UTC, so that all callers and
/// all instances renew at the same moment.
class Period final
{
public:
    using Time = std::chrono::sys_seconds;

    /// "hour", "day", "week" (from Monday), "month", or a number of seconds; nothing for anything else.
    [[nodiscard]] static std::optional<Period> parse(std::string_view text);
    [[nodiscard]] static Period day() { return Period(Kind::Seconds, std::chrono::hours(24)); }

    /// When the period that holds `now` began.
    [[nodiscard]] Time begin(Time now) const;
    /// When the period that holds `now` ends and the allowance renews.
    [[nodiscard]] Time end(Time now) const;

private:
    enum class Kind { Seconds, Week, Month };

    Period(Kind kind, std::chrono::seconds length) : kind_(kind), length_(length) {}

    Kind kind_;
    std::chrono::seconds length_;
};

/// ISO 8601 in UTC, as "2026-01-31T00:00:00Z".
[[nodiscard]] std::string iso8601(Period::Time time);

} // namespace quillmarsh::service
