#include <gtest/gtest.h>

#include "quota/Period.h"

using namespace quillmarsh::service;
using namespace std::chrono;

namespace {

Period::Time at(int y, unsigned m, unsigned d, int hour = 0, int minute = 0, int second = 0)
{
    return sys_days(year(y) / m / d) + hours(hour) + minutes(minute) + seconds(second);
}

std::string span(const char* period, Period::Time now)
{
    const auto parsed = Period::parse(period);
    return iso8601(parsed->begin(now)) + " " + iso8601(parsed->end(now));
}

} // namespace

TEST(Period, FollowsTheCalendarInUtc)
{
    const auto now = at(2026, 2, 28, 23, 59, 59);
    EXPECT_EQ(span("hour", now), "2026-02-28T23:00:00Z 2026-03-01T00:00:00Z");
    EXPECT_EQ(span("day", now), "2026-02-28T00:00:00Z 2026-03-01T00:00:00Z");
    EXPECT_EQ(span("week", now), "2026-02-23T00:00:00Z 2026-03-02T00:00:00Z");
    EXPECT_EQ(span("month", now), "2026-02-01T00:00:00Z 2026-03-01T00:00:00Z");
    EXPECT_EQ(span("90", at(2026, 1, 1, 0, 1, 31)), "2026-01-01T00:01:30Z 2026-01-01T00:03:00Z");
}

TEST(Period, LeapYearsAndTheEndOfTheYear)
{
    EXPECT_EQ(span("month", at(2028, 2, 29)), "2028-02-01T00:00:00Z 2028-03-01T00:00:00Z");
    EXPECT_EQ(span("month", at(2026, 12, 31)), "2026-12-01T00:00:00Z 2027-01-01T00:00:00Z");
    EXPECT_EQ(span("week", at(2026, 11, 16)), "2026-11-16T00:00:00Z 2026-11-23T00:00:00Z");
}

TEST(Period, TheFirstMomentBelongsToTheNewPeriod)
{
    EXPECT_EQ(span("day", at(2026, 3, 1)), "2026-03-01T00:00:00Z 2026-03-02T00:00:00Z");
}

TEST(Period, RefusesWhatIsNone)
{
    for (const char* text : {"", "daily", "0", "-5", "10s", " 10", "1.5"}) {
        EXPECT_FALSE(Period::parse(text).has_value()) << text;
    }
}
