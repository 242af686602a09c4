#include "support/FailOnWarnings.h"
#include "ui/settings/WindowDriver.h"

#include <QDir>

using namespace quillmarsh;
using test::SettingsFixture;
using test::WindowDriver;

/// Pictures of the settings window in its main states, in "screenshots" of the build folder, to be looked at.
class tst_SettingsScreenshots final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        folder_ = QDir(QCoreApplication::applicationDirPath() + QStringLiteral("/../screenshots"));
        QVERIFY(folder_.mkpath(QStringLiteral(".")));
    }

    void init()
    {
        test::failOnWarnings();
        fixture_ = std::make_unique<SettingsFixture>();
        fixture_->rewrite.defaults.set(QStringLiteral("settingsSection"), QStringLiteral("Overview"));
        driver_ = std::make_unique<WindowDriver>(*fixture_);
    }

    void cleanup()
    {
        driver_.reset();
        fixture_.reset();
    }

    void overview()
    {
        for (int count = 0; count < 1284; ++count)
            fixture_->rewrite.settings.recordCompletedRewrite();
        show(SettingsSection::general);
        shoot("overview");
    }

    void writingActions()
    {
        show(SettingsSection::shortcuts);
        shoot("actions");
        driver_->models().actions()->remove(1);
        shoot("actions-undo");
        driver_->click(driver_->item(QStringLiteral("actionMenu")));
        shoot("actions-menu");
    }

    void noWritingActions()
    {
        fixture_->rewrite.settings.setInstructionShortcuts({});
        show(SettingsSection::shortcuts);
        shoot("actions-empty");
    }

    void manyWritingActions()
    {
        std::vector<InstructionShortcut> list = InstructionShortcut::defaultShortcuts();
        for (int number = 1; number <= 30; ++number)
            list.push_back({QUuid::createUuid(), QStringLiteral("إجراء رقم %1").arg(number),
                            QStringLiteral("x"), QStringLiteral("star"), number % 40, 0x1E0000});
        fixture_->rewrite.settings.setInstructionShortcuts(list);
        show(SettingsSection::shortcuts);
        shoot("actions-many");
    }

    void connections()
    {
        show(SettingsSection::connections);
        shoot("connections-cloud");
        fixture_->rewrite.settings.select(AIConnectionChoice::chatgpt);
        shoot("connections-chatgpt");
        driver_->models().connections()->chatGPT()->signIn();
        shoot("connections-signing-in");
        driver_->models().connections()->chatGPT()->cancelSignIn();
        fixture_->rewrite.settings.select(AIConnectionChoice::claude);
        driver_->models().connections()->apiKey()->setText(QStringLiteral("sk-ant-0123456789"));
        driver_->models().connections()->apiKey()->save();
        shoot("connections-key-saved");
    }

    void keychainRefuses()
    {
        fixture_->rewrite.settings.select(AIConnectionChoice::openaiKey);
        show(SettingsSection::connections);
        fixture_->rewrite.platform.secItems->addStatus = errSecNotAvailable;
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("could not be saved")));
        driver_->click(driver_->item(QStringLiteral("keyField")));
        driver_->type(QStringLiteral("sk-0123456789"));
        driver_->click(driver_->item(QStringLiteral("saveKey")));
        shoot("connections-key-error");
    }

    void twoAccounts()
    {
        fixture_->makeAccounts({SettingsFixture::account(QStringLiteral("ada.lovelace@example.com")),
                                SettingsFixture::account(QStringLiteral("grace@example.com"))});
        driver_ = std::make_unique<WindowDriver>(*fixture_);
        fixture_->rewrite.settings.select(AIConnectionChoice::chatgpt);
        show(SettingsSection::connections);
        QTRY_COMPARE(fixture_->oauth->models().size(), 2);
        shoot("connections-accounts");
        driver_->click(driver_->item(QStringLiteral("accountMenu")));
        shoot("connections-account-menu");
    }

    void editor()
    {
        show(SettingsSection::shortcuts);
        driver_->models().editor()->create();
        shoot("editor-new");
        driver_->models().editor()->close();
        driver_->models().editor()->edit(0);
        shoot("editor");
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("grabbing the keyboard")));
        driver_->models().editor()->startRecording();
        shoot("editor-recording");
        driver_->models().editor()->recorder()->cancel();
        driver_->models().editor()->close();
        driver_->models().editor()->edit(1);
        fixture_->owned = {{15, 0x120000}};
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("grabbing the keyboard")));
        driver_->models().editor()->startRecording();
        driver_->settle();
        QKeyEvent press = SettingsFixture::keyEvent(15, Qt::Key_R, Qt::ShiftModifier | Qt::MetaModifier);
        driver_->models().editor()->recorder()->keyDown(press);
        shoot("editor-owned");
        driver_->models().editor()->save();
        shoot("editor-conflict");
    }

    void tutorial()
    {
        show(SettingsSection::guide);
        shoot("guide-demo-ready");
        DemoModel* demo = driver_->models().demo();
        demo->rewriteSelection();
        shoot("guide-demo-needs-full-selection");
        QQuickItem* text = driver_->item(QStringLiteral("demoText"));
        QMetaObject::invokeMethod(text, "selectAll");
        shoot("guide-demo-selected");
        demo->rewriteSelection();
        shoot("guide-demo-complete");
        driver_->models().tutorial()->advance();
        shoot("guide-connect");
        driver_->models().tutorial()->connectChatGPT();
        shoot("guide-connect-waiting");
        driver_->models().tutorial()->cancelSignIn();
        driver_->models().tutorial()->skip();
        shoot("guide-customize");
    }

    void permissions()
    {
        show(SettingsSection::permissions);
        shoot("permissions-enabled");
        fixture_->rewrite.platform.accessibility->trusted = false;
        fixture_->rewrite.service->checkAndSetupAccessibility(false);
        shoot("permissions-missing");
        fixture_->rewrite.platform.accessibility->trusted = true;
        fixture_->rewrite.platform.eventTaps->refuses = true;
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("FAILED to create")));
        fixture_->rewrite.service->checkAndSetupAccessibility(false);
        shoot("permissions-allowed");
    }

private:
    void show(SettingsSection section)
    {
        driver_->open();
        driver_->select(section);
    }

    void shoot(const char* name)
    {
        driver_->settle();
        const QImage picture = driver_->view().grabWindow();
        QVERIFY(!picture.isNull());
        const QString suffix =
            qFuzzyCompare(driver_->view().devicePixelRatio(), 1.0) ? QString() : QStringLiteral("@2x");
        QVERIFY(picture.save(
            folder_.filePath(QStringLiteral("settings-%1%2.png").arg(QLatin1String(name), suffix))));
    }

    QDir folder_;
    std::unique_ptr<SettingsFixture> fixture_;
    std::unique_ptr<WindowDriver> driver_;
};

QTEST_MAIN(tst_SettingsScreenshots)
#include "tst_SettingsScreenshots.moc"
