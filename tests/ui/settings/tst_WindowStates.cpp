#include "support/FailOnWarnings.h"
#include "ui/settings/WindowStates.h"

#include <QAccessible>
#include <QSignalSpy>

using namespace quillmarsh;
using test::StatefulWindow;
using test::WindowState;
using test::windowStates;

/// What holds in every state of the window: which texts are there and which are not, that all of them can be
/// read in full, and that the keyboard reaches everything. Runs at several scale factors and text sizes.
class tst_WindowStates final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        test::failOnWarnings();
        QFETCH(int, position);
        state_ = &windowStates().at(size_t(position));
        window_ = std::make_unique<StatefulWindow>(*state_);
    }

    void cleanup() { window_.reset(); }

    void texts_data() { test::addStateRows(); }
    void texts()
    {
        const QStringList shown = driver().texts();
        for (const QString& text : state_->texts)
            QVERIFY2(shown.contains(text), qPrintable("Missing: " + text + "\nin: " + shown.join(" | ")));
        for (const QString& text : everyText())
            QVERIFY2(state_->texts.contains(text) || !shown.contains(text),
                     qPrintable("Out of place: " + text));
    }

    void geometry_data() { test::addStateRows(); }
    void geometry()
    {
        checkGeometry();
        driver().view().resize(driver().view().minimumSize());
        driver().settle();
        checkGeometry();
    }

    void keyboard_data() { test::addStateRows(); }
    void keyboard()
    {
        const QList<QQuickItem*> expected = isRecording() ? QList<QQuickItem*>() : tabStops();
        QList<QQuickItem*> reached;
        QImage before = driver().view().grabWindow();
        for (qsizetype step = 0; step < expected.size() + 1; ++step) {
            QQuickItem* left = driver().focused();
            driver().press(Qt::Key_Tab);
            QQuickItem* stop = driver().focused();
            QVERIFY(stop);
            const QImage after = driver().view().grabWindow();
            QVERIFY2(stop == left || differsAround(stop, before, after),
                     qPrintable("No ring around " + nameOf(stop)));
            reached << stop;
            before = after;
        }
        for (QQuickItem* stop : expected)
            QVERIFY2(reached.contains(stop), qPrintable("Tab does not reach " + nameOf(stop)));
    }

    void operable_data() { test::addStateRows(); }
    void operable()
    {
        const bool recording = isRecording();
        for (QQuickItem* control : inFront([](QQuickItem* item) {
                 return item->inherits("quillmarsh::Pressable") || item->activeFocusOnTab();
             })) {
            isOperable(control);
            if (control->inherits("quillmarsh::Pressable") && control->isEnabled() && !recording)
                isHeldBySpace(control);
        }
    }

private:
    [[nodiscard]] test::WindowDriver& driver() { return *window_->driver; }

    /// The texts of all states.
    [[nodiscard]] static QStringList everyText()
    {
        QStringList all;
        for (const WindowState& state : windowStates())
            all += state.texts;
        all.removeDuplicates();
        return all;
    }

    void checkGeometry()
    {
        const QList<QQuickItem*> texts = driver().visible([](QQuickItem* item) {
            return item->inherits("QQuickText") && !item->property("text").toString().isEmpty();
        });
        const QList<QQuickItem*> controls =
            driver().visible([](QQuickItem* item) { return item->inherits("quillmarsh::Pressable"); });
        QVERIFY(!texts.isEmpty());
        for (QQuickItem* text : texts) {
            fits(text);
            for (QQuickItem* other : texts)
                separate(text, painted(text), other, painted(other));
            for (QQuickItem* control : controls)
                separate(text, painted(text), control, onScene(control));
        }
        for (QQuickItem* control : controls) {
            for (QQuickItem* other : controls)
                separate(control, onScene(control), other, onScene(other));
        }
    }

    /// A text is neither shortened nor wider or higher than its place, nor cut off by what it lies in.
    void fits(QQuickItem* text)
    {
        const QByteArray name = QStringLiteral("“%1”").arg(text->property("text").toString()).toUtf8();
        QVERIFY2(!text->property("truncated").toBool(), name + " is shortened");
        QVERIFY2(text->property("contentWidth").toReal() <= text->width() + tolerance, name + " is too wide");
        QVERIFY2(text->property("contentHeight").toReal() <= text->height() + tolerance,
                 name + " is too high");
        const QRectF place = painted(text);
        for (QQuickItem* above = text->parentItem(); above; above = above->parentItem()) {
            const bool isFrame =
                above->inherits("quillmarsh::Pressable") || above->inherits("quillmarsh::RoundedBox");
            const QRectF frame = onScene(above);
            const bool scrolls = above->inherits("QQuickFlickable");
            if (isFrame || scrolls || !above->parentItem())
                QVERIFY2(place.left() >= frame.left() - tolerance &&
                             place.right() <= frame.right() + tolerance,
                         name + " leaves its place at the side");
            if (scrolls)
                return;
            if (isFrame || !above->parentItem())
                QVERIFY2(place.top() >= frame.top() - tolerance &&
                             place.bottom() <= frame.bottom() + tolerance,
                         name + " leaves its place");
        }
    }

    static void separate(QQuickItem* a, const QRectF& placeOfA, QQuickItem* b, const QRectF& placeOfB)
    {
        if (a == b || a->isAncestorOf(b) || b->isAncestorOf(a) || layer(a) != layer(b))
            return;
        const QRectF common = placeOfA.intersected(placeOfB);
        QVERIFY2(common.width() <= tolerance || common.height() <= tolerance,
                 qPrintable(nameOf(a) + " and " + nameOf(b) + " overlap"));
    }

    /// What lies over the page (a sheet, an open list, the toast) is apart from it; so are scrolled parts.
    static QQuickItem* layer(QQuickItem* item)
    {
        constexpr qreal overThePage = 400;
        for (QQuickItem* above = item; above; above = above->parentItem()) {
            if (above->z() >= overThePage || above->inherits("QQuickFlickable"))
                return above;
        }
        return nullptr;
    }

    static QRectF onScene(QQuickItem* item) { return item->mapRectToScene(item->boundingRect()); }
    static QRectF painted(QQuickItem* text)
    {
        const qreal width = text->property("contentWidth").toReal();
        const int alignment = text->property("horizontalAlignment").toInt();
        const qreal room = text->width() - width;
        const qreal left = alignment == Qt::AlignHCenter ? room / 2 : alignment == Qt::AlignRight ? room : 0;
        return text->mapRectToScene({left, 0, width, text->height()});
    }

    /// While a shortcut is recorded, Tab and Space are keys like any other, and Escape cancels.
    bool isRecording() { return driver().focused()->inherits("quillmarsh::KeyCaptureView"); }

    /// It has a name, and assistive technology can press it or write into it.
    static void isOperable(QQuickItem* control)
    {
        QAccessibleInterface* known = QAccessible::queryAccessibleInterface(control);
        QVERIFY2(known && !known->text(QAccessible::Name).isEmpty(),
                 qPrintable("No accessible name: " + nameOf(control)));
        QVERIFY2(known->state().disabled == !control->isEnabled(), qPrintable(nameOf(control)));
        const QAccessibleActionInterface* actions = known->actionInterface();
        const bool isPressed =
            actions && actions->actionNames().contains(QAccessibleActionInterface::pressAction());
        QVERIFY2(isPressed || known->role() == QAccessible::EditableText,
                 qPrintable("Nothing to do with " + nameOf(control)));
    }

    /// The key is let go elsewhere, so that nothing happens and the state stays what it is.
    void isHeldBySpace(QQuickItem* control)
    {
        QSignalSpy clicks(control, SIGNAL(clicked()));
        control->forceActiveFocus(Qt::TabFocusReason);
        QTest::keyPress(&driver().view(), Qt::Key_Space);
        QVERIFY2(control->property("pressed").toBool(),
                 qPrintable("Space does not press " + nameOf(control)));
        control->setFocus(false);
        QTest::keyRelease(&driver().view(), Qt::Key_Space);
        QVERIFY2(!control->property("pressed").toBool() && clicks.isEmpty(), qPrintable(nameOf(control)));
    }

    /// Everything that Tab has to stop at.
    QList<QQuickItem*> tabStops()
    {
        return inFront([](QQuickItem* item) {
            return item->activeFocusOnTab() && item->isEnabled() && !item->inherits("QQuickFlickable");
        });
    }

    /// What can be seen and matches; while something lies over the page, only there.
    template <typename Matches>
    QList<QQuickItem*> inFront(Matches matches)
    {
        const QList<QQuickItem*> traps = driver().visible([](QQuickItem* item) {
            return item->inherits("quillmarsh::FocusTrap") && item->property("active").toBool();
        });
        QQuickItem* top = traps.isEmpty() ? nullptr : traps.back();
        return driver().visible(
            [&](QQuickItem* item) { return matches(item) && (!top || top->isAncestorOf(item)); });
    }

    bool differsAround(QQuickItem* item, const QImage& before, const QImage& after)
    {
        constexpr int ring = 18; // a text input lies that far inside the frame that shows its focus
        const qreal ratio = driver().view().devicePixelRatio();
        const QRectF place = onScene(item).adjusted(-ring, -ring, ring, ring);
        const QRect pixels = QRectF(place.topLeft() * ratio, place.size() * ratio).toRect() & after.rect();
        return before.copy(pixels) != after.copy(pixels);
    }

    static QString nameOf(QQuickItem* item)
    {
        for (const char* property : {"text", "title", "name"}) {
            const QString name = item->property(property).toString();
            if (!name.isEmpty())
                return name;
        }
        return item->objectName().isEmpty() ? QString::fromLatin1(item->metaObject()->className())
                                            : item->objectName();
    }

    static constexpr qreal tolerance = 1.5; // pixels: glyphs may hang over a little
    const WindowState* state_ = nullptr;
    std::unique_ptr<StatefulWindow> window_;
};

QTEST_MAIN(tst_WindowStates)
#include "tst_WindowStates.moc"
