#include "support/FakeRewriteService.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QStringDecoder>
#include <QTextBoundaryFinder>

namespace quillmarsh::test {

namespace {

constexpr qsizetype maximumBody = 256 * 1024;
constexpr int maximumCharacters = 10'000;
constexpr int limit = 1000;

/// Why a request is refused; status 0: it is not.
struct Refusal
{
    int status = 0;
    const char* code = "";
};

bool isToken(const QByteArray& authorization)
{
    const QByteArray token = authorization.mid(7);
    const auto options = QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals |
                         QByteArray::AbortOnBase64DecodingErrors;
    const auto decoded = QByteArray::fromBase64Encoding(token, options);
    return authorization.toLower().startsWith("bearer ") && decoded && (*decoded).size() == 32 &&
           (*decoded).toBase64(options) == token;
}

Refusal refusalOfHeaders(const RecordedRequest& request)
{
    if (request.target != "/api/rewrite")
        return {404, "not_found"};
    if (request.method != "POST")
        return {405, "method_not_allowed"};
    const QByteArray authorization = request.headers.value("authorization");
    if (authorization.isEmpty())
        return {401, "missing_token"};
    if (!isToken(authorization))
        return {401, "invalid_token"};
    const QByteArray encoding = request.headers.value("content-encoding", "identity");
    if (encoding != "identity")
        return {415, "unsupported_encoding"};
    if (request.headers.value("content-type").split(';').first().trimmed() != "application/json")
        return {415, "unsupported_media_type"};
    return request.body.size() > maximumBody ? Refusal{413, "body_too_large"} : Refusal{};
}

int characterCount(const QString& text)
{
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    int count = 0;
    while (finder.toNextBoundary() > 0)
        ++count;
    return count;
}

/// How many members the outer object is written with; a parsed object holds a doubled one once.
int writtenMembers(const QByteArray& json)
{
    int depth = 0;
    int members = 0;
    bool inString = false;
    for (qsizetype i = 0; i < json.size(); ++i) {
        const char c = json[i];
        if (inString && c == '\\')
            ++i;
        else if (c == '"')
            inString = !inString;
        else if (!inString) {
            depth += c == '{' || c == '[' ? 1 : c == '}' || c == ']' ? -1 : 0;
            members += c == ':' && depth == 1 ? 1 : 0;
        }
    }
    return members;
}

Refusal refusalOfMembers(const QJsonObject& object)
{
    for (auto member = object.begin(); member != object.end(); ++member) {
        if (member.key() != QLatin1String("text") && member.key() != QLatin1String("instruction"))
            return {400, "unknown_member"};
        if (!member.value().isString())
            return {400, "wrong_type"};
    }
    if (!object.contains(QLatin1String("text")))
        return {400, "missing_text"};
    const QString text = object[QLatin1String("text")].toString();
    if (text.trimmed().isEmpty())
        return {400, "empty_text"};
    if (characterCount(text) > maximumCharacters)
        return {413, "text_too_long"};
    return characterCount(object[QLatin1String("instruction")].toString()) > maximumCharacters
               ? Refusal{413, "instruction_too_long"}
               : Refusal{};
}

Refusal refusalOf(const RecordedRequest& request)
{
    if (const Refusal refusal = refusalOfHeaders(request); refusal.status != 0)
        return refusal;
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    [[maybe_unused]] const QString text = utf8(request.body);
    if (utf8.hasError())
        return {400, "invalid_utf8"};
    const QJsonDocument document = QJsonDocument::fromJson(request.body);
    if (document.isNull() || !document.object()[QLatin1String("text")].toString().isValidUtf16())
        return {400, "invalid_json"}; // half a surrogate pair is no character
    if (!document.isObject())
        return {400, "wrong_type"};
    const QJsonObject object = document.object();
    return writtenMembers(request.body) == object.size() ? refusalOfMembers(object)
                                                         : Refusal{400, "duplicate_member"};
}

} // namespace

FakeRewriteService::FakeRewriteService()
{
    server_.setResponder(
        [this](const RecordedRequest& request, QTcpSocket& socket) { answer(request, socket); });
}

void FakeRewriteService::answer(const RecordedRequest& request, QTcpSocket& socket)
{
    Refusal refusal = refusalOf(request);
    if (refusal.status == 0 && remaining_ == 0)
        refusal = {429, "quota_exceeded"};
    QJsonObject answer{{QStringLiteral("quota"), QJsonObject{{QStringLiteral("limit"), limit},
                                                             {QStringLiteral("remaining"), remaining_}}}};
    if (refusal.status == 0) {
        const QJsonObject object = QJsonDocument::fromJson(request.body).object();
        answer[QStringLiteral("text")] =
            QStringLiteral("Rewritten: ") + object[QLatin1String("text")].toString();
        answer[QStringLiteral("quota")] =
            QJsonObject{{QStringLiteral("limit"), limit}, {QStringLiteral("remaining"), --remaining_}};
    } else {
        answer[QStringLiteral("error")] = QStringLiteral("Refused: %1").arg(QLatin1String(refusal.code));
        answer[QStringLiteral("code")] = QLatin1String(refusal.code);
    }
    HttpTestServer::respond(socket, refusal.status == 0 ? 200 : refusal.status,
                            QJsonDocument(answer).toJson(QJsonDocument::Compact));
}

} // namespace quillmarsh::test
