#include "chatgpt/AuthorizationRequest.h"

#include "base/Deployment.h"
#include "base/UserDefaults.h"

#include <QUuid>

namespace quillmarsh {

CodexEndpoints CodexEndpoints::current()
{
    return {Deployment::current().authOrigin, Deployment::current().chatGPTApiBase};
}

QString AuthorizationRequest::redirectURI() const
{
    return QStringLiteral("http://127.0.0.1:%1/auth/callback").arg(port);
}

OAuthQueryItems AuthorizationRequest::items(const CodexEndpoints& endpoints) const
{
    OAuthQueryItems items{
        {QStringLiteral("client_id"), existing ? existing->clientID : QLatin1String(dynamicClient)},
        {QStringLiteral("ext_agent_host_id"), hostID},
        {QStringLiteral("response_type"), QStringLiteral("code")},
        {QStringLiteral("redirect_uri"), redirectURI()},
        {QStringLiteral("resource"), endpoints.openAIApiBase},
        {QStringLiteral("scope"),
         QStringLiteral("openid profile email offline_access resource.invoke chatgpt.tokens.use.direct")},
        {QStringLiteral("state"), state},
        {QStringLiteral("nonce"), nonce},
        {QStringLiteral("code_challenge_method"), QStringLiteral("S256")},
        {QStringLiteral("code_challenge"), challenge},
    };
    if (!existing)
        items.append({QStringLiteral("agent_name_hint"), QStringLiteral("Quillmarsh")});
    if (existing && !existing->idToken.isEmpty())
        items.append({QStringLiteral("id_token_hint"), existing->idToken});
    if (existing && existing->email)
        items.append({QStringLiteral("login_hint"), *existing->email});
    return items;
}

QUrl AuthorizationRequest::url(const CodexEndpoints& endpoints) const
{
    const QString text = endpoints.authOrigin + QStringLiteral("/api/accounts/authorize?") +
                         OAuthQueryEncoder::encode(items(endpoints));
    return QUrl(text, QUrl::StrictMode);
}

QString AuthorizationRequest::storedHostID(UserDefaults& defaults)
{
    const QString key = QStringLiteral("chatgpt.hostID");
    if (const auto stored = defaults.string(key))
        return *stored;
    const QString made = QStringLiteral("urn:uuid:") + randomUuid().toLower();
    defaults.set(key, made);
    return made;
}

QString AuthorizationRequest::randomUuid()
{
    return QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
}

} // namespace quillmarsh
