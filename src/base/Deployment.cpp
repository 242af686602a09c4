#include "base/Deployment.h"

#include "base/Log.h"
#include "base/UserDefaults.h"

#include <QHostAddress>
#include <QUrl>

namespace quillmarsh {

namespace {

Deployment& mutableDeployment()
{
    static Deployment deployment = [] {
        Deployment built = builtInDeployment();
        built.chatGPTApiBase = built.openAIApiBase;
        return built;
    }();
    return deployment;
}

bool isLoopback(const QString& host)
{
    return host == QLatin1String("localhost") || QHostAddress(host).isLoopback();
}

bool isAcceptable(const QUrl& url)
{
    if (!url.isValid() || url.host().isEmpty() || !url.userInfo().isEmpty() || url.hasQuery() ||
        url.hasFragment())
        return false;
    return url.scheme() == QLatin1String("https") ||
           (url.scheme() == QLatin1String("http") && isLoopback(url.host()));
}

void apply(const UserDefaults& store, const char* key, QString& endpoint)
{
    const auto text = store.string(QLatin1String(key));
    if (!text)
        return;
    QString address = text->trimmed();
    while (address.endsWith(QLatin1Char('/')))
        address.chop(1);
    if (isAcceptable(QUrl(address, QUrl::StrictMode))) {
        endpoint = address;
        qCInfo(lcQuillmarsh, "Using the address of \"%s\": %s", key, qUtf8Printable(endpoint));
    } else {
        qCWarning(lcQuillmarsh, "Ignoring \"%s\": it must be an https address, or http on a loopback address",
                  key);
    }
}

} // namespace

const Deployment& Deployment::current()
{
    return mutableDeployment();
}

void Deployment::applyEndpoints(const UserDefaults& store)
{
    Deployment& deployment = mutableDeployment();
    apply(store, "endpoint.openai", deployment.openAIApiBase);
    apply(store, "endpoint.anthropic", deployment.anthropicApiBase);
    apply(store, "endpoint.cloud", deployment.cloudOrigin);
}

} // namespace quillmarsh
