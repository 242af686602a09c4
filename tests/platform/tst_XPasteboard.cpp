#include "platform/ClipboardPeer.h"
#include "platform/ModifierFlags.h"
#include "platform/NextConnection.h"
#include "platform/PasteboardFixture.h"
#include "platform/PlatformContracts.h"
#include "platform/XTestSession.h"
#include "platform/linux/HotKeyGrabs.h"
#include "platform/linux/KeyInjector.h"
#include "platform/linux/SelectionCounter.h"
#include "platform/linux/SelectionOwner.h"
#include "platform/linux/SelectionReader.h"
#include "platform/linux/XKeyPoster.h"
#include "support/Shortest.h"

#include <QElapsedTimer>
#include <QRegularExpression>
#include <QTest>

#include <semaphore>

using namespace quillmarsh;
using namespace quillmarsh::test;
using namespace std::chrono_literals;
using std::chrono::steady_clock;
using Manners = ClipboardPeer::Manners;

namespace {

const QString sample = QStringLiteral("Grüße, мир \U0001F469\u200D\U0001F4BB שלום\r\n\ttab ");

QByteArray megabyte()
{
    QByteArray text;
    while (text.size() < 1024 * 1024)
        text += "0123456789 Größe \xF0\x9F\x98\x80\n";
    return text;
}

/// The program of the window copies something.
void claim(TargetWindow& target, const QByteArray& selection = "CLIPBOARD")
{
    xcb_set_selection_owner(target.connection().get(), target.window(), target.connection().atom(selection),
                            XCB_CURRENT_TIME);
    target.connection().synchronize();
}

/// The program of the window asks for the clipboard's text.
void ask(TargetWindow& target)
{
    XConnection& connection = target.connection();
    xcb_convert_selection(connection.get(), target.window(), connection.atom("CLIPBOARD"),
                          connection.atom("UTF8_STRING"), connection.atom("PASTE"), XCB_CURRENT_TIME);
    connection.synchronize();
}

/// Tells the clipboard's owner that it lost it at this server time.
void sendClear(XConnection& connection, xcb_timestamp_t time)
{
    const xcb_atom_t clipboard = connection.atom("CLIPBOARD");
    const auto owner = replyOf<xcb_get_selection_owner_reply>(
        connection.get(), xcb_get_selection_owner(connection.get(), clipboard));
    union {
        xcb_selection_clear_event_t clear;
        char wire[32];
    } event{};
    event.clear.response_type = XCB_SELECTION_CLEAR;
    event.clear.time = time;
    event.clear.owner = owner->owner;
    event.clear.selection = clipboard;
    xcb_send_event(connection.get(), 0, owner->owner, XCB_EVENT_MASK_NO_EVENT, event.wire);
    connection.synchronize();
}

} // namespace

class tst_XPasteboard final : public QObject, private PasteboardFixture
{
    Q_OBJECT

private:
    qint64 count() { return runTask(pasteboard_->changeCount()); }
    bool set(const QString& text) { return runTask(pasteboard_->setString(text)); }

    /// The server's time of the ownership as the owner tells it; 0 when it does not.
    static uint32_t claimTime(ClipboardPeer& peer)
    {
        const auto stamp = peer.request("TIMESTAMP");
        uint32_t time = 0;
        if (stamp && stamp->bytes.size() == sizeof time)
            memcpy(&time, stamp->bytes.constData(), sizeof time);
        return time;
    }

private slots:
    void init() { setUp(); }
    void cleanup() { tearDown(); }

    void anEmptyClipboardHasNoText() { QVERIFY(!read()); }

    void theContractOfEveryPasteboard()
    {
        ClipboardPeer peer;
        verifyPasteboardContract(*pasteboard_, [&peer](const std::optional<QString>& text) {
            if (text)
                peer.own(text->toUtf8());
            else
                peer.own("\x89PNG", "image/png");
        });
    }

    void theCountGrowsWithEveryClaim()
    {
        ClipboardPeer peer;
        const qint64 before = count();
        QCOMPARE(count(), before);
        peer.own("a");
        QCOMPARE(count(), before + 1);
        peer.own("a"); // the same owner, the same text
        QCOMPARE(count(), before + 2);
        QVERIFY(set(QStringLiteral("b")));
        QCOMPARE(count(), before + 3);
        peer.die(); // not the owner any more
        QCOMPARE(count(), before + 3);
        {
            ClipboardPeer owner;
            owner.own("c");
        }
        QCOMPARE(count(), before + 4); // its end clears the clipboard and counts as nothing
    }

    void textIsReadAsItIs()
    {
        ClipboardPeer peer;
        peer.own(sample.toUtf8());
        QCOMPARE(read(), sample);
        QCOMPARE(peer.asked, QByteArrayList{"UTF8_STRING"});
    }

    void otherTargets_data()
    {
        QTest::addColumn<QByteArray>("target");
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("text");
        QTest::newRow("MIME") << QByteArray("text/plain;charset=utf-8") << QByteArray("h\xC3\xA9")
                              << QStringLiteral("hé");
        QTest::newRow("Latin-1") << QByteArray("STRING") << QByteArray("h\xE9") << QStringLiteral("hé");
        QTest::newRow("terminator") << QByteArray("UTF8_STRING") << QByteArray("abc\0", 4)
                                    << QStringLiteral("abc");
        QTest::newRow("byte-order mark kept")
            << QByteArray("UTF8_STRING") << QByteArray("\xEF\xBB\xBFx") << QStringLiteral("\uFEFFx");
        QTest::newRow("empty") << QByteArray("UTF8_STRING") << QByteArray() << QString();
    }
    void otherTargets()
    {
        QFETCH(QByteArray, target);
        QFETCH(QByteArray, bytes);
        QFETCH(QString, text);
        ClipboardPeer peer;
        peer.own(bytes, target);
        const auto result = read();
        QVERIFY(result);
        QCOMPARE(*result, text);
    }

    void brokenTextIsNone_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("stray byte") << QByteArray("ab\xFF"
                                                  "cd");
        QTest::newRow("cut off") << QByteArray("ab\xE2\x82");
        QTest::newRow("surrogate") << QByteArray("\xED\xA0\x80");
        QTest::newRow("overlong") << QByteArray("\xC0\xAF");
    }
    void brokenTextIsNone()
    {
        QFETCH(QByteArray, bytes);
        ClipboardPeer peer;
        peer.own(bytes);
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("not valid UTF-8")));
        QVERIFY(!read());
    }

    void anImageHasNoText()
    {
        ClipboardPeer peer;
        peer.own("\x89PNG", "image/png");
        VERIFY_TAKES_AT_MOST(500, [&] { QVERIFY(!read()); });
    }

    void aSlowOwnerIsWaitedFor_data()
    {
        QTest::addColumn<int>("delay");
        for (int delay : {50, 150, 250, 600})
            QTest::addRow("%d ms", delay) << delay;
    }
    void aSlowOwnerIsWaitedFor()
    {
        QFETCH(int, delay);
        std::optional<QString> text;
        for (int round = 0; round < 5 && !text; ++round) {
            ClipboardPeer peer;
            peer.delay = std::chrono::milliseconds(delay);
            peer.own("slow");
            const auto begun = steady_clock::now();
            text = read();
            // A busy machine may keep the owner itself from answering within the second of a reading.
            const bool wasInTime = peer.lastAnswer && *peer.lastAnswer < begun + 800ms;
            QVERIFY(text || !wasInTime);
        }
        QCOMPARE(text, QStringLiteral("slow"));
    }

    void nobodyHoldsUpTheReading_data()
    {
        QTest::addColumn<int>("manners");
        QTest::addColumn<int>("delay");
        QTest::newRow("never answers") << int(Manners::Silent) << 0;
        QTest::newRow("answers too late") << int(Manners::Prompt) << 2000;
        QTest::newRow("stalls") << int(Manners::Stalling) << 0;
        QTest::newRow("dies") << int(Manners::Dying) << 0;
    }
    void nobodyHoldsUpTheReading()
    {
        QFETCH(int, manners);
        QFETCH(int, delay);
        ClipboardPeer peer(static_cast<Manners>(manners));
        peer.delay = std::chrono::milliseconds(delay);
        peer.own("text");
        VERIFY_TAKES_AT_MOST(1300, [&] { QVERIFY(!read()); });
        ClipboardPeer next; // and the next reading is not disturbed by a late answer
        next.own("next");
        QCOMPARE(read(), QStringLiteral("next"));
    }

    void aRefusingOwnerHasNoText()
    {
        ClipboardPeer peer(Manners::Refusing);
        peer.own("text");
        QVERIFY(!read());
    }

    void theNewestOwnerIsRead()
    {
        ClipboardPeer silent(Manners::Silent);
        ClipboardPeer manager;
        silent.own("old");
        QTimer::singleShot(100ms, &manager, [&manager] { manager.own("new"); });
        QCOMPARE(read(), QStringLiteral("new"));
    }

    void aManagerThatTakesOverFromTheDeadIsRead()
    {
        ClipboardPeer dying(Manners::Dying);
        ClipboardPeer manager;
        dying.own("text");
        QTimer::singleShot(370ms, &manager, [&manager] { manager.own("text"); });
        QCOMPARE(read(), QStringLiteral("text"));
    }

    void largeTextComesInPieces()
    {
        ClipboardPeer peer(Manners::Incremental);
        const QByteArray text = megabyte();
        peer.own(text);
        QCOMPARE(read(), QString::fromUtf8(text));
    }

    void severalReadingsAtOnce()
    {
        ClipboardPeer peer;
        peer.delay = 30ms;
        peer.own("text");
        auto first = pasteboard_->string();
        auto second = pasteboard_->string();
        QCOMPARE(runTask(std::move(first)), QStringLiteral("text"));
        QCOMPARE(runTask(std::move(second)), QStringLiteral("text"));
    }

    void ourTextIsServed()
    {
        ClipboardPeer peer;
        QVERIFY(set(sample));
        QCOMPARE(read(), sample);
        for (const char* target : {"UTF8_STRING", "text/plain;charset=utf-8", "text/plain", "TEXT"}) {
            const auto answer = peer.request(target);
            QVERIFY2(answer, target);
            QCOMPARE(answer->bytes, sample.toUtf8());
        }
        QVERIFY(!peer.request("STRING")); // Latin-1 cannot express it
        QVERIFY(!peer.request("image/png"));
        const QByteArrayList offered = peer.targets();
        for (const char* target : {"TARGETS", "TIMESTAMP", "MULTIPLE", "SAVE_TARGETS", "UTF8_STRING"})
            QVERIFY2(offered.contains(target), target);
        QVERIFY(!offered.contains("STRING"));
        QVERIFY(set(QStringLiteral("hé")));
        const auto latin1 = peer.request("STRING");
        QVERIFY(latin1);
        QCOMPARE(latin1->bytes, QByteArray("h\xE9"));
    }

    void multipleIsServed()
    {
        ClipboardPeer peer;
        QVERIFY(set(QStringLiteral("text")));
        std::vector<xcb_atom_t> pairs{peer.connection()->atom("UTF8_STRING"),
                                      peer.connection()->atom("FIRST"), peer.connection()->atom("image/png"),
                                      peer.connection()->atom("SECOND")};
        const QByteArray bytes(static_cast<const char*>(static_cast<const void*>(pairs.data())), 16);
        const auto answer = peer.request("MULTIPLE", XCB_CURRENT_TIME, bytes);
        QVERIFY(answer);
        std::vector<xcb_atom_t> result(4);
        QCOMPARE(answer->bytes.size(), 16);
        memcpy(result.data(), answer->bytes.constData(), 16);
        QCOMPARE(result[1], pairs[1]);
        QCOMPARE(result[3], xcb_atom_t{XCB_ATOM_NONE});
    }

    void aRequestFromBeforeOurClaimIsRefused()
    {
        ClipboardPeer peer;
        QVERIFY(set(QStringLiteral("text")));
        const uint32_t claimed = claimTime(peer);
        QVERIFY(claimed != 0);
        QVERIFY(peer.request("UTF8_STRING", claimed));
        QVERIFY(!peer.request("UTF8_STRING", claimed - 1));
    }

    void anOwnershipMayLastForWeeks()
    {
        ClipboardPeer peer;
        QVERIFY(set(QStringLiteral("text")));
        const uint32_t claimed = claimTime(peer);
        QVERIFY(claimed != 0);
        constexpr uint32_t day = 24 * 60 * 60 * 1000;
        for (const uint32_t days : {1, 24, 25, 30, 49})
            QVERIFY2(peer.request("UTF8_STRING", claimed + days * day), QByteArray::number(days));
        sendClear(*peer.connection(), claimed - 1);
        QCOMPARE(read(), QStringLiteral("text"));
        sendClear(*peer.connection(), claimed + 30 * day);
        QVERIFY(!read());
    }

    void largeTextGoesOutInPieces()
    {
        ClipboardPeer peer;
        ClipboardPeer lazy;
        const QByteArray text = megabyte();
        QVERIFY(set(QString::fromUtf8(text)));
        lazy.requestAndAbandon("UTF8_STRING"); // never takes a piece
        ClipboardPeer dying;
        dying.requestAndAbandon("UTF8_STRING");
        dying.die();
        const auto answer = peer.request("UTF8_STRING");
        QVERIFY(answer);
        QVERIFY(answer->incremental);
        QCOMPARE(answer->bytes, text);
    }

    void aTransferSurvivesANewText()
    {
        ClipboardPeer peer;
        const QByteArray text = megabyte();
        QVERIFY(set(QString::fromUtf8(text)));
        bool replaced = false;
        QTimer::singleShot(1ms, this, [&] {
            detach([](XPasteboard* pasteboard, bool* done) -> Task<> {
                *done = co_await pasteboard->setString(QStringLiteral("new"));
            }(pasteboard_.get(), &replaced));
        });
        const auto answer = peer.request("UTF8_STRING");
        QVERIFY(answer);
        QVERIFY(answer->bytes == text || answer->bytes == "new");
        QTRY_VERIFY(replaced);
        QCOMPARE(peer.request("UTF8_STRING")->bytes, QByteArray("new"));
    }

    void manyOwnersRacing()
    {
        ClipboardPeer rival;
        for (int round = 0; round < 50; ++round) {
            rival.own("rival");
            const QString ours = QStringLiteral("ours %1").arg(round);
            QVERIFY(set(ours));
            QVERIFY(!rival.isOwner());
            QCOMPARE(rival.request("UTF8_STRING")->bytes, ours.toUtf8());
        }
    }

    void aLostClipboardIsNotOurs()
    {
        ClipboardPeer rival;
        QVERIFY(set(QStringLiteral("ours")));
        rival.own("rival");
        QCOMPARE(read(), QStringLiteral("rival"));
    }

    void thePasteBringsOurTextAlthoughSomebodyTookTheClipboard()
    {
        TargetWindow target;
        ClipboardPeer rival;
        XKeyPoster poster(worker_);
        QVERIFY(set(QStringLiteral("ours")));
        rival.own("rival");
        QVERIFY(runTask(poster.post(VirtualKey::v, ModifierFlags::command)));
        QVERIFY(!rival.isOwner());
        QCOMPARE(rival.request("UTF8_STRING")->bytes, QByteArray("ours"));
        // An old text is not put back, as the user has copied something since; nor is that pasted.
        QTest::qWait(2100);
        rival.own("newer");
        QTest::ignoreMessage(QtWarningMsg, "Not pasting: another program took the clipboard");
        QVERIFY(!runTask(poster.post(VirtualKey::v, ModifierFlags::command)));
        QVERIFY(rival.isOwner());
    }

    void aPasteIsToldByWhoAsksForTheText()
    {
        ClipboardPeer target, manager;
        target.comeToFront("editor");
        XKeyPoster poster(worker_);
        const auto paste = [&] {
            return runTask(poster.post(VirtualKey::v, ModifierFlags::command)).has_value();
        };
        QVERIFY(set(QStringLiteral("ours")));
        std::ignore = manager.request("UTF8_STRING"); // before the paste: it keeps every text
        QVERIFY(paste());
        QVERIFY(!runTask(pasteboard_->wasRead()));
        QVERIFY(set(QStringLiteral("ours")));
        QVERIFY(paste());
        Task<bool> read = pasteboard_->wasRead();
        std::ignore = target.request("UTF8_STRING");
        QVERIFY(runTask(std::move(read)));
        QVERIFY(set(QStringLiteral("another")));
        std::ignore = target.request("UTF8_STRING"); // reads ahead
        QVERIFY(paste());
        QVERIFY(runTask(pasteboard_->wasRead()));
        QVERIFY(set(QStringLiteral("the next")));
        QVERIFY(paste());
        read = pasteboard_->wasRead();
        awaitNextConnection(*worker_, *target.connection()); // answers what is open
        QVERIFY(!runTask(std::move(read)));
    }

    void theClipboardIsHeldUntilTheTargetAsked()
    {
        TargetWindow target;
        ClipboardPeer rival;
        XKeyPoster poster(worker_);
        QVERIFY(set(QStringLiteral("ours")));
        QVERIFY(runTask(poster.post(VirtualKey::v, ModifierFlags::command)));
        rival.own("rival");
        QTRY_VERIFY(!rival.isOwner());
        QCOMPARE(rival.request("UTF8_STRING")->bytes, QByteArray("ours")); // the rival is not the target
        rival.own("rival again");
        QTRY_VERIFY(!rival.isOwner());
        ask(target);
        QCOMPARE(read(), QStringLiteral("ours"));
        rival.own("later");
        QCOMPARE(count(), count()); // by then it would have been taken back
        QVERIFY(rival.isOwner());
    }

    void whatTheUserCopiesHimselfStays()
    {
        TargetWindow target;
        ClipboardPeer manager;
        XKeyPoster poster(worker_);
        QVERIFY(set(QStringLiteral("ours")));
        claim(target);
        manager.own("a manager keeps it");
        QVERIFY(!set(QStringLiteral("ours")));
        QTest::ignoreMessage(QtWarningMsg, "Not pasting: another program took the clipboard");
        QVERIFY(!runTask(poster.post(VirtualKey::v, ModifierFlags::command)));
        QVERIFY(manager.isOwner());
        QVERIFY(set(QStringLiteral("the next answer")));
        claim(target);
        std::ignore = runTask(poster.post(VirtualKey::c, ModifierFlags::command)); // the next rewrite
        QVERIFY(set(QStringLiteral("the next answer")));
    }

    void aCopyInEmacsCountsWithThePrimarySelection()
    {
        TargetWindow emacs("emacs", "Emacs");
        ClipboardPeer manager;
        XKeyPoster poster(worker_);
        const qint64 before = count();
        QVERIFY(runTask(poster.post(VirtualKey::c, ModifierFlags::command)));
        claim(emacs);
        manager.own("a manager keeps it");
        manager.ownSelection("PRIMARY");
        QCOMPARE(count(), before);
        claim(emacs, "PRIMARY");
        QCOMPARE(count(), before + 2);
        manager.own("something else");
        QCOMPARE(count(), before + 3);
    }

    void persistingHandsTheTextToAManager()
    {
        ClipboardPeer manager;
        manager.ownSelection("CLIPBOARD_MANAGER");
        bool saved = false;
        manager.onSaveTargets = [&saved] { saved = true; };
        runTask(pasteboard_->persist()); // nothing of ours
        QVERIFY(!saved);
        QVERIFY(set(QStringLiteral("text")));
        runTask(pasteboard_->persist());
        QVERIFY(saved);
    }

    void persistingWaitsHalfASecondAtMost()
    {
        ClipboardPeer manager(Manners::Silent);
        QVERIFY(set(QStringLiteral("text")));
        const auto persist = [&] { runTask(pasteboard_->persist()); };
        VERIFY_TAKES_AT_MOST(200, persist); // no manager at all
        manager.ownSelection("CLIPBOARD_MANAGER");
        VERIFY_TAKES_AT_MOST(800, [&] {
            QElapsedTimer timer;
            timer.start();
            persist();
            QVERIFY(timer.elapsed() >= 450);
        });
    }

    void aNewConnectionIsNoCopy()
    {
        ClipboardPeer peer;
        peer.own("text");
        const qint64 before = count();
        awaitNextConnection(*worker_, *peer.connection());
        QCOMPARE(count(), before);
    }

    void aReadingMayEndRightBeforeTheConnection()
    {
        std::optional<QString> text(QStringLiteral("none yet"));
        std::binary_semaphore isEndPosted(0);
        worker_->post([&](XWorker::Parts& parts) {
            parts.reader->read([&](std::optional<QString> read) { text = std::move(read); });
            isEndPosted.acquire();
            for (int roundTrip = 0; roundTrip < 10; ++roundTrip) // nobody owns the clipboard
                parts.connection->synchronize();
        });
        worker_->post([](XWorker::Parts& parts) {
            parts.injector.reset();
            parts.reader.reset();
            parts.owner.reset();
            parts.counter.reset();
            parts.hotKeys.reset();
            parts.connection.reset();
        });
        isEndPosted.release();
        worker_->run([](XWorker::Parts&) { return true; }); // what the reading left has been deleted
        QVERIFY(!text);
    }

    void aReadingDoesNotKeepTheThread()
    {
        ClipboardPeer peer(Manners::Silent);
        peer.own("text");
        auto reading = pasteboard_->string();
        QTRY_COMPARE(peer.asked, QByteArrayList{"UTF8_STRING"});
        const std::weak_ptr<XWorker> worker = worker_;
        tearDown();
        QVERIFY(worker.expired()); // it has waited for its thread
        QVERIFY(!runTask(std::move(reading)));
    }

    void aReadingOutlivesItsPasteboard()
    {
        ClipboardPeer peer(Manners::Silent);
        peer.own("text");
        auto reading = pasteboard_->string();
        QTRY_COMPARE(peer.asked, QByteArrayList{"UTF8_STRING"});
        tearDown();
        QVERIFY(!runTask(std::move(reading)));
    }
};

QTEST_GUILESS_MAIN(tst_XPasteboard)
#include "tst_XPasteboard.moc"
