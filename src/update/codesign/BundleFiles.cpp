#include "update/codesign/BundleFiles.h"

#include "update/codesign/CodesignError.h"

#include <QFile>
#include <QSet>
#include <QStringDecoder>

#include <algorithm>
#include <filesystem>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <openssl/evp.h>

namespace quillmarsh {

namespace {

namespace fs = std::filesystem;

constexpr int maximumDepth = 32;
constexpr int permissionBits = 07777;

[[noreturn]] void refuse(const QByteArray& path, const QString& reason)
{
    throw CodesignError(QStringLiteral("%1: %2").arg(QString::fromUtf8(path), reason));
}

/// An open file that closes itself. It is never a link, and opening it never waits.
class Descriptor final
{
public:
    explicit Descriptor(const QByteArray& path)
        : value_(::open(path.constData(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC))
    {}
    ~Descriptor()
    {
        if (value_ >= 0)
            ::close(value_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    [[nodiscard]] int value() const { return value_; }

private:
    int value_;
};

struct FreeDigest
{
    void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
};

QByteArray sha256(const QByteArray& path, const QByteArray& name)
{
    const Descriptor file(path);
    const std::unique_ptr<EVP_MD_CTX, FreeDigest> digest(EVP_MD_CTX_new());
    if (file.value() < 0 || EVP_DigestInit_ex(digest.get(), EVP_sha256(), nullptr) != 1)
        refuse(name, QStringLiteral("cannot be read"));
    static std::vector<char> buffer(1 << 20);
    ssize_t count = 0;
    while ((count = ::read(file.value(), buffer.data(), buffer.size())) > 0)
        EVP_DigestUpdate(digest.get(), buffer.data(), static_cast<std::size_t>(count));
    QByteArray result(EVP_MD_get_size(EVP_sha256()), '\0');
    if (count < 0 ||
        EVP_DigestFinal_ex(digest.get(), reinterpret_cast<unsigned char*>(result.data()), nullptr) != 1)
        refuse(name, QStringLiteral("cannot be read"));
    return result.toHex();
}

bool isPlainText(const QByteArray& text)
{
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString decoded = decoder(text);
    return !decoder.hasError() && !text.isEmpty() &&
           std::none_of(text.begin(), text.end(), [](char c) { return (c >= 0 && c < 0x20) || c == 0x7f; });
}

/// What a file system that ignores case, or one that composes letters, makes of a path.
QString folded(const QByteArray& path)
{
    return QString::fromUtf8(path)
        .normalized(QString::NormalizationForm_KD)
        .toCaseFolded()
        .normalized(QString::NormalizationForm_KC);
}

/// Whether a link in a folder that lies `depth` folders below the bundle leads out of it. Steps upward are
/// allowed at the beginning only, where no other link can have changed what they are relative to.
bool leavesBundle(const QByteArray& target, qsizetype depth)
{
    if (target.startsWith('/'))
        return true;
    bool isClimbing = true;
    for (const QByteArray& step : target.split('/')) {
        if (step == "..") {
            if (!isClimbing || --depth < 0)
                return true;
        } else if (step != ".") {
            isClimbing = false;
        }
    }
    return false;
}

class Reader final
{
public:
    explicit Reader(const QString& bundle) : root_(QFile::encodeName(bundle)) {}

    BundleEntries read()
    {
        struct stat status = {};
        if (::lstat(root_.constData(), &status) != 0 || !S_ISDIR(status.st_mode))
            throw CodesignError(QStringLiteral("there is no bundle here"));
        if ((static_cast<int>(status.st_mode) & permissionBits) != 0755)
            throw CodesignError(QStringLiteral("the bundle has a mode other than 755"));
        readFolder({}, 0);
        std::sort(entries_.begin(), entries_.end(),
                  [](const BundleEntry& a, const BundleEntry& b) { return a.path < b.path; });
        return std::move(entries_);
    }

private:
    void readFolder(const QByteArray& path, int depth)
    {
        if (depth > maximumDepth)
            refuse(path, QStringLiteral("lies too deep"));
        std::error_code error;
        const fs::path folder((root_ + '/' + path).toStdString());
        for (fs::directory_iterator entry(folder, error); !error && entry != fs::directory_iterator();
             entry.increment(error)) {
            const QByteArray name = QByteArray::fromStdString(entry->path().filename().string());
            readEntry(path.isEmpty() ? name : path + '/' + name, depth);
        }
        if (error)
            refuse(path, QStringLiteral("cannot be read"));
    }

    void readEntry(const QByteArray& path, int depth)
    {
        if (!isPlainText(path))
            refuse(path, QStringLiteral("has a name that a bundle may not hold"));
        if (seen_.contains(folded(path)))
            refuse(path, QStringLiteral("has a name that differs from another only in case or composition"));
        seen_.insert(folded(path));
        if (path == codeSignatureFolder)
            return;
        struct stat status = {};
        if (::lstat((root_ + '/' + path).constData(), &status) != 0)
            refuse(path, QStringLiteral("cannot be read"));
        if (S_ISDIR(status.st_mode))
            addFolder(path, status, depth);
        else if (S_ISREG(status.st_mode))
            addFile(path, status);
        else if (S_ISLNK(status.st_mode))
            addLink(path);
        else
            refuse(path, QStringLiteral("is neither a file nor a folder nor a link"));
    }

    void addFolder(const QByteArray& path, const struct stat& status, int depth)
    {
        const int mode = static_cast<int>(status.st_mode) & permissionBits;
        if (mode != 0755)
            refuse(path, QStringLiteral("has a mode other than 755"));
        entries_.push_back({BundleEntry::Kind::Folder, path, mode, {}});
        readFolder(path, depth + 1);
    }

    void addFile(const QByteArray& path, const struct stat& status)
    {
        const int mode = static_cast<int>(status.st_mode) & permissionBits;
        if (mode != 0755 && mode != 0644)
            refuse(path, QStringLiteral("has a mode other than 644 and 755"));
        if (status.st_nlink != 1)
            refuse(path, QStringLiteral("has a second name"));
        entries_.push_back({BundleEntry::Kind::File, path, mode, sha256(root_ + '/' + path, path)});
    }

    void addLink(const QByteArray& path)
    {
        std::error_code error;
        const fs::path link((root_ + '/' + path).toStdString());
        const QByteArray target = QByteArray::fromStdString(fs::read_symlink(link, error).string());
        if (error || !isPlainText(target))
            refuse(path, QStringLiteral("is a link that cannot be read"));
        if (leavesBundle(target, path.count('/')))
            refuse(path, QStringLiteral("is a link that leaves the bundle"));
        entries_.push_back({BundleEntry::Kind::Link, path, 0, target});
    }

    QByteArray root_;
    BundleEntries entries_;
    QSet<QString> seen_;
};

} // namespace

BundleEntries readBundle(const QString& bundle)
{
    return Reader(bundle).read();
}

QByteArray readOrdinaryFile(const QString& path, qint64 limit)
{
    const Descriptor descriptor(QFile::encodeName(path));
    struct stat status = {};
    QFile file;
    const bool isOrdinary = descriptor.value() >= 0 && ::fstat(descriptor.value(), &status) == 0 &&
                            S_ISREG(status.st_mode) && status.st_size <= limit &&
                            file.open(descriptor.value(), QIODevice::ReadOnly);
    if (!isOrdinary)
        throw CodesignError(QStringLiteral("%1 cannot be read").arg(path));
    return file.read(limit);
}

} // namespace quillmarsh
