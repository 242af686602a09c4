#include "support/Shortest.h"
#include "ui/settings/WindowFixture.h"
#include "ui/update/UpdateWindow.h"

#include <QEventLoop>
#include <QFile>
#include <QSignalSpy>
#include <QTimer>

#include <algorithm>
#include <ctime>
#include <malloc.h>
#include <map>

using namespace quillmarsh;

namespace {

/// The sanitizers make everything a few times slower; the budgets are for what users run.
#if defined(__SANITIZE_ADDRESS__)
constexpr int slowness = 4;
#else
constexpr int slowness = 1;
#endif

/// Resident memory of this process in bytes.
qint64 residentMemory()
{
    malloc_trim(0);
    QFile file(QStringLiteral("/proc/self/statm"));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    return file.readAll().split(' ').at(1).toLongLong() * 4096;
}

/// Lets the event loop run; unlike the test library's wait it does not sleep in between.
void runLoop(int milliseconds)
{
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    loop.exec();
}

/// The longest time without coming back to the event loop, in microseconds. Processor time of all threads:
/// what this one waits for while another works counts, other programs on a busy machine do not.
class Ticker final : public QObject
{
public:
    Ticker() { startTimer(1, Qt::PreciseTimer); }

    /// Since the last call.
    qint64 takeLongest()
    {
        const qint64 longest = longest_;
        longest_ = 0;
        last_ = now();
        return longest;
    }

private:
    static qint64 now()
    {
        timespec time{};
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
        return qint64(time.tv_sec) * 1'000'000 + time.tv_nsec / 1000;
    }

    void timerEvent(QTimerEvent*) override
    {
        const qint64 time = now();
        longest_ = std::max(longest_, time - last_);
        last_ = time;
    }

    qint64 longest_ = 0;
    qint64 last_ = now();
};

} // namespace

/// What the windows take: time to open, time away from the event loop, memory after they are closed.
class tst_WindowCosts final : public QObject, private test::WindowFixture
{
    Q_OBJECT

private slots:
    void init() { setUp(); }
    void cleanup() { tearDown(); }

    void opensInTime()
    {
        driver_->open(); // warm: fonts, first pictures
        closeAndWait();
        qint64 best = std::numeric_limits<qint64>::max();
        for (int round = 0; round < 5; ++round) { // a busy machine delays only some of them
            const test::FairTimer clock;
            driver_->window.show();
            (void)driver_->view().grabWindow();
            best = std::min(best, clock.elapsed());
            closeAndWait();
        }
        qInfo("Opening took %lld ms", best);
        QVERIFY(best <= 150 * slowness);
    }

    /// Each round is a new window, whose sections, editor and menus are visited for the first time. What
    /// blocks the loop does so in every round; a busy machine only in some.
    void neverBlocksTheEventLoop()
    {
        std::map<QString, QList<qint64>> longest;
        for (int round = 0; round < 5; ++round) {
            driver_->open();
            runLoop(50);
            drive(longest);
            closeAndWait();
        }
        for (auto& [step, times] : longest) {
            std::ranges::sort(times);
            qInfo("%-16s %5.1f to %5.1f ms", qPrintable(step), double(times.front()) / 1000,
                  double(times.back()) / 1000);
            QVERIFY2(times.front() <= 16'000 * slowness, qPrintable(step + " blocks the event loop"));
        }
    }

    void closingGivesItsMemoryBack()
    {
        driver_->open();
        closeAndWait();
        const qint64 before = residentMemory();
        for (int round = 0; round < 10; ++round) {
            driver_->open();
            for (const SettingsSection section : allSettingsSections) {
                driver_->select(section);
                driver_->settle();
            }
            closeAndWait();
        }
        const qint64 after = residentMemory();
        qInfo("%lld kB before, %lld kB after", before / 1024, after / 1024);
        QVERIFY(double(after) <= 1.3 * double(before));
    }

private:
    void drive(std::map<QString, QList<qint64>>& longest)
    {
        Ticker ticker;
        const auto step = [&](const QString& name, const auto& act) {
            (void)ticker.takeLongest();
            act();
            runLoop(60);
            longest[name] << ticker.takeLongest();
        };
        for (const SettingsSection section : allSettingsSections) {
            const QString label = sectionTexts(section).label;
            step(label, [&] { clickAt(driver_->control(label)); });
        }
        step("the sidebar", [&] { driver_->press(Qt::Key_Up), driver_->press(Qt::Key_Down); });
        driver_->select(SettingsSection::connections);
        for (const char* choice : {"ChatGPT", "OpenAI", "Claude", "Quillmarsh Cloud"})
            step(choice, [&] { clickAt(driver_->control(choice)); });
        driver_->select(SettingsSection::shortcuts);
        step("a menu", [&] { clickAt(driver_->item("actionMenu")); });
        driver_->press(Qt::Key_Escape);
        step("the editor", [&] { clickAt(driver_->item("newAction")); });
        step("typing",
             [&] { driver_->type("a new name"), driver_->press(Qt::Key_Tab), driver_->type("words"); });
        step("closing it", [&] { driver_->press(Qt::Key_Escape); });
        UpdateWindow update(fixture_->updates);
        QTest::ignoreMessage(QtWarningMsg, "This plugin does not support raise()");
        step("update opens", [&] { update.show(); });
        step("update keys", [&] { QTest::keyClick(update.view(), Qt::Key_Tab); });
    }

    void clickAt(QQuickItem* item)
    {
        QVERIFY(item);
        const QPointF centre = item->mapToScene({item->width() / 2, item->height() / 2});
        QTest::mouseClick(&driver_->view(), Qt::LeftButton, {}, centre.toPoint());
    }

    void closeAndWait()
    {
        QSignalSpy closed(&driver_->window, &SettingsWindow::closed);
        driver_->window.close();
        QVERIFY(closed.wait());
    }
};

QTEST_MAIN(tst_WindowCosts)
#include "tst_WindowCosts.moc"
