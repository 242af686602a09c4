#include "rewrite/ProviderSelection.h"

#include "rewrite/AppSettings.h"

namespace quillmarsh {

QString keychainAccount(AIProvider provider)
{
    switch (provider) {
    case AIProvider::cloud:
        return QLatin1String(KeychainService::cloudKey);
    case AIProvider::openai:
        return QLatin1String(KeychainService::openAIKey);
    case AIProvider::claude:
        return QLatin1String(KeychainService::anthropicKey);
    }
    Q_UNREACHABLE();
}

Task<std::optional<ProviderSelection>> findAvailableProvider(QPointer<AppSettings> settings,
                                                             KeychainService keychain, TokensSource tokens)
{
    if (!settings)
        co_return std::nullopt;
    const AIProvider provider = settings->provider();
    if (provider == AIProvider::cloud)
        co_return ProviderSelection{provider, QString(), OpenAIAuthMode::apiKey};
    if (provider == AIProvider::openai && settings->openaiAuthMode() == OpenAIAuthMode::chatgpt) {
        const std::optional<CodexTokens> active = co_await tokens();
        if (!active || !active->canUsePlan())
            co_return std::nullopt;
        co_return ProviderSelection{provider, QString(), OpenAIAuthMode::chatgpt};
    }
    const std::optional<QString> key = co_await keychain.load(keychainAccount(provider));
    if (!key || key->isEmpty())
        co_return std::nullopt;
    co_return ProviderSelection{provider, *key, OpenAIAuthMode::apiKey};
}

} // namespace quillmarsh
