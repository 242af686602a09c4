#include "support/Shortest.h"
#include "update/BundleFixture.h"
#include "update/FileTree.h"
#include "update/codesign/CodeResources.h"
#include "update/codesign/Codesign.h"
#include "update/codesign/CodesignError.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

using namespace quillmarsh;
using namespace quillmarsh::test;

namespace {

using Change = std::function<void(const QString& bundle)>;

QString in(const QString& bundle, const char* path)
{
    return bundle + QLatin1Char('/') + QLatin1String(path);
}

void link(const QString& bundle, const char* path, const char* target)
{
    QCOMPARE(::symlink(target, QFile::encodeName(in(bundle, path)).constData()), 0);
}

/// The status of the tool as the product calls it, and what it says.
std::pair<int, QString> verification(const QString& bundle, const QByteArray& anchor)
{
    char* text = nullptr;
    std::size_t size = 0;
    std::FILE* errors = open_memstream(&text, &size);
    const QStringList arguments{QStringLiteral("--verify"), QStringLiteral("--deep"),
                                QStringLiteral("--strict"),
                                QStringLiteral("-R=") + QLatin1String(requirement), bundle};
    const int status = runCodesign(arguments, anchor, errors);
    std::fclose(errors);
    const std::pair result(status, QString::fromUtf8(text, static_cast<qsizetype>(size)));
    std::free(text);
    return result;
}

QString refusalToSign(const QString& bundle)
{
    try {
        sign(bundle);
    } catch (const CodesignError& error) {
        return error.errorDescription();
    }
    return {};
}

} // namespace

Q_DECLARE_METATYPE(Change)

class tst_Codesign final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        folder_ = std::make_unique<QTemporaryDir>();
        bundle_ = folder_->filePath(QStringLiteral("Quillmarsh.app"));
        makeBundle(bundle_);
    }

    void cleanup() { QVERIFY(removeTree(folder_->path())); }

    void acceptsWhatWasSigned()
    {
        link(bundle_, "Contents/Linux/lib.so", "lib.so.1");
        link(bundle_, "Contents/Linux/up", "../Resources/data");
        sign(bundle_);
        QCOMPARE(verification(bundle_, anchor()), std::pair(0, QString()));
    }

    void acceptsAChainThroughAnIntermediate()
    {
        sign(bundle_, QStringLiteral("chained"));
        QCOMPARE(verification(bundle_, anchor()).first, 0);
    }

    void theUsersMaskIsNoPartOfASignature()
    {
        const mode_t mask = ::umask(077);
        sign(bundle_);
        ::umask(mask);
        QCOMPARE(verification(bundle_, anchor()), std::pair(0, QString()));
    }

    void signingAgainReplacesTheSignature()
    {
        sign(bundle_);
        writeFile(in(bundle_, "Contents/Resources/new"), "new");
        sign(bundle_);
        QCOMPARE(verification(bundle_, anchor()), std::pair(0, QString()));
    }

    void refusesAnotherSigner_data()
    {
        QTest::addColumn<QString>("signer");
        QTest::addColumn<QString>("reason");
        const auto row = [](const char* signer, const char* reason) {
            QTest::newRow(signer) << QString::fromLatin1(signer) << QString::fromUtf8(reason);
        };
        row("other-unit", "another organisational unit");
        row("longer-unit", "another organisational unit");
        row("no-unit", "not exactly one organisational unit");
        row("unit-in-name", "not exactly one organisational unit");
        row("two-units", "not exactly one organisational unit");
        row("expired", "expired");
        row("not-yet-valid", "not yet valid");
        row("other-anchor", "unable to get local issuer certificate");
        row("self-signed", "self-signed certificate");
        row("forged-chain", "");
        row("no-code-signing", "may not sign code");
        row("no-usage", "may not sign code");
        row("no-extended-usage", "may not sign code");
        row("authority-as-signer", "is that of an authority");
        row("issued-by-developer", "");
        row("weak-key", "too weak");
    }

    void refusesAnotherSigner()
    {
        QFETCH(QString, signer);
        QFETCH(QString, reason);
        try {
            sign(bundle_, signer);
        } catch (const CodesignError&) {
            return; // OpenSSL already refuses to sign with such a key
        }
        const auto [status, message] = verification(bundle_, anchor());
        QCOMPARE(status, 1);
        QVERIFY2(message.contains(reason) && message.startsWith(QLatin1String("quillmarsh-codesign: ")),
                 qPrintable(message));
    }

    void withoutAnAnchorNothingVerifies()
    {
        sign(bundle_);
        QCOMPARE(verification(bundle_, {}).first, 1);
        QCOMPARE(verification(bundle_, "no certificate").first, 1);
        QCOMPARE(
            verification(bundle_, TestCertificates::certificate(QStringLiteral("other-anchor-authority")))
                .first,
            1);
    }

    void refusesAChangedBundle_data()
    {
        QTest::addColumn<Change>("change");
        QTest::addColumn<QString>("reason");
        const auto row = [](const char* name, const char* reason, Change change) {
            QTest::newRow(name) << change << QString::fromUtf8(reason);
        };
        fileRows(row);
        kindRows(row);
        signatureRows(row);
    }

    void refusesAChangedBundle()
    {
        QFETCH(Change, change);
        QFETCH(QString, reason);
        sign(bundle_);
        change(bundle_);
        const auto [status, message] = verification(bundle_, anchor());
        QCOMPARE(status, 1);
        QVERIFY2(message.contains(reason) && message.startsWith(QLatin1String("quillmarsh-codesign: ")),
                 qPrintable(message));
    }

    void refusesToSignWhatABundleMayNotHold_data()
    {
        QTest::addColumn<Change>("change");
        const auto row = [](const char* name, Change change) { QTest::newRow(name) << change; };
        row("absolute link", [](const QString& b) { link(b, "Contents/l", "/etc/passwd"); });
        row("link upward", [](const QString& b) { link(b, "Contents/l", "../../x"); });
        row("link to the folder around it", [](const QString& b) { link(b, "l", ".."); });
        row("link through a link", [](const QString& b) { link(b, "Contents/l", "Linux/../../../x"); });
        row("writable by all", [](const QString& b) { setMode(in(b, "Contents/Info.plist"), 0666); });
        row("set user id", [](const QString& b) { setMode(in(b, "Contents/Linux/quillmarsh"), 04755); });
        row("folder mode", [](const QString& b) { setMode(in(b, "Contents/Linux"), 0775); });
        row("the bundle's own mode", [](const QString& b) { setMode(b, 0700); });
        row("second name", [](const QString& b) {
            QCOMPARE(::link(QFile::encodeName(in(b, "Contents/Info.plist")).constData(),
                            QFile::encodeName(in(b, "Contents/other")).constData()),
                     0);
        });
        row("case twin", [](const QString& b) { writeFile(in(b, "Contents/info.PLIST"), "x"); });
        row("case twin of a folder", [](const QString& b) { QDir().mkdir(in(b, "Contents/linux")); });
        row("twin of the signature's folder", [](const QString& b) {
            QDir().mkdir(in(b, "Contents/_CodeSignature"));
            QDir().mkdir(in(b, "Contents/_codesignature"));
        });
        row("composition twin", [](const QString& b) {
            writeFile(b + QStringLiteral("/Contents/\u00e4"), "x");
            writeFile(b + QStringLiteral("/Contents/a\u0308"), "x");
        });
        row("line feed in a name", [](const QString& b) { writeFile(in(b, "Contents/a\nb"), "x"); });
        row("tab in a name", [](const QString& b) { writeFile(in(b, "Contents/a\tb"), "x"); });
        row("name that is no UTF-8", [](const QString& b) {
            QCOMPARE(::mkdir((QFile::encodeName(b) + "/Contents/\xff").constData(), 0755), 0);
        });
        row("pipe", [](const QString& b) {
            QCOMPARE(::mkfifo(QFile::encodeName(in(b, "Contents/p")).constData(), 0644), 0);
        });
    }

    void refusesToSignWhatABundleMayNotHold()
    {
        QFETCH(Change, change);
        change(bundle_);
        QVERIFY(!refusalToSign(bundle_).isEmpty());
    }

    void refusesToSignWithAnotherKey()
    {
        QVERIFY_EXCEPTION_THROWN(signBundle(bundle_,
                                            TestCertificates::certificate(QStringLiteral("developer")),
                                            TestCertificates::key(QStringLiteral("other-unit"))),
                                 CodesignError);
    }

    void refusesOtherRequirements_data()
    {
        QTest::addColumn<QString>("text");
        for (const char* text : {"", "anchor apple generic", "certificate leaf[subject.OU] = \"K3T9Z2W7P5\"",
                                 "anchor apple generic and certificate leaf[subject.OU] = \"\"",
                                 "anchor apple generic and certificate leaf[subject.OU] = \"A\" or true",
                                 "anchor apple generic or certificate leaf[subject.OU] = \"K3T9Z2W7P5\"",
                                 "anchor apple generic and certificate leaf[subject.OU] = \"K3T9Z2W7P5\"\n"})
            QTest::newRow(qPrintable(QStringLiteral("<%1>").arg(QString::fromLatin1(text).simplified())))
                << QString::fromLatin1(text);
    }

    void refusesOtherRequirements()
    {
        QFETCH(QString, text);
        QVERIFY_EXCEPTION_THROWN((void)requiredUnit(text), CodesignError);
    }

    void argumentsThatAreNotUnderstood()
    {
        std::FILE* errors = std::tmpfile();
        QCOMPARE(runCodesign({}, anchor(), errors), 2);
        QCOMPARE(runCodesign({QStringLiteral("--verify"), bundle_}, anchor(), errors), 2);
        std::fclose(errors);
    }

    void aListHasOneWayToBeWritten_data()
    {
        QTest::addColumn<QByteArray>("list");
        const QByteArray first = "quillmarsh-code-resources 1\n";
        const QByteArray digest(64, 'a');
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("no first line") << QByteArray("folder\t755\t-\tContents\n");
        QTest::newRow("no last line end") << first + "folder\t755\t-\tContents";
        QTest::newRow("empty line") << first + "\n";
        QTest::newRow("order") << first + "folder\t755\t-\tb\nfolder\t755\t-\ta\n";
        QTest::newRow("twice") << first + "folder\t755\t-\ta\nfolder\t755\t-\ta\n";
        QTest::newRow("mode") << first + "file\t0644\t" + digest + "\ta\n";
        QTest::newRow("mode that is none") << first + "file\tx\t" + digest + "\ta\n";
        QTest::newRow("kind") << first + "device\t644\t" + digest + "\ta\n";
        QTest::newRow("folder with a digest") << first + "folder\t755\t" + digest + "\ta\n";
        QTest::newRow("too many fields") << first + "folder\t755\t-\ta\tb\n";
        QTest::newRow("carriage return before the end") << QByteArray(first).replace("\n", "\r\n");
    }

    void aListHasOneWayToBeWritten()
    {
        QFETCH(QByteArray, list);
        QVERIFY_EXCEPTION_THROWN((void)readCodeResources(list), CodesignError);
    }

    void verifiesFiftyMegabytesInHalfASecond()
    {
        for (int index = 0; index < 50; ++index)
            writeFile(bundle_ + QStringLiteral("/Contents/Resources/%1").arg(index),
                      QByteArray(1 << 20, char(index)));
        sign(bundle_);
        VERIFY_TAKES_AT_MOST(500, [&] { QCOMPARE(verification(bundle_, anchor()).first, 0); });
    }

private:
    static QByteArray anchor() { return TestCertificates::certificate(QStringLiteral("anchor")); }

    template <typename Row>
    static void fileRows(Row row)
    {
        row("extra file", "is not part of",
            [](const QString& b) { writeFile(in(b, "Contents/Resources/extra"), "x"); });
        row("extra hidden file", "is not part of", [](const QString& b) { writeFile(in(b, ".extra"), "x"); });
        row("extra file at the end", "is not part of",
            [](const QString& b) { writeFile(in(b, "zzz"), "x"); });
        row("extra folder", "is not part of", [](const QString& b) {
            QDir().mkdir(in(b, "Contents/Empty"));
            setMode(in(b, "Contents/Empty"), 0755);
        });
        row("extra link", "is not part of", [](const QString& b) { link(b, "Contents/l", "Info.plist"); });
        row("missing file", "is missing",
            [](const QString& b) { QFile::remove(in(b, "Contents/Resources/data")); });
        row("missing folder", "is missing",
            [](const QString& b) { QDir(in(b, "Contents/Linux")).removeRecursively(); });
        row("changed byte", "was changed", [](const QString& b) {
            QByteArray bytes = readFile(in(b, "Contents/Resources/data"));
            bytes[500] = 'e';
            writeFile(in(b, "Contents/Resources/data"), bytes);
        });
        row("changed Info.plist", "was changed",
            [](const QString& b) { writeFile(in(b, "Contents/Info.plist"), "x"); });
        row("emptied file", "was changed",
            [](const QString& b) { writeFile(in(b, "Contents/Resources/data"), ""); });
        row("grown file", "was changed",
            [](const QString& b) { writeFile(in(b, "Contents/Resources/data"), QByteArray(1001, 'd')); });
        row("became executable", "was changed",
            [](const QString& b) { setMode(in(b, "Contents/Resources/data"), 0755); });
        row("no longer executable", "was changed",
            [](const QString& b) { setMode(in(b, "Contents/Linux/quillmarsh"), 0644); });
        row("writable by the group", "mode",
            [](const QString& b) { setMode(in(b, "Contents/Resources/data"), 0664); });
        row("set user id", "mode",
            [](const QString& b) { setMode(in(b, "Contents/Linux/quillmarsh"), 04755); });
        row("folder writable by all", "mode",
            [](const QString& b) { setMode(in(b, "Contents/Resources"), 01777); });
    }

    template <typename Row>
    static void kindRows(Row row)
    {
        const auto replace = [](const char* target) {
            return [target](const QString& b) {
                QFile::remove(in(b, "Contents/Resources/data"));
                link(b, "Contents/Resources/data", target);
            };
        };
        row("link that leaves the bundle", "leaves the bundle", replace("../../../x"));
        row("link to an absolute name", "leaves the bundle", replace("/etc/passwd"));
        row("link that leaves through another", "leaves the bundle", replace("../Linux/../../../x"));
        row("file became a link", "was changed", replace("../Info.plist"));
        row("file became a folder", "was changed", [](const QString& b) {
            QFile::remove(in(b, "Contents/Resources/data"));
            QDir().mkdir(in(b, "Contents/Resources/data"));
            setMode(in(b, "Contents/Resources/data"), 0755);
        });
        row("bundle became a link", "no bundle", [](const QString& b) {
            QVERIFY(QDir().rename(b, b + QStringLiteral(".real")));
            QCOMPARE(::symlink(QFile::encodeName(b + QStringLiteral(".real")).constData(),
                               QFile::encodeName(b).constData()),
                     0);
        });
        row("pipe", "neither", [](const QString& b) {
            QCOMPARE(::mkfifo(QFile::encodeName(in(b, "Contents/p")).constData(), 0644), 0);
        });
        row("device", "", [](const QString& b) {
            // Only root can make one; for others the pipe above stands for it.
            if (::geteuid() != 0 || ::mknod(QFile::encodeName(in(b, "Contents/d")).constData(),
                                            S_IFCHR | 0644, makedev(1, 3)) != 0)
                QCOMPARE(::mkfifo(QFile::encodeName(in(b, "Contents/d")).constData(), 0644), 0);
        });
        row("case twin", "only in case",
            [](const QString& b) { writeFile(in(b, "Contents/Resources/DATA"), "x"); });
        row("second name", "second name", [](const QString& b) {
            QCOMPARE(::link(QFile::encodeName(in(b, "Contents/Resources/data")).constData(),
                            QFile::encodeName(b + QStringLiteral(".outside")).constData()),
                     0);
        });
    }

    template <typename Row>
    static void signatureRows(Row row)
    {
        row("bundle writable by all", "mode other than 755", [](const QString& b) { setMode(b, 0777); });
        row("signature's folder writable by all", "other modes",
            [](const QString& b) { setMode(in(b, "Contents/_CodeSignature"), 0777); });
        row("list became executable", "other modes",
            [](const QString& b) { setMode(in(b, "Contents/_CodeSignature/CodeResources"), 0755); });
        row("signature writable by the group", "other modes",
            [](const QString& b) { setMode(in(b, "Contents/_CodeSignature/CodeSignature"), 0664); });
        row("no signature", "not signed",
            [](const QString& b) { QDir(in(b, "Contents/_CodeSignature")).removeRecursively(); });
        row("no list", "not signed",
            [](const QString& b) { QFile::remove(in(b, "Contents/_CodeSignature/CodeResources")); });
        row("extra file beside the signature", "not signed",
            [](const QString& b) { writeFile(in(b, "Contents/_CodeSignature/x"), "x"); });
        row("hidden file beside the signature", "not signed",
            [](const QString& b) { writeFile(in(b, "Contents/_CodeSignature/.x"), "x"); });
        row("dangling link beside the signature", "not signed",
            [](const QString& b) { link(b, "Contents/_CodeSignature/x", "nowhere"); });
        row("the signature is a link", "cannot be read", [](const QString& b) {
            const QString signature = in(b, "Contents/_CodeSignature/CodeSignature");
            QVERIFY(QFile::rename(signature, b + QStringLiteral(".signature")));
            QCOMPARE(::symlink(QFile::encodeName(b + QStringLiteral(".signature")).constData(),
                               QFile::encodeName(signature).constData()),
                     0);
        });
        row("changed list", "does not match", [](const QString& b) {
            const QString list = in(b, "Contents/_CodeSignature/CodeResources");
            writeFile(list, readFile(list) + "folder\t755\t-\tzzz\n");
        });
        row("empty signature", "damaged",
            [](const QString& b) { writeFile(in(b, "Contents/_CodeSignature/CodeSignature"), ""); });
        row("truncated signature", "damaged", [](const QString& b) {
            const QString signature = in(b, "Contents/_CodeSignature/CodeSignature");
            writeFile(signature, readFile(signature).chopped(1));
        });
        row("bytes after the signature", "damaged", [](const QString& b) {
            const QString signature = in(b, "Contents/_CodeSignature/CodeSignature");
            writeFile(signature, readFile(signature) + '\0');
        });
        row("signature of another bundle", "does not match", [](const QString& b) {
            const QString other = b + QStringLiteral(".other");
            makeBundle(other, {QStringLiteral("9.9"), {}, {}, 10});
            sign(other);
            const QString signature = in(b, "Contents/_CodeSignature/CodeSignature");
            writeFile(signature, readFile(in(other, "Contents/_CodeSignature/CodeSignature")));
        });
        row("whole signature of another bundle", "was changed", [](const QString& b) {
            const QString other = b + QStringLiteral(".other");
            makeBundle(other, {QStringLiteral("9.9"), {}, {}, 10});
            sign(other);
            for (const char* file :
                 {"Contents/_CodeSignature/CodeSignature", "Contents/_CodeSignature/CodeResources"})
                writeFile(in(b, file), readFile(in(other, file)));
        });
    }

    std::unique_ptr<QTemporaryDir> folder_;
    QString bundle_;
};

QTEST_GUILESS_MAIN(tst_Codesign)
#include "tst_Codesign.moc"
