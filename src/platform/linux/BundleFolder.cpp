#include "platform/linux/BundleFolder.h"

#include "base/Log.h"

#include <QDir>
#include <QFile>

#include <plist/plist.h>

#include <cstdlib>

namespace quillmarsh {

namespace {

struct PlistDeleter
{
    void operator()(void* node) const { plist_free(node); }
};
using PlistHandle = std::unique_ptr<void, PlistDeleter>;

struct PlistMemory
{
    void operator()(void* memory) const { std::free(memory); }
};
using PlistText = std::unique_ptr<char, PlistMemory>;

constexpr int deepestNesting = 32;

QVariant valueOf(plist_t node, int depth);

QVariantMap dictionaryOf(plist_t node, int depth)
{
    QVariantMap map;
    plist_dict_iter iterator = nullptr;
    plist_dict_new_iter(node, &iterator);
    const std::unique_ptr<void, PlistMemory> iteratorMemory(iterator);
    while (true) {
        char* key = nullptr;
        plist_t value = nullptr;
        plist_dict_next_item(node, iterator, &key, &value);
        if (!value)
            return map;
        const PlistText keyText(key);
        map.insert(QString::fromUtf8(key), valueOf(value, depth + 1));
    }
}

QVariantList listOf(plist_t node, int depth)
{
    QVariantList list;
    for (uint32_t index = 0; index < plist_array_get_size(node); ++index)
        list << valueOf(plist_array_get_item(node, index), depth + 1);
    return list;
}

QString stringOf(plist_t node)
{
    char* text = nullptr;
    plist_get_string_val(node, &text);
    const PlistText memory(text);
    return QString::fromUtf8(text);
}

QByteArray dataOf(plist_t node)
{
    char* bytes = nullptr;
    uint64_t length = 0;
    plist_get_data_val(node, &bytes, &length);
    const PlistText memory(bytes);
    return QByteArray(bytes, static_cast<qsizetype>(length));
}

QVariant numberOf(plist_t node, plist_type type)
{
    if (type == PLIST_BOOLEAN) {
        uint8_t flag = 0;
        plist_get_bool_val(node, &flag);
        return flag != 0;
    }
    if (type == PLIST_REAL) {
        double real = 0;
        plist_get_real_val(node, &real);
        return real;
    }
    uint64_t integer = 0;
    plist_get_uint_val(node, &integer);
    return static_cast<qint64>(integer);
}

QVariant valueOf(plist_t node, int depth)
{
    if (depth > deepestNesting)
        return {};
    const plist_type type = plist_get_node_type(node);
    switch (type) {
    case PLIST_DICT:
        return dictionaryOf(node, depth);
    case PLIST_ARRAY:
        return listOf(node, depth);
    case PLIST_STRING:
        return stringOf(node);
    case PLIST_DATA:
        return dataOf(node);
    case PLIST_BOOLEAN:
    case PLIST_REAL:
    case PLIST_UINT:
        return numberOf(node, type);
    default:
        return {};
    }
}

} // namespace

std::optional<BundleFolder> BundleFolder::around(const QString& executableFolder)
{
    QDir folder(executableFolder);
    const bool inContents = folder.dirName() == QLatin1String("Linux") && folder.cdUp() &&
                            folder.dirName() == QLatin1String("Contents") && folder.cdUp();
    if (!inContents || !folder.dirName().endsWith(QLatin1String(".app")))
        return std::nullopt;
    return BundleFolder(folder.absolutePath());
}

QVariantMap BundleFolder::infoDictionary() const
{
    QFile file(path_ + QStringLiteral("/Contents/Info.plist"));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QByteArray content = file.readAll();
    plist_t root = nullptr;
    plist_from_memory(content.constData(), static_cast<uint32_t>(content.size()), &root);
    const PlistHandle handle(root);
    if (!root || plist_get_node_type(root) != PLIST_DICT) {
        qCWarning(lcQuillmarsh, "The bundle's Info.plist cannot be read");
        return {};
    }
    return dictionaryOf(root, 0);
}

QString BundleFolder::executable() const
{
    const QString name = infoDictionary().value(QStringLiteral("CFBundleExecutable")).toString();
    if (name.isEmpty() || name.contains(QLatin1Char('/')))
        return {};
    return QDir(path_).absoluteFilePath(QStringLiteral("Contents/Linux/") + name);
}

} // namespace quillmarsh
