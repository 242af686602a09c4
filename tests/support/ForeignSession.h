#pragma once

#include <QNetworkAccessManager>
#include <QNetworkRequest>
#include <QUrl>

namespace quillmarsh::test {

/// A network session that reaches nobody who speaks HTTP.
class ForeignSession final : public QNetworkAccessManager
{
protected:
    QNetworkReply* createRequest(Operation operation, const QNetworkRequest& request,
                                 QIODevice* body) override
    {
        QNetworkRequest foreign = request;
        foreign.setUrl(QUrl(QStringLiteral("gopher://127.0.0.1/")));
        return QNetworkAccessManager::createRequest(operation, foreign, body);
    }
};

} // namespace quillmarsh::test
