#pragma once

#include "base/Task.h"

#include <QString>
#include <QUrl>

class QNetworkAccessManager;

namespace quillmarsh {

/// Downloads `url` into the new file `path`. A redirect is followed only from https to https. An answer other
/// than status 200 throws UpdateError DownloadFailed, a broken connection TransportError, a file that cannot
/// be written FileError, a stop Cancelled; an incomplete file may be left, in the caller's working folder.
[[nodiscard]] Task<> downloadFile(QNetworkAccessManager* session, QUrl url, QString path,
                                  std::stop_token stop);

} // namespace quillmarsh
