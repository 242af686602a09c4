#pragma once

#include "app/MenuBarModel.h"
#include "rewrite/RewriteFixture.h"
#include "ui/update/CannedNetwork.h"
#include "update/UpdateService.h"

#include <QTimer>
namespace quillmarsh::test {

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
        environment.temporaryFolder = rewrites.folder.path();
        updates = std::make_unique<UpdateService>(&network, environment, QStringLiteral("1.0"));
        updates->setPresentWindow([this] { ++updateWindows; });
        model = std::make_unique<MenuBarModel>(MenuBarEnvironment{
            rewrites.settings, *rewrites.service, *updates, *rewrites.platform.workspace,
            *rewrites.platform.keyboardLayout, rewrites.defaults, [this] { return isChatGPTConnected; }});
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
