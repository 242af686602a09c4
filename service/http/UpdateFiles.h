#pragma once

#include <httplib.h>

#include "Config.h"

namespace quillmarsh::service {

/// What the desktop application's updater asks of this host: the release manifest and the archive. Files are
/// read for every request, so that a release is published by replacing them.
class UpdateFiles final
{
public:
    explicit UpdateFiles(UpdateConfig config) : config_(std::move(config)) {}

    /// The manifest file, if it is one: an object with "version" (one to four numbers with dots), "url"
    /// (https) and, if present, "notes" (a list of strings).
    void answerManifest(httplib::Response& response) const;
    /// The archive itself, or a redirection to the configured address, or to the manifest's.
    void answerDownload(httplib::Response& response) const;

private:
    void sendFile(httplib::Response& response) const;

    UpdateConfig config_;
};

/// Whether a manifest's bytes are what the application accepts.
[[nodiscard]] bool isUpdateManifest(const std::string& bytes);

} // namespace quillmarsh::service
