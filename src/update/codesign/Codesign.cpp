#include "update/codesign/Codesign.h"

#include "update/codesign/BundleFiles.h"
#include "update/codesign/CodesignError.h"

#include <QDir>
#include <QRegularExpression>
#include <QSaveFile>

#include <algorithm>

#include <sys/stat.h>

namespace quillmarsh {

namespace {

constexpr qint64 maximumListSize = 16 << 20;
constexpr qint64 maximumSignatureSize = 1 << 20;
constexpr qint64 maximumPemSize = 1 << 20;

QString inside(const QString& bundle, const char* file)
{
    return bundle + QLatin1Char('/') + QLatin1String(file);
}

void write(const QString& path, const QByteArray& bytes)
{
    QSaveFile file(path);
    const bool written = file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() &&
                         file.commit() &&
                         QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup |
                                                         QFile::ReadOther);
    if (!written)
        throw CodesignError(QStringLiteral("%1 cannot be written").arg(path));
}

/// Names the first difference between what is signed and what is there.
[[noreturn]] void refuseDifference(const BundleEntries& listed, const BundleEntries& found)
{
    const auto [expected, actual] = std::mismatch(listed.begin(), listed.end(), found.begin(), found.end());
    if (actual == found.end() || (expected != listed.end() && expected->path < actual->path))
        throw CodesignError(QStringLiteral("%1: is missing").arg(QString::fromUtf8(expected->path)));
    const QString path = QString::fromUtf8(actual->path);
    if (expected == listed.end() || actual->path < expected->path)
        throw CodesignError(QStringLiteral("%1: is not part of what was signed").arg(path));
    throw CodesignError(QStringLiteral("%1: was changed").arg(path));
}

/// The signature's folder holds its two files and nothing else.
void checkSignatureFolder(const QString& bundle)
{
    const QDir folder(inside(bundle, codeSignatureFolder));
    const QFileInfo information(folder.path());
    const QStringList expected{QStringLiteral("CodeResources"), QStringLiteral("CodeSignature")};
    const auto everything = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
    if (information.isSymLink() || !information.isDir() ||
        folder.entryList(everything, QDir::Name) != expected)
        throw CodesignError(QStringLiteral("the bundle is not signed"));
}

bool hasMode(const QString& path, mode_t mode)
{
    struct stat status = {};
    return ::lstat(QFile::encodeName(path).constData(), &status) == 0 && (status.st_mode & 07777) == mode;
}

/// The list cannot name its own two files, so their modes have one value each.
void checkSignatureModes(const QString& bundle)
{
    if (!hasMode(inside(bundle, codeSignatureFolder), 0755) ||
        !hasMode(inside(bundle, codeResourcesFile), 0644) ||
        !hasMode(inside(bundle, codeSignatureFile), 0644))
        throw CodesignError(QStringLiteral("the signature’s files have other modes than they were given"));
}

const QRegularExpression& requirementForm()
{
    static const QRegularExpression form(QRegularExpression::anchoredPattern(
        QStringLiteral("anchor apple generic and certificate leaf\\[subject\\.OU\\] = \"([A-Za-z0-9]+)\"")));
    return form;
}

void verifyWith(const QStringList& arguments, const QByteArray& anchor)
{
    const QString requirement = arguments[3].mid(3);
    verifyBundle(arguments[4], SignatureRequirement{anchor, requiredUnit(requirement)});
}

void signWith(const QStringList& arguments)
{
    signBundle(arguments[5], readOrdinaryFile(arguments[2], maximumPemSize),
               readOrdinaryFile(arguments[4], maximumPemSize));
}

bool isVerification(const QStringList& arguments)
{
    return arguments.size() == 5 && arguments[0] == QLatin1String("--verify") &&
           arguments[1] == QLatin1String("--deep") && arguments[2] == QLatin1String("--strict") &&
           arguments[3].startsWith(QLatin1String("-R="));
}

bool isSigning(const QStringList& arguments)
{
    return arguments.size() == 6 && arguments[0] == QLatin1String("--sign") &&
           arguments[1] == QLatin1String("--certificate") && arguments[3] == QLatin1String("--key");
}

} // namespace

void signBundle(const QString& bundle, const QByteArray& certificates, const QByteArray& key)
{
    const QByteArray list = writeCodeResources(readBundle(bundle));
    const QByteArray signature = signContent(list, certificates, key);
    QDir(inside(bundle, codeSignatureFolder)).removeRecursively();
    const QByteArray folder = QFile::encodeName(inside(bundle, codeSignatureFolder));
    if (::mkdir(folder.constData(), 0755) != 0 || ::chmod(folder.constData(), 0755) != 0)
        throw CodesignError(QStringLiteral("the bundle cannot be written"));
    write(inside(bundle, codeResourcesFile), list);
    write(inside(bundle, codeSignatureFile), signature);
}

void verifyBundle(const QString& bundle, const SignatureRequirement& requirement)
{
    checkSignatureFolder(bundle);
    const QByteArray list = readOrdinaryFile(inside(bundle, codeResourcesFile), maximumListSize);
    const QByteArray signature = readOrdinaryFile(inside(bundle, codeSignatureFile), maximumSignatureSize);
    checkSignatureModes(bundle);
    // The signature comes first: nothing else is read from a list that nobody vouches for.
    verifyContent(list, signature, requirement);
    const BundleEntries listed = readCodeResources(list);
    const BundleEntries found = readBundle(bundle);
    if (listed != found)
        refuseDifference(listed, found);
}

QString requiredUnit(const QString& requirement)
{
    const QRegularExpressionMatch match = requirementForm().match(requirement);
    if (!match.hasMatch())
        throw CodesignError(QStringLiteral("the requirement is not understood"));
    return match.captured(1);
}

int runCodesign(const QStringList& arguments, const QByteArray& anchor, std::FILE* errors)
{
    try {
        if (isVerification(arguments)) {
            verifyWith(arguments, anchor);
        } else if (isSigning(arguments)) {
            signWith(arguments);
        } else {
            std::fputs("usage: quillmarsh-codesign --verify --deep --strict -R=REQUIREMENT BUNDLE\n"
                       "       quillmarsh-codesign --sign --certificate FILE --key FILE BUNDLE\n",
                       errors);
            return 2;
        }
    } catch (const std::exception& error) {
        std::fprintf(errors, "quillmarsh-codesign: %s\n", error.what());
        return 1;
    }
    return 0;
}

} // namespace quillmarsh
