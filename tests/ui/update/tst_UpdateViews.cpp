#include "base/Deployment.h"
#include "support/CoroutineTest.h"
#include "support/FailOnWarnings.h"
#include "support/FakePlatform.h"
#include "ui/kit/AppDesign.h"
#include "ui/kit/KitTypes.h"
#include "ui/kit/Screenshot.h"
#include "ui/update/CannedNetwork.h"
#include "ui/update/UpdateWindow.h"
#include "update/InstallationModel.h"
#include "update/UpdateService.h"

#include <QPointer>
#include <QQmlPropertyMap>
#include <QQuickItem>
#include <QQuickView>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace quillmarsh;

namespace {

/// What the update window is bound to, with every value settable.
class RecordingPrompt final : public QQmlPropertyMap
{
    Q_OBJECT

public:
    RecordingPrompt() : QQmlPropertyMap(this, nullptr)
    {
        const QVariantMap initial{{"title", "An update is ready"},
                                  {"subtitle", "Quillmarsh 1.0 → 1.1"},
                                  {"showsRelease", true},
                                  {"notes", QStringList()},
                                  {"reassurance", "Your shortcuts and AI connections stay in place."},
                                  {"showsProgress", false},
                                  {"progress", ""},
                                  {"continueLabel", "Continue in background"},
                                  {"error", ""},
                                  {"downloadLabel", "Download manually"},
                                  {"dismissLabel", "Later"},
                                  {"showsDismiss", true},
                                  {"mainLabel", "Install update"},
                                  {"showsMain", true},
                                  {"isMainEnabled", true}};
        for (auto entry = initial.begin(); entry != initial.end(); ++entry)
            insert(entry.key(), entry.value());
    }

    Q_INVOKABLE void pressMain() { presses << QStringLiteral("main"); }
    Q_INVOKABLE void pressDownload() { presses << QStringLiteral("download"); }
    Q_INVOKABLE void close() { presses << QStringLiteral("close"); }

    QStringList presses;
};

/// As large as a window gets with the user's text size.
QSize scaled(const QSizeF& size)
{
    return (size * AppDesign::textScale()).toSize();
}

/// The texts that can be seen below `item`.
QStringList visibleTexts(const QQuickItem* item)
{
    QStringList texts;
    if (!item->isVisible())
        return texts;
    if (item->inherits("QQuickText") && !item->property("text").toString().isEmpty())
        texts << item->property("text").toString();
    for (const QQuickItem* child : item->childItems())
        texts += visibleTexts(child);
    return texts;
}

/// What the window shows of `prompt`, and nothing else, in no particular order.
QStringList textsOf(const QQmlPropertyMap& prompt)
{
    const auto text = [&](const char* key) { return prompt.value(QLatin1String(key)).toString(); };
    const auto is = [&](const char* key) { return prompt.value(QLatin1String(key)).toBool(); };
    QStringList texts{text("title"), text("subtitle")};
    if (is("showsRelease"))
        texts << prompt.value(QStringLiteral("notes")).toStringList() << text("reassurance");
    if (!text("error").isEmpty())
        texts << text("error") << text("downloadLabel");
    if (is("showsProgress"))
        texts << text("progress") << text("continueLabel");
    if (is("showsDismiss"))
        texts << text("dismissLabel");
    if (is("showsMain"))
        texts << text("mainLabel");
    return texts;
}

/// Only the platform without a desktop says so.
void expectRaise()
{
    if (QGuiApplication::platformName() == QLatin1String("offscreen"))
        QTest::ignoreMessage(QtWarningMsg, "This plugin does not support raise()");
}

} // namespace

/// The update window and the installation screen.
class tst_UpdateViews final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void theWindowOpensAndIsReleased();
    void theWindowOnTheRealUpdater();
    void promptStates_data();
    void promptStates();
    void promptKeys();
    void installationScreen();
    void installationOnASmallWindow();

private:
    std::unique_ptr<QQuickView> view(const QString& source, const QVariantMap& properties, QSize size);

    test::FakePlatform platform_;
    test::CannedNetwork network_;
    QTemporaryDir home_;
    UpdateEnvironment environment_;
    std::unique_ptr<UpdateService> service_;
};

void tst_UpdateViews::initTestCase()
{
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    registerKitTypes();
    environment_.deployment = Deployment::current();
    environment_.bundle = platform_.bundle;
    environment_.processRunner = platform_.processRunner;
    environment_.workspace = platform_.workspace;
    environment_.homeFolder = home_.path();
    environment_.temporaryFolder = home_.path();
}

void tst_UpdateViews::init()
{
    test::failOnWarnings();
    network_.status = 200;
    service_ = std::make_unique<UpdateService>(&network_, environment_, QStringLiteral("1.0"));
}

std::unique_ptr<QQuickView> tst_UpdateViews::view(const QString& source, const QVariantMap& properties,
                                                  QSize size)
{
    auto window = std::make_unique<QQuickView>();
    window->setInitialProperties(properties);
    window->setResizeMode(QQuickView::SizeRootObjectToView);
    window->setSource(QUrl(QStringLiteral("qrc:/quillmarsh/update/") + source));
    window->resize(size);
    window->show();
    window->requestActivate();
    const bool ready = window->status() == QQuickView::Ready && QTest::qWaitForWindowActive(window.get());
    return ready ? std::move(window) : nullptr;
}

void tst_UpdateViews::theWindowOpensAndIsReleased()
{
    UpdateWindow window(*service_);
    QSignalSpy closed(&window, &UpdateWindow::closed);
    expectRaise();
    window.show();
    QPointer<QQuickView> first = window.view();
    QCOMPARE(first->title(), QStringLiteral("Quillmarsh Update"));
    QCOMPARE(first->size(), scaled({470, 360}));
    const QPoint middle = first->screen()->availableGeometry().center();
    QVERIFY((first->geometry().center() - middle).manhattanLength() <= 2);
    expectRaise();
    window.show();
    QCOMPARE(window.view(), first.data());
    window.close();
    QTRY_VERIFY(!first);
    QVERIFY(!window.isOpen());
    QCOMPARE(closed.count(), 1);
    expectRaise();
    window.show();
    QVERIFY(window.isOpen());
}

void tst_UpdateViews::theWindowOnTheRealUpdater()
{
    UpdateWindow window(*service_);
    expectRaise();
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(window.view()));
    QVERIFY(test::saveScreenshot(*window.view(), QStringLiteral("update-current")));
    network_.body =
        R"({"version":"1.1","url":"https://github.com/q/a.zip","notes":["Rewrites start sooner.","Menus follow the keyboard layout."]})";
    test::runTask(service_->checkForUpdates(true));
    auto* main = window.view()->rootObject()->findChild<QQuickItem*>(QStringLiteral("main"));
    QTRY_COMPARE(main->property("text").toString(), QStringLiteral("Install update"));
    QTRY_COMPARE(main->opacity(), 1.0); // it has become enabled
    QSignalSpy frames(window.view(), &QQuickWindow::frameSwapped);
    window.view()->update();
    QVERIFY(frames.wait());
    QVERIFY(test::saveScreenshot(*window.view(), QStringLiteral("update-available")));
    auto* dismiss = window.view()->rootObject()->findChild<QQuickItem*>(QStringLiteral("dismiss"));
    QCOMPARE(dismiss->property("text").toString(), QStringLiteral("Later"));
    QMetaObject::invokeMethod(dismiss, "click");
    QTRY_VERIFY(!window.isOpen());
}

void tst_UpdateViews::promptStates_data()
{
    QTest::addColumn<QVariantMap>("values");
    const QStringList notes{"Rewrites start sooner.", "Menus follow the keyboard layout."};
    QTest::newRow("general") << QVariantMap{
        {"notes", QStringList("The latest improvements and fixes for Quillmarsh.")}};
    QTest::newRow("long") << QVariantMap{
        {"notes",
         QStringList({"Rewrites start sooner: the connection is warm when the text is there.",
                      "اختصارات جديدة", "The menu shows shortcuts that another program has taken.",
                      "Writing actions can be put in order with the keyboard.",
                      "Fixed a rare case in which a held key fired twice.", "And many small things."})}};
    QTest::newRow("updating") << QVariantMap{
        {"title", "Updating Quillmarsh"}, {"notes", notes},
        {"showsProgress", true},          {"progress", "Downloading Quillmarsh 1.1…"},
        {"showsDismiss", false},          {"showsMain", false}};
    QTest::newRow("installing") << QVariantMap{
        {"title", "Updating Quillmarsh"},       {"notes", notes},        {"showsProgress", true},
        {"progress", "Installing Quillmarsh…"}, {"showsDismiss", false}, {"showsMain", false}};
    QTest::newRow("failed") << QVariantMap{
        {"title", "Couldn’t update Quillmarsh"},
        {"notes", notes},
        {"error",
         "The update’s developer signature could not be verified. Your current version and settings are "
         "still available. Try again or download the update manually."}};
    QTest::newRow("check-failed") << QVariantMap{
        {"title", "Couldn’t check for updates"},
        {"subtitle", "You’re running Quillmarsh 1.0."},
        {"showsRelease", false},
        {"dismissLabel", "Close"},
        {"mainLabel", "Try again"},
        {"error",
         "Couldn’t check for updates. Check your connection and try again, or download Quillmarsh from our "
         "website."}};
    QTest::newRow("relaunch") << QVariantMap{{"title", "Ready to relaunch"},
                                             {"subtitle", "Relaunch to start using the new version."},
                                             {"notes", notes},
                                             {"mainLabel", "Relaunch now"}};
}

void tst_UpdateViews::promptStates()
{
    QFETCH(QVariantMap, values);
    RecordingPrompt prompt;
    for (auto entry = values.begin(); entry != values.end(); ++entry)
        prompt.insert(entry.key(), entry.value());
    const auto window =
        view(QStringLiteral("UpdatePromptView.qml"),
             {{QStringLiteral("prompt"), QVariant::fromValue<QObject*>(&prompt)}}, scaled({470, 360}));
    QVERIFY(window);
    QStringList shown = visibleTexts(window->rootObject());
    QStringList expected = textsOf(prompt);
    shown.sort();
    expected.sort();
    QCOMPARE(shown, expected);
    QVERIFY(test::saveScreenshot(*window,
                                 QStringLiteral("update-%1").arg(QLatin1String(QTest::currentDataTag()))));
}

void tst_UpdateViews::promptKeys()
{
    RecordingPrompt prompt;
    const auto window =
        view(QStringLiteral("UpdatePromptView.qml"),
             {{QStringLiteral("prompt"), QVariant::fromValue<QObject*>(&prompt)}}, scaled({470, 360}));
    QVERIFY(window);
    QTest::keyClick(window.get(), Qt::Key_Return);
    QCOMPARE(prompt.presses, QStringList()); // an update replaces the application: no key starts it unasked
    QTest::keyClick(window.get(), Qt::Key_Escape);
    QTest::keyClick(window.get(), Qt::Key_Tab);
    QTest::keyClick(window.get(), Qt::Key_Return);
    QCOMPARE(prompt.presses, QStringList({"close", "close"}));
}

void tst_UpdateViews::installationScreen()
{
    InstallationModel model(environment_);
    const auto window = view(QStringLiteral("InstallationView.qml"),
                             {{QStringLiteral("model"), QVariant::fromValue(&model)}}, scaled({900, 660}));
    QVERIFY(window);
    QVERIFY(test::saveScreenshot(*window, QStringLiteral("installation")));
    auto* button = window->rootObject()->findChild<QQuickItem*>(QStringLiteral("openInstalled"));
    QMetaObject::invokeMethod(button, "click");
    QTRY_VERIFY(!model.errorMessage().isEmpty());
    QVERIFY(button->isEnabled());
    QSignalSpy frames(window.get(), &QQuickWindow::frameSwapped);
    QVERIFY(frames.wait());
    QVERIFY(test::saveScreenshot(*window, QStringLiteral("installation-error")));
}

void tst_UpdateViews::installationOnASmallWindow()
{
    InstallationModel model(environment_, QStringLiteral("The application could not be opened."));
    const auto window = view(QStringLiteral("InstallationView.qml"),
                             {{QStringLiteral("model"), QVariant::fromValue(&model)}}, {720, 520});
    QVERIFY(window);
    for (int step = 0; step < 4; ++step)
        QTest::keyClick(window.get(), Qt::Key_Tab);
    QCOMPARE(window->activeFocusItem()->property("text").toString(), QStringLiteral("Continue here for now"));
    QVERIFY(test::saveScreenshot(*window, QStringLiteral("installation-small")));
}

QTEST_MAIN(tst_UpdateViews)
#include "tst_UpdateViews.moc"
