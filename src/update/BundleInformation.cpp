#include "update/BundleInformation.h"

#include <QFile>
#include <QFileInfo>

#include <memory>
#include <type_traits>

#include <plist/plist.h>

namespace quillmarsh {

namespace {

/// A list is read before its bundle's signature is known to be good, and the reader of lists takes stack for
/// every level of nesting: found by experiment, 100,000 levels (900 KB) end the process. This size holds
/// 3,300.
constexpr qint64 maximumSize = 16 << 10;

struct FreePlist
{
    void operator()(plist_t node) const { plist_free(node); }
};
using Plist = std::unique_ptr<std::remove_pointer_t<plist_t>, FreePlist>;

Plist read(const QByteArray& bytes)
{
    plist_t node = nullptr;
    if (!bytes.isEmpty() && bytes.size() <= maximumSize)
        plist_from_memory(bytes.constData(), static_cast<uint32_t>(bytes.size()), &node);
    return Plist(node);
}

std::optional<QString> text(plist_t dictionary, const char* key)
{
    plist_t value = plist_dict_get_item(dictionary, key);
    if (!value || plist_get_node_type(value) != PLIST_STRING)
        return std::nullopt;
    std::uint64_t length = 0;
    const char* characters = plist_get_string_ptr(value, &length);
    if (!characters)
        return std::nullopt;
    return QString::fromUtf8(characters, static_cast<qsizetype>(length));
}

} // namespace

BundleInformation BundleInformation::read(const QString& path)
{
    QFile file(path + QStringLiteral("/Contents/Info.plist"));
    if (!QFileInfo(file).isFile() || file.size() > maximumSize || !file.open(QIODevice::ReadOnly))
        return {};
    return parse(file.read(maximumSize));
}

BundleInformation BundleInformation::parse(const QByteArray& propertyList)
{
    const Plist plist = quillmarsh::read(propertyList);
    if (!plist || plist_get_node_type(plist.get()) != PLIST_DICT)
        return {};
    return {text(plist.get(), "CFBundleIdentifier"), text(plist.get(), "CFBundleShortVersionString")};
}

} // namespace quillmarsh
