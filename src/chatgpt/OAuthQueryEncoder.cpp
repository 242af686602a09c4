#include "chatgpt/OAuthQueryEncoder.h"

#include <QStringList>

namespace quillmarsh {

namespace {

bool isAllowed(char32_t character)
{
    return QChar::isLetter(character) || QChar::isMark(character) || QChar::isDigit(character) ||
           character == U'-' || character == U'.' || character == U'_' || character == U'~';
}

QString percentEncoded(const QString& text)
{
    QString result;
    for (const char32_t character : text.toUcs4()) {
        const QString one = QString::fromUcs4(&character, 1);
        if (isAllowed(character)) {
            result += one;
            continue;
        }
        for (const char byte : one.toUtf8())
            result +=
                QStringLiteral("%%1").arg(QString::number(static_cast<quint8>(byte), 16).toUpper(), 2, u'0');
    }
    return result;
}

QString encodeOne(const QString& text)
{
    return text.isValidUtf16() ? percentEncoded(text) : text;
}

} // namespace

QString OAuthQueryEncoder::encode(const OAuthQueryItems& items)
{
    QStringList pairs;
    for (const auto& [name, value] : items)
        pairs.append(encodeOne(name) + u'=' + encodeOne(value));
    return pairs.join(u'&');
}

} // namespace quillmarsh
