#include "platform/ClipboardPeer.h"
#include "platform/PasteboardFixture.h"
#include "support/Shortest.h"

#include <QTest>

using namespace quillmarsh;
using namespace quillmarsh::test;
using Manners = ClipboardPeer::Manners;

namespace {

const QByteArray line = "the line of the cursor\n";

QString note(const char* isFromEmptySelection)
{
    return QStringLiteral(
               R"({"version":1,"id":"1","isFromEmptySelection":%1,"multicursorText":null,"mode":null})")
        .arg(QLatin1String(isFromEmptySelection));
}

/// What a browser adds for a page that says whether something was selected.
QByteArray envelope(const char* isFromEmptySelection)
{
    const QString text = note(isFromEmptySelection);
    return "vscode-editor-data" +
           QByteArray(static_cast<const char*>(static_cast<const void*>(text.utf16())), text.size() * 2);
}

} // namespace

/// Editors that copy the line of the cursor when nothing is selected.
class tst_LineCopy final : public QObject, private PasteboardFixture
{
    Q_OBJECT

private:
    /// Reads until the witness was asked and answered long before it is too late; a busy machine may keep it
    /// from that.
    std::optional<QString> readWith(ClipboardPeer& witness)
    {
        std::optional<QString> text;
        bool isInTime = false;
        for (int round = 0; round < 5 && !isInTime; ++round) {
            witness.lastAnswer.reset();
            const auto begun = std::chrono::steady_clock::now();
            text = read();
            isInTime = witness.lastAnswer && *witness.lastAnswer < begun + std::chrono::milliseconds(150);
        }
        return text;
    }

private slots:
    void init() { setUp(); }
    void cleanup() { tearDown(); }

    void thePrimarySelectionTells_data()
    {
        QTest::addColumn<QByteArray>("editor");
        QTest::addColumn<QByteArray>("copied");
        QTest::addColumn<QByteArray>("primary");
        QTest::addColumn<bool>("selected");
        const QByteArray two = line + line;
        QTest::newRow("the line") << QByteArray("kate") << line << line << true;
        QTest::newRow("another text") << QByteArray("kate") << line << QByteArray("word") << false;
        QTest::newRow("the line and more") << QByteArray("kwrite") << line << two << false;
        QTest::newRow("the line without its break")
            << QByteArray("KDevelop") << line << line.chopped(1) << false;
        QTest::newRow("no whole line") << QByteArray("kate") << line.chopped(1) << QByteArray("word") << true;
        QTest::newRow("more than a line") << QByteArray("kate") << two << QByteArray("word") << true;
        // It selects lines without claiming the primary selection.
        QTest::newRow("another program") << QByteArray("featherpad") << line << QByteArray("word") << true;
    }
    void thePrimarySelectionTells()
    {
        QFETCH(QByteArray, editor);
        QFETCH(QByteArray, copied);
        QFETCH(QByteArray, primary);
        QFETCH(bool, selected);
        ClipboardPeer program;
        ClipboardPeer lastSelection;
        program.comeToFront(editor);
        lastSelection.select(primary);
        program.own(copied);
        QCOMPARE(readWith(lastSelection), selected ? std::optional(QString::fromUtf8(copied)) : std::nullopt);
    }

    void withoutAPrimarySelectionNothingIsSelected()
    {
        ClipboardPeer kate;
        kate.comeToFront("kate");
        kate.own(line);
        QVERIFY(!read());
    }

    void aTextOfAClipboardManagerIsNoCopyOfTheEditor()
    {
        ClipboardPeer kate;
        ClipboardPeer manager;
        kate.comeToFront("kate");
        manager.own(line);
        QCOMPARE(read(), QString::fromUtf8(line));
    }

    void aLargePrimarySelectionIsNotReadToItsEnd()
    {
        ClipboardPeer kate;
        ClipboardPeer large(Manners::Incremental);
        kate.comeToFront("kate");
        large.select(QByteArray(8 * 1024 * 1024, 'x'));
        large.pieceSize = 1024;
        kate.own(line);
        VERIFY_TAKES_AT_MOST(200, [&] { QVERIFY(!readWith(large)); });
    }

    void nobodyIsWaitedForLong_data()
    {
        QTest::addColumn<int>("manners");
        QTest::newRow("never answers") << int(Manners::Silent);
        QTest::newRow("stalls") << int(Manners::Stalling);
        QTest::newRow("dies") << int(Manners::Dying);
    }
    void nobodyIsWaitedForLong()
    {
        QFETCH(int, manners);
        VERIFY_TAKES_AT_MOST(500, [&] {
            ClipboardPeer kate;
            ClipboardPeer owner(static_cast<Manners>(manners));
            kate.comeToFront("kate");
            owner.select("word");
            kate.own(line);
            QCOMPARE(read(), QString::fromUtf8(line));
        });
    }

    void theNoteBesideTheTextTells_data()
    {
        QTest::addColumn<QByteArray>("target");
        QTest::addColumn<QByteArray>("note");
        QTest::addColumn<bool>("selected");
        const char* const webKit = "org.webkitgtk.WebKit.custom-pasteboard-data";
        for (const char* target :
             {"chromium/x-web-custom-data", "application/x-moz-custom-clipdata", webKit}) {
            QTest::addRow("nothing selected, %s", target) << QByteArray(target) << envelope("true") << false;
            QTest::addRow("selected, %s", target) << QByteArray(target) << envelope("false") << true;
            QTest::addRow("something else, %s", target) << QByteArray(target) << QByteArray("words") << true;
        }
        QTest::newRow("nothing selected, in Latin-1")
            << QByteArray(webKit) << "\1vscode-editor-data" + note("true").toLatin1() << false;
        QTest::newRow("selected, in Latin-1")
            << QByteArray(webKit) << "\1vscode-editor-data" + note("false").toLatin1() << true;
    }
    void theNoteBesideTheTextTells()
    {
        QFETCH(QByteArray, target);
        QFETCH(QByteArray, note);
        QFETCH(bool, selected);
        ClipboardPeer browser;
        browser.own(std::map<QByteArray, QByteArray>{{"UTF8_STRING", line}, {target, note}});
        QCOMPARE(readWith(browser), selected ? std::optional(QString::fromUtf8(line)) : std::nullopt);
    }

    void anOwnerThatIsSilentAboutTheNoteIsNotWaitedForLong()
    {
        ClipboardPeer program;
        program.silentAbout = "chromium/x-web-custom-data";
        program.own(line);
        VERIFY_TAKES_AT_MOST(500, [&] { QCOMPARE(read(), QString::fromUtf8(line)); });
    }

    void onlyAWholeLineIsAskedAbout()
    {
        ClipboardPeer program;
        for (const QByteArray& text : {QByteArray("words"), line + "more", QByteArray()}) {
            program.asked.clear();
            program.own(text);
            QVERIFY(read());
            QCOMPARE(program.asked, QByteArrayList{"UTF8_STRING"});
        }
    }
};

QTEST_GUILESS_MAIN(tst_LineCopy)
#include "tst_LineCopy.moc"
