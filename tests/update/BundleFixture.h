#pragma once

#include <QByteArray>
#include <QString>

namespace quillmarsh::test {

/// The certificates of packaging/make-test-certificates, made once per process in a folder of its own.
class TestCertificates final
{
public:
    [[nodiscard]] static QByteArray certificate(const QString& name);
    [[nodiscard]] static QByteArray key(const QString& name);
    [[nodiscard]] static QString path(const QString& file);
};

/// What a made bundle is to be.
struct BundleContent
{
    QString version = QStringLiteral("1.1");
    QString identifier = QStringLiteral("com.quillmarsh.app");
    QString executable; ///< a program to copy in as "Contents/Linux/quillmarsh"; empty: a small script
    int payload = 1000; ///< bytes of "Contents/Resources/data"
};

/// Makes an unsigned bundle at `path`, whose parent exists. Modes are those of a release.
void makeBundle(const QString& path, const BundleContent& content = {});

/// Signs the bundle as `signer` of the test certificates.
void sign(const QString& bundle, const QString& signer = QStringLiteral("developer"));

void writeFile(const QString& path, const QByteArray& bytes, int mode = 0644);
[[nodiscard]] QByteArray readFile(const QString& path);
void setMode(const QString& path, int mode);

/// Packs `name` in `folder` into the zip archive `archive`, links as links.
void makeArchive(const QString& archive, const QString& folder, const QString& name);

/// The requirement that the product passes to the verifier.
inline constexpr auto requirement = "anchor apple generic and certificate leaf[subject.OU] = \"K3T9Z2W7P5\"";

} // namespace quillmarsh::test
