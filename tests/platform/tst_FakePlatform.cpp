#include "platform/PlatformContracts.h"
#include "support/FakePlatform.h"

#include <QTest>

using namespace quillmarsh;
using namespace quillmarsh::test;

/// The doubles keep the contracts that the real desktop keeps.
class tst_FakePlatform final : public QObject
{
    Q_OBJECT

private slots:
    void pasteboard()
    {
        FakePasteboard pasteboard;
        verifyPasteboardContract(
            pasteboard, [&](std::optional<QString> text) { pasteboard.copyFromElsewhere(std::move(text)); });
    }

    void eventTap()
    {
        FakeEventTapSource source;
        verifyEventTapContract(source, [&](const KeyCombination& combination) {
            source.press(combination.keyCode, combination.modifiers);
        });
    }
};

QTEST_GUILESS_MAIN(tst_FakePlatform)
#include "tst_FakePlatform.moc"
