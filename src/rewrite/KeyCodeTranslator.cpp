#include "rewrite/KeyCodeTranslator.h"

#include "platform/KeyboardLayout.h"

#include <algorithm>
#include <array>
#include <limits>

namespace quillmarsh {

namespace {

struct NamedKey
{
    qint64 keyCode;
    const char16_t* name;
};

constexpr std::array namedKeys{
    NamedKey{36, u"Return"}, NamedKey{48, u"Tab"},  NamedKey{49, u"Space"},    NamedKey{51, u"Delete"},
    NamedKey{53, u"Esc"},    NamedKey{96, u"F5"},   NamedKey{97, u"F6"},       NamedKey{98, u"F7"},
    NamedKey{99, u"F3"},     NamedKey{100, u"F8"},  NamedKey{101, u"F9"},      NamedKey{103, u"F11"},
    NamedKey{105, u"F13"},   NamedKey{107, u"F14"}, NamedKey{109, u"F10"},     NamedKey{111, u"F12"},
    NamedKey{113, u"F15"},   NamedKey{118, u"F4"},  NamedKey{117, u"Fwd Del"}, NamedKey{120, u"F2"},
    NamedKey{122, u"F1"},    NamedKey{123, u"←"},   NamedKey{124, u"→"},       NamedKey{125, u"↓"},
    NamedKey{126, u"↑"},
};

std::optional<QString> layoutCharacter(qint64 keyCode, const KeyboardLayout& layout)
{
    if (keyCode < 0 || keyCode > std::numeric_limits<quint16>::max())
        return std::nullopt;
    const std::optional<QString> character = layout.character(static_cast<quint16>(keyCode));
    if (!character || character->isEmpty())
        return std::nullopt;
    return character->toUpper();
}

} // namespace

QString KeyCodeTranslator::string(qint64 keyCode, const KeyboardLayout& layout)
{
    if (const auto name = specialKeyName(keyCode))
        return *name;
    if (const auto character = layoutCharacter(keyCode, layout))
        return *character;
    return QStringLiteral("Key(%1)").arg(keyCode);
}

std::optional<QString> KeyCodeTranslator::specialKeyName(qint64 keyCode)
{
    const auto key = std::find_if(namedKeys.begin(), namedKeys.end(), [keyCode](const NamedKey& candidate) {
        return candidate.keyCode == keyCode;
    });
    if (key == namedKeys.end())
        return std::nullopt;
    return QString::fromUtf16(key->name);
}

} // namespace quillmarsh
