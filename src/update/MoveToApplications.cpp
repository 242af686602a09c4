#include "update/MoveToApplications.h"

#include "platform/Workspace.h"
#include "update/BundleInformation.h"
#include "update/UpdateEnvironment.h"

#include <QDir>
#include <QStandardPaths>

#include <algorithm>

namespace quillmarsh {

namespace {

QString applicationsOf(const QString& home)
{
    return QDir::cleanPath(home + QStringLiteral("/Applications"));
}

bool isDigit(QChar character)
{
    return character >= QLatin1Char('0') && character <= QLatin1Char('9');
}

QStringView leadingDigits(QStringView text)
{
    return text.left(std::find_if_not(text.begin(), text.end(), isDigit) - text.begin());
}

int compareDigits(QStringView a, QStringView b)
{
    const auto significant = [](QStringView digits) {
        return digits.mid(std::find_if(digits.begin(), digits.end(), [](QChar c) { return c != u'0'; }) -
                          digits.begin());
    };
    const QStringView x = significant(a);
    const QStringView y = significant(b);
    return x.size() == y.size() ? x.compare(y) : (x.size() < y.size() ? -1 : 1);
}

} // namespace

InstallationError::InstallationError()
    : LocalizedError(
          QStringLiteral("Move this version of Quillmarsh.app into Applications first, then try again. If "
                         "Finder asks, choose Replace for an older copy."))
{}

bool MoveToApplications::isInApplicationsFolder(const QString& path, const QString& home,
                                                const QString& systemApplications)
{
    const QString standard = QDir::cleanPath(path);
    return standard.startsWith(QDir::cleanPath(systemApplications) + u'/') ||
           standard.startsWith(applicationsOf(home) + u'/');
}

std::optional<QString> MoveToApplications::installedCopy(const std::optional<QString>& identifier,
                                                         const std::optional<QString>& version,
                                                         const QString& home,
                                                         const QString& systemApplications)
{
    if (!identifier || !version)
        return std::nullopt;
    for (const QString& folder : {systemApplications, applicationsOf(home)}) {
        const QString candidate = folder + u'/' + QLatin1String(bundleName);
        const BundleInformation information = BundleInformation::read(candidate);
        if (information.identifier == identifier && information.version &&
            numericCompare(*information.version, *version) >= 0)
            return candidate;
    }
    return std::nullopt;
}

int MoveToApplications::numericCompare(QStringView a, QStringView b)
{
    while (!a.isEmpty() && !b.isEmpty()) {
        const QStringView x = isDigit(a.front()) ? leadingDigits(a) : a.left(1);
        const QStringView y = isDigit(b.front()) ? leadingDigits(b) : b.left(1);
        const bool areNumbers = isDigit(x.front()) && isDigit(y.front());
        const int order = areNumbers ? compareDigits(x, y) : x.compare(y);
        if (order != 0)
            return order;
        a = a.mid(x.size());
        b = b.mid(y.size());
    }
    return a.isEmpty() ? (b.isEmpty() ? 0 : -1) : 1;
}

Task<> MoveToApplications::openInstalledCopy(std::optional<QString> copy, QString running,
                                             Workspace* workspace, std::function<void()> terminate)
{
    // What would start from a link to the running bundle is the running bundle once more.
    if (!copy || QFileInfo(*copy).canonicalFilePath() == QFileInfo(running).canonicalFilePath())
        throw InstallationError();
    const QStringList arguments{QLatin1String(relaunchArgument)};
    const bool opened = co_await workspace->openApplication(*copy, arguments);
    if (!opened)
        throw LocalizedError(QStringLiteral("Quillmarsh couldn’t be opened from Applications."));
    terminate();
}

Task<> MoveToApplications::showDownload(QString bundlePath, Workspace* workspace)
{
    if (!bundlePath.contains(QStringLiteral("/AppTranslocation/"))) {
        co_await workspace->reveal(bundlePath);
        co_return;
    }
    const QString downloads = QStandardPaths::writableLocation(QStandardPaths::DownloadLocation);
    if (QDir(downloads).exists())
        co_await workspace->open(QUrl::fromLocalFile(downloads));
}

} // namespace quillmarsh
