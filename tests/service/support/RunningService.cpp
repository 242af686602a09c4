#include "support/RunningService.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace quillmarsh::service::test {

namespace {

bool isString(const nlohmann::json& object, const char* name)
{
    return object.contains(name) && object[name].is_string() &&
           !object[name].get_ref<const std::string&>().empty();
}

bool isQuota(const nlohmann::json& quota)
{
    for (const auto& [name, value] : quota.items()) {
        if (name != "limit" && name != "remaining" && name != "resetsAt") {
            return false;
        }
    }
    return quota.is_object() && quota.contains("limit") && quota["limit"].is_number_unsigned() &&
           quota.contains("remaining") && quota["remaining"].is_number_unsigned() &&
           quota["remaining"] <= quota["limit"] &&
           (!quota.contains("resetsAt") || isString(quota, "resetsAt"));
}

/// What keeps the desktop's client from understanding an answer, read as strictly as it is written down: text
/// or error and code, and the quota unless nothing can be counted; empty when all is well.
std::string fault(int status, const std::string& type, const nlohmann::json& body)
{
    const bool good = status == 200;
    if (type != "application/json" || !body.is_object()) {
        return "not JSON";
    }
    if (!(good ? isString(body, "text") : isString(body, "error") && isString(body, "code"))) {
        return "without its texts";
    }
    const bool counted = body.value("code", "") != "storage_unavailable";
    if (body.contains("quota") != counted || (counted && !isQuota(body["quota"]))) {
        return "without its quota";
    }
    return body.size() == (good ? 1U : 2U) + (counted ? 1U : 0U) ? "" : "with more than it should have";
}

/// What a test counts must not begin anew because midnight comes.
std::string withLongPeriod(std::string config)
{
    if (config.find("period") != std::string::npos) {
        return config;
    }
    const std::string section = "[quota]\n";
    const std::string period = "period = 2147472000\n"; // whole days; the first one ends in 2038
    const size_t at = config.find(section);
    return at == std::string::npos ? config + '\n' + section + period
                                   : config.insert(at + section.size(), period);
}

[[noreturn]] void becomeService(const std::string& config, const std::string& output, const std::string& log)
{
    const int out = ::open(output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    const int errors = ::open(log.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    ::dup2(out, STDOUT_FILENO);
    ::dup2(errors, STDERR_FILENO);
    ::execl(SERVICE_BINARY, SERVICE_BINARY, "--config", config.c_str(), "--port", "0",
            static_cast<char*>(nullptr));
    ::_exit(127);
}

} // namespace

RunningService::RunningService(const std::string& config, const Variables& variables,
                               const std::string& stateFolder)
    : state_(stateFolder.empty() ? folder_.path("state") : stateFolder)
{
    const std::string configFile = folder_.write("service.ini", withLongPeriod(config));
    const std::string output = folder_.path("output");
    const std::string log = folder_.path("log");
    process_ = ::fork();
    if (process_ == 0) {
        ::setenv("STATE_DIRECTORY", state_.c_str(), 1);
        for (const auto& [name, value] : variables) {
            ::setenv(name.c_str(), value.c_str(), 1);
        }
        becomeService(configFile, output, log);
    }
    const std::string mark = "listening on http://127.0.0.1:";
    std::string said;
    const bool listens = eventually([&] {
        said = readWhole(output);
        int status = 0;
        if (!ended_ && ::waitpid(process_, &status, WNOHANG) == process_) {
            ended_ = WEXITSTATUS(status);
        }
        return (said.starts_with(mark) && said.ends_with('\n')) || ended_;
    });
    if (!listens || ended_) {
        throw std::runtime_error("the service did not start: " + readWhole(log));
    }
    port_ = std::stoi(said.substr(mark.size()));
}

RunningService::~RunningService()
{
    if (!ended_) {
        signal(SIGKILL);
        wait();
    }
}

void RunningService::signal(int number) const
{
    ::kill(process_, number);
}

int RunningService::wait()
{
    int status = 0;
    if (!ended_ && ::waitpid(process_, &status, 0) == process_) {
        ended_ = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
    }
    return *ended_;
}

Answer RunningService::rewrite(const std::string& text, int caller, const std::string& instruction) const
{
    return post(rewriteBody(text, instruction),
                {{"Authorization", bearer(caller)}, {"Content-Type", "application/json"}});
}

Answer RunningService::post(const std::string& body, const httplib::Headers& headers) const
{
    httplib::Client client("127.0.0.1", port_);
    client.set_read_timeout(60);
    httplib::Headers others = headers;
    std::string type;
    if (const auto found = others.find("Content-Type"); found != others.end()) {
        type = found->second;
        others.erase("Content-Type");
    }
    const auto result = client.Post("/api/rewrite", others, body, type);
    if (!result) {
        return {};
    }
    Answer answer{result->status, nlohmann::json::parse(result->body, nullptr, false), result->headers};
    const std::string wrong = fault(result->status, result->get_header_value("Content-Type"), answer.body);
    if (!wrong.empty()) {
        throw std::runtime_error("an answer " + wrong + ": " + result->body);
    }
    return answer;
}

httplib::Result RunningService::get(const std::string& path) const
{
    httplib::Client client("127.0.0.1", port_);
    client.set_read_timeout(60);
    return client.Get(path);
}

} // namespace quillmarsh::service::test
