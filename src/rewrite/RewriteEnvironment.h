#pragma once

#include "ai/AIProvider.h"
#include "ai/AIServiceProtocol.h"
#include "rewrite/ProviderSelection.h"

namespace quillmarsh {

class KeyPoster;
class Pasteboard;
class RewriteOverlayController;
class UserDefaults;
class Workspace;

/// What the orchestrator works with. Everything outlives it.
struct RewriteEnvironment
{
    Workspace& workspace;
    Pasteboard& pasteboard;
    KeyPoster& keyPoster;
    UserDefaults& defaults;
    RewriteOverlayController& overlay;
    KeychainService keychain;
    std::function<bool()> accessibilityCheck; ///< as Accessibility::isProcessTrusted()
    std::function<void()> accessibilityRequest;
    std::function<void()> openAccessibilitySettings;
    TokensSource chatGPTTokens;
    /// A new back end for one rewrite.
    std::function<std::unique_ptr<AIServiceProtocol>(AIProvider, OpenAIAuthMode)> makeBackEnd;
    /// Opens a connection to that back end ahead of the request; sends nothing.
    std::function<void(AIProvider, OpenAIAuthMode)> warmUp;
};

} // namespace quillmarsh
