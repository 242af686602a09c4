#pragma once

#include "app/MenuBarModel.h"
#include "rewrite/RewriteFixture.h"
#include "update/UpdateService.h"

#include <QTimer>
#include <QNetworkAccessManager>
#include <QNetworkReply>

#include <cstring>

namespace quillmarsh::test {

/// An answer that needs no network.
class CannedReply final : public QNetworkReply
{
public:
    CannedReply(const QNetworkRequest& request, QByteArray body, QObject* parent)
        : QNetworkReply(parent), body_(std::move(body))
    {
        setRequest(request);
        setUrl(request.url());
        setAttribute(QNetworkRequest::HttpStatusCodeAttribute, 200);
        open(ReadOnly | Unbuffered);
        QTimer::singleShot(0, this, [this] {
            setFinished(true);
            emit finished();
        });
    }
    void abort() override {}
    [[nodiscard]] qint64 bytesAvailable() const override
    {
        return body_.size() + QIODevice::bytesAvailable();
    }

protected:
    qint64 readData(char* data, qint64 length) override
    {
        const qint64 count = std::min<qint64>(length, body_.size());
        std::memcpy(data, body_.constData(), static_cast<size_t>(count));
        body_.remove(0, count);
        return count;
    }

private:
    QByteArray body_;
};

/// Answers every request with `body`.
class CannedNetwork final : public QNetworkAccessManager
{
public:
    QByteArray body;
    int requests = 0;

protected:
    QNetworkReply* createRequest(Operation, const QNetworkRequest& request, QIODevice*) override
    {
        ++requests;
        return new CannedReply(request, body, this);
    }
};

/// The menu's model on the real services, which stand on a platform of fakes.
class MenuBarFixture
{
public:
    MenuBarFixture()
    {
        rewrites.makeService();
        UpdateEnvironment environment;
        environment.deployment = Deployment::current();
        environment.bundle = rewrites.platform.bundle;
        environment.processRunner = rewrites.platform.processRunner;
        environment.workspace = rewrites.platform.workspace;
        updates = std::make_unique<UpdateService>(&network, environment, QStringLiteral("1.0"));
        updates->setPresentWindow([this] { ++updateWindows; });
        model = std::make_unique<MenuBarModel>(
            MenuBarEnvironment{rewrites.settings, *rewrites.service, *updates, *rewrites.platform.workspace,
                               *rewrites.platform.keyboardLayout, [this] { return isChatGPTConnected; }});
    }

    void findRelease(const QByteArray& version)
    {
        network.body = R"({"version":")" + version + R"(","url":"https://github.com/q/a.zip"})";
        runTask(updates->checkForUpdates(true));
    }

    /// The menu is in front, as when the user has just opened it.
    void bringOurselvesToFront()
    {
        rewrites.platform.workspace->frontmost =
            RunningApplication{QCoreApplication::applicationPid(), QStringLiteral("Quillmarsh"), {}, 9, 9};
    }

    RewriteFixture rewrites;
    CannedNetwork network;
    std::unique_ptr<UpdateService> updates;
    bool isChatGPTConnected = false;
    int updateWindows = 0;
    std::unique_ptr<MenuBarModel> model;
};

} // namespace quillmarsh::test
