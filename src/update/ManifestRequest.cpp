#include "update/ManifestRequest.h"

#include "base/Http.h"
#include "update/UpdateError.h"

#include <QNetworkAccessManager>

namespace quillmarsh {

namespace {

constexpr std::chrono::seconds manifestTimeout{20};

QUrl manifestURL(const Deployment& deployment)
{
    const QUrl url(QStringLiteral("https://%1/update.json").arg(deployment.updateHost), QUrl::StrictMode);
    if (!url.isValid() || url.host().isEmpty())
        throw UpdateError(UpdateError::Kind::InvalidURL);
    return url;
}

} // namespace

Task<UpdateRelease> fetchRelease(QNetworkAccessManager* session, Deployment deployment, std::stop_token stop)
{
    QNetworkRequest request = makeRequest(manifestURL(deployment), manifestTimeout);
    request.setRawHeader("Accept", "application/json");
    const HttpResponse response = co_await send(session, "GET", request, {}, stop);
    if (response.statusCode != 200)
        throw UpdateError(UpdateError::Kind::CheckFailed);
    co_return UpdateRelease::decode(response.body, deployment);
}

} // namespace quillmarsh
