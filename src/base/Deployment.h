#pragma once

#include <QByteArray>
#include <QString>

namespace quillmarsh {

class UserDefaults;

/// The addresses and the trust anchor that a build is made for. Origins have a scheme and a host and no
/// trailing slash. Nothing in here that decides who is trusted can be changed at run time.
struct Deployment
{
    QString webOrigin;        ///< site root; "/api/download"
    QString updateHost;       ///< host or host:port of "/update.json"
    QString gitHubHost;       ///< host of the release archives
    QString cloudOrigin;      ///< "/api/rewrite"
    QString openAIApiBase;    ///< ends in "/v1"; for the user's own API key
    QString chatGPTApiBase;   ///< the same as built; account tokens go nowhere else, whatever the user sets
    QString anthropicApiBase; ///< "/v1/messages"
    QString authOrigin;       ///< ChatGPT's authorization server
    QString chatGPTOrigin;    ///< "/settings/usage"
    QString openAIKeysOrigin; ///< "/api-keys"
    QString anthropicConsoleOrigin; ///< "/settings/keys"
    QByteArray codesignAnchor;      ///< PEM; empty: no update verifies

    /// The values in force. Main thread only.
    [[nodiscard]] static const Deployment& current();

    /// Points rewrites at servers of the user's own: "endpoint.openai", "endpoint.anthropic" and
    /// "endpoint.cloud" of the store, https anywhere or http on a loopback address. Anything else is ignored
    /// with a log line. Called once at start.
    static void applyEndpoints(const UserDefaults& store);
};

/// The values of this build; supplied by the deployment library that the executable links.
[[nodiscard]] Deployment builtInDeployment();

} // namespace quillmarsh
