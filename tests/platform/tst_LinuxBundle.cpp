#include "base/LocalizedError.h"
#include "platform/linux/BundleFolder.h"
#include "platform/linux/EvdevKeys.h"
#include "platform/linux/LinuxBundle.h"
#include "platform/linux/QtProcessRunner.h"
#include "support/CoroutineTest.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <set>

using namespace quillmarsh;
using namespace quillmarsh::test;
using namespace std::chrono_literals;

class tst_LinuxBundle final : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir folder_;

    QString bundle(const QByteArray& plist)
    {
        const QString path = folder_.filePath(QStringLiteral("Some Name.app"));
        QDir().mkpath(path + QStringLiteral("/Contents/Linux"));
        QFile file(path + QStringLiteral("/Contents/Info.plist"));
        if (file.open(QIODevice::WriteOnly))
            file.write(plist);
        return path;
    }

private slots:
    void anExecutableInABundleKnowsIt()
    {
        const QString path = bundle("<?xml version=\"1.0\"?><plist version=\"1.0\"><dict>"
                                    "<key>CFBundleShortVersionString</key><string>1.2.3</string>"
                                    "<key>CFBundleExecutable</key><string>quillmarsh</string>"
                                    "<key>N</key><integer>7</integer><key>T</key><true/>"
                                    "<key>L</key><array><string>a</string></array></dict></plist>");
        const LinuxBundle found(path + QStringLiteral("/Contents/Linux"));
        QCOMPARE(found.path(), path);
        QCOMPARE(found.infoDictionary().value(QStringLiteral("CFBundleShortVersionString")).toString(),
                 QStringLiteral("1.2.3"));
        QCOMPARE(found.infoDictionary().value(QStringLiteral("N")).toInt(), 7);
        QCOMPARE(found.infoDictionary().value(QStringLiteral("T")), QVariant(true));
        QCOMPARE(found.infoDictionary().value(QStringLiteral("L")).toList(),
                 QVariantList{QStringLiteral("a")});
        QVERIFY(!found.isPackageManaged());
        QCOMPARE(BundleFolder(path).executable(), path + QStringLiteral("/Contents/Linux/quillmarsh"));
    }

    void anExecutableMayNotLieOutsideTheBundle()
    {
        const QString path = bundle("<plist version=\"1.0\"><dict><key>CFBundleExecutable</key>"
                                    "<string>../../../bin/sh</string></dict></plist>");
        QCOMPARE(BundleFolder(path).executable(), QString());
    }

    void aBrokenInfoDictionaryIsEmpty_data()
    {
        QTest::addColumn<QByteArray>("plist");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("text") << QByteArray("hello");
        QTest::newRow("cut off") << QByteArray("<plist version=\"1.0\"><dict><key>a</key>");
        QTest::newRow("no dictionary") << QByteArray("<plist version=\"1.0\"><string>a</string></plist>");
        QTest::newRow("binary rubbish") << QByteArray("bplist00\xFF\xFF\xFF");
    }
    void aBrokenInfoDictionaryIsEmpty()
    {
        QFETCH(QByteArray, plist);
        const QString path = bundle(plist);
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("Info.plist cannot be read")));
        QVERIFY(BundleFolder(path).infoDictionary().isEmpty());
    }

    void elsewhereTheFolderOfTheExecutableCounts()
    {
        const LinuxBundle plain(folder_.path());
        QCOMPARE(plain.path(), folder_.path());
        QVERIFY(plain.infoDictionary().isEmpty());
        QVERIFY(LinuxBundle(QStringLiteral("/usr/bin")).isPackageManaged());
        QVERIFY(LinuxBundle(QStringLiteral("/opt/quillmarsh/bin")).isPackageManaged());
        QVERIFY(!LinuxBundle(QStringLiteral("/usr/local/bin")).isPackageManaged());
        QVERIFY(!LinuxBundle(QStringLiteral("/home/me/usr/bin")).isPackageManaged());
    }

    void aToolGivesItsStatus()
    {
        QtProcessRunner runner;
        const QStringList fail{QStringLiteral("-c"), QStringLiteral("echo noise; echo noise >&2; exit 7")};
        QCOMPARE(runTask(runner.run(QStringLiteral("true"), {}, {})), 0);
        QCOMPARE(runTask(runner.run(QStringLiteral("sh"), fail, {})), 7);
        const QStringList die{QStringLiteral("-c"), QStringLiteral("kill -9 $$")};
        QCOMPARE(runTask(runner.run(QStringLiteral("sh"), die, {})), -1);
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("could not be started")));
        QCOMPARE(runTask(runner.run(QStringLiteral("/nonexistent/tool"), {}, {})), -1);
    }

    void aStopEndsTheTool()
    {
        QtProcessRunner runner;
        std::stop_source stop;
        QElapsedTimer timer;
        timer.start();
        auto running = runner.run(QStringLiteral("sleep"), {QStringLiteral("60")}, stop.get_token());
        QTest::qWait(50);
        stop.request_stop();
        QVERIFY_EXCEPTION_THROWN(runTask(std::move(running)), Cancelled);
        QVERIFY(timer.elapsed() < 5000);
        QVERIFY_EXCEPTION_THROWN(runTask(runner.run(QStringLiteral("true"), {}, stop.get_token())),
                                 Cancelled);
    }

    void theKeyTableIsConsistent()
    {
        std::set<quint16> virtualKeys;
        std::set<quint16> codes;
        quint16 last = 0;
        for (const EvdevKeys::Pair& pair : EvdevKeys::table()) {
            QVERIFY(virtualKeys.empty() || pair.virtualKey > last);
            last = pair.virtualKey;
            QVERIFY(virtualKeys.insert(pair.virtualKey).second);
            QVERIFY(codes.insert(pair.evdevCode).second);
            QCOMPARE(EvdevKeys::virtualKey(*EvdevKeys::xKeycode(pair.virtualKey)), pair.virtualKey);
        }
        QCOMPARE(EvdevKeys::xKeycode(8), quint8{54});  // C
        QCOMPARE(EvdevKeys::xKeycode(15), quint8{27}); // R
        QCOMPARE(EvdevKeys::xKeycode(36), quint8{36}); // Return
        QVERIFY(!EvdevKeys::xKeycode(200));
        QVERIFY(!EvdevKeys::virtualKey(0));
        QVERIFY(!EvdevKeys::virtualKey(100000));
    }
};

QTEST_GUILESS_MAIN(tst_LinuxBundle)
#include "tst_LinuxBundle.moc"
