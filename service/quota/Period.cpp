#include "quota/Period.h"

#include <array>
#include <charconv>
#include <cstdio>

namespace quillmarsh::service {

namespace {

using std::chrono::days;
using std::chrono::floor;

/// The first Monday of the epoch, 5 January 1970.
constexpr days firstMonday(4);

} // namespace

std::optional<Period> Period::parse(std::string_view text)
{
    if (text == "hour") {
        return Period(Kind::Seconds, std::chrono::hours(1));
    }
    if (text == "day") {
        return day();
    }
    if (text == "week") {
        return Period(Kind::Week, days(7));
    }
    if (text == "month") {
        return Period(Kind::Month, std::chrono::seconds(0));
    }
    int seconds = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
    if (error != std::errc() || end != text.data() + text.size() || seconds < 1) {
        return std::nullopt;
    }
    return Period(Kind::Seconds, std::chrono::seconds(seconds));
}

Period::Time Period::begin(Time now) const
{
    const auto sinceEpoch = now.time_since_epoch();
    switch (kind_) {
    case Kind::Month: {
        const std::chrono::year_month_day date(floor<days>(now));
        return std::chrono::sys_days(date.year() / date.month() / 1);
    }
    case Kind::Week: {
        const auto day = floor<days>(sinceEpoch);
        return Time(day - (day - firstMonday) % days(7));
    }
    case Kind::Seconds:
        break;
    }
    return Time(sinceEpoch - sinceEpoch % length_);
}

Period::Time Period::end(Time now) const
{
    if (kind_ == Kind::Month) {
        const std::chrono::year_month_day date(floor<days>(now));
        return std::chrono::sys_days((date.year() / date.month() + std::chrono::months(1)) / 1);
    }
    return begin(now) + length_;
}

std::string iso8601(Period::Time time)
{
    const auto day = floor<days>(time);
    const std::chrono::year_month_day date(day);
    const std::chrono::hh_mm_ss clock(time - day);
    std::array<char, 32> text{};
    const int length =
        std::snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02dZ",
                      static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                      static_cast<unsigned>(date.day()), static_cast<int>(clock.hours().count()),
                      static_cast<int>(clock.minutes().count()), static_cast<int>(clock.seconds().count()));
    return {text.data(), static_cast<size_t>(length)};
}

} // namespace quillmarsh::service
