#include "base/UserDefaults.h"
#include "chatgpt/AuthorizationRequest.h"
#include "chatgpt/PKCE.h"
#include "support/FailOnWarnings.h"

#include <QRegularExpression>
#include <QSet>
#include <QTemporaryDir>
#include <QUrlQuery>

using namespace quillmarsh;

namespace {

const CodexEndpoints endpoints{QStringLiteral("https://auth.example.com"),
                               QStringLiteral("https://api.example.com/v1")};

AuthorizationRequest sample()
{
    AuthorizationRequest request;
    request.port = 53124;
    request.state = QStringLiteral("STATE");
    request.nonce = QStringLiteral("NONCE");
    request.challenge = QStringLiteral("CHALLENGE");
    request.hostID = QStringLiteral("urn:uuid:1");
    return request;
}

QStringList names(const OAuthQueryItems& items)
{
    QStringList list;
    for (const auto& item : items)
        list.append(item.first);
    return list;
}

const QStringList commonNames{QStringLiteral("client_id"),
                              QStringLiteral("ext_agent_host_id"),
                              QStringLiteral("response_type"),
                              QStringLiteral("redirect_uri"),
                              QStringLiteral("resource"),
                              QStringLiteral("scope"),
                              QStringLiteral("state"),
                              QStringLiteral("nonce"),
                              QStringLiteral("code_challenge_method"),
                              QStringLiteral("code_challenge")};

} // namespace

class tst_AuthorizationRequest final : public QObject
{
    Q_OBJECT

private slots:
    void init() { test::failOnWarnings(); }

    void theVerifierAndTheChallengeHaveTheirForm()
    {
        const QRegularExpression alphabet(QStringLiteral("^[A-Za-z0-9_-]+$"));
        QSet<QString> seen;
        for (int i = 0; i < 200; ++i) {
            const PKCE pkce = PKCE::generate();
            QCOMPARE(pkce.verifier.size(), 86);
            QCOMPARE(pkce.challenge.size(), 43);
            QVERIFY(alphabet.match(pkce.verifier).hasMatch() && alphabet.match(pkce.challenge).hasMatch());
            QVERIFY(!seen.contains(pkce.verifier));
            seen.insert(pkce.verifier);
        }
    }

    /// RFC 7636, appendix B.
    void theChallengeIsTheHashOfTheVerifier()
    {
        QCOMPARE(PKCE::challengeFor(QStringLiteral("dBjftJeZ4CVP-mB92K27uhbUJU1p1r_wW1gFWFOEjXk")),
                 QStringLiteral("E9Melhoa2OwvFrEMTJguCHaoeK1t8URWbuGJSstw-cM"));
    }

    void theEncoderKeepsLettersMarksAndDigits_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("encoded");
        const auto row = [](const char* name, const QString& text, const QString& encoded) {
            QTest::newRow(name) << text << encoded;
        };
        row("unreserved", QStringLiteral("aZ09-._~"), QStringLiteral("aZ09-._~"));
        row("space", QStringLiteral("a b"), QStringLiteral("a%20b"));
        row("plus", QStringLiteral("+"), QStringLiteral("%2B"));
        row("colon and slash", QStringLiteral(":/"), QStringLiteral("%3A%2F"));
        row("delimiters", QStringLiteral("=&@?#%"), QStringLiteral("%3D%26%40%3F%23%25"));
        row("star and brackets", QStringLiteral("*()!'"), QStringLiteral("%2A%28%29%21%27"));
        row("letters of other scripts", QStringLiteral("éß漢я"), QStringLiteral("éß漢я"));
        row("combining mark", QStringLiteral("e\u0301"), QStringLiteral("e\u0301"));
        row("arabic digit", QStringLiteral("\u0663"), QStringLiteral("\u0663"));
        row("letter beyond the basic plane", QStringLiteral("\U00010400"), QStringLiteral("\U00010400"));
        row("symbol", QStringLiteral("€"), QStringLiteral("%E2%82%AC"));
        row("emoji", QStringLiteral("😀"), QStringLiteral("%F0%9F%98%80"));
        row("control", QStringLiteral("\n\t"), QStringLiteral("%0A%09"));
        row("nul", QString(QChar(u'\0')), QStringLiteral("%00"));
        row("empty", QString(), QString());
        row("broken surrogate", QString(QChar(0xd800)) + u'+', QString(QChar(0xd800)) + u'+');
    }
    void theEncoderKeepsLettersMarksAndDigits()
    {
        QFETCH(QString, text);
        QFETCH(QString, encoded);
        QCOMPARE(OAuthQueryEncoder::encode({{text, text}}), encoded + u'=' + encoded);
    }

    void theEncoderKeepsOrderAndRepeats()
    {
        QCOMPARE(OAuthQueryEncoder::encode({}), QString());
        const OAuthQueryItems items{{QStringLiteral("b"), QStringLiteral("1")},
                                    {QStringLiteral("a"), QString()},
                                    {QStringLiteral("b"), QStringLiteral("2")}};
        QCOMPARE(OAuthQueryEncoder::encode(items), QStringLiteral("b=1&a=&b=2"));
    }

    void aFirstSignInHasElevenItems()
    {
        const OAuthQueryItems items = sample().items(endpoints);
        QCOMPARE(names(items), commonNames + QStringList{QStringLiteral("agent_name_hint")});
        QCOMPARE(items.first().second, QStringLiteral("dynamic_agent_client"));
        QCOMPARE(items.last().second, QStringLiteral("Quillmarsh"));
        QCOMPARE(items.at(3).second, QStringLiteral("http://127.0.0.1:53124/auth/callback"));
        QCOMPARE(items.at(4).second, QStringLiteral("https://api.example.com/v1"));
    }

    void aReconnectionHintsAtTheAccount()
    {
        AuthorizationRequest request = sample();
        request.existing.emplace();
        request.existing->clientID = QStringLiteral("client-7");
        QCOMPARE(names(request.items(endpoints)), commonNames);
        QCOMPARE(request.items(endpoints).first().second, QStringLiteral("client-7"));
        request.existing->idToken = QStringLiteral("a.b.c");
        request.existing->email = QStringLiteral("a+b@example.com");
        const QStringList hints{QStringLiteral("id_token_hint"), QStringLiteral("login_hint")};
        QCOMPARE(names(request.items(endpoints)), commonNames + hints);
    }

    void theUrlIsExact()
    {
        AuthorizationRequest request = sample();
        request.existing.emplace();
        request.existing->clientID = QStringLiteral("c");
        request.existing->email = QStringLiteral("a+b@example.com");
        QCOMPARE(request.url(endpoints).toEncoded(),
                 QByteArray("https://auth.example.com/api/accounts/authorize?client_id=c"
                            "&ext_agent_host_id=urn%3Auuid%3A1&response_type=code"
                            "&redirect_uri=http%3A%2F%2F127.0.0.1%3A53124%2Fauth%2Fcallback"
                            "&resource=https%3A%2F%2Fapi.example.com%2Fv1"
                            "&scope=openid%20profile%20email%20offline_access%20resource.invoke%20"
                            "chatgpt.tokens.use.direct&state=STATE&nonce=NONCE&code_challenge_method=S256"
                            "&code_challenge=CHALLENGE&login_hint=a%2Bb%40example.com"));
    }

    void theHostIdentifierIsMadeOnce()
    {
        const QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("defaults.ini"));
        QString made;
        {
            UserDefaults defaults(path);
            made = AuthorizationRequest::storedHostID(defaults);
            QCOMPARE(AuthorizationRequest::storedHostID(defaults), made);
        }
        UserDefaults defaults(path);
        QCOMPARE(AuthorizationRequest::storedHostID(defaults), made);
        QCOMPARE(made.size(), 45);
        const QRegularExpression form(
            QStringLiteral("^urn:uuid:[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[0-9a-f]{4}-[0-9a-f]{12}$"));
        QVERIFY(form.match(made).hasMatch());
    }

    void aRandomUuidIsUpperCase()
    {
        const QString uuid = AuthorizationRequest::randomUuid();
        QCOMPARE(uuid.size(), 36);
        QCOMPARE(uuid, uuid.toUpper());
        QVERIFY(uuid != AuthorizationRequest::randomUuid());
    }
};

QTEST_GUILESS_MAIN(tst_AuthorizationRequest)
#include "tst_AuthorizationRequest.moc"
