#include "app/MenuBarFixture.h"
#include "app/MenuBarLabel.h"
#include "base/NotificationCenter.h"
#include "support/FailOnWarnings.h"

#include <QSignalSpy>
#include <QTest>

using namespace quillmarsh;
using test::MenuBarFixture;

/// What the status icon shows, and the notices that it passes on.
class tst_MenuBarLabel final : public QObject
{
    Q_OBJECT

private slots:
    void init() { test::failOnWarnings(); }

    void theSymbolTurnsWhileARewriteRuns();
    void theTwoSymbolsAreTwoPictures();
    void bothNoticesAskForTheSettings_data();
    void bothNoticesAskForTheSettings();
    void withoutATrayThereIsNoPlace();

private:
    MenuBarFixture fixture_;
    MenuBarLabel label_{*fixture_.rewrites.service};
};

void tst_MenuBarLabel::theSymbolTurnsWhileARewriteRuns()
{
    QCOMPARE(label_.symbol(), QStringLiteral("textformat.abc"));
    RewriteService& service = *fixture_.rewrites.service;
    fixture_.rewrites.script->reply = [](const QString&, std::stop_token stop) {
        return test::RewriteFixture::neverAnswer(stop);
    };
    detach(service.performRewrite(std::nullopt, QStringLiteral("Formal")));
    QTRY_VERIFY(service.isProcessing());
    QCOMPARE(label_.symbol(), QStringLiteral("arrow.triangle.2.circlepath"));
    detach(service.performRewrite(std::nullopt, {})); // cancels
    QTRY_VERIFY(!service.isProcessing());
    QCOMPARE(label_.symbol(), QStringLiteral("textformat.abc"));
}

void tst_MenuBarLabel::theTwoSymbolsAreTwoPictures()
{
    const auto picture = [](const char* symbol) {
        return statusIcon(QString::fromLatin1(symbol)).pixmap(22, 22).toImage();
    };
    const QImage idle = picture("textformat.abc");
    QCOMPARE(idle.size(), QSize(22, 22));
    QVERIFY(idle != picture("arrow.triangle.2.circlepath"));
    QCOMPARE(idle.pixelColor(0, 0).alpha(), 0);    // beside the rounded square
    QCOMPARE(idle.pixelColor(11, 2).alpha(), 255); // on it
    QCOMPARE(applicationIcon().pixmap(22, 22).toImage(), idle);
}

void tst_MenuBarLabel::bothNoticesAskForTheSettings_data()
{
    QTest::addColumn<QString>("notice");
    QTest::addColumn<int>("requests");
    QTest::newRow("a failure's button") << QStringLiteral("openSettingsFromAlert") << 1;
    QTest::newRow("the guide") << QStringLiteral("openSettingsFromTutorial") << 1;
    QTest::newRow("any other") << QStringLiteral("openSettings") << 0;
}

void tst_MenuBarLabel::bothNoticesAskForTheSettings()
{
    QFETCH(QString, notice);
    QSignalSpy requests(&label_, &MenuBarLabel::settingsRequested);
    NotificationCenter::defaultCenter().post(notice,
                                             {{QStringLiteral("section"), QStringLiteral("Shortcuts")}});
    QTEST(static_cast<int>(requests.count()), "requests");
}

void tst_MenuBarLabel::withoutATrayThereIsNoPlace()
{
    QVERIFY(label_.geometry().isNull());
}

QTEST_MAIN(tst_MenuBarLabel)
#include "tst_MenuBarLabel.moc"
