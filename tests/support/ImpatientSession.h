#pragma once

#include <QHash>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>

namespace quillmarsh::test {

/// A network session that notes the time-out of every request and lets it strike far earlier.
class ImpatientSession final : public QNetworkAccessManager
{
public:
    /// What the time-out of every request is divided by; 1: nothing happens earlier.
    int haste = 1;
    /// The last time-out asked for, in milliseconds, by path.
    QHash<QString, int> timeouts;

protected:
    QNetworkReply* createRequest(Operation operation, const QNetworkRequest& request,
                                 QIODevice* body) override
    {
        QNetworkRequest hasty = request;
        timeouts.insert(request.url().path(), request.transferTimeout());
        hasty.setTransferTimeout(request.transferTimeout() / haste);
        return QNetworkAccessManager::createRequest(operation, hasty, body);
    }
};

} // namespace quillmarsh::test
