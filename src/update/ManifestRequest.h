#pragma once

#include "base/Deployment.h"
#include "base/Task.h"
#include "update/UpdateRelease.h"

class QNetworkAccessManager;

namespace quillmarsh {

/// Asks the update host for its manifest: "https://HOST/update.json", no cache, at most 20 seconds without a
/// byte. Anything but status 200 throws UpdateError CheckFailed; an address that cannot be formed,
/// InvalidURL; the network and the decoder throw their own errors.
[[nodiscard]] Task<UpdateRelease> fetchRelease(QNetworkAccessManager* session, Deployment deployment,
                                               std::stop_token stop);

} // namespace quillmarsh
