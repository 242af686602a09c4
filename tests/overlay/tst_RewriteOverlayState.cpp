#include "overlay/RewriteOverlayState.h"
#include "support/FailOnWarnings.h"

#include <QFontDatabase>
#include <QFontMetricsF>
#include <QSignalSpy>
#include <QTest>

#include <cmath>

using namespace quillmarsh;
using Phase = RewriteOverlayState::Phase;

class tst_RewriteOverlayState final : public QObject
{
    Q_OBJECT

private slots:
    void init() { test::failOnWarnings(); }

    void startsVisibleAndWorking()
    {
        const RewriteOverlayState state;
        QCOMPARE(state.phase(), Phase::Working);
        QCOMPARE(state.title(), QStringLiteral("Rewriting"));
        QCOMPARE(state.detail(), QString());
        QVERIFY(state.isVisible());
        QVERIFY(!state.actionTitle());
        QVERIFY(!state.animatesPhaseChanges());
    }

    void phasesComeInOrder()
    {
        QCOMPARE(static_cast<int>(Phase::Working), 0);
        QCOMPARE(static_cast<int>(Phase::Success), 1);
        QCOMPARE(static_cast<int>(Phase::Error), 2);
    }

    void sizesOfWorkingAndError()
    {
        RewriteOverlayState state;
        QCOMPARE(state.surfaceHeight(), 36.0);
        QCOMPARE(state.windowSize(), QSizeF(80, 60));
        state.setPhase(Phase::Error);
        QCOMPARE(state.surfaceHeight(), 80.0);
        QCOMPARE(state.windowSize(), QSizeF(344, 104));
        state.setActionTitle(QStringLiteral("Settings"));
        QCOMPARE(state.surfaceHeight(), 104.0);
        QCOMPARE(state.windowSize(), QSizeF(344, 128));
        state.setPhase(Phase::Working);
        QCOMPARE(state.windowSize(), QSizeF(80, 60));
    }

    void successIsAsWideAsItsTitle_data()
    {
        QTest::addColumn<QString>("title");
        QTest::newRow("empty") << QString();
        QTest::newRow("short") << QStringLiteral("Done");
        QTest::newRow("usual") << QStringLiteral("Copied to clipboard");
        QTest::newRow("right to left") << QStringLiteral("הטקסט נכתב מחדש");
        QTest::newRow("too long") << QString(300, QLatin1Char('W'));
    }
    void successIsAsWideAsItsTitle()
    {
        QFETCH(QString, title);
        RewriteOverlayState state;
        state.setPhase(Phase::Success);
        state.setTitle(title);
        QFont font = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
        font.setPixelSize(115);
        font.setWeight(QFont::Medium);
        // At ten times the size, the measure is free of what a small font rounds.
        const qreal exact = QFontMetricsF(font).horizontalAdvance(title) / 10;
        const qreal measured = std::ceil(exact) + 50;
        const qreal width = measured < 100 ? 124 : std::min(measured, 240.0) + 24;
        QVERIFY(std::abs(state.windowSize().width() - width) <= 1);
        QCOMPARE(state.windowSize().height(), 56.0);
        QCOMPARE(state.surfaceHeight(), 32.0);
    }

    void aVeryLongTitleIsClampedTo264AndAShortOneWidenedTo124()
    {
        RewriteOverlayState state;
        state.setPhase(Phase::Success);
        state.setTitle(QString(300, QLatin1Char('W')));
        QCOMPARE(state.windowSize().width(), 264.0);
        state.setTitle(QStringLiteral("i"));
        QCOMPARE(state.windowSize().width(), 124.0);
    }

    void settersTellOnlyChanges()
    {
        RewriteOverlayState state;
        QSignalSpy phase(&state, &RewriteOverlayState::phaseChanged);
        QSignalSpy title(&state, &RewriteOverlayState::titleChanged);
        QSignalSpy detail(&state, &RewriteOverlayState::detailChanged);
        QSignalSpy visible(&state, &RewriteOverlayState::isVisibleChanged);
        QSignalSpy action(&state, &RewriteOverlayState::actionTitleChanged);
        QSignalSpy size(&state, &RewriteOverlayState::windowSizeChanged);
        const auto set = [&state] {
            state.setPhase(Phase::Error);
            state.setTitle(QStringLiteral("Couldn’t rewrite"));
            state.setDetail(QStringLiteral("No answer"));
            state.setIsVisible(false);
            state.setActionTitle(QStringLiteral("Settings"));
        };
        set();
        set();
        for (const QSignalSpy* spy : {&phase, &title, &detail, &visible, &action})
            QCOMPARE(spy->count(), 1);
        QCOMPARE(size.count(), 2);
    }

    void anEmptyActionTitleIsATitle()
    {
        RewriteOverlayState state;
        state.setPhase(Phase::Error);
        QSignalSpy changed(&state, &RewriteOverlayState::actionTitleChanged);
        state.setActionTitle(QString());
        QCOMPARE(changed.count(), 1);
        QVERIFY(state.hasActionTitle());
        QCOMPARE(state.windowSize(), QSizeF(344, 128));
    }

    void missingCallbacksDoNothing()
    {
        RewriteOverlayState state;
        state.hoverChanged(true);
        state.action();
        state.dismiss();
    }

    void aCallbackMayReplaceItself()
    {
        RewriteOverlayState state;
        const auto witness = std::make_shared<int>(0);
        state.setDismiss([&state, witness] {
            state.setDismiss({});
            ++*witness;
        });
        state.dismiss();
        state.dismiss();
        QCOMPARE(*witness, 1);
    }
};

QTEST_MAIN(tst_RewriteOverlayState)
#include "tst_RewriteOverlayState.moc"
