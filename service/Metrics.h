#pragma once

#include <chrono>
#include <map>
#include <mutex>
#include <string>

namespace quillmarsh::service {

/// Counters for Prometheus. No label ever carries anything of a caller or a text.
class Metrics final
{
public:
    /// One finished answer of `route` with its HTTP status.
    void countAnswer(const std::string& route, int status, std::chrono::duration<double> took);
    /// One attempt of an engine; outcome is "done", "cannot" or "failed".
    void countEngine(const std::string& engine, const std::string& outcome);
    /// The text exposition format, version 0.0.4.
    [[nodiscard]] std::string text() const;

private:
    struct Duration
    {
        std::map<double, long> buckets;
        double sum = 0;
        long count = 0;
    };

    mutable std::mutex mutex_;
    std::map<std::pair<std::string, int>, long> answers_;
    std::map<std::pair<std::string, std::string>, long> engines_;
    std::map<std::string, Duration> durations_;
};

} // namespace quillmarsh::service
