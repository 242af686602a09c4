#pragma once

#include "chatgpt/CodexTokens.h"
#include "chatgpt/OAuthQueryEncoder.h"

#include <QUrl>

namespace quillmarsh {

class UserDefaults;

/// The addresses that the account connection works with, all from the build's deployment values.
struct CodexEndpoints
{
    QString authOrigin;    ///< the authorization server: scheme and host, no trailing slash
    QString openAIApiBase; ///< ends in "/v1"; also the "resource" of every token

    [[nodiscard]] static CodexEndpoints current();
};

/// What one sign-in attempt sends the browser to.
struct AuthorizationRequest
{
    /// The client identifier that asks the server to register a new client.
    static constexpr auto dynamicClient = "dynamic_agent_client";

    std::optional<CodexTokens> existing; ///< the profile being reconnected; none adds an account
    quint16 port = 0;                    ///< of the callback server
    QString state;
    QString nonce;
    QString challenge;
    QString hostID;

    [[nodiscard]] QString redirectURI() const;
    [[nodiscard]] OAuthQueryItems items(const CodexEndpoints& endpoints) const;
    [[nodiscard]] QUrl url(const CodexEndpoints& endpoints) const;

    /// The identifier of this installation, "urn:uuid:" and a lower-case UUID; made once and kept in the
    /// defaults under "chatgpt.hostID".
    [[nodiscard]] static QString storedHostID(UserDefaults& defaults);
    /// A random UUID, upper case.
    [[nodiscard]] static QString randomUuid();
};

} // namespace quillmarsh
