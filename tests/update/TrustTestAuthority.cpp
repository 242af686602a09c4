// Linked into the product that the end-to-end test updates: its connections trust the test authority alone.
// What the product itself trusts cannot be changed while it runs.
#include <QCoreApplication>
#include <QSslCertificate>
#include <QSslConfiguration>

namespace {

void trustTestAuthority()
{
    QSslConfiguration trust = QSslConfiguration::defaultConfiguration();
    trust.setCaCertificates({QSslCertificate(qgetenv("QUILLMARSH_TEST_CODESIGN_ANCHOR"))});
    QSslConfiguration::setDefaultConfiguration(trust);
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(trustTestAuthority)
