#include "Application.h"

#include "base/Log.h"
#include "engine/AnthropicEngine.h"
#include "engine/OpenAIEngine.h"
#include "offline/OfflineEngine.h"
#include "quota/PostgresQuotaStore.h"
#include "quota/SqliteQuotaStore.h"

namespace quillmarsh::service {

namespace {

std::unique_ptr<QuotaStore> makeStore(const Config& config)
{
    if (!config.postgres.empty()) {
        return std::make_unique<PostgresQuotaStore>(config.postgres);
    }
    return std::make_unique<SqliteQuotaStore>(config.sqliteFile);
}

std::unique_ptr<Engine> makeEngine(const std::string& name, const Config& config)
{
    if (name == "offline") {
        return std::make_unique<OfflineEngine>(config.dictionary);
    }
    if (name == "openai") {
        return std::make_unique<OpenAIEngine>(config.openai);
    }
    if (config.anthropic.key.empty()) {
        throw ConfigError("the engine anthropic needs a key in QUILLMARSH_SERVICE_ANTHROPIC_KEY");
    }
    return std::make_unique<AnthropicEngine>(config.anthropic);
}

std::vector<std::unique_ptr<Engine>> makeEngines(const Config& config)
{
    std::vector<std::unique_ptr<Engine>> engines;
    for (const std::string& name : config.engines) {
        engines.push_back(makeEngine(name, config));
    }
    return engines;
}

ConnectionLimits connectionLimits(const Config& config)
{
    ConnectionLimits limits;
    limits.request = config.requestLimit;
    return limits;
}

} // namespace

Application::Application(const Config& config)
    : callers_(config.openRegistration ? Callers() : Callers(config.tokensFile)),
      allowance_(makeStore(config), config.quotaLimit, config.quotaPeriod),
      engines_(makeEngines(config), config.engineLimit, metrics_), rewrites_(callers_, allowance_, engines_),
      updates_(config.updates), server_(connectionLimits(config), config.maximumConnections),
      service_(server_, rewrites_, updates_, metrics_), address_(config.address),
      port_(server_.bind(config.address, config.port))
{
    if (port_ < 0) {
        throw ConfigError("cannot listen on " + config.address + " port " + std::to_string(config.port) +
                          ": the address is taken or not of this machine");
    }
}

std::string Application::origin() const
{
    const bool six = address_.find(':') != std::string::npos;
    return "http://" + (six ? "[" + address_ + "]" : address_) + ":" + std::to_string(port_);
}

void Application::run()
{
    server_.listen_after_bind();
}

} // namespace quillmarsh::service
