#include "update/BundleFixture.h"

#include "update/codesign/Codesign.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <sys/stat.h>

namespace quillmarsh::test {

namespace {

void run(const QString& program, const QStringList& arguments, const QString& folder = {})
{
    QProcess process;
    process.setWorkingDirectory(folder);
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.start(program, arguments);
    if (!process.waitForFinished(60'000) || process.exitCode() != 0)
        qFatal("%s failed", qPrintable(program));
}

const QTemporaryDir& certificateFolder()
{
    static const QTemporaryDir folder;
    static const bool made = [] {
        run(QStringLiteral(MAKE_TEST_CERTIFICATES), {folder.path()});
        return true;
    }();
    Q_UNUSED(made)
    return folder;
}

QByteArray informationDictionary(const BundleContent& content)
{
    const auto pair = [](const char* key, const QString& value) {
        return QStringLiteral("<key>%1</key><string>%2</string>\n")
            .arg(QLatin1String(key), value.toHtmlEscaped());
    };
    return (QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>\n") +
            pair("CFBundleIdentifier", content.identifier) +
            pair("CFBundleShortVersionString", content.version) + QStringLiteral("</dict></plist>\n"))
        .toUtf8();
}

void makeFolder(const QString& path)
{
    QDir().mkdir(path);
    setMode(path, 0755);
}

} // namespace

QString TestCertificates::path(const QString& file)
{
    return certificateFolder().filePath(file);
}

QByteArray TestCertificates::certificate(const QString& name)
{
    return readFile(path(name + QStringLiteral(".pem")));
}

QByteArray TestCertificates::key(const QString& name)
{
    return readFile(path(name + QStringLiteral(".key")));
}

void makeBundle(const QString& path, const BundleContent& content)
{
    for (const char* folder : {"", "/Contents", "/Contents/Linux", "/Contents/Resources"})
        makeFolder(path + QLatin1String(folder));
    writeFile(path + QStringLiteral("/Contents/Info.plist"), informationDictionary(content));
    writeFile(path + QStringLiteral("/Contents/Resources/data"), QByteArray(content.payload, 'd'));
    const QString executable = path + QStringLiteral("/Contents/Linux/quillmarsh");
    if (content.executable.isEmpty())
        writeFile(executable, "#!/bin/sh\nexit 0\n", 0755);
    else
        writeFile(executable, readFile(content.executable), 0755);
}

void sign(const QString& bundle, const QString& signer)
{
    signBundle(bundle, TestCertificates::certificate(signer), TestCertificates::key(signer));
}

void writeFile(const QString& path, const QByteArray& bytes, int mode)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("Cannot write %s", qPrintable(path));
    file.close();
    setMode(path, mode);
}

QByteArray readFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("Cannot read %s", qPrintable(path));
    return file.readAll();
}

void setMode(const QString& path, int mode)
{
    if (::chmod(QFile::encodeName(path).constData(), static_cast<mode_t>(mode)) != 0)
        qFatal("Cannot change the mode of %s", qPrintable(path));
}

void makeArchive(const QString& archive, const QString& folder, const QString& name)
{
    run(QStringLiteral("bsdtar"),
        {QStringLiteral("--format"), QStringLiteral("zip"), QStringLiteral("-c"), QStringLiteral("-f"),
         archive, name},
        folder);
}

} // namespace quillmarsh::test
