#include "rewrite/ClipboardService.h"
#include "support/CoroutineTest.h"
#include "support/FakePlatform.h"
#include "support/Shortest.h"

#include <QElapsedTimer>
#include <QTest>
#include <QTimer>

using namespace quillmarsh;

class tst_ClipboardService final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        platform_ = std::make_unique<test::FakePlatform>();
        service_ = std::make_unique<ClipboardService>(*platform_->pasteboard, *platform_->keyPoster);
    }

    void copiesWithTheGesture()
    {
        whenCopied([this] { platform_->pasteboard->copyFromElsewhere(QStringLiteral(" \n ")); });
        VERIFY_TAKES_AT_MOST(400, [&] {
            platform_->keyPoster->posts.clear();
            QElapsedTimer timer;
            timer.start();
            QCOMPARE(copy(), std::optional(QStringLiteral(" \n ")));
            QVERIFY(timer.elapsed() >= 200);
        });
        QCOMPARE(platform_->keyPoster->posts, std::vector<KeyCombination>({{8, 0x100000}}));
    }

    void oldTextIsNotASelection()
    {
        platform_->pasteboard->copyFromElsewhere(QStringLiteral("old"));
        QCOMPARE(copy(), std::nullopt);
        QCOMPARE(platform_->pasteboard->reads, 0);
    }

    void blanksAreReturnedAsTheyAre()
    {
        whenCopied([this] { platform_->pasteboard->copyFromElsewhere(QStringLiteral(" \n\t ")); });
        QCOMPARE(copy(), std::optional(QStringLiteral(" \n\t ")));
    }

    void anImageIsNotText()
    {
        whenCopied([this] { platform_->pasteboard->copyFromElsewhere(std::nullopt); });
        QCOMPARE(copy(), std::nullopt);
    }

    void aGestureThatCannotBePostedStillWaitsAndReads()
    {
        platform_->keyPoster->result = false;
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(copy(), std::nullopt);
        QVERIFY(timer.elapsed() >= 200);
        QTimer::singleShot(50, this,
                           [this] { platform_->pasteboard->copyFromElsewhere(QStringLiteral("text")); });
        QCOMPARE(copy(), std::optional(QStringLiteral("text")));
    }

    void whatComesAfterTheWaitIsTooLate()
    {
        whenCopied([this] {
            QTimer::singleShot(300, this,
                               [this] { platform_->pasteboard->copyFromElsewhere(QStringLiteral("late")); });
        });
        QCOMPARE(copy(), std::nullopt);
        QTRY_COMPARE(platform_->pasteboard->count, 1);
    }

    void theWaitBeginsWhenTheKeysAreOut()
    {
        platform_->keyPoster->delay = std::chrono::milliseconds(100);
        whenCopied([this] {
            QTimer::singleShot(150, this,
                               [this] { platform_->pasteboard->copyFromElsewhere(QStringLiteral("slow")); });
        });
        QCOMPARE(copy(), std::optional(QStringLiteral("slow")));
    }

    void theWaitDoesNotBeginWhenOneHearsOfTheKeys()
    {
        platform_->keyPoster->hearing = std::chrono::milliseconds(150);
        whenCopied([this] { platform_->pasteboard->copyFromElsewhere(QStringLiteral("text")); });
        VERIFY_TAKES_AT_MOST(340, [&] {
            QElapsedTimer timer;
            timer.start();
            QCOMPARE(copy(), std::optional(QStringLiteral("text")));
            QVERIFY(timer.elapsed() >= 200);
        });
    }

    void heldTextIsKnownByCountOrContent()
    {
        QVERIFY(test::runTask(service_->place(QStringLiteral("mine"))));
        const qint64 count = test::runTask(service_->changeCount());
        QVERIFY(test::runTask(service_->holds(QStringLiteral("mine"), count)));
        QCOMPARE(platform_->pasteboard->reads, 0);
        platform_->pasteboard->copyFromElsewhere(QStringLiteral("mine")); // a manager took it over
        QVERIFY(test::runTask(service_->holds(QStringLiteral("mine"), count)));
        platform_->pasteboard->copyFromElsewhere(QStringLiteral("theirs"));
        QVERIFY(!test::runTask(service_->holds(QStringLiteral("mine"), count)));
    }

    void aServiceMayEndWhileItsTaskWaits()
    {
        whenCopied([this] { platform_->pasteboard->copyFromElsewhere(QStringLiteral("text")); });
        Task<std::optional<QString>> copying = service_->copySelectedText();
        service_.reset();
        QCOMPARE(test::runTask(std::move(copying)), std::optional(QStringLiteral("text")));
    }

private:
    void whenCopied(std::function<void()> react)
    {
        platform_->keyPoster->onPost = [react](const KeyCombination&) { react(); };
    }

    std::optional<QString> copy() { return test::runTask(service_->copySelectedText()); }

    std::unique_ptr<test::FakePlatform> platform_;
    std::unique_ptr<ClipboardService> service_;
};

QTEST_GUILESS_MAIN(tst_ClipboardService)
#include "tst_ClipboardService.moc"
