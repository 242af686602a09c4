#pragma once

#include "chatgpt/AuthorizationRequest.h"
#include "chatgpt/CodexTokenStore.h"
#include "chatgpt/OAuthCallbackServer.h"
#include "chatgpt/OneShotRedirect.h"

#include <functional>

class QNetworkAccessManager;

namespace quillmarsh {

class UserDefaults;

/// The wall clock in seconds since 1970 UTC.
[[nodiscard]] double secondsSince1970();

/// What the account connection works with. Everything outlives the service that is given it.
struct CodexEnvironment
{
    SecItems* secItems = nullptr;             ///< never null
    UserDefaults* defaults = nullptr;         ///< null: nothing is remembered
    QNetworkAccessManager* session = nullptr; ///< null: no request is ever made
    CodexEndpoints endpoints;
    /// Hands the address to the default browser; false when that could not be started.
    std::function<Task<bool>(QUrl)> openBrowser;
    std::function<double()> now = secondsSince1970;
    /// Whether the peer of a connection on 127.0.0.1 (this end's port, the peer's) is another user's program;
    /// null: it is not asked.
    OneShotRedirect::PeerCheck isOfAnotherUser;
    Alarms alarms = setAlarm;
};

} // namespace quillmarsh
