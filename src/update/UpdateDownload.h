#pragma once

#include "base/Task.h"

#include <QString>
#include <QUrl>

class QNetworkAccessManager;

namespace quillmarsh {

/// The longest archive that is downloaded, in bytes: many times a release, yet a server gone mad does not
/// fill the disk.
inline constexpr qint64 maximumArchiveSize = qint64{1} << 30;

/// Downloads `url` into the new file `path`. A redirect is followed only from https to https. An answer other
/// than status 200, or one longer than `limit` bytes, throws UpdateError DownloadFailed, a broken connection
/// TransportError, a file that cannot be written FileError, a stop Cancelled; an incomplete file may be left,
/// in the caller's working folder.
[[nodiscard]] Task<> downloadFile(QNetworkAccessManager* session, QUrl url, QString path,
                                  std::stop_token stop, qint64 limit = maximumArchiveSize);

} // namespace quillmarsh
