#include "platform/linux/DesktopEntries.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace quillmarsh;

class tst_DesktopEntries final : public QObject
{
    Q_OBJECT

private:
    static void write(const QString& path, const QByteArray& content)
    {
        QDir().mkpath(QFileInfo(path).absolutePath());
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(content);
    }

private slots:
    void theNameFollowsTheLocale_data()
    {
        QTest::addColumn<QString>("locale");
        QTest::addColumn<QString>("name");
        QTest::newRow("none") << QString() << QStringLiteral("Plain");
        QTest::newRow("C") << QStringLiteral("C.UTF-8") << QStringLiteral("Plain");
        QTest::newRow("language") << QStringLiteral("de_DE.UTF-8") << QStringLiteral("Deutsch");
        QTest::newRow("country") << QStringLiteral("de_AT.UTF-8") << QStringLiteral("Österreich");
        QTest::newRow("modifier") << QStringLiteral("sr_RS@latin") << QStringLiteral("Latinica");
        QTest::newRow("country before modifier")
            << QStringLiteral("de_AT@euro") << QStringLiteral("Österreich");
    }
    void theNameFollowsTheLocale()
    {
        QFETCH(QString, locale);
        QFETCH(QString, name);
        const QByteArray content =
            "# comment\n[Desktop Entry]\nName=Plain\nName[de]=Deutsch\n"
            "Name[de_AT]=\xC3\x96sterreich\nName[sr@latin]=Latinica\nStartupWMClass=Klass\n"
            "[Desktop Action New]\nName=Other\nName[de]=Anderes\n";
        const auto entry = parseDesktopEntry(content, locale);
        QVERIFY(entry);
        QCOMPARE(entry->name, name);
        QCOMPARE(entry->startupWindowClass, QStringLiteral("Klass"));
    }

    void brokenEntriesHaveNoName_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("no group") << QByteArray("Name=x\n");
        QTest::newRow("other group") << QByteArray("[Other]\nName=x\n");
        QTest::newRow("no value") << QByteArray("[Desktop Entry]\nName=\n");
        QTest::newRow("bytes") << QByteArray("\0\xFF=[\n=\n", 6);
    }
    void brokenEntriesHaveNoName()
    {
        QFETCH(QByteArray, content);
        QVERIFY(!parseDesktopEntry(content, QStringLiteral("de")));
    }

    void entriesAreFoundByIdAndWindowClass()
    {
        QTemporaryDir user;
        QTemporaryDir system;
        write(user.filePath(QStringLiteral("org.a.App.desktop")), "[Desktop Entry]\nName=Mine\n");
        write(system.filePath(QStringLiteral("org.a.App.desktop")), "[Desktop Entry]\nName=Theirs\n");
        write(system.filePath(QStringLiteral("kde4/tool.desktop")),
              "[Desktop Entry]\nName=Tool\nStartupWMClass=ToolClass\n");
        const DesktopEntries entries({user.path(), system.path(), QStringLiteral("/nonexistent")});
        QTRY_COMPARE(entries.name({QStringLiteral("kde4-tool")}), QStringLiteral("Tool"));
        QCOMPARE(entries.name({QStringLiteral("ORG.A.APP")}), QStringLiteral("Mine"));
        QCOMPARE(entries.name({QString(), QStringLiteral("nothing"), QStringLiteral("toolclass")}),
                 QStringLiteral("Tool"));
        QCOMPARE(entries.name({QStringLiteral("nothing")}), QString());
        QCOMPARE(entries.name({}), QString());
    }

    void anEntryIsFoundByItsWindowClass()
    {
        QTemporaryDir user;
        QTemporaryDir system;
        write(user.filePath(QStringLiteral("org.a.Editor.desktop")),
              "[Desktop Entry]\nName=Mine\nStartupWMClass = Strange\nCategories=Utility;TextEditor;\n");
        write(system.filePath(QStringLiteral("kde4/strange.desktop")),
              "[Desktop Entry]\nName=Theirs\nStartupWMClass=strange\nCategories=TerminalEmulator;");
        write(system.filePath(QStringLiteral("none.desktop")),
              "[Desktop Entry]\nName=None\nStartupWMClass=\n");
        write(system.filePath(QStringLiteral("action.desktop")),
              "[Desktop Entry]\nName=Other\n[Desktop Action a]\nStartupWMClass=other\n");
        const QStringList folders{QStringLiteral("/nonexistent"), user.path(), system.path()};
        const auto entry =
            DesktopEntries::ofWindowClass(folders, {QStringLiteral("other"), QStringLiteral("sTRANGE")});
        QVERIFY(entry);
        QCOMPARE(entry->name, QStringLiteral("Mine"));
        QCOMPARE(entry->categories, (QStringList{QStringLiteral("Utility"), QStringLiteral("TextEditor")}));
        const auto theirs = DesktopEntries::ofWindowClass({system.path()}, {QStringLiteral("strange")});
        QVERIFY(theirs);
        QCOMPARE(theirs->categories, QStringList{QStringLiteral("TerminalEmulator")});
        for (const char* windowClass : {"", "other", "stran"})
            QVERIFY(!DesktopEntries::ofWindowClass(folders, {QString::fromLatin1(windowClass)}));
    }

    void theFoldersMayGoWhileTheyAreRead()
    {
        QTemporaryDir folder;
        for (int index = 0; index < 200; ++index)
            write(folder.filePath(QStringLiteral("%1.desktop").arg(index)), "[Desktop Entry]\nName=x\n");
        for (int round = 0; round < 20; ++round)
            DesktopEntries({folder.path()});
    }
};

QTEST_GUILESS_MAIN(tst_DesktopEntries)
#include "tst_DesktopEntries.moc"
