#pragma once

#include <QString>
#include <QUrl>

#include <array>
#include <optional>

namespace quillmarsh {

/// Which back end family handles rewrites. The raw values are what the settings store holds.
enum class AIProvider { cloud, openai, claude };

/// In declaration order, the order in which providers are listed.
inline constexpr std::array allAIProviders{AIProvider::cloud, AIProvider::openai, AIProvider::claude};

[[nodiscard]] QString rawValue(AIProvider provider);
/// Case-sensitive; none for any other text.
[[nodiscard]] std::optional<AIProvider> aiProviderFrom(const QString& rawValue);
[[nodiscard]] QString displayName(AIProvider provider);
/// Where the user gets a key; always valid.
[[nodiscard]] QUrl docsUrl(AIProvider provider);

/// How the `openai` provider authenticates: with the user's API key or with the user's ChatGPT plan.
enum class OpenAIAuthMode { apiKey, chatgpt };

inline constexpr std::array allOpenAIAuthModes{OpenAIAuthMode::apiKey, OpenAIAuthMode::chatgpt};

[[nodiscard]] QString rawValue(OpenAIAuthMode mode);
[[nodiscard]] std::optional<OpenAIAuthMode> openAIAuthModeFrom(const QString& rawValue);

/// The one list the user picks from; it sets provider and sign-in mode together.
enum class AIConnectionChoice { chatgpt, cloud, openaiKey, claude };

inline constexpr std::array allAIConnectionChoices{AIConnectionChoice::chatgpt, AIConnectionChoice::cloud,
                                                   AIConnectionChoice::openaiKey, AIConnectionChoice::claude};

[[nodiscard]] QString rawValue(AIConnectionChoice choice);
[[nodiscard]] std::optional<AIConnectionChoice> aiConnectionChoiceFrom(const QString& rawValue);
/// The choice that these settings amount to; only `openai` looks at the mode.
[[nodiscard]] AIConnectionChoice currentChoice(AIProvider provider, OpenAIAuthMode mode);

struct AIConnection
{
    AIProvider provider;
    std::optional<OpenAIAuthMode> mode; ///< none: the choice leaves the remembered mode alone
};

/// What a choice writes into the settings.
[[nodiscard]] AIConnection connection(AIConnectionChoice choice);

} // namespace quillmarsh
