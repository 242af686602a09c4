#include "support/TestTls.h"

#include <QSslConfiguration>
#include <QSslServer>

#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

namespace quillmarsh::test {

namespace {

template <typename Writer>
QByteArray pem(Writer write)
{
    BIO* const memory = BIO_new(BIO_s_mem());
    if (write(memory) != 1)
        qFatal("The test certificate could not be written");
    char* data = nullptr;
    const long size = BIO_get_mem_data(memory, &data);
    const QByteArray text(data, size);
    BIO_free(memory);
    return text;
}

void addExtension(X509* certificate, int nid, const char* value)
{
    X509V3_CTX context;
    X509V3_set_ctx(&context, certificate, certificate, nullptr, nullptr, 0);
    X509_EXTENSION* const extension = X509V3_EXT_conf_nid(nullptr, &context, nid, value);
    X509_add_ext(certificate, extension, -1);
    X509_EXTENSION_free(extension);
}

X509* selfSigned(EVP_PKEY* key)
{
    X509* const certificate = X509_new();
    X509_set_version(certificate, X509_VERSION_3);
    ASN1_INTEGER_set(X509_get_serialNumber(certificate), 1);
    X509_gmtime_adj(X509_getm_notBefore(certificate), -3600);
    X509_gmtime_adj(X509_getm_notAfter(certificate), 86400);
    X509_set_pubkey(certificate, key);
    X509_NAME* const name = X509_get_subject_name(certificate);
    X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC, reinterpret_cast<const unsigned char*>("test"), -1,
                               -1, 0);
    X509_set_issuer_name(certificate, name);
    addExtension(certificate, NID_subject_alt_name, "IP:127.0.0.1");
    addExtension(certificate, NID_basic_constraints, "critical,CA:TRUE");
    X509_sign(certificate, key, EVP_sha256());
    return certificate;
}

} // namespace

TestTls::TestTls()
{
    EVP_PKEY* const key = EVP_EC_gen("P-256");
    X509* const certificate = selfSigned(key);
    certificate_ = QSslCertificate(pem([&](BIO* out) { return PEM_write_bio_X509(out, certificate); }));
    key_ = QSslKey(pem([&](BIO* out) {
                       return PEM_write_bio_PrivateKey(out, key, nullptr, nullptr, 0, nullptr, nullptr);
                   }),
                   QSsl::Ec);
    X509_free(certificate);
    EVP_PKEY_free(key);
    if (certificate_.isNull() || key_.isNull())
        qFatal("No test certificate could be made");
}

std::unique_ptr<QTcpServer> TestTls::makeListener() const
{
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setLocalCertificate(certificate_);
    configuration.setPrivateKey(key_);
    configuration.setPeerVerifyMode(QSslSocket::VerifyNone);
    auto server = std::make_unique<QSslServer>();
    server->setSslConfiguration(configuration);
    return server;
}

} // namespace quillmarsh::test
