#include "update/UpdateHarness.h"

#include "update/FileTree.h"
#include "update/ZipWriter.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <unistd.h>

namespace quillmarsh::test {

namespace {

const QByteArray settings = "[General]\nkept=yes\n";

QStringList asUser()
{
    if (::geteuid() != 0)
        return {};
    return {QStringLiteral("setpriv"), QStringLiteral("--reuid=nobody"), QStringLiteral("--regid=nogroup"),
            QStringLiteral("--clear-groups")};
}

} // namespace

int runTool(const QString& program, const QStringList& arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    return process.waitForFinished(60'000) && process.exitStatus() == QProcess::NormalExit
               ? process.exitCode()
               : -1;
}

UpdateHarness::UpdateHarness()
{
    for (const char* folder : {"home/Applications", "home/.config/quillmarsh", "tmp", "system", "release"})
        QDir().mkpath(path(folder));
    setTemporaryFolder(path("tmp"));
    writeFile(path("home/.config/quillmarsh/defaults.ini"), settings, 0600);
    makeRelease(installed(), QStringLiteral("1.0"));
    environment_.insert(QStringLiteral("PATH"), QStringLiteral("/usr/bin:/bin"));
    setVariable("HOME", path("home"));
    setVariable("XDG_CONFIG_HOME", path("home/.config"));
    setVariable("LC_ALL", QStringLiteral("C.UTF-8"));
    setVariable("ASAN_OPTIONS", QStringLiteral("verify_asan_link_order=0:detect_leaks=0"));
    setVariable("STAND_IN_SYSTEM_APPLICATIONS", path("system/none"));
    setVariable("QUILLMARSH_TEST_UPDATE_HOST", server_.host());
    setVariable("QUILLMARSH_TEST_CODESIGN_ANCHOR",
                QString::fromLatin1(TestCertificates::certificate(QStringLiteral("anchor"))));
}

UpdateHarness::~UpdateHarness()
{
    removeTree(temporary_);
    removeTree(root_.path());
}

void UpdateHarness::setTemporaryFolder(const QString& folder)
{
    QDir().mkpath(folder);
    temporary_ = folder;
    setVariable("TMPDIR", folder);
}

void UpdateHarness::makeRelease(const QString& path, const QString& version, const QString& signer,
                                const QString& identifier, int payload)
{
    makeBundle(path, {version, identifier, QStringLiteral(STAND_IN), payload});
    writeFile(path + QStringLiteral("/Contents/Linux/quillmarsh-codesign"),
              readFile(QStringLiteral(TEST_CODESIGN)), 0755);
    sign(path, signer);
}

QByteArray UpdateHarness::archiveOf(const QString& version, const QString& signer)
{
    const QString bundle = path("release/Quillmarsh.app");
    removeTree(bundle);
    makeRelease(bundle, version, signer);
    ZipWriter zip;
    zip.addTree(bundle, "Quillmarsh.app");
    return zip.archive();
}

QString UpdateHarness::archiveAddress() const
{
    return QStringLiteral("https://%1/Quillmarsh.zip").arg(server_.host());
}

QByteArray UpdateHarness::manifest(const QString& version, const QString& url) const
{
    return QStringLiteral("{\"version\":\"%1\",\"url\":\"%2\",\"notes\":[\"Better\"]}")
        .arg(version, url)
        .toUtf8();
}

void UpdateHarness::publish(const QByteArray& archive, const QString& version)
{
    server_.on("/update.json", TlsTestServer::answer(200, manifest(version, archiveAddress())));
    server_.on("/Quillmarsh.zip", TlsTestServer::answer(200, archive));
}

void UpdateHarness::giveToUser() const
{
    if (::geteuid() != 0)
        return;
    for (const QString& folder : {root_.path(), temporary_}) {
        if (runTool(QStringLiteral("chown"),
                    {QStringLiteral("-R"), QStringLiteral("nobody:nogroup"), folder}) != 0)
            qFatal("chown failed");
    }
}

void UpdateHarness::start(QProcess& process, const QString& bundle, const char* mode)
{
    giveToUser();
    QFile::remove(path("home/report"));
    setVariable("STAND_IN", QLatin1String(mode));
    process.setProcessEnvironment(environment_);
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    const QStringList command =
        asUser() + prefix_ + QStringList{bundle + QStringLiteral("/Contents/Linux/quillmarsh")};
    process.start(command.first(), command.mid(1));
}

QStringList UpdateHarness::run(const QString& bundle, const char* mode)
{
    QProcess process;
    start(process, bundle, mode);
    if (!QTest::qWaitFor([&] { return process.state() == QProcess::NotRunning; }, 60'000))
        qFatal("The stand-in has not ended");
    QStringList lines = report();
    lines.removeAll(QStringLiteral("end"));
    return lines;
}

QStringList UpdateHarness::report() const
{
    QFile file(path("home/report"));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

bool UpdateHarness::awaitReport(const QString& line) const
{
    return QTest::qWaitFor([&] { return report().contains(line); }, 60'000);
}

QString UpdateHarness::whatStarts()
{
    setPrefix({});
    environment_.remove(QStringLiteral("LD_PRELOAD"));
    return run(installed(), "probe").join(u'|');
}

QStringList UpdateHarness::leftovers() const
{
    const auto everything = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
    QStringList found = QDir(temporary_).entryList(everything);
    found += QDir(applications()).entryList(everything);
    found.removeAll(QStringLiteral("Quillmarsh.app"));
    return found;
}

bool UpdateHarness::settingsAreUntouched() const
{
    return readFile(path("home/.config/quillmarsh/defaults.ini")) == settings;
}

} // namespace quillmarsh::test
