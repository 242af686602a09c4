#include "support/FailOnWarnings.h"
#include "support/FakePlatform.h"
#include "ui/kit/AppDesign.h"
#include "ui/kit/KitTypes.h"

#include <QAccessible>
#include <QQuickItem>
#include <QQuickView>
#include <QSignalSpy>
#include <QTest>

using namespace quillmarsh;

/// The controls, driven with keyboard and pointer, and as assistive technology sees them.
class tst_KitControls final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup() { view_.reset(); }

    void aClickCounts();
    void aPressThatLeavesDoesNotCount();
    void keysPress();
    void aHeldKeyPressesOnce();
    void modifiedKeysPass();
    void disabledControlsDoNothing();
    void theRingShowsForTheKeyboardOnly();
    void pressingMoves();
    void reducedMotionStandsStill();
    void everyStopIsReached();
    void theFieldMenuByKeyboard();
    void theFieldMenuByTyping();
    void theFieldMenuByPointer();
    void theFieldMenuSkipsWhatIsDisabled();
    void escapeAndOutsideCloseTheMenu();
    void theMenuButton();
    void theSelectorWalksWithoutChoosing();
    void theSheetKeepsTheFocus();
    void theAlertAnswers();
    void theToastGoesAndUndoes();
    void tabLeavesTheTextArea();
    void keycapsAreSplit();
    void names_data();
    void names();
    void hiddenTextStaysHidden();

private:
    [[nodiscard]] QQuickItem* item(const char* name) const
    {
        return view_->rootObject()->findChild<QQuickItem*>(QString::fromLatin1(name));
    }
    [[nodiscard]] int root(const char* property) const
    {
        return view_->rootObject()->property(property).toInt();
    }
    [[nodiscard]] static QPoint center(const QQuickItem* target)
    {
        return target->mapToScene(QPointF(target->width() / 2, target->height() / 2)).toPoint();
    }
    void click(const QQuickItem* target)
    {
        QTest::mouseClick(view_.get(), Qt::LeftButton, {}, center(target));
    }
    void key(Qt::Key code, Qt::KeyboardModifiers modifiers = {})
    {
        QTest::keyClick(view_.get(), code, modifiers);
    }
    [[nodiscard]] QString focused() const
    {
        for (const QQuickItem* at = view_->activeFocusItem(); at; at = at->parentItem())
            if (!at->objectName().isEmpty())
                return at->objectName();
        return {};
    }

    std::unique_ptr<QQuickView> view_;
};

void tst_KitControls::initTestCase()
{
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    registerKitTypes();
    registerKitTypes();
    QAccessible::setActive(true);
}

void tst_KitControls::init()
{
    test::failOnWarnings();
    view_ = std::make_unique<QQuickView>();
    view_->setSource(QUrl(QStringLiteral("qrc:/gallery/Controls.qml")));
    QCOMPARE(view_->status(), QQuickView::Ready);
    view_->show();
    view_->requestActivate();
    QVERIFY(QTest::qWaitForWindowActive(view_.get()));
}

void tst_KitControls::aClickCounts()
{
    click(item("button"));
    QCOMPARE(root("clicks"), 1);
    QVERIFY(item("button")->hasActiveFocus());
}

void tst_KitControls::aPressThatLeavesDoesNotCount()
{
    const QPoint inside = center(item("button"));
    QTest::mousePress(view_.get(), Qt::LeftButton, {}, inside);
    QVERIFY(item("button")->property("pressed").toBool());
    QTest::mouseMove(view_.get(), inside + QPoint(300, 0));
    QVERIFY(!item("button")->property("pressed").toBool());
    QTest::mouseRelease(view_.get(), Qt::LeftButton, {}, inside + QPoint(300, 0));
    QCOMPARE(root("clicks"), 0);
}

void tst_KitControls::keysPress()
{
    item("button")->forceActiveFocus(Qt::TabFocusReason);
    QTest::keyPress(view_.get(), Qt::Key_Space);
    QVERIFY(item("button")->property("pressed").toBool());
    QCOMPARE(root("clicks"), 0);
    QTest::keyRelease(view_.get(), Qt::Key_Space);
    QCOMPARE(root("clicks"), 1);
    key(Qt::Key_Return);
    key(Qt::Key_Enter, Qt::KeypadModifier);
    QCOMPARE(root("clicks"), 3);
}

void tst_KitControls::aHeldKeyPressesOnce()
{
    item("button")->forceActiveFocus(Qt::TabFocusReason);
    QKeyEvent first(QEvent::KeyPress, Qt::Key_Return, {}, QStringLiteral("\r"));
    QKeyEvent repeat(QEvent::KeyPress, Qt::Key_Return, {}, QStringLiteral("\r"), true);
    QCoreApplication::sendEvent(view_.get(), &first);
    QCoreApplication::sendEvent(view_.get(), &repeat);
    QCOMPARE(root("clicks"), 1);
}

void tst_KitControls::modifiedKeysPass()
{
    item("button")->forceActiveFocus(Qt::TabFocusReason);
    key(Qt::Key_Return, Qt::ControlModifier);
    key(Qt::Key_Space, Qt::AltModifier);
    QCOMPARE(root("clicks"), 0);
}

void tst_KitControls::disabledControlsDoNothing()
{
    click(item("disabled"));
    QMetaObject::invokeMethod(item("disabled"), "click");
    QCOMPARE(root("clicks"), 0);
    QTRY_COMPARE(item("disabled")->opacity(), 0.45);
}

void tst_KitControls::theRingShowsForTheKeyboardOnly()
{
    click(item("button"));
    QVERIFY(!item("button")->property("visualFocus").toBool());
    key(Qt::Key_Tab);
    QCOMPARE(focused(), QStringLiteral("link"));
    QVERIFY(item("link")->property("visualFocus").toBool());
    key(Qt::Key_Backtab);
    QVERIFY(item("button")->property("visualFocus").toBool());
}

void tst_KitControls::pressingMoves()
{
    QTest::mousePress(view_.get(), Qt::LeftButton, {}, center(item("button")));
    QTRY_COMPARE(item("button")->opacity(), 0.8);
    QTRY_COMPARE(item("button")->scale(), 0.98);
    QTest::mouseRelease(view_.get(), Qt::LeftButton, {}, center(item("button")));
    QTRY_COMPARE(item("button")->opacity(), 1.0);
    QTRY_COMPARE(item("button")->scale(), 1.0);
}

void tst_KitControls::reducedMotionStandsStill()
{
    test::FakeDesktopAppearance appearance;
    appearance.setReduceMotion(true);
    AppDesign::setAppearance(&appearance);
    QTest::mousePress(view_.get(), Qt::LeftButton, {}, center(item("button")));
    QCOMPARE(item("button")->opacity(), 0.8);
    QCOMPARE(item("button")->scale(), 1.0);
    AppDesign::setAppearance(nullptr);
}

void tst_KitControls::everyStopIsReached()
{
    item("button")->forceActiveFocus(Qt::TabFocusReason);
    QStringList stops;
    for (int step = 0; step < 9; ++step) {
        key(Qt::Key_Tab);
        stops.append(focused());
    }
    QCOMPARE(stops, QStringList({"link", "menu", "selector", "commands", "secret", "secret", "area", "after",
                                 "button"}));
}

void tst_KitControls::theFieldMenuByKeyboard()
{
    QQuickItem* menu = item("menu");
    menu->forceActiveFocus(Qt::TabFocusReason);
    key(Qt::Key_Space);
    QVERIFY(menu->property("opened").toBool());
    key(Qt::Key_End);
    key(Qt::Key_Up);
    key(Qt::Key_Return);
    QVERIFY(!menu->property("opened").toBool());
    QCOMPARE(menu->property("currentIndex").toInt(), 2);
    QVERIFY(menu->hasActiveFocus());
}

void tst_KitControls::theFieldMenuByTyping()
{
    QQuickItem* menu = item("menu");
    menu->forceActiveFocus(Qt::TabFocusReason);
    key(Qt::Key_Down);
    key(Qt::Key_D);
    key(Qt::Key_Return);
    QCOMPARE(menu->property("currentIndex").toInt(), 3);
}

void tst_KitControls::theFieldMenuByPointer()
{
    QQuickItem* menu = item("menu");
    click(menu);
    QVERIFY(menu->property("opened").toBool());
    QSignalSpy frames(view_.get(), &QQuickWindow::frameSwapped);
    QVERIFY(frames.wait());
    const QPoint below = menu->mapToScene(QPointF(30, menu->height() + 6 + 5 + 2.5 * 31)).toPoint();
    QTest::mouseMove(view_.get(), below);
    QTest::mouseClick(view_.get(), Qt::LeftButton, {}, below);
    QTRY_VERIFY(!menu->property("opened").toBool());
    QCOMPARE(menu->property("currentIndex").toInt(), 2);
}

void tst_KitControls::theFieldMenuSkipsWhatIsDisabled()
{
    QQuickItem* menu = item("menu");
    menu->forceActiveFocus(Qt::TabFocusReason);
    key(Qt::Key_Down);
    key(Qt::Key_B);
    key(Qt::Key_Return);
    QVERIFY(menu->property("opened").toBool());
    QCOMPARE(menu->property("currentIndex").toInt(), 0);
}

void tst_KitControls::escapeAndOutsideCloseTheMenu()
{
    QQuickItem* menu = item("menu");
    menu->forceActiveFocus(Qt::TabFocusReason);
    key(Qt::Key_Down);
    key(Qt::Key_Escape);
    QVERIFY(!menu->property("opened").toBool());
    QVERIFY(menu->hasActiveFocus());
    key(Qt::Key_Down);
    click(item("button"));
    QVERIFY(!menu->property("opened").toBool());
    QCOMPARE(root("clicks"), 0);
    QCOMPARE(menu->property("currentIndex").toInt(), 0);
}

void tst_KitControls::theMenuButton()
{
    click(item("commands"));
    key(Qt::Key_Down);
    key(Qt::Key_Return);
    QCOMPARE(root("lastMenu"), 1);
}

void tst_KitControls::theSelectorWalksWithoutChoosing()
{
    QQuickItem* selector = item("selector");
    item("menu")->forceActiveFocus(Qt::TabFocusReason);
    key(Qt::Key_Tab);
    QCOMPARE(view_->activeFocusItem()->property("title").toString(), QStringLiteral("Two"));
    key(Qt::Key_Down);
    key(Qt::Key_Down);
    QCOMPARE(view_->activeFocusItem()->property("title").toString(), QStringLiteral("One"));
    QCOMPARE(selector->property("currentIndex").toInt(), 1);
    key(Qt::Key_Space);
    QCOMPARE(selector->property("currentIndex").toInt(), 0);
}

void tst_KitControls::theSheetKeepsTheFocus()
{
    item("button")->forceActiveFocus(Qt::TabFocusReason);
    item("sheet")->setProperty("open", true);
    QCOMPARE(focused(), QStringLiteral("inSheet1"));
    key(Qt::Key_Tab);
    QCOMPARE(focused(), QStringLiteral("inSheet2"));
    key(Qt::Key_Tab);
    QCOMPARE(focused(), QStringLiteral("inSheet1"));
    key(Qt::Key_Backtab);
    QCOMPARE(focused(), QStringLiteral("inSheet2"));
    QTest::mouseClick(view_.get(), Qt::LeftButton, {}, center(item("button")));
    QCOMPARE(root("clicks"), 0);
    key(Qt::Key_Escape);
    QVERIFY(!item("sheet")->property("open").toBool());
    QCOMPARE(focused(), QStringLiteral("button"));
}

void tst_KitControls::theAlertAnswers()
{
    item("alert")->setProperty("open", true);
    key(Qt::Key_Return);
    QCOMPARE(root("lastAnswer"), 1);
    item("alert")->setProperty("open", true);
    key(Qt::Key_Escape);
    QCOMPARE(root("lastAnswer"), 0);
}

void tst_KitControls::theToastGoesAndUndoes()
{
    QMetaObject::invokeMethod(item("toast"), "show");
    QTRY_COMPARE(root("closedToasts"), 1);
    QCOMPARE(root("undone"), 0);
    QMetaObject::invokeMethod(item("toast"), "show");
    const QPoint undo(item("toast")->mapToScene(QPointF(item("toast")->width() - 30, 20)).toPoint());
    QTest::mouseClick(view_.get(), Qt::LeftButton, {}, undo);
    QCOMPARE(root("undone"), 1);
}

void tst_KitControls::tabLeavesTheTextArea()
{
    item("area")->forceActiveFocus();
    key(Qt::Key_A);
    key(Qt::Key_Tab);
    QCOMPARE(item("area")->property("text").toString(), QStringLiteral("a"));
    QCOMPARE(focused(), QStringLiteral("after"));
}

void tst_KitControls::keycapsAreSplit()
{
    QCOMPARE(item("keys")->property("keys").toStringList(), QStringList({"⌃", "⌥", "⇧", "⌘", "F5"}));
    QCOMPARE(item("bare")->property("keys").toStringList(), QStringList({"⌘"}));
}

void tst_KitControls::names_data()
{
    QTest::addColumn<QString>("object");
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("role");
    QTest::newRow("button") << "button"
                            << "Save" << int(QAccessible::Button);
    QTest::newRow("link") << "link"
                          << "Manage usage ↗" << int(QAccessible::Link);
    QTest::newRow("field menu") << "menu"
                                << "Model" << int(QAccessible::ComboBox);
    QTest::newRow("menu button") << "commands"
                                 << "Actions" << int(QAccessible::ButtonMenu);
    QTest::newRow("keys") << "keys"
                          << "⌃⌥⇧⌘F5" << int(QAccessible::StaticText);
    QTest::newRow("sheet") << "sheet"
                           << "Sheet" << int(QAccessible::Dialog);
}

void tst_KitControls::names()
{
    QFETCH(QString, object);
    QAccessibleInterface* seen = QAccessible::queryAccessibleInterface(item(object.toLatin1().constData()));
    QVERIFY(seen);
    QTEST(seen->text(QAccessible::Name), "name");
    QTEST(int(seen->role()), "role");
}

void tst_KitControls::hiddenTextStaysHidden()
{
    QQuickItem* field = item("secret");
    field->setProperty("text", QStringLiteral("sk-canary"));
    auto* input = field->property("input").value<QQuickItem*>();
    QAccessibleInterface* seen = QAccessible::queryAccessibleInterface(input);
    QVERIFY(seen);
    QCOMPARE(seen->role(), QAccessible::EditableText);
    QVERIFY(seen->state().passwordEdit);
    QCOMPARE(seen->text(QAccessible::Name), field->property("title").toString());
    for (int kind = QAccessible::Name; kind <= QAccessible::Accelerator; ++kind)
        QVERIFY2(!seen->text(static_cast<QAccessible::Text>(kind)).contains(QStringLiteral("canary")),
                 qPrintable(QString::number(kind)));
    QCOMPARE(seen->textInterface()->text(0, -1), QString(9, u'•'));
    QVERIFY(seen->parent() && seen->parent()->indexOfChild(seen) >= 0);
    field->setProperty("revealed", true);
    QVERIFY(!seen->state().passwordEdit);
    QCOMPARE(seen->textInterface()->text(0, 9), QStringLiteral("sk-canary"));
}

QTEST_MAIN(tst_KitControls)
#include "tst_KitControls.moc"
