#include "FuzzInput.h"

#include "base/Deployment.h"
#include "update/UpdateRelease.h"

using namespace quillmarsh;

/// Whatever the update host answers: either a release whose address may be used, or a ManifestError.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Deployment deployment;
    deployment.updateHost = QStringLiteral("quillmarsh.example");
    deployment.gitHubHost = QStringLiteral("github.com");
    try {
        const QByteArray json = fuzz::bytes(data, size);
        const UpdateRelease release = UpdateRelease::decode(json, deployment);
        const QUrl url = release.downloadURL(deployment).value();
        const bool isKnown = url.host() == deployment.updateHost || url.host() == deployment.gitHubHost ||
                             url.host() == QStringLiteral("www.") + deployment.updateHost;
        if (url.scheme() != QLatin1String("https") || !url.userInfo().isEmpty() || !isKnown)
            std::abort();
        if (release.isNewer(release.version) || !UpdateRelease::versionParts(release.version))
            std::abort();
    } catch (const ManifestError&) {
    }
    return 0;
}
