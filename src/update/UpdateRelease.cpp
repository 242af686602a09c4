#include "update/UpdateRelease.h"

#include "base/Deployment.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <limits>

namespace quillmarsh {

namespace {

constexpr auto httpsPrefix = QLatin1String("https://");

[[noreturn]] void throwWrongFormat()
{
    throw ManifestError(QStringLiteral("The data couldn’t be read because it isn’t in the correct format."));
}

QString requiredText(const QJsonObject& object, QLatin1String key)
{
    const QJsonValue value = object.value(key);
    if (value.isUndefined())
        throw ManifestError(QStringLiteral("The data couldn’t be read because it is missing."));
    if (!value.isString())
        throwWrongFormat();
    return value.toString();
}

QStringList optionalLines(const QJsonObject& object, QLatin1String key)
{
    const QJsonValue value = object.value(key);
    if (value.isUndefined() || value.isNull())
        return {};
    if (!value.isArray())
        throwWrongFormat();
    QStringList lines;
    for (const QJsonValue& line : value.toArray()) {
        if (!line.isString())
            throwWrongFormat();
        lines.append(line.toString());
    }
    return lines;
}

bool isDigit(QChar character)
{
    return character >= QLatin1Char('0') && character <= QLatin1Char('9');
}

std::optional<qint64> number(QStringView digits)
{
    if (digits.isEmpty() || !std::all_of(digits.begin(), digits.end(), isDigit))
        return std::nullopt;
    constexpr qint64 limit = std::numeric_limits<qint64>::max();
    qint64 value = 0;
    for (const QChar digit : digits) {
        const int next = digit.unicode() - u'0';
        if (value > (limit - next) / 10)
            return std::nullopt;
        value = value * 10 + next;
    }
    return value;
}

/// The characters that RFC 3986 allows in an address; a backslash, a space or a letter beyond ASCII, which
/// readers of addresses disagree about, is not among them.
bool isAddressCharacter(QChar character)
{
    const char16_t code = character.unicode();
    if (isDigit(character) || (code >= u'a' && code <= u'z') || (code >= u'A' && code <= u'Z'))
        return true;
    return code != 0 && code < 128 && QByteArrayView("-._~:/?#[]@!$&'()*+,;=%").contains(char(code));
}

/// Host and port as an address wrote them.
struct Authority
{
    QStringView text;
    QStringView host;
};

std::optional<Authority> authority(QStringView address)
{
    if (!address.startsWith(httpsPrefix) || !std::all_of(address.begin(), address.end(), isAddressCharacter))
        return std::nullopt;
    const QStringView rest = address.mid(httpsPrefix.size());
    const auto end =
        std::find_if(rest.begin(), rest.end(), [](QChar c) { return c == u'/' || c == u'?' || c == u'#'; });
    const QStringView text = rest.left(end - rest.begin());
    if (text.isEmpty() || text.contains(u'@'))
        return std::nullopt;
    const qsizetype colon = text.lastIndexOf(u':');
    const bool hasPort = colon > text.lastIndexOf(u']');
    const QStringView host = hasPort ? text.left(colon) : text;
    if (host.isEmpty() || (hasPort && !number(text.mid(colon + 1))))
        return std::nullopt;
    return Authority{text, host};
}

bool isHost(const Authority& written, const QString& allowed)
{
    const bool namesPort = allowed.lastIndexOf(u':') > allowed.lastIndexOf(u']');
    return (namesPort ? written.text : written.host) == allowed;
}

bool isUpdateHost(const Authority& written, const QString& updateHost)
{
    return !updateHost.isEmpty() &&
           (isHost(written, updateHost) || isHost(written, QStringLiteral("www.") + updateHost));
}

} // namespace

UpdateRelease UpdateRelease::decode(const QByteArray& json, const Deployment& deployment)
{
    const QJsonDocument document = QJsonDocument::fromJson(json);
    if (!document.isObject())
        throwWrongFormat();
    const QJsonObject object = document.object();
    const UpdateRelease release{requiredText(object, QLatin1String("version")),
                                requiredText(object, QLatin1String("url")),
                                optionalLines(object, QLatin1String("notes"))};
    if (!versionParts(release.version) || !release.downloadURL(deployment))
        throw ManifestError(QStringLiteral("Invalid update manifest"));
    return release;
}

std::optional<QUrl> UpdateRelease::downloadURL(const Deployment& deployment) const
{
    const auto written = authority(url);
    if (!written)
        return std::nullopt;
    const bool allowed =
        isUpdateHost(*written, deployment.updateHost) || isHost(*written, deployment.gitHubHost);
    const QUrl address(url, QUrl::StrictMode);
    // The address must mean to the network what it says to a reader.
    if (!allowed || !address.isValid() || !address.userInfo().isEmpty() || address.host().isEmpty())
        return std::nullopt;
    return address;
}

bool UpdateRelease::isNewer(const QString& installed) const
{
    auto own = versionParts(version);
    auto other = versionParts(installed);
    if (!own || !other)
        return false;
    const std::size_t count = std::max(own->size(), other->size());
    own->resize(count);
    other->resize(count);
    return *own > *other;
}

std::optional<std::vector<qint64>> UpdateRelease::versionParts(const QString& text)
{
    const auto pieces = QStringView(text).split(u'.');
    if (pieces.size() > 4)
        return std::nullopt;
    std::vector<qint64> parts;
    for (const QStringView piece : pieces) {
        const auto part = number(piece);
        if (!part)
            return std::nullopt;
        parts.push_back(*part);
    }
    return parts;
}

} // namespace quillmarsh
