#pragma once

#include "platform/EventTap.h"
#include "platform/ModifierFlags.h"
#include "platform/Pasteboard.h"
#include "support/CoroutineTest.h"

#include <QTest>

namespace quillmarsh::test {

/// What every clipboard does, the fake one and the real one. `copyElsewhere` makes another program copy a
/// text, or something without text.
inline void verifyPasteboardContract(Pasteboard& pasteboard,
                                     const std::function<void(std::optional<QString>)>& copyElsewhere)
{
    const QString ours = QStringLiteral("ours \U0001F600\r\n");
    const qint64 start = runTask(pasteboard.changeCount());
    QCOMPARE(runTask(pasteboard.changeCount()), start); // asking changes nothing
    QVERIFY(runTask(pasteboard.setString(ours)));
    const qint64 afterSet = runTask(pasteboard.changeCount());
    QVERIFY(afterSet > start);
    QCOMPARE(runTask(pasteboard.string()), ours);
    QCOMPARE(runTask(pasteboard.string()), ours);
    QCOMPARE(runTask(pasteboard.changeCount()), afterSet); // nor does reading
    copyElsewhere(QStringLiteral("theirs"));
    const qint64 afterCopy = runTask(pasteboard.changeCount());
    QVERIFY(afterCopy > afterSet);
    QCOMPARE(runTask(pasteboard.string()), QStringLiteral("theirs"));
    copyElsewhere(QStringLiteral("theirs")); // the same text again is a change too
    QVERIFY(runTask(pasteboard.changeCount()) > afterCopy);
    copyElsewhere(std::nullopt);
    QVERIFY(!runTask(pasteboard.string()));
    QVERIFY(runTask(pasteboard.setString(ours)));
    QCOMPARE(runTask(pasteboard.string()), ours);
    runTask(pasteboard.persist());
}

/// What every tap does. `press` makes the user press and release a key with modifiers held.
inline void verifyEventTapContract(EventTapSource& source,
                                   const std::function<void(const KeyCombination&)>& press)
{
    const KeyCombination first{VirtualKey::r, ModifierFlags::shift | ModifierFlags::command};
    const KeyCombination second{17, ModifierFlags::control | ModifierFlags::option};
    std::vector<KeyCombination> seen;
    const auto tap = source.create([&seen](const KeyEvent& event) {
        if (event.type == KeyEvent::Type::KeyDown && !event.isAutorepeat)
            seen.push_back({event.keyCode, event.flags & ModifierFlags::shortcutMask});
        return TapVerdict::Swallow;
    });
    QVERIFY(tap);
    const auto settle = [] { QTest::qWait(30); };
    tap->setInterest({first});
    press(first);
    settle();
    QVERIFY(seen.empty()); // created disabled
    tap->setEnabled(true);
    QVERIFY(tap->refused().empty());
    press(first);
    QTRY_COMPARE(seen, std::vector{first});
    press(second);
    settle();
    QCOMPARE(seen.size(), 1U); // not of the interest
    tap->setInterest({first, second});
    press(second);
    QTRY_COMPARE(seen, (std::vector{first, second}));
    tap->setEnabled(false);
    press(first);
    settle();
    QCOMPARE(seen.size(), 2U);
    tap->setEnabled(true);
    press(first);
    QTRY_COMPARE(seen.size(), 3U);
    tap->invalidate();
    press(first);
    tap->setEnabled(true); // ended for good
    press(first);
    settle();
    QCOMPARE(seen.size(), 3U);
}

} // namespace quillmarsh::test
