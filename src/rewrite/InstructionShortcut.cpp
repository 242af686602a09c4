#include "rewrite/InstructionShortcut.h"

#include "platform/ModifierFlags.h"
#include "rewrite/KeyCodeTranslator.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cmath>
#include <limits>

namespace quillmarsh {

namespace {

InstructionShortcut builtIn(const QString& name, const char* icon, const QString& task)
{
    const QString rest = QStringLiteral(" Never ask questions, always answer with the rewritten text. "
                                        "Never change the original language of the selected text.");
    return {QUuid::createUuid(), name, task + rest, QLatin1String(icon), std::nullopt, std::nullopt};
}

QJsonObject toJson(const InstructionShortcut& shortcut)
{
    QJsonObject object{{QStringLiteral("id"), shortcut.id.toString(QUuid::WithoutBraces).toUpper()},
                       {QStringLiteral("name"), shortcut.name},
                       {QStringLiteral("instruction"), shortcut.instruction},
                       {QStringLiteral("icon"), shortcut.icon}};
    if (shortcut.keyCode)
        object.insert(QStringLiteral("keyCode"), *shortcut.keyCode);
    if (shortcut.modifiersRaw)
        object.insert(QStringLiteral("modifiersRaw"), *shortcut.modifiersRaw);
    return object;
}

/// Reads one record; the first member that does not decode makes the whole record undecodable.
class Reader final
{
public:
    explicit Reader(QJsonObject object) : object_(std::move(object)) {}

    [[nodiscard]] bool succeeded() const { return succeeded_; }

    QString text(const char* key)
    {
        const QJsonValue value = object_[QLatin1String(key)];
        succeeded_ = succeeded_ && value.isString();
        return value.toString();
    }

    QUuid uuid(const char* key)
    {
        const QString value = text(key);
        const QUuid id = QUuid::fromString(value);
        succeeded_ = succeeded_ && id.toString(QUuid::WithoutBraces).compare(value, Qt::CaseInsensitive) == 0;
        return id;
    }

    std::optional<qint64> integer(const char* key)
    {
        const QJsonValue value = object_[QLatin1String(key)];
        if (value.isUndefined() || value.isNull())
            return std::nullopt;
        const double number = value.toDouble(0.5);
        succeeded_ =
            succeeded_ && value.isDouble() && std::trunc(number) == number && std::abs(number) < 0x1p63;
        return succeeded_ ? std::optional(value.toInteger()) : std::nullopt;
    }

private:
    QJsonObject object_;
    bool succeeded_ = true;
};

std::optional<InstructionShortcut> fromJson(const QJsonValue& value)
{
    if (!value.isObject())
        return std::nullopt;
    Reader reader(value.toObject());
    InstructionShortcut shortcut;
    shortcut.id = reader.uuid("id");
    shortcut.name = reader.text("name");
    shortcut.instruction = reader.text("instruction");
    shortcut.icon = reader.text("icon");
    shortcut.keyCode = reader.integer("keyCode");
    shortcut.modifiersRaw = reader.integer("modifiersRaw");
    return reader.succeeded() ? std::optional(shortcut) : std::nullopt;
}

} // namespace

std::vector<InstructionShortcut> InstructionShortcut::defaultShortcuts()
{
    std::vector<InstructionShortcut> list{
        builtIn(QStringLiteral("Autocorrect"), "checkmark.circle",
                QStringLiteral("Fix grammar, spelling, and punctuation errors. Preserve the original "
                               "meaning, tone, style, and formatting.")),
        builtIn(QStringLiteral("Formal"), "building.2",
                QStringLiteral("Rewrite the text in a formal, professional tone. Fix any grammar or "
                               "spelling errors.")),
        builtIn(QStringLiteral("Casual"), "face.smiling",
                QStringLiteral("Rewrite the text in a casual, friendly tone. Fix any grammar or "
                               "spelling errors.")),
        builtIn(QStringLiteral("Shorter"), "arrow.down.right.and.arrow.up.left",
                QStringLiteral("Make the text more concise while preserving the key message. Remove "
                               "unnecessary words and filler.")),
        builtIn(QStringLiteral("Longer"), "arrow.up.left.and.arrow.down.right",
                QStringLiteral("Expand the text with more detail and explanation while keeping the same "
                               "meaning and tone.")),
    };
    list.front().keyCode = VirtualKey::r;
    list.front().modifiersRaw = ModifierFlags::shift | ModifierFlags::command;
    return list;
}

std::optional<KeyCombination> InstructionShortcut::combination() const
{
    if (!hasShortcut() || *keyCode < 0 || *keyCode > std::numeric_limits<quint16>::max())
        return std::nullopt;
    return KeyCombination{static_cast<quint16>(*keyCode),
                          static_cast<quint64>(*modifiersRaw) & ModifierFlags::shortcutMask};
}

std::optional<QString> InstructionShortcut::hotkeyDisplayString(const KeyboardLayout& layout) const
{
    if (!hasShortcut())
        return std::nullopt;
    return shortcutDisplayString(*keyCode, *modifiersRaw, layout);
}

QString shortcutDisplayString(qint64 keyCode, qint64 modifiersRaw, const KeyboardLayout& layout)
{
    QString text;
    const auto flags = static_cast<quint64>(modifiersRaw);
    if (flags & ModifierFlags::control)
        text += u'⌃';
    if (flags & ModifierFlags::option)
        text += u'⌥';
    if (flags & ModifierFlags::shift)
        text += u'⇧';
    if (flags & ModifierFlags::command)
        text += u'⌘';
    return text + KeyCodeTranslator::string(keyCode, layout);
}

QByteArray encodeShortcuts(const std::vector<InstructionShortcut>& shortcuts)
{
    QJsonArray array;
    for (const InstructionShortcut& shortcut : shortcuts)
        array.append(toJson(shortcut));
    return QJsonDocument(array).toJson(QJsonDocument::Compact);
}

std::optional<std::vector<InstructionShortcut>> decodeShortcuts(const QByteArray& json)
{
    const QJsonDocument document = QJsonDocument::fromJson(json);
    if (!document.isArray())
        return std::nullopt;
    std::vector<InstructionShortcut> list;
    for (const QJsonValue value : document.array()) {
        auto shortcut = fromJson(value);
        if (!shortcut)
            return std::nullopt;
        list.push_back(std::move(*shortcut));
    }
    return list;
}

} // namespace quillmarsh
