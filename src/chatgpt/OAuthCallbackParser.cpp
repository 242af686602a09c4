#include "chatgpt/OAuthCallbackServer.h"

#include <QHash>
#include <QStringDecoder>
#include <QUrl>

namespace quillmarsh {

namespace {

/// Percent-decoded; none when the bytes are not UTF-8. A "+" is a plus.
std::optional<QString> decoded(const QString& text)
{
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString result = decoder(QByteArray::fromPercentEncoding(text.toUtf8()));
    if (decoder.hasError())
        return std::nullopt;
    return result;
}

/// Values by name; a name without "=" has none.
using Items = QHash<QString, std::optional<QString>>;

bool insertItem(Items& items, const QString& piece)
{
    const qsizetype equals = piece.indexOf(u'=');
    const auto name = decoded(piece.left(equals));
    if (!name || items.contains(*name))
        return false;
    std::optional<QString> value;
    if (equals >= 0) {
        value = decoded(piece.mid(equals + 1));
        if (!value)
            return false;
    }
    items.insert(*name, value);
    return true;
}

/// None when a name is repeated or something does not decode.
std::optional<Items> queryItems(const QString& query)
{
    Items items;
    if (query.isEmpty())
        return items;
    for (const QString& piece : query.split(u'&')) {
        if (!insertItem(items, piece))
            return std::nullopt;
    }
    return items;
}

/// A request target in origin form that makes a well-formed address.
bool isWellFormed(const QString& target)
{
    return target.startsWith(u'/') &&
           QUrl(QStringLiteral("http://127.0.0.1") + target, QUrl::StrictMode).isValid();
}

std::optional<OAuthCallbackServer::Callback> callbackFrom(const Items& items)
{
    OAuthCallbackServer::Callback callback;
    callback.error = items.value(QStringLiteral("error"));
    if (callback.error)
        return callback;
    callback.code = items.value(QStringLiteral("code"));
    callback.clientID = items.value(QStringLiteral("client_id"));
    if (!callback.code || callback.code->isEmpty())
        return std::nullopt;
    return callback;
}

} // namespace

std::optional<OAuthCallbackServer::Callback>
OAuthCallbackServer::parse(const QString& target, const QString& expectedState, const QString& issuer)
{
    if (!isWellFormed(target))
        return std::nullopt;
    const QString address = target.section(u'#', 0, 0);
    if (decoded(address.section(u'?', 0, 0)) != QStringLiteral("/auth/callback"))
        return std::nullopt;
    const auto items = queryItems(address.section(u'?', 1));
    if (!items || items->value(QStringLiteral("state")) != expectedState)
        return std::nullopt;
    const auto iss = items->value(QStringLiteral("iss"));
    if (iss && *iss != issuer)
        return std::nullopt;
    return callbackFrom(*items);
}

} // namespace quillmarsh
