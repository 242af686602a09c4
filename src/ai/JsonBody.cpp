#include "ai/JsonBody.h"

#include "ai/AIError.h"

#include <QStringDecoder>

namespace quillmarsh {

JsonParseError::JsonParseError(const QJsonParseError& error)
    : LocalizedError(QStringLiteral("The data couldn’t be read because it isn’t in the correct format (") +
                     error.errorString() + QStringLiteral(")."))
{}

QJsonDocument parseJson(const QByteArray& body)
{
    QJsonParseError error;
    QJsonDocument document = QJsonDocument::fromJson(body, &error);
    if (error.error != QJsonParseError::NoError)
        throw JsonParseError(error);
    return document;
}

void checkHTTPStatus(const HttpResponse& response)
{
    if (response.statusCode >= 200 && response.statusCode <= 299)
        return;
    QStringDecoder decode(QStringDecoder::Utf8,
                          QStringDecoder::Flag::Stateless | QStringDecoder::Flag::ConvertInitialBom);
    const QString message = decode(response.body);
    throw AIError::apiError(response.statusCode,
                            decode.hasError() ? QStringLiteral("Unknown error") : message);
}

} // namespace quillmarsh
