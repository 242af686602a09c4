#include "update/ZipWriter.h"

#include "update/BundleFixture.h"

#include <QDir>

#include <sys/stat.h>

namespace quillmarsh::test {

namespace {

quint32 crc32(const QByteArray& bytes)
{
    quint32 crc = ~0U;
    for (const char byte : bytes) {
        crc ^= static_cast<quint8>(byte);
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1) ^ ((crc & 1) ? 0xEDB88320U : 0U);
    }
    return ~crc;
}

template <typename T>
QByteArray little(T value)
{
    QByteArray bytes;
    for (std::size_t index = 0; index < sizeof(T); ++index)
        bytes.append(static_cast<char>((value >> (8 * index)) & 0xFF));
    return bytes;
}

} // namespace

void ZipWriter::add(const QByteArray& name, const QByteArray& content, unsigned mode)
{
    const auto size = static_cast<quint32>(content.size());
    const QByteArray common = little<quint16>(0) + little<quint16>(0) + little<quint32>(0x58210000) +
                              little(crc32(content)) + little(size) + little(size) +
                              little(static_cast<quint16>(name.size())) + little<quint16>(0);
    const auto offset = static_cast<quint32>(entries_.size());
    entries_ += "PK\x03\x04" + little<quint16>(20) + common + name + content;
    directory_ += "PK\x01\x02" + little<quint16>(0x0314) + little<quint16>(20) + common + little<quint16>(0) +
                  little<quint16>(0) + little<quint16>(0) + little<quint32>(mode << 16) + little(offset) +
                  name;
    ++count_;
}

void ZipWriter::addTree(const QString& folder, const QByteArray& name)
{
    add(name + '/', {}, 040755);
    for (const QFileInfo& entry :
         QDir(folder).entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot)) {
        const QByteArray inner = name + '/' + QFile::encodeName(entry.fileName());
        struct stat status = {};
        ::lstat(QFile::encodeName(entry.filePath()).constData(), &status);
        if (entry.isDir() && !entry.isSymLink())
            addTree(entry.filePath(), inner);
        else
            add(inner, readFile(entry.filePath()), status.st_mode);
    }
}

QByteArray ZipWriter::archive() const
{
    return entries_ + directory_ + "PK\x05\x06" + little<quint32>(0) + little(count_) + little(count_) +
           little(static_cast<quint32>(directory_.size())) + little(static_cast<quint32>(entries_.size())) +
           little<quint16>(0);
}

} // namespace quillmarsh::test
