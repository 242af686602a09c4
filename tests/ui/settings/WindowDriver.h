#pragma once

#include "ui/kit/AppDesign.h"
#include "ui/settings/SettingsFixture.h"
#include "ui/settings/SettingsViewModels.h"
#include "ui/settings/SettingsWindow.h"

#include <QQuickItem>
#include <QQuickView>
#include <QTest>

namespace quillmarsh::test {

/// The settings window, driven as its user does: by what is visible, with mouse and keyboard.
class WindowDriver
{
public:
    explicit WindowDriver(SettingsFixture& fixture) : fixture_(fixture), window(fixture.environment())
    {
        fixture.rewrite.platform.appearance->setReduceMotion(true);
        AppDesign::setAppearance(fixture.rewrite.platform.appearance);
    }
    ~WindowDriver()
    {
        window.close();
        AppDesign::setAppearance(nullptr);
    }

    void open()
    {
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(window.view()));
    }

    [[nodiscard]] SettingsViewModels& models() { return *window.models(); }
    [[nodiscard]] QQuickView& view() { return *window.view(); }
    void select(SettingsSection section)
    {
        models().sections()->select(section);
        settle();
    }

    /// Every text that can be seen, in no particular order.
    [[nodiscard]] QStringList texts()
    {
        QStringList texts;
        settle();
        collect(view().contentItem(), [&](QQuickItem* item) {
            const QString text = item->property("text").toString();
            const QByteArrayView kind(item->metaObject()->className());
            if (!text.isEmpty() && (kind.contains("Text") || kind.contains("Keycap")))
                texts << text;
            return false;
        });
        return texts;
    }

    /// Every visible item that `matches`, those below before those over them.
    template <typename Matches>
    [[nodiscard]] QList<QQuickItem*> visible(Matches matches)
    {
        QList<QQuickItem*> found;
        collect(view().contentItem(), [&](QQuickItem* item) {
            if (matches(item))
                found << item;
            return false;
        });
        return found;
    }

    /// The visible item with this object name; where several have it, the one at `position`.
    [[nodiscard]] QQuickItem* item(const QString& name, int position = 0)
    {
        QQuickItem* found = nullptr;
        collect(view().contentItem(), [&](QQuickItem* item) {
            if (item->objectName() == name && position-- == 0)
                found = item;
            return found != nullptr;
        });
        return found;
    }

    /// The visible control whose property "text" or "title" is `text`.
    [[nodiscard]] QQuickItem* control(const QString& text)
    {
        QQuickItem* found = nullptr;
        collect(view().contentItem(), [&](QQuickItem* item) {
            const bool isControl = item->inherits("quillmarsh::Pressable");
            if (isControl && (item->property("text") == text || item->property("title") == text))
                found = item;
            return found != nullptr;
        });
        return found;
    }

    /// Lets everything find its place, as the next frame would.
    void settle()
    {
        QCoreApplication::processEvents();
        constexpr int ready = 1; // of a Loader
        const QQuickItem* section = item(QStringLiteral("section"));
        QTRY_VERIFY(!section || section->property("status").toInt() == ready);
        (void)view().grabWindow();
    }

    void click(QQuickItem* item)
    {
        QVERIFY(item);
        settle();
        const QPointF centre = item->mapToScene({item->width() / 2, item->height() / 2});
        QTest::mouseClick(&view(), Qt::LeftButton, {}, centre.toPoint());
    }

    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {})
    {
        QTest::keyClick(&view(), key, modifiers);
    }
    void type(const QString& text)
    {
        for (const QChar character : text)
            QTest::keyClick(&view(), character.toLatin1());
    }
    /// A key with its native scan code, as the window system delivers it.
    void pressNative(quint16 virtualKey, Qt::Key key, Qt::KeyboardModifiers modifiers = {},
                     bool isAutoRepeat = false)
    {
        QKeyEvent press = SettingsFixture::keyEvent(virtualKey, key, modifiers, isAutoRepeat);
        QCoreApplication::sendEvent(&view(), &press);
    }

    [[nodiscard]] QQuickItem* focused() { return view().activeFocusItem(); }

private:
    template <typename Visit>
    static bool collect(QQuickItem* root, Visit visit)
    {
        if (!root || !root->isVisible())
            return false;
        if (visit(root))
            return true;
        for (QQuickItem* child : root->childItems()) {
            if (collect(child, visit))
                return true;
        }
        return false;
    }

    SettingsFixture& fixture_;

public:
    SettingsWindow window;
};

} // namespace quillmarsh::test
