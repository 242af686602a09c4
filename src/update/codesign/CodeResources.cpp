#include "update/codesign/CodeResources.h"

#include "update/codesign/CodesignError.h"

#include <QList>

namespace quillmarsh {

namespace {

constexpr auto firstLine = "quillmarsh-code-resources 1\n";

QByteArray kindName(BundleEntry::Kind kind)
{
    switch (kind) {
    case BundleEntry::Kind::Folder:
        return "folder";
    case BundleEntry::Kind::File:
        return "file";
    case BundleEntry::Kind::Link:
        break;
    }
    return "link";
}

BundleEntry::Kind kind(const QByteArray& name)
{
    for (const auto known : {BundleEntry::Kind::Folder, BundleEntry::Kind::File, BundleEntry::Kind::Link}) {
        if (kindName(known) == name)
            return known;
    }
    throw CodesignError(QStringLiteral("CodeResources has an entry of an unknown kind"));
}

QByteArray line(const BundleEntry& entry)
{
    const QByteArray detail = entry.detail.isEmpty() ? QByteArray("-") : entry.detail;
    return kindName(entry.kind) + '\t' + QByteArray::number(entry.mode, 8) + '\t' + detail + '\t' +
           entry.path + '\n';
}

BundleEntry entry(const QByteArray& text)
{
    const QList<QByteArray> fields = text.split('\t');
    if (fields.size() != 4)
        throw CodesignError(QStringLiteral("CodeResources has a line that is no entry"));
    BundleEntry read{kind(fields[0]), fields[3], fields[1].toInt(nullptr, 8), fields[2]};
    if (read.kind == BundleEntry::Kind::Folder)
        read.detail.clear();
    return read;
}

} // namespace

QByteArray writeCodeResources(const BundleEntries& entries)
{
    QByteArray bytes = firstLine;
    for (const BundleEntry& each : entries)
        bytes += line(each);
    return bytes;
}

BundleEntries readCodeResources(const QByteArray& bytes)
{
    if (!bytes.startsWith(firstLine) || !bytes.endsWith('\n'))
        throw CodesignError(QStringLiteral("CodeResources is not a list of this format"));
    QList<QByteArray> lines = bytes.split('\n');
    lines.removeFirst();
    lines.removeLast();
    BundleEntries entries;
    for (const QByteArray& text : lines) {
        entries.push_back(entry(text));
        const auto count = entries.size();
        if (count > 1 && entries[count - 2].path >= entries[count - 1].path)
            throw CodesignError(QStringLiteral("CodeResources is not in order"));
    }
    if (writeCodeResources(entries) != bytes)
        throw CodesignError(QStringLiteral("CodeResources is not written as it has to be"));
    return entries;
}

} // namespace quillmarsh
