#include "app/Foreground.h"
#include "app/MenuBarFixture.h"
#include "app/MenuBarView.h"
#include "base/NotificationCenter.h"
#include "support/FailOnWarnings.h"
#include "ui/kit/Screenshot.h"

#include <QPointer>
#include <QQuickItem>
#include <QQuickView>
#include <QScreen>
#include <QSignalSpy>
#include <QTest>

using namespace quillmarsh;
using test::MenuBarFixture;

/// The menu's window, driven with the keyboard, in each of its states.
class tst_MenuBarView final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void frames_data();
    void frames();
    void opensAtTheIconAndReleasesItsWindow();
    void opensAtThePointerWithoutAnIcon();
    void theKeyboardWalksAndChooses();
    void theNoticesComeFirstAndLeadToTheirWindows();
    void theConnectionIsABadgeOrANotice();
    void theShortcutOpensTheSettings_data();
    void theShortcutOpensTheSettings();
    void escapeClosesTheFieldThenTheMenu();
    void aTypedInstructionRuns();
    void turningElsewhereCloses();
    void withoutTheKeyboardAnotherApplicationCloses();
    void theKeyboardIsInsistedOn();
    void aLongNameHasRoom_data();
    void aLongNameHasRoom();
    void taskBarsDoNotListIt();
    void oneClickTogglesOnce();
    void states();

private:
    QQuickView* open();
    void type(const QString& text);
    static void settle(QQuickView& window);
    /// Without the release: the window may be gone by then.
    void press(Qt::Key key) { QTest::keyPress(view_->window(), key); }
    [[nodiscard]] QString focused() const;
    /// The texts that the menu shows; of its badge alone, when asked.
    enum class Part { All, Badge };
    [[nodiscard]] QStringList texts(Part part = Part::All) const;
    [[nodiscard]] static int expectedHeight(const QQuickView& window)
    {
        const int room = window.screen()->availableGeometry().height() - 16;
        return std::min(room, static_cast<int>(window.rootObject()->implicitHeight()));
    }

    std::unique_ptr<MenuBarFixture> fixture_;
    std::vector<std::unique_ptr<MenuBarFixture>> retired_;
    std::unique_ptr<MenuBarView> view_;
};

void tst_MenuBarView::initTestCase()
{
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
}

void tst_MenuBarView::init()
{
    test::failOnWarnings();
    fixture_ = std::make_unique<MenuBarFixture>();
    view_ = std::make_unique<MenuBarView>(*fixture_->model, *fixture_->rewrites.platform.panelWindow,
                                          *fixture_->rewrites.platform.workspace);
}

void tst_MenuBarView::cleanup()
{
    view_.reset();
    retired_.push_back(std::move(fixture_)); // what a test has started may still be on its way
}

QQuickView* tst_MenuBarView::open()
{
    view_->open(QRect(700, 0, 24, 24));
    return QTest::qWaitForWindowActive(view_->window()) ? view_->window() : nullptr;
}

void tst_MenuBarView::type(const QString& text)
{
    for (const QChar character : text)
        QTest::keyClick(view_->window(), character.toLatin1());
}

/// Lets a change of the lines reach the window's size and its picture.
void tst_MenuBarView::settle(QQuickView& window)
{
    window.grabWindow(); // lays out what has changed
    QTRY_COMPARE(window.height(), expectedHeight(window));
    QTRY_COMPARE(window.rootObject()->height(), window.height());
}

QString tst_MenuBarView::focused() const
{
    const QQuickItem* item = view_->window()->activeFocusItem();
    return item ? item->property("text").toString() : QString();
}

QStringList tst_MenuBarView::texts(Part part) const
{
    QStringList texts;
    for (const QQuickItem* item : view_->window()->rootObject()->findChildren<QQuickItem*>()) {
        const bool isBadge = item->property("positive").isValid();
        if (item->isVisible() && (part == Part::All || isBadge))
            texts.append(item->property("text").toString());
    }
    return texts;
}

void tst_MenuBarView::frames_data()
{
    QTest::addColumn<QRect>("anchor");
    QTest::addColumn<QRect>("frame");
    QTest::newRow("below a top panel") << QRect(500, 0, 24, 24) << QRect(361, 30, 300, 400);
    QTest::newRow("above a bottom panel") << QRect(500, 776, 24, 24) << QRect(361, 370, 300, 400);
    QTest::newRow("right corner") << QRect(976, 0, 24, 24) << QRect(692, 30, 300, 400);
    QTest::newRow("left corner") << QRect(0, 776, 24, 24) << QRect(8, 370, 300, 400);
    QTest::newRow("a panel at the side") << QRect(0, 300, 24, 24) << QRect(8, 330, 300, 400);
    QTest::newRow("a pointer") << QRect(990, 790, 1, 1) << QRect(692, 384, 300, 400);
}

void tst_MenuBarView::frames()
{
    QFETCH(QRect, anchor);
    const QRect screen(0, 0, 1000, 800);
    QTEST(menuFrame(anchor, QSize(300, 400), screen), "frame");
    QVERIFY(screen.contains(menuFrame(anchor, QSize(2000, 2000), screen)));
}

void tst_MenuBarView::opensAtTheIconAndReleasesItsWindow()
{
    QVERIFY(!view_->isOpen());
    QPointer<QQuickView> window = open();
    QVERIFY(window);
    QCOMPARE(window->title(), QStringLiteral("Quillmarsh menu"));
    QCOMPARE(window->y(), 30);
    QVERIFY(window->flags().testFlag(Qt::FramelessWindowHint));
    view_->close();
    QVERIFY(!view_->isOpen());
    QTRY_VERIFY(!window);
}

void tst_MenuBarView::opensAtThePointerWithoutAnIcon()
{
    fixture_->rewrites.platform.panelWindow->mouse = {400, 20};
    view_->open({});
    QCOMPARE(view_->window()->position(), QPoint(400 - view_->window()->width() / 2, 27));
}

void tst_MenuBarView::theKeyboardWalksAndChooses()
{
    QVERIFY(open());
    QStringList seen;
    for (int step = 0; step < 10; ++step) {
        QTest::keyClick(view_->window(), Qt::Key_Down);
        seen.append(focused());
    }
    QCOMPARE(seen, QStringList({"Autocorrect", "Formal", "Casual", "Shorter", "Longer", "Custom instruction…",
                                "Check for updates", "Open Quillmarsh", "Quit Quillmarsh", "Autocorrect"}));
    QTest::keyClick(view_->window(), Qt::Key_Down);
    QTest::keyClick(view_->window(), Qt::Key_Up);
    QTest::keyClick(view_->window(), Qt::Key_Down);
    press(Qt::Key_Return);
    QVERIFY(!view_->isOpen());
    QTRY_COMPARE(fixture_->rewrites.script->instructions.size(), 1);
    QCOMPARE(fixture_->rewrites.script->instructions.first(),
             fixture_->rewrites.settings.instructionShortcuts().at(1).instruction);
}

void tst_MenuBarView::theNoticesComeFirstAndLeadToTheirWindows()
{
    fixture_->rewrites.platform.accessibility->trusted = false;
    fixture_->rewrites.service->checkAndSetupAccessibility(false);
    fixture_->findRelease("1.1");
    fixture_->rewrites.settings.select(AIConnectionChoice::chatgpt);
    QSignalSpy posted(&NotificationCenter::defaultCenter(), &NotificationCenter::posted);
    const int updateWindows = fixture_->updateWindows;
    const QStringList notices{"Enable Accessibility to use shortcuts", "Update available · v1.1",
                              "Connect ChatGPT in Settings"};
    for (int notice = 0; notice < notices.size(); ++notice) {
        QVERIFY(open());
        for (int step = 0; step <= notice; ++step) {
            QTest::keyClick(view_->window(), Qt::Key_Down);
            QCOMPARE(focused(), notices[step]);
        }
        press(Qt::Key_Return);
        QVERIFY(!view_->isOpen());
    }
    QCOMPARE(fixture_->updateWindows, updateWindows + 1);
    QCOMPARE(posted.count(), 2);
    for (const auto& [index, section] : {std::pair(0, "Permissions"), std::pair(1, "AI connections")})
        QCOMPARE(posted.at(index).at(1).toMap().value(QStringLiteral("section")).toString(),
                 QString::fromLatin1(section));
}

void tst_MenuBarView::theConnectionIsABadgeOrANotice()
{
    const auto notice = QStringLiteral("Connect ChatGPT in Settings");
    QVERIFY(open());
    QVERIFY(texts().contains(QStringLiteral("A little better, in a shortcut.")));
    QCOMPARE(texts(Part::Badge), QStringList("Quillmarsh Cloud"));
    fixture_->rewrites.settings.select(AIConnectionChoice::chatgpt);
    QVERIFY(texts().contains(notice));
    QCOMPARE(texts(Part::Badge), QStringList());
    fixture_->isChatGPTConnected = true;
    emit fixture_->model->connectionChanged();
    QCOMPARE(texts(Part::Badge), QStringList("ChatGPT connected"));
    QTest::keyClick(view_->window(), Qt::Key_Down);
    QCOMPARE(focused(), QStringLiteral("Autocorrect")); // no notice before it
}

void tst_MenuBarView::theShortcutOpensTheSettings_data()
{
    QTest::addColumn<Qt::KeyboardModifiers>("modifiers");
    QTest::newRow("Super-comma") << Qt::KeyboardModifiers(Qt::MetaModifier);
    QTest::newRow("Control-comma") << Qt::KeyboardModifiers(Qt::ControlModifier);
}

void tst_MenuBarView::theShortcutOpensTheSettings()
{
    QFETCH(Qt::KeyboardModifiers, modifiers);
    QSignalSpy settings(fixture_->model.get(), &MenuBarModel::settingsRequested);
    QVERIFY(open());
    QTest::keyPress(view_->window(), Qt::Key_Comma, modifiers);
    QCOMPARE(settings.count(), 1);
    QVERIFY(!view_->isOpen());
}

void tst_MenuBarView::escapeClosesTheFieldThenTheMenu()
{
    QVERIFY(open());
    fixture_->model->openCustomField();
    type(QStringLiteral("abc"));
    QCOMPARE(fixture_->model->customInstruction(), QStringLiteral("abc"));
    QTest::keyClick(view_->window(), Qt::Key_Escape);
    QVERIFY(view_->isOpen());
    QVERIFY(!fixture_->model->showsCustomField());
    press(Qt::Key_Escape);
    QVERIFY(!view_->isOpen());
}

void tst_MenuBarView::aTypedInstructionRuns()
{
    QVERIFY(open());
    fixture_->model->openCustomField();
    type(QStringLiteral("   "));
    QTest::keyClick(view_->window(), Qt::Key_Return);
    QVERIFY(view_->isOpen());
    QVERIFY(fixture_->model->showsCustomField());
    type(QStringLiteral("shout "));
    press(Qt::Key_Return);
    QVERIFY(!view_->isOpen());
    QTRY_COMPARE(fixture_->rewrites.script->instructions, QStringList("shout"));
}

void tst_MenuBarView::turningElsewhereCloses()
{
    QVERIFY(open());
    QQuickView other;
    other.resize(100, 100);
    other.show();
    other.requestActivate();
    QTRY_VERIFY(!view_->isOpen());
}

/// Where the desktop denies the menu the keyboard, there is none that it could lose.
void tst_MenuBarView::withoutTheKeyboardAnotherApplicationCloses()
{
    auto& workspace = *fixture_->rewrites.platform.workspace;
    view_->open(QRect(700, 0, 24, 24));
    QTRY_VERIFY(view_->window()->isActive());
    workspace.bringToFront(fixture_->rewrites.browser); // heard of late, while the keyboard is the menu's
    QVERIFY(view_->isOpen());
    view_->close();

    QQuickView other;
    other.show();
    QVERIFY(QTest::qWaitForWindowActive(&other));
    view_->open(QRect(700, 0, 24, 24));
    QVERIFY(!view_->window()->isActive());
    workspace.bringToFront(fixture_->rewrites.browser); // caused by the click on the icon itself
    QVERIFY(view_->isOpen());
    QPointer<QQuickView> window = view_->window();
    window->blockSignals(true); // it never hears of the keyboard
    QElapsedTimer timer;
    timer.start();
    QTRY_VERIFY(timer.hasExpired(310));
    other.requestActivate();
    QTRY_VERIFY(!window->isActive());
    fixture_->bringOurselvesToFront();
    emit workspace.didActivateApplication(*workspace.frontmost);
    QVERIFY(view_->isOpen());
    workspace.bringToFront(fixture_->rewrites.browser);
    QVERIFY(!view_->isOpen());
}

void tst_MenuBarView::theKeyboardIsInsistedOn()
{
    auto& workspace = *fixture_->rewrites.platform.workspace;
    QWindow granted;
    granted.show();
    bringToFront(granted, workspace);
    QVERIFY(QTest::qWaitForWindowActive(&granted));
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("requestActivate")));
    QWindow denied;
    denied.setFlags(Qt::ToolTip | Qt::WindowDoesNotAcceptFocus);
    denied.show();
    bringToFront(denied, workspace);
    QTRY_COMPARE(workspace.activated.size(), 1u);
    QCOMPARE(workspace.activated.front().window, quint64(denied.winId()));
    QCOMPARE(workspace.activated.front().processIdentifier, QCoreApplication::applicationPid());
}

void tst_MenuBarView::aLongNameHasRoom_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("widens");
    QTest::newRow("short") << QStringLiteral("Formal") << false;
    QTest::newRow("beside the shortcut") << QStringLiteral("Formal, for people whom I do not know") << true;
    QTest::newRow("in two lines") << QStringLiteral(
                                         "Formal, for people whom I do not know well or not at all yet")
                                  << true;
    QTest::newRow("one word") << QString(40, u'w') << true;
}

/// A name of an action can be read to its end beside the longest shortcut.
void tst_MenuBarView::aLongNameHasRoom()
{
    QFETCH(QString, name);
    QFETCH(bool, widens);
    const auto setSecond = [this](const QString& text) {
        auto actions = fixture_->rewrites.settings.instructionShortcuts();
        actions[1].name = text;
        actions[1].keyCode = 36;
        actions[1].modifiersRaw = 0x1E0000;
        fixture_->rewrites.settings.setInstructionShortcuts(actions);
    };
    QQuickView* window = open();
    QVERIFY(window);
    const int usual = window->width();
    setSecond(name);
    settle(*window);
    QCOMPARE(window->width() > usual, widens);
    const QRect room = window->screen()->availableGeometry();
    QVERIFY(room.contains(window->geometry()));
    for (const QQuickItem* item : window->rootObject()->findChildren<QQuickItem*>())
        QVERIFY(!item->property("truncated").toBool());
    setSecond(QStringLiteral("Formal"));
    settle(*window);
    QCOMPARE(window->width(), usual);
}

void tst_MenuBarView::taskBarsDoNotListIt()
{
    view_->open(QRect(700, 0, 24, 24));
    QCOMPARE(fixture_->rewrites.platform.panelWindow->leftOut, std::vector<QWindow*>{view_->window()});
}

void tst_MenuBarView::oneClickTogglesOnce()
{
    const QRect icon(700, 0, 24, 24);
    view_->toggle(icon);
    QVERIFY(view_->isOpen());
    view_->close(); // the press takes the focus away
    view_->toggle(icon);
    QVERIFY(!view_->isOpen());
    QElapsedTimer timer;
    timer.start();
    QTRY_VERIFY(timer.hasExpired(310));
    view_->toggle(icon);
    QVERIFY(view_->isOpen());
}

void tst_MenuBarView::states()
{
    using test::saveScreenshot;
    QQuickView* window = open();
    QVERIFY(window);
    QTest::keyClick(window, Qt::Key_Down);
    QVERIFY(saveScreenshot(*window, QStringLiteral("menu")));

    fixture_->model->openCustomField();
    type(QStringLiteral("Make it rhyme"));
    settle(*window);
    QVERIFY(saveScreenshot(*window, QStringLiteral("menu-custom")));
    fixture_->model->hideCustomField();

    fixture_->rewrites.platform.accessibility->trusted = false;
    fixture_->rewrites.service->checkAndSetupAccessibility(false);
    fixture_->findRelease("1.1");
    fixture_->rewrites.settings.select(AIConnectionChoice::chatgpt);
    settle(*window);
    QVERIFY(saveScreenshot(*window, QStringLiteral("menu-notices")));

    auto actions = fixture_->rewrites.settings.instructionShortcuts();
    actions[1].name = QStringLiteral("اكتب بأسلوب رسمي");
    actions[2].name = QStringLiteral("A very long name of a writing action that does not fit");
    actions[2].keyCode = 36;
    actions[2].modifiersRaw = 0x1E0000;
    fixture_->rewrites.settings.setInstructionShortcuts(actions);
    fixture_->rewrites.platform.accessibility->trusted = true;
    fixture_->rewrites.platform.eventTaps->refusedCombinations = {
        {VirtualKey::r, ModifierFlags::shift | ModifierFlags::command}};
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("Another program owns")));
    fixture_->rewrites.service->restartHotkeys();
    fixture_->rewrites.script->reply = [](const QString&, std::stop_token stop) {
        return test::RewriteFixture::neverAnswer(stop);
    };
    fixture_->rewrites.settings.select(AIConnectionChoice::cloud);
    detach(fixture_->rewrites.service->performRewrite(std::nullopt, QStringLiteral("Formal")));
    QTRY_VERIFY(fixture_->model->isProcessing());
    settle(*window);
    QVERIFY(saveScreenshot(*window, QStringLiteral("menu-working")));
    detach(fixture_->rewrites.service->performRewrite(std::nullopt, {}));
    QTRY_VERIFY(!fixture_->model->isProcessing());

    view_->close();
    fixture_->rewrites.platform.panelWindow->setCompositing(false);
    window = open();
    QVERIFY(window);
    settle(*window);
    QVERIFY(saveScreenshot(*window, QStringLiteral("menu-opaque")));
}

QTEST_MAIN(tst_MenuBarView)
#include "tst_MenuBarView.moc"
