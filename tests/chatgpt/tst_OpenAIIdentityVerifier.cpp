#include "ai/JsonBody.h"
#include "chatgpt/CodexOAuthError.h"
#include "chatgpt/OpenAIIdentityVerifier.h"
#include "support/CoroutineTest.h"
#include "support/FailOnWarnings.h"
#include "support/HttpTestServer.h"
#include "support/TestSigningKey.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QMessageAuthenticationCode>
#include <QNetworkAccessManager>

using namespace quillmarsh;
using test::TestSigningKey;

namespace {

constexpr double now = 1'800'000'000;
const QString issuer = QStringLiteral("https://auth.example.com");
const QString client = QStringLiteral("client-1");
const QString nonce = QStringLiteral("8C5D4A4E-0000-4000-8000-000000000001");

QJsonObject goodClaims()
{
    return {{QStringLiteral("iss"), issuer},
            {QStringLiteral("aud"), client},
            {QStringLiteral("exp"), now + 3600},
            {QStringLiteral("iat"), now - 10},
            {QStringLiteral("sub"), QStringLiteral("user-1")},
            {QStringLiteral("nonce"), nonce},
            {QStringLiteral("email"), QStringLiteral("a@example.com")}};
}

QJsonObject with(QJsonObject object, const char* name, const QJsonValue& value)
{
    object.insert(QLatin1String(name), value);
    return object;
}

QJsonObject without(QJsonObject object, const char* name)
{
    object.remove(QLatin1String(name));
    return object;
}

QByteArray json(const QJsonObject& object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

QString base64Url(const QByteArray& bytes)
{
    return TestSigningKey::base64Url(bytes);
}

} // namespace

class tst_OpenAIIdentityVerifier final : public QObject
{
    Q_OBJECT

    TestSigningKey key_{QStringLiteral("key-1")};
    TestSigningKey otherKey_{QStringLiteral("key-2")};
    OpenAIIdentityVerifier verifier_{nullptr, issuer};

    QList<QJsonObject> keys() const { return {otherKey_.jwk(), key_.jwk()}; }
    QJsonObject header() const
    {
        return {{QStringLiteral("alg"), QStringLiteral("RS256")}, {QStringLiteral("kid"), key_.kid()}};
    }
    QString signedAs(const QString& head, const QString& payload) const
    {
        const QString message = head + u'.' + payload;
        return message + u'.' + base64Url(key_.signature(message.toUtf8()));
    }
    QString withHeader(const QByteArray& text) const
    {
        return signedAs(base64Url(text), base64Url(json(goodClaims())));
    }

    void addHeaderRows() const;
    void addShapeRows() const;
    void addSignatureRows() const;
    void addClaimRows() const;

    /// "accepted", "refused" or "parse error".
    QString verdict(const QString& token, const QList<QJsonObject>& list,
                    const std::optional<QString>& expectedNonce) const
    {
        try {
            const QJsonObject claims = verifier_.verify(token, client, expectedNonce, list, now);
            return claims.isEmpty() ? QStringLiteral("empty") : QStringLiteral("accepted");
        } catch (const CodexOAuthError& error) {
            const QString sentence =
                QStringLiteral("Could not verify your ChatGPT identity. Please sign in again.");
            return error.errorDescription() == sentence ? QStringLiteral("refused")
                                                        : error.errorDescription();
        } catch (const JsonParseError&) {
            return QStringLiteral("parse error");
        }
    }

private slots:
    void init() { test::failOnWarnings(); }

    void aGoodTokenGivesItsClaims()
    {
        const QJsonObject claims = verifier_.verify(key_.token(goodClaims()), client, nonce, keys(), now);
        QCOMPARE(claims, goodClaims());
    }

    void hostileTokens_data()
    {
        QTest::addColumn<QString>("token");
        addHeaderRows();
        addShapeRows();
        addSignatureRows();
        addClaimRows();
    }
    void hostileTokens()
    {
        QFETCH(QString, token);
        QCOMPARE(verdict(token, keys(), nonce), QStringLiteral("refused"));
    }

    void boundsAndVariants_data();
    void boundsAndVariants()
    {
        QFETCH(QJsonObject, claims);
        QFETCH(QString, expected);
        QCOMPARE(verdict(key_.token(claims), keys(), nonce), expected);
    }

    void aSignedPayloadThatIsNotJsonTellsTheParsersError()
    {
        for (const QByteArray& payload :
             {QByteArray("{"), QByteArray("5"), QByteArray("not json"), QByteArray("\xff")})
            QCOMPARE(verdict(key_.token(header(), payload), keys(), nonce), QStringLiteral("parse error"));
        QCOMPARE(verdict(key_.token(header(), "[1]"), keys(), nonce), QStringLiteral("refused"));
    }

    void aRefreshDoesNotLookAtTheNonce()
    {
        QCOMPARE(verdict(key_.token(without(goodClaims(), "nonce")), keys(), {}), QStringLiteral("accepted"));
        QCOMPARE(verdict(key_.token(with(goodClaims(), "nonce", 5)), keys(), {}), QStringLiteral("accepted"));
    }

    void keySelection()
    {
        const QString token = key_.token(goodClaims());
        const QJsonObject good = key_.jwk();
        const auto answer = [&](const QList<QJsonObject>& list) { return verdict(token, list, nonce); };
        const QString refused = QStringLiteral("refused");
        QCOMPARE(answer({}), refused);
        QCOMPARE(answer({otherKey_.jwk()}), refused);
        QCOMPARE(answer({with(good, "kty", QStringLiteral("EC")), otherKey_.jwk()}), refused);
        QCOMPARE(answer({with(good, "kty", QStringLiteral("rsa"))}), refused);
        QCOMPARE(answer({without(good, "kty")}), refused);
        QCOMPARE(answer({without(good, "n")}), refused);
        QCOMPARE(answer({without(good, "e")}), refused);
        QCOMPARE(answer({with(good, "n", 5)}), refused);
        QCOMPARE(answer({with(good, "n", QStringLiteral("***"))}), refused);
        QCOMPARE(answer({with(good, "n", QString())}), refused);
        QCOMPARE(answer({with(good, "e", QString())}), refused);
        QCOMPARE(answer({with(good, "e", QStringLiteral("AAAA"))}), refused);
        QCOMPARE(answer({with(otherKey_.jwk(), "kid", key_.kid()), good}), refused); // the first one counts
        QCOMPARE(answer({with(good, "kty", QStringLiteral("EC")), good}), QStringLiteral("accepted"));
        const QJsonObject oddities{{QStringLiteral("use"), QStringLiteral("enc")},
                                   {QStringLiteral("alg"), QStringLiteral("RS512")}};
        QJsonObject odd = good;
        for (const QString& name : oddities.keys())
            odd.insert(name, oddities.value(name));
        QCOMPARE(answer({odd}), QStringLiteral("accepted")); // "use" and "alg" of a key are not looked at
        const QByteArray padded = QByteArray(1, '\0') + key_.modulus();
        QCOMPARE(answer({with(good, "n", base64Url(padded))}), QStringLiteral("accepted"));
    }

    void derEncoding()
    {
        using V = OpenAIIdentityVerifier;
        QCOMPARE(V::field(0x30, {}), QByteArray::fromHex("3000"));
        QCOMPARE(V::field(0x04, "ab"), QByteArray::fromHex("04026162"));
        QCOMPARE(V::field(4, QByteArray(127, 'x')).left(2), QByteArray::fromHex("047f"));
        QCOMPARE(V::field(4, QByteArray(128, 'x')).left(3), QByteArray::fromHex("048180"));
        QCOMPARE(V::field(4, QByteArray(255, 'x')).left(3), QByteArray::fromHex("0481ff"));
        QCOMPARE(V::field(4, QByteArray(256, 'x')).left(4), QByteArray::fromHex("04820100"));
        QCOMPARE(V::field(4, QByteArray(65536, 'x')).left(5), QByteArray::fromHex("0483010000"));
        QCOMPARE(V::integer(QByteArray::fromHex("01")), QByteArray::fromHex("020101"));
        QCOMPARE(V::integer(QByteArray::fromHex("7f")), QByteArray::fromHex("02017f"));
        QCOMPARE(V::integer(QByteArray::fromHex("80")), QByteArray::fromHex("02020080"));
        QCOMPARE(V::integer(QByteArray::fromHex("000080")), QByteArray::fromHex("02020080"));
        QCOMPARE(V::integer(QByteArray::fromHex("0000")), QByteArray::fromHex("0200"));
        QCOMPARE(V::integer(QByteArray::fromHex("010001")), QByteArray::fromHex("0203010001"));
        QCOMPARE(V::integer(QByteArray(256, '\xc0')).left(5), QByteArray::fromHex("0282010100"));
    }

    void theKeySetIsReadStrictly_data()
    {
        QTest::addColumn<QByteArray>("document");
        QTest::addColumn<int>("count");
        QTest::newRow("two") << QByteArray(R"({"keys":[{},{"kid":"x"}]})") << 2;
        QTest::newRow("none") << QByteArray(R"({"keys":[]})") << 0;
        for (const char* bad :
             {"", "null", "[]", "{}", R"({"keys":{}})", R"({"keys":null})", R"({"keys":"x"})",
              R"({"keys":[1]})", R"({"keys":[{},[]]})", R"({"Keys":[]})", R"({"keys":[{}]} x)", "\xff"})
            QTest::newRow(bad) << QByteArray(bad) << -1;
    }
    void theKeySetIsReadStrictly()
    {
        QFETCH(QByteArray, document);
        QFETCH(int, count);
        if (count < 0)
            QVERIFY_EXCEPTION_THROWN(OpenAIIdentityVerifier::keysOf(document), CodexOAuthError);
        else
            QCOMPARE(OpenAIIdentityVerifier::keysOf(document).size(), count);
    }

    void theKeySetIsFetchedAnewEachTime()
    {
        test::HttpTestServer server;
        server.answer(200, json({{QStringLiteral("keys"), QJsonArray{key_.jwk()}}}));
        QNetworkAccessManager session;
        const OpenAIIdentityVerifier verifier{&session, server.origin()};
        const double current = static_cast<double>(QDateTime::currentSecsSinceEpoch());
        const QJsonObject claims =
            with(with(with(goodClaims(), "iss", server.origin()), "exp", current + 60), "iat", current);
        for (int i = 1; i <= 2; ++i) {
            QCOMPARE(test::runTask(verifier.verify(key_.token(claims), client, nonce, {})), claims);
            QCOMPARE(server.requests().size(), size_t(i));
        }
        QCOMPARE(server.requests()[0].method, QByteArray("GET"));
        QCOMPARE(server.requests()[0].target, QByteArray("/.well-known/jwks.json"));
        QVERIFY(!server.requests()[0].headers.contains("authorization"));
    }

    void anythingButStatus200IsAFailure_data()
    {
        QTest::addColumn<int>("status");
        for (const int status : {201, 204, 301, 302, 304, 404, 500})
            QTest::addRow("%d", status) << status;
    }
    void anythingButStatus200IsAFailure()
    {
        QFETCH(int, status);
        test::HttpTestServer server;
        server.answer(status, json({{QStringLiteral("keys"), QJsonArray{key_.jwk()}}}),
                      "Location: /elsewhere\r\n");
        QNetworkAccessManager session;
        const OpenAIIdentityVerifier verifier{&session, server.origin()};
        QVERIFY_EXCEPTION_THROWN(test::runTask(verifier.verify(key_.token(goodClaims()), client, nonce, {})),
                                 CodexOAuthError);
        QCOMPARE(server.requests().size(), 1U);
    }

    void noNetworkIsAFailureAndAStopIsACancellation()
    {
        QNetworkAccessManager session;
        const OpenAIIdentityVerifier verifier{&session, QStringLiteral("http://127.0.0.1:9")};
        QVERIFY_EXCEPTION_THROWN(test::runTask(verifier.verify(QString(), client, nonce, {})),
                                 CodexOAuthError);
        std::stop_source stop;
        stop.request_stop();
        QVERIFY_EXCEPTION_THROWN(test::runTask(verifier.verify(QString(), client, nonce, stop.get_token())),
                                 Cancelled);
    }
};

void tst_OpenAIIdentityVerifier::addHeaderRows() const
{
    for (const char* alg : {"none", "None", "NONE", "nOnE", "", "HS256", "HS384", "RS512", "RS384", "PS256",
                            "ES256", "EdDSA", "rs256", "RS256 ", "RS-256", "RS256\\u0000"})
        QTest::addRow("alg %s", alg) << withHeader("{\"alg\":\"" + QByteArray(alg) + "\",\"kid\":\"key-1\"}");
    QTest::newRow("alg missing") << withHeader(R"({"kid":"key-1"})");
    QTest::newRow("alg null") << withHeader(R"({"alg":null,"kid":"key-1"})");
    QTest::newRow("alg a list") << withHeader(R"({"alg":["RS256"],"kid":"key-1"})");
    QTest::newRow("alg a number") << withHeader(R"({"alg":256,"kid":"key-1"})");
    QTest::newRow("alg name in capitals") << withHeader(R"({"ALG":"RS256","kid":"key-1"})");
    QTest::newRow("kid missing") << withHeader(R"({"alg":"RS256"})");
    QTest::newRow("kid a number") << withHeader(R"({"alg":"RS256","kid":1})");
    QTest::newRow("kid unknown") << withHeader(R"({"alg":"RS256","kid":"key-9"})");
    QTest::newRow("kid in capitals") << withHeader(R"({"alg":"RS256","kid":"KEY-1"})");
    QTest::newRow("kid of the other key") << withHeader(R"({"alg":"RS256","kid":"key-2"})");
    QTest::newRow("kid empty") << withHeader(R"({"alg":"RS256","kid":""})");
    QTest::newRow("header a list") << withHeader(R"([{"alg":"RS256","kid":"key-1"}])");
    QTest::newRow("header empty") << withHeader("");
    QTest::newRow("header not json") << withHeader("{alg}");
    QTest::newRow("header with rubbish behind") << withHeader(R"({"alg":"RS256","kid":"key-1"}x)");
    QJsonObject withKey = header();
    withKey.insert(QStringLiteral("jwk"), otherKey_.jwk());
    QTest::newRow("key brought along") << otherKey_.token(withKey, json(goodClaims()));
}

void tst_OpenAIIdentityVerifier::addShapeRows() const
{
    const QString token = key_.token(goodClaims());
    const QStringList pieces = token.split(u'.');
    QTest::newRow("empty") << QString();
    QTest::newRow("two dots") << QStringLiteral("..");
    QTest::newRow("one piece") << pieces[0];
    QTest::newRow("two pieces") << QString(pieces[0] + u'.' + pieces[1]);
    QTest::newRow("four pieces") << QString(token + u'.');
    QTest::newRow("four pieces in front") << QString(u'.' + token);
    QTest::newRow("five pieces") << QString(token + u'.' + pieces[1] + u'.' + pieces[2]);
    QTest::newRow("signature removed") << QString(pieces[0] + u'.' + pieces[1] + u'.');
    QTest::newRow("payload removed") << QString(pieces[0] + QStringLiteral("..") + pieces[2]);
    QTest::newRow("header removed") << QString(u'.' + pieces[1] + u'.' + pieces[2]);
    QTest::newRow("blank in front") << QString(u' ' + token);
    QTest::newRow("line feed behind") << QString(token + u'\n');
    QTest::newRow("percent sign") << QString(token + QStringLiteral("%3D"));
    QTest::newRow("not ASCII") << QString(token + u'é');
    QTest::newRow("padding in the middle")
        << signedAs(pieces[0].left(4) + u'=' + pieces[0].mid(4), pieces[1]);
    QTest::newRow("padding alone") << QString(pieces[0] + u'.' + pieces[1] + QStringLiteral(".===="));
    QTest::newRow("too much padding") << QString(token + QStringLiteral("==="));
    QTest::newRow("one character over a group")
        << QString(pieces[0] + u'.' + pieces[1] + QStringLiteral(".A"));
    QTest::newRow("nul inside") << QString(token.left(10) + QChar(u'\0') + token.mid(10));
}

void tst_OpenAIIdentityVerifier::addSignatureRows() const
{
    const QString token = key_.token(goodClaims());
    const QStringList pieces = token.split(u'.');
    const QString message = pieces[0] + u'.' + pieces[1];
    const QByteArray signature = key_.signature(message.toUtf8());
    const auto row = [&](const char* name, const QByteArray& bytes) {
        QTest::newRow(name) << QString(message + u'.' + base64Url(bytes));
    };
    QByteArray flipped = signature;
    flipped[100] = static_cast<char>(flipped[100] ^ 1);
    row("one bit of the signature", flipped);
    row("signature shortened", signature.chopped(1));
    row("signature lengthened", signature + '\0');
    row("signature with a zero in front", '\0' + signature);
    row("signature of zeros", QByteArray(signature.size(), '\0'));
    row("signature equal to the modulus", key_.modulus());
    row("signature one", QByteArray(signature.size() - 1, '\0') + '\1');
    row("signed with SHA-512", key_.signature(message.toUtf8(), true));
    row("signed by the other key", otherKey_.signature(message.toUtf8()));
    row("keyed hash with the public key",
        QMessageAuthenticationCode::hash(message.toUtf8(), key_.modulus(), QCryptographicHash::Sha256));
    row("bare hash", QCryptographicHash::hash(message.toUtf8(), QCryptographicHash::Sha256));
    const QString forged = base64Url(json(with(goodClaims(), "sub", QStringLiteral("user-2"))));
    QTest::newRow("payload exchanged") << QString(pieces[0] + u'.' + forged + u'.' + pieces[2]);
    const QString sameHeader = base64Url(R"({ "alg":"RS256","kid":"key-1"})");
    QTest::newRow("header written anew") << QString(sameHeader + u'.' + pieces[1] + u'.' + pieces[2]);
    QTest::newRow("bad signature over rubbish")
        << QString(pieces[0] + u'.' + base64Url("{") + u'.' + pieces[2]);
}

void tst_OpenAIIdentityVerifier::addClaimRows() const
{
    const auto row = [&](const QString& name, const QJsonObject& claims) {
        QTest::addRow("%s", qPrintable(name)) << key_.token(claims);
    };
    const QJsonValue list = QJsonArray{QStringLiteral("x")};
    for (const char* name : {"iss", "aud", "exp", "iat", "sub", "nonce"}) {
        row(QStringLiteral("%1 missing").arg(QLatin1String(name)), without(goodClaims(), name));
        row(QStringLiteral("%1 null").arg(QLatin1String(name)), with(goodClaims(), name, QJsonValue::Null));
        row(QStringLiteral("%1 true").arg(QLatin1String(name)), with(goodClaims(), name, true));
        row(QStringLiteral("%1 a list").arg(QLatin1String(name)), with(goodClaims(), name, list));
        row(QStringLiteral("%1 an object").arg(QLatin1String(name)), with(goodClaims(), name, QJsonObject()));
    }
    row(QStringLiteral("iss with a slash"), with(goodClaims(), "iss", QString(issuer + u'/')));
    row(QStringLiteral("iss over http"),
        with(goodClaims(), "iss", QStringLiteral("http://auth.example.com")));
    row(QStringLiteral("iss in capitals"), with(goodClaims(), "iss", issuer.toUpper()));
    row(QStringLiteral("aud another"), with(goodClaims(), "aud", QStringLiteral("client-2")));
    row(QStringLiteral("aud empty list"), with(goodClaims(), "aud", QJsonArray()));
    row(QStringLiteral("aud list with a number"), with(goodClaims(), "aud", QJsonArray{client, 5}));
    row(QStringLiteral("aud a prefix"), with(goodClaims(), "aud", client.chopped(1)));
    row(QStringLiteral("exp text"), with(goodClaims(), "exp", QString::number(now + 60)));
    row(QStringLiteral("exp at the bound"), with(goodClaims(), "exp", now - 5));
    row(QStringLiteral("exp negative"), with(goodClaims(), "exp", -1));
    row(QStringLiteral("iat text"), with(goodClaims(), "iat", QString::number(now)));
    row(QStringLiteral("iat past the bound"), with(goodClaims(), "iat", now + 5.001));
    row(QStringLiteral("nbf past the bound"), with(goodClaims(), "nbf", now + 5.001));
    row(QStringLiteral("sub empty"), with(goodClaims(), "sub", QString()));
    row(QStringLiteral("sub a number"), with(goodClaims(), "sub", 7));
    row(QStringLiteral("nonce another"), with(goodClaims(), "nonce", nonce.toLower() + u'x'));
    row(QStringLiteral("nonce empty"), with(goodClaims(), "nonce", QString()));
    const QJsonArray two{QStringLiteral("other"), client};
    row(QStringLiteral("two audiences without azp"), with(goodClaims(), "aud", two));
    row(QStringLiteral("two audiences, azp another"),
        with(with(goodClaims(), "aud", two), "azp", QStringLiteral("other")));
    row(QStringLiteral("two audiences, azp a list"), with(with(goodClaims(), "aud", two), "azp", two));
    row(QStringLiteral("audience twice without azp"), with(goodClaims(), "aud", QJsonArray{client, client}));
}

void tst_OpenAIIdentityVerifier::boundsAndVariants_data()
{
    QTest::addColumn<QJsonObject>("claims");
    QTest::addColumn<QString>("expected");
    const auto row = [](const char* name, const QJsonObject& claims, const char* expected = "accepted") {
        QTest::newRow(name) << claims << QString::fromLatin1(expected);
    };
    row("exp just inside", with(goodClaims(), "exp", now - 4));
    row("exp a thousandth inside", with(goodClaims(), "exp", now - 4.999));
    row("iat at the bound", with(goodClaims(), "iat", now + 5));
    row("iat long ago", with(goodClaims(), "iat", 0));
    row("nbf at the bound", with(goodClaims(), "nbf", now + 5));
    row("nbf text is not looked at", with(goodClaims(), "nbf", QStringLiteral("x")));
    row("aud list of one", with(goodClaims(), "aud", QJsonArray{client}));
    row("two audiences with azp",
        with(with(goodClaims(), "aud", QJsonArray{QStringLiteral("other"), client}), "azp", client));
    row("azp of a single audience is not looked at", with(goodClaims(), "azp", QStringLiteral("other")));
    row("email of a wrong type", with(goodClaims(), "email", 5));
    row("email missing", without(goodClaims(), "email"));
    row("further claims", with(goodClaims(), "x", QJsonObject()));
}

QTEST_GUILESS_MAIN(tst_OpenAIIdentityVerifier)
#include "tst_OpenAIIdentityVerifier.moc"
