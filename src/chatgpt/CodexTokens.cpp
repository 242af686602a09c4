#include "chatgpt/CodexTokens.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cmath>

namespace quillmarsh {

namespace {

/// QJsonObject sorts its keys; the stored form has an order of its own, so members are written singly.
QByteArray json(const QJsonValue& value)
{
    const QByteArray array = QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact);
    return array.mid(1, array.size() - 2);
}

QByteArray number(double value)
{
    return QByteArray::number(value, 'g', QLocale::FloatingPointShortest);
}

QByteArray encodeOne(const CodexTokens& tokens)
{
    QByteArray text = "{\"clientID\":" + json(tokens.clientID) + ",\"subject\":" + json(tokens.subject) +
                      ",\"accessToken\":" + json(tokens.accessToken) +
                      ",\"refreshToken\":" + json(tokens.refreshToken) +
                      ",\"idToken\":" + json(tokens.idToken) + ",\"expiresAt\":" + number(tokens.expiresAt);
    if (tokens.email)
        text += ",\"email\":" + json(*tokens.email);
    return text + ",\"scopes\":" + json(QJsonArray::fromStringList(tokens.scopes)) + '}';
}

bool read(const QJsonObject& object, const char* key, QString& field)
{
    const QJsonValue value = object.value(QLatin1String(key));
    field = value.toString();
    return value.isString();
}

bool readEmail(const QJsonObject& object, std::optional<QString>& field)
{
    const QJsonValue value = object.value(QLatin1String("email"));
    if (value.isString())
        field = value.toString();
    return value.isString() || value.isNull() || value.isUndefined();
}

bool readExpiry(const QJsonObject& object, double& field)
{
    const QJsonValue value = object.value(QLatin1String("expiresAt"));
    field = value.toDouble();
    return value.isDouble();
}

bool readScopes(const QJsonObject& object, QStringList& field)
{
    const QJsonValue value = object.value(QLatin1String("scopes"));
    for (const QJsonValue& scope : value.toArray()) {
        if (!scope.isString())
            return false;
        field.append(scope.toString());
    }
    return value.isArray();
}

std::optional<CodexTokens> decodeOne(const QJsonValue& value)
{
    const QJsonObject object = value.toObject();
    CodexTokens tokens;
    const bool complete = value.isObject() && read(object, "clientID", tokens.clientID) &&
                          read(object, "subject", tokens.subject) &&
                          read(object, "accessToken", tokens.accessToken) &&
                          read(object, "refreshToken", tokens.refreshToken) &&
                          read(object, "idToken", tokens.idToken) && readExpiry(object, tokens.expiresAt) &&
                          readEmail(object, tokens.email) && readScopes(object, tokens.scopes);
    if (!complete)
        return std::nullopt;
    return tokens;
}

} // namespace

bool CodexTokens::canUsePlan() const
{
    return !accessToken.isEmpty() && scopes.contains(QLatin1String("chatgpt.tokens.use.direct")) &&
           scopes.contains(QLatin1String("resource.invoke"));
}

std::optional<QByteArray> CodexTokens::encode(const QList<CodexTokens>& profiles)
{
    QByteArrayList entries;
    for (const CodexTokens& tokens : profiles) {
        if (!std::isfinite(tokens.expiresAt))
            return std::nullopt;
        entries.append(encodeOne(tokens));
    }
    return '[' + entries.join(',') + ']';
}

std::optional<QList<CodexTokens>> CodexTokens::decode(const QByteArray& json)
{
    const QJsonDocument document = QJsonDocument::fromJson(json);
    if (!document.isArray())
        return std::nullopt;
    QList<CodexTokens> profiles;
    for (const QJsonValue& entry : document.array()) {
        const auto tokens = decodeOne(entry);
        if (!tokens)
            return std::nullopt;
        profiles.append(*tokens);
    }
    return profiles;
}

} // namespace quillmarsh
