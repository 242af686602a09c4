#include "ai/AIProvider.h"

#include "base/Deployment.h"

namespace quillmarsh {

namespace {

template <typename Enum, size_t count>
std::optional<Enum> find(const std::array<Enum, count>& cases, const QString& raw)
{
    for (const Enum value : cases) {
        if (rawValue(value) == raw)
            return value;
    }
    return std::nullopt;
}

} // namespace

QString rawValue(AIProvider provider)
{
    switch (provider) {
    case AIProvider::cloud:
        return QStringLiteral("cloud");
    case AIProvider::openai:
        return QStringLiteral("openai");
    case AIProvider::claude:
        return QStringLiteral("claude");
    }
    Q_UNREACHABLE();
}

std::optional<AIProvider> aiProviderFrom(const QString& raw)
{
    return find(allAIProviders, raw);
}

QString displayName(AIProvider provider)
{
    switch (provider) {
    case AIProvider::cloud:
        return QStringLiteral("Quillmarsh Cloud");
    case AIProvider::openai:
        return QStringLiteral("OpenAI");
    case AIProvider::claude:
        return QStringLiteral("Claude");
    }
    Q_UNREACHABLE();
}

QUrl docsUrl(AIProvider provider)
{
    const Deployment& deployment = Deployment::current();
    switch (provider) {
    case AIProvider::cloud:
        return QUrl(deployment.webOrigin + QLatin1Char('/'));
    case AIProvider::openai:
        return QUrl(deployment.openAIKeysOrigin + QStringLiteral("/api-keys"));
    case AIProvider::claude:
        return QUrl(deployment.anthropicConsoleOrigin + QStringLiteral("/settings/keys"));
    }
    Q_UNREACHABLE();
}

QString rawValue(OpenAIAuthMode mode)
{
    return mode == OpenAIAuthMode::apiKey ? QStringLiteral("apiKey") : QStringLiteral("chatgpt");
}

std::optional<OpenAIAuthMode> openAIAuthModeFrom(const QString& raw)
{
    return find(allOpenAIAuthModes, raw);
}

QString rawValue(AIConnectionChoice choice)
{
    switch (choice) {
    case AIConnectionChoice::chatgpt:
        return QStringLiteral("chatgpt");
    case AIConnectionChoice::cloud:
        return QStringLiteral("cloud");
    case AIConnectionChoice::openaiKey:
        return QStringLiteral("openaiKey");
    case AIConnectionChoice::claude:
        return QStringLiteral("claude");
    }
    Q_UNREACHABLE();
}

std::optional<AIConnectionChoice> aiConnectionChoiceFrom(const QString& raw)
{
    return find(allAIConnectionChoices, raw);
}

AIConnectionChoice currentChoice(AIProvider provider, OpenAIAuthMode mode)
{
    switch (provider) {
    case AIProvider::cloud:
        return AIConnectionChoice::cloud;
    case AIProvider::claude:
        return AIConnectionChoice::claude;
    case AIProvider::openai:
        break;
    }
    return mode == OpenAIAuthMode::chatgpt ? AIConnectionChoice::chatgpt : AIConnectionChoice::openaiKey;
}

AIConnection connection(AIConnectionChoice choice)
{
    switch (choice) {
    case AIConnectionChoice::chatgpt:
        return {AIProvider::openai, OpenAIAuthMode::chatgpt};
    case AIConnectionChoice::cloud:
        return {AIProvider::cloud, std::nullopt};
    case AIConnectionChoice::openaiKey:
        return {AIProvider::openai, OpenAIAuthMode::apiKey};
    case AIConnectionChoice::claude:
        return {AIProvider::claude, std::nullopt};
    }
    Q_UNREACHABLE();
}

} // namespace quillmarsh
