#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include <httplib.h>
#include <nlohmann/json.hpp>
#include <sys/types.h>

#include "support/TestTools.h"

namespace quillmarsh::service::test {

/// What a client gets back.
struct Answer
{
    int status = 0; ///< 0: no answer
    nlohmann::json body;
    httplib::Headers headers;

    [[nodiscard]] std::string text() const { return body.value("text", ""); }
    [[nodiscard]] std::string code() const { return body.value("code", ""); }
    [[nodiscard]] long remaining() const { return body.at("quota").at("remaining").get<long>(); }
};

/// The shipped binary as a process of its own, with a private folder for its state and its log.
class RunningService final
{
public:
    using Variables = std::map<std::string, std::string>;

    /// Starts it with a configuration text on a free port. Throws when it does not say that it listens.
    explicit RunningService(const std::string& config = {}, const Variables& variables = {},
                            const std::string& stateFolder = {});
    ~RunningService();
    RunningService(const RunningService&) = delete;
    RunningService& operator=(const RunningService&) = delete;

    [[nodiscard]] int port() const { return port_; }
    [[nodiscard]] pid_t process() const { return process_; }
    [[nodiscard]] std::string stateFolder() const { return state_; }
    [[nodiscard]] std::string log() const { return readWhole(folder_.path("log")); }
    void signal(int number) const;
    /// Waits for the end of the process. Returns its exit status, or 128 + the signal that ended it.
    int wait();

    [[nodiscard]] Answer rewrite(const std::string& text, int caller = 1,
                                 const std::string& instruction = {}) const;
    /// Sends a body. Throws when the answer is none that the desktop's client understands in full.
    [[nodiscard]] Answer post(const std::string& body, const httplib::Headers& headers) const;
    [[nodiscard]] httplib::Result get(const std::string& path) const;

private:
    TemporaryFolder folder_;
    std::string state_;
    pid_t process_ = -1;
    int port_ = 0;
    std::optional<int> ended_;
};

} // namespace quillmarsh::service::test
