#include "Metrics.h"

#include <array>
#include <sstream>

namespace quillmarsh::service {

namespace {

constexpr std::array bucketLimits{0.005, 0.01, 0.02, 0.05, 0.1, 0.25, 0.5, 1.0, 2.5, 5.0, 10.0, 30.0, 60.0};

} // namespace

void Metrics::countAnswer(const std::string& route, int status, std::chrono::duration<double> took)
{
    const std::lock_guard lock(mutex_);
    ++answers_[{route, status}];
    Duration& duration = durations_[route];
    for (const double limit : bucketLimits) {
        duration.buckets[limit] += took.count() <= limit ? 1 : 0;
    }
    duration.sum += took.count();
    ++duration.count;
}

void Metrics::countEngine(const std::string& engine, const std::string& outcome)
{
    const std::lock_guard lock(mutex_);
    ++engines_[{engine, outcome}];
}

std::string Metrics::text() const
{
    const std::lock_guard lock(mutex_);
    std::ostringstream out;
    out << "# HELP quillmarsh_answers_total Answers by route and status.\n"
           "# TYPE quillmarsh_answers_total counter\n";
    for (const auto& [key, count] : answers_) {
        out << "quillmarsh_answers_total{route=\"" << key.first << "\",status=\"" << key.second << "\"} "
            << count << '\n';
    }
    out << "# HELP quillmarsh_engine_attempts_total Attempts by engine and outcome.\n"
           "# TYPE quillmarsh_engine_attempts_total counter\n";
    for (const auto& [key, count] : engines_) {
        out << "quillmarsh_engine_attempts_total{engine=\"" << key.first << "\",outcome=\"" << key.second
            << "\"} " << count << '\n';
    }
    out << "# HELP quillmarsh_answer_seconds Time from the whole request to the answer.\n"
           "# TYPE quillmarsh_answer_seconds histogram\n";
    for (const auto& [route, duration] : durations_) {
        for (const auto& [limit, count] : duration.buckets) {
            out << "quillmarsh_answer_seconds_bucket{route=\"" << route << "\",le=\"" << limit << "\"} "
                << count << '\n';
        }
        out << "quillmarsh_answer_seconds_bucket{route=\"" << route << "\",le=\"+Inf\"} " << duration.count
            << '\n'
            << "quillmarsh_answer_seconds_sum{route=\"" << route << "\"} " << duration.sum << '\n'
            << "quillmarsh_answer_seconds_count{route=\"" << route << "\"} " << duration.count << '\n';
    }
    return out.str();
}

} // namespace quillmarsh::service
