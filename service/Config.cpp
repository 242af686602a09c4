#include "Config.h"

#include <algorithm>
#include <unistd.h>

#include "base/Text.h"

namespace quillmarsh::service {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

std::string variable(const Environment& environment, const std::string& name)
{
    const auto found = environment.find(name);
    return found == environment.end() ? std::string() : found->second;
}

void readServer(Config& config, IniFile& file)
{
    config.address = file.text("server.address", config.address);
    config.port = static_cast<int>(file.number("server.port", config.port, 0, 65535));
    config.maximumConnections = static_cast<size_t>(file.number("server.connections", 512, 1, 10'000));
    config.requestLimit = seconds(file.number("server.request_seconds", 10, 1, 300));
}

void readCallers(Config& config, IniFile& file)
{
    const std::string registration = file.text("callers.registration", "open");
    if (registration != "open" && registration != "known") {
        file.fail("callers.registration", "must be open or known");
    }
    config.openRegistration = registration == "open";
    config.tokensFile = file.text("callers.tokens_file", "");
    if (!config.openRegistration && config.tokensFile.empty()) {
        file.fail("callers.registration", "= known needs callers.tokens_file");
    }
}

void readQuota(Config& config, IniFile& file, const Environment& environment)
{
    config.quotaLimit = file.number("quota.limit", config.quotaLimit, 1, 1'000'000'000);
    const std::optional<Period> period = Period::parse(file.text("quota.period", "day"));
    if (!period) {
        file.fail("quota.period", "must be hour, day, week, month or a number of seconds");
    }
    config.quotaPeriod = *period;
    const std::string storage = file.text("quota.storage", "sqlite");
    if (storage != "sqlite" && storage != "postgresql") {
        file.fail("quota.storage", "must be sqlite or postgresql");
    }
    config.sqliteFile = file.text("quota.sqlite_file", "");
    const std::string connection = file.text("quota.postgresql", "");
    if (storage == "postgresql") {
        const std::string secret = variable(environment, "QUILLMARSH_SERVICE_POSTGRESQL");
        config.postgres = secret.empty() ? connection : secret;
        if (config.postgres.empty()) {
            file.fail("quota.storage",
                      "= postgresql needs quota.postgresql or QUILLMARSH_SERVICE_POSTGRESQL");
        }
    }
}

void readUpstream(UpstreamConfig& upstream, IniFile& file, const std::string& section)
{
    upstream.baseUrl = file.text(section + ".base_url", upstream.baseUrl);
    while (upstream.baseUrl.ends_with('/')) {
        upstream.baseUrl.pop_back();
    }
    if (!upstream.baseUrl.starts_with("https://") && !upstream.baseUrl.starts_with("http://")) {
        file.fail(section + ".base_url", "must begin with https:// or http://");
    }
    upstream.model = file.text(section + ".model", upstream.model);
    upstream.connectLimit = seconds(file.number(section + ".connect_seconds", 5, 1, 60));
    upstream.answerLimit = seconds(file.number(section + ".answer_seconds", 30, 1, 300));
    upstream.breakerFailures = static_cast<int>(file.number(section + ".breaker_failures", 5, 1, 1000));
    upstream.breakerPause = seconds(file.number(section + ".breaker_seconds", 30, 1, 3600));
}

void readEngines(Config& config, IniFile& file)
{
    config.engines = splitList(file.text("engines.order", "offline"), ',');
    for (const std::string& engine : config.engines) {
        if (engine != "offline" && engine != "openai" && engine != "anthropic") {
            file.fail("engines.order", "knows offline, openai and anthropic, not \"" + engine + "\"");
        }
        if (std::count(config.engines.begin(), config.engines.end(), engine) > 1) {
            file.fail("engines.order", "names \"" + engine + "\" twice");
        }
    }
    if (config.engines.empty()) {
        file.fail("engines.order", "must name at least one engine");
    }
    config.engineLimit = seconds(file.number("engines.total_seconds", 50, 1, 600));
    config.dictionary = file.text("offline.dictionary", config.dictionary);
    readUpstream(config.openai, file, "openai");
    readUpstream(config.anthropic, file, "anthropic");
    config.anthropic.maximumTokens =
        static_cast<int>(file.number("anthropic.max_tokens", config.anthropic.maximumTokens, 64, 1'000'000));
}

void readUpdates(UpdateConfig& updates, IniFile& file)
{
    updates.manifestFile = file.text("updates.manifest_file", "");
    updates.downloadFile = file.text("updates.download_file", "");
    updates.downloadUrl = file.text("updates.download_url", "");
    if (!updates.downloadUrl.empty() && !updates.downloadUrl.starts_with("https://")) {
        file.fail("updates.download_url", "must begin with https://");
    }
    if (!updates.downloadUrl.empty() && !updates.downloadFile.empty()) {
        file.fail("updates.download_url", "and updates.download_file exclude each other");
    }
}

} // namespace

Environment processEnvironment()
{
    Environment environment;
    for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
        const std::string text = *entry;
        const size_t equals = text.find('=');
        if (equals != std::string::npos) {
            environment.emplace(text.substr(0, equals), text.substr(equals + 1));
        }
    }
    return environment;
}

Config readConfig(std::optional<IniFile> file, const Environment& environment)
{
    Config config;
    config.openai.baseUrl = "https://api.openai.com/v1";
    config.openai.model = "gpt-4o-mini";
    config.openai.key = variable(environment, "QUILLMARSH_SERVICE_OPENAI_KEY");
    config.anthropic.baseUrl = "https://api.anthropic.com";
    config.anthropic.model = "claude-sonnet-4-20250514";
    config.anthropic.key = variable(environment, "QUILLMARSH_SERVICE_ANTHROPIC_KEY");
    IniFile ini = file ? std::move(*file) : IniFile("", "defaults");
    readServer(config, ini);
    readCallers(config, ini);
    readQuota(config, ini, environment);
    readEngines(config, ini);
    readUpdates(config.updates, ini);
    ini.finish();
    if (config.sqliteFile.empty()) {
        config.sqliteFile = defaultSqliteFile(environment);
    }
    return config;
}

std::string defaultSqliteFile(const Environment& environment)
{
    const std::string name = "/quota.sqlite";
    if (const std::string folder = variable(environment, "STATE_DIRECTORY"); !folder.empty()) {
        return folder.substr(0, folder.find(':')) + name;
    }
    if (const std::string folder = variable(environment, "XDG_STATE_HOME"); !folder.empty()) {
        return folder + "/quillmarsh-service" + name;
    }
    return variable(environment, "HOME") + "/.local/state/quillmarsh-service" + name;
}

} // namespace quillmarsh::service
