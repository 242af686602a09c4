#pragma once

#include "chatgpt/CodexEnvironment.h"

#include <QJsonObject>

namespace quillmarsh {

/// The requests to the authorization server that carry codes and tokens. A plain value.
struct TokenEndpoint
{
    QNetworkAccessManager* session = nullptr;
    QString authOrigin;

    /// Sends a form to the token endpoint and returns the JSON object of the answer. Throws CodexOAuthError
    /// for an HTTP failure, AIError::invalidResponse for an answer of another form, TransportError,
    /// Cancelled.
    Task<QJsonObject> request(OAuthQueryItems items, std::stop_token stop) const;
    /// Tells the server to forget the profile's refresh token; throws unless that is confirmed. The address
    /// comes from the discovery document and has to be an https one of the server itself.
    Task<> revoke(CodexTokens profile) const;
};

/// The record that a token response makes. `nonce` is given for a sign-in and absent for a refresh;
/// `previous` is the profile being reconnected or refreshed. Throws AIError::invalidResponse, CodexOAuthError
/// when the identity does not verify or belongs to another account, or Cancelled.
Task<CodexTokens> validatedTokens(CodexEnvironment environment, QJsonObject response, QString clientID,
                                  std::optional<QString> nonce, std::optional<CodexTokens> previous,
                                  std::stop_token stop);

} // namespace quillmarsh
