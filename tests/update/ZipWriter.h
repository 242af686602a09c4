#pragma once

#include <QByteArray>
#include <QString>

namespace quillmarsh::test {

/// Writes zip archives that no ordinary tool would: any name, any mode, links to anywhere. Nothing is
/// compressed.
class ZipWriter final
{
public:
    /// `mode` with the kind of file, as stat() gives it; a link's content is its target.
    void add(const QByteArray& name, const QByteArray& content, unsigned mode = 0100644);
    /// All of a folder on the disk, under `name`.
    void addTree(const QString& folder, const QByteArray& name);
    [[nodiscard]] QByteArray archive() const;

private:
    QByteArray entries_;
    QByteArray directory_;
    quint16 count_ = 0;
};

} // namespace quillmarsh::test
