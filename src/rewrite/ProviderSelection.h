#pragma once

#include "ai/AIProvider.h"
#include "chatgpt/CodexTokens.h"
#include "chatgpt/KeychainService.h"

#include <QPointer>

#include <functional>

namespace quillmarsh {

class AppSettings;

/// Which back end a rewrite uses, and with which key (empty for those that use none).
struct ProviderSelection
{
    AIProvider provider = AIProvider::cloud;
    QString apiKey;
    OpenAIAuthMode mode = OpenAIAuthMode::apiKey;
};

/// The account of the secret store that holds the provider's API key.
[[nodiscard]] QString keychainAccount(AIProvider provider);

/// The active ChatGPT profile's tokens, if any account is connected.
using TokensSource = std::function<Task<std::optional<CodexTokens>>()>;

/// The back end that the settings choose; none when it lacks its key or account. The key is as it is stored.
/// The secret store may ask the user something first, for as long as the user likes.
Task<std::optional<ProviderSelection>> findAvailableProvider(QPointer<AppSettings> settings,
                                                             KeychainService keychain, TokensSource tokens);

} // namespace quillmarsh
