#include "chatgpt/TokenEndpoint.h"

#include "ai/AIError.h"
#include "chatgpt/CodexOAuthError.h"
#include "chatgpt/OpenAIIdentityVerifier.h"

namespace quillmarsh {

namespace {

QString requiredString(const QJsonObject& response, const char* name)
{
    const QString value = response.value(QLatin1String(name)).toString();
    if (value.isEmpty())
        throw AIError::invalidResponse();
    return value;
}

double requiredLifetime(const QJsonObject& response)
{
    const double seconds = response.value(QLatin1String("expires_in")).toDouble();
    if (seconds <= 0)
        throw AIError::invalidResponse();
    return seconds;
}

void requireBearer(const QJsonObject& response)
{
    if (requiredString(response, "token_type").compare(QLatin1String("bearer"), Qt::CaseInsensitive) != 0)
        throw AIError::invalidResponse();
}

/// None when the response has no ID token, which only a refresh may leave out.
std::optional<QString> idToken(const QJsonObject& response, bool isRequired)
{
    const QJsonValue value = response.value(QLatin1String("id_token"));
    const bool isMissing = value.isUndefined() || value.isNull();
    if ((isMissing && isRequired) || (!isMissing && !value.isString()))
        throw AIError::invalidResponse();
    if (isMissing)
        return std::nullopt;
    return value.toString();
}

void takeIdentity(CodexTokens& tokens, const QString& token, const QJsonObject& claims,
                  const QString& knownSubject)
{
    tokens.idToken = token;
    tokens.subject = claims.value(QLatin1String("sub")).toString();
    if (!knownSubject.isEmpty() && knownSubject != tokens.subject)
        throw CodexOAuthError(QStringLiteral("This connection belongs to another ChatGPT account."));
    const QJsonValue email = claims.value(QLatin1String("email"));
    if (email.isString())
        tokens.email = email.toString();
}

} // namespace

Task<CodexTokens> validatedTokens(CodexEnvironment environment, QJsonObject response, QString clientID,
                                  std::optional<QString> nonce, std::optional<CodexTokens> previous,
                                  std::stop_token stop)
{
    CodexTokens tokens = previous.value_or(CodexTokens());
    const QString knownSubject = tokens.subject;
    tokens.clientID = clientID;
    tokens.accessToken = requiredString(response, "access_token");
    const double lifetime = requiredLifetime(response);
    requireBearer(response);
    if (const auto token = idToken(response, nonce.has_value())) {
        const OpenAIIdentityVerifier verifier{environment.session, environment.endpoints.authOrigin,
                                              environment.now};
        const QJsonObject claims = co_await verifier.verify(*token, clientID, nonce, stop);
        takeIdentity(tokens, *token, claims, knownSubject);
    }
    const QString refreshToken = response.value(QLatin1String("refresh_token")).toString();
    if (!refreshToken.isEmpty())
        tokens.refreshToken = refreshToken;
    const QJsonValue scope = response.value(QLatin1String("scope"));
    if (scope.isString())
        tokens.scopes = scope.toString().split(u' ', Qt::SkipEmptyParts);
    tokens.expiresAt = environment.now() + lifetime;
    co_return tokens;
}

} // namespace quillmarsh
