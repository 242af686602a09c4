#include "app/MenuBarFixture.h"
#include "app/QuillmarshCommands.h"

#include <QMenu>
#include <QPointer>
#include <QSignalSpy>
#include <QTest>
#include <QWindow>

using namespace quillmarsh;
using test::MenuBarFixture;

/// The application's own menu and the shortcut that works in its windows.
class tst_QuillmarshCommands final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        fixture_ = std::make_unique<MenuBarFixture>();
        commands_ = std::make_unique<QuillmarshCommands>(*fixture_->model);
    }
    void cleanup()
    {
        commands_.reset();
        retired_.push_back(std::move(fixture_)); // what a test has started may still be on its way
    }

    void theMenusTexts();
    void checkingIsOffWhileACheckRuns();
    void aPackagedCopyOffersNoCheck();
    void choosingRunsAndReleasesTheMenu();
    void aMenuAskedForAgainStays();
    void theShortcutWorksInAServedWindow_data();
    void theShortcutWorksInAServedWindow();

private:
    std::unique_ptr<MenuBarFixture> fixture_;
    std::vector<std::unique_ptr<MenuBarFixture>> retired_;
    std::unique_ptr<QuillmarshCommands> commands_;
};

void tst_QuillmarshCommands::theMenusTexts()
{
    commands_->popUp({100, 100});
    QStringList texts;
    for (const QAction* action : commands_->menu()->actions())
        texts.append(action->text());
    QCOMPARE(texts, QStringList({"Check for Updates…", "Open Quillmarsh", "Quit Quillmarsh"}));
    QCOMPARE(commands_->openQuillmarsh().shortcut(), QKeySequence(Qt::CTRL | Qt::Key_Comma));
}

void tst_QuillmarshCommands::checkingIsOffWhileACheckRuns()
{
    fixture_->network.body = R"({"version":"1.0","url":"https://github.com/q/a.zip"})";
    QVERIFY(commands_->checkForUpdates().isEnabled());
    commands_->checkForUpdates().trigger();
    QVERIFY(fixture_->updates->isChecking());
    QVERIFY(!commands_->checkForUpdates().isEnabled());
    QTRY_VERIFY(commands_->checkForUpdates().isEnabled());
    QCOMPARE(fixture_->network.requests, 1);
    QCOMPARE(fixture_->updateWindows, 1); // the user asked, so the answer is shown
}

void tst_QuillmarshCommands::aPackagedCopyOffersNoCheck()
{
    QVERIFY(commands_->checkForUpdates().isVisible());
    fixture_->rewrites.platform.bundle->packageManaged = true;
    QVERIFY(!QuillmarshCommands(*fixture_->model).checkForUpdates().isVisible());
}

void tst_QuillmarshCommands::choosingRunsAndReleasesTheMenu()
{
    QSignalSpy settings(fixture_->model.get(), &MenuBarModel::settingsRequested);
    QSignalSpy quits(fixture_->model.get(), &MenuBarModel::quitRequested);
    commands_->popUp({100, 100});
    const QPointer<QMenu> menu = commands_->menu();
    QVERIFY(QTest::qWaitForWindowExposed(menu));
    QTest::keyClick(menu, Qt::Key_Down);
    QTest::keyClick(menu, Qt::Key_Down);
    QTest::keyClick(menu, Qt::Key_Return);
    QCOMPARE(settings.count(), 1);
    QTRY_VERIFY(!menu);
    QCOMPARE(commands_->menu(), nullptr);
    commands_->quit().trigger();
    QCOMPARE(quits.count(), 1);
}

void tst_QuillmarshCommands::aMenuAskedForAgainStays()
{
    commands_->popUp({100, 100});
    commands_->menu()->hide();
    commands_->popUp({100, 100});
    QCoreApplication::processEvents();
    QVERIFY(commands_->menu());
    QVERIFY(commands_->menu()->isVisible());
}

void tst_QuillmarshCommands::theShortcutWorksInAServedWindow_data()
{
    QTest::addColumn<int>("key");
    QTest::addColumn<Qt::KeyboardModifiers>("modifiers");
    QTest::addColumn<int>("requests");
    QTest::newRow("Control-comma") << int(Qt::Key_Comma) << Qt::KeyboardModifiers(Qt::ControlModifier) << 1;
    QTest::newRow("Super-comma") << int(Qt::Key_Comma) << Qt::KeyboardModifiers(Qt::MetaModifier) << 1;
    QTest::newRow("comma") << int(Qt::Key_Comma) << Qt::KeyboardModifiers(Qt::NoModifier) << 0;
    QTest::newRow("Control-Shift-comma")
        << int(Qt::Key_Comma) << (Qt::ControlModifier | Qt::ShiftModifier) << 0;
    QTest::newRow("Control-period") << int(Qt::Key_Period) << Qt::KeyboardModifiers(Qt::ControlModifier) << 0;
}

void tst_QuillmarshCommands::theShortcutWorksInAServedWindow()
{
    QFETCH(int, key);
    QFETCH(Qt::KeyboardModifiers, modifiers);
    QSignalSpy settings(fixture_->model.get(), &MenuBarModel::settingsRequested);
    QWindow window;
    commands_->serve(window);
    commands_->serve(window); // as each time that it is opened
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QTest::keyClick(&window, static_cast<Qt::Key>(key), modifiers);
    QTEST(static_cast<int>(settings.count()), "requests");
}

QTEST_MAIN(tst_QuillmarshCommands)
#include "tst_QuillmarshCommands.moc"
