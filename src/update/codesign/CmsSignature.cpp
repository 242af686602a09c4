#include "update/codesign/CmsSignature.h"

#include "update/codesign/CodesignError.h"

#include <QLatin1String>

#include <cstdint>
#include <memory>

#include <openssl/cms.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

namespace quillmarsh {

namespace {

template <auto Free>
struct Freed
{
    template <typename T>
    void operator()(T* handle) const
    {
        Free(handle);
    }
};

void freeCertificates(STACK_OF(X509) * certificates)
{
    sk_X509_pop_free(certificates, X509_free);
}

using Bio = std::unique_ptr<BIO, Freed<BIO_free>>;
using Certificate = std::unique_ptr<X509, Freed<X509_free>>;
using Certificates = std::unique_ptr<STACK_OF(X509), Freed<freeCertificates>>;
using Key = std::unique_ptr<EVP_PKEY, Freed<EVP_PKEY_free>>;
using Cms = std::unique_ptr<CMS_ContentInfo, Freed<CMS_ContentInfo_free>>;
using Store = std::unique_ptr<X509_STORE, Freed<X509_STORE_free>>;
using StoreContext = std::unique_ptr<X509_STORE_CTX, Freed<X509_STORE_CTX_free>>;

/// OpenSSL's level 2: at least 112 bits of strength in every key and digest of the chain.
constexpr int minimumSecurityLevel = 2;

[[noreturn]] void refuse(const char* reason)
{
    throw CodesignError(QString::fromUtf8(reason));
}

Bio reader(const QByteArray& bytes)
{
    return Bio(BIO_new_mem_buf(bytes.constData(), static_cast<int>(bytes.size())));
}

Certificate readCertificate(BIO* bio)
{
    return Certificate(PEM_read_bio_X509(bio, nullptr, nullptr, nullptr));
}

Cms parse(const QByteArray& signature)
{
    const auto* begin = reinterpret_cast<const unsigned char*>(signature.constData());
    const auto* position = begin;
    Cms cms(d2i_CMS_ContentInfo(nullptr, &position, static_cast<long>(signature.size())));
    if (!cms || position != begin + signature.size())
        refuse("the signature is damaged");
    if (OBJ_obj2nid(CMS_get0_type(cms.get())) != NID_pkcs7_signed || CMS_is_detached(cms.get()) != 1)
        refuse("the signature is not a detached one");
    return cms;
}

bool isStrongDigest(int nid)
{
    return nid == NID_sha256 || nid == NID_sha384 || nid == NID_sha512;
}

/// The one signer's certificate, after its signature over the content was checked.
X509* verifiedSigner(CMS_ContentInfo* cms, const QByteArray& content)
{
    STACK_OF(CMS_SignerInfo)* signers = CMS_get0_SignerInfos(cms);
    if (sk_CMS_SignerInfo_num(signers) != 1)
        refuse("the signature has not exactly one signer");
    const Bio bytes = reader(content);
    if (CMS_verify(cms, nullptr, nullptr, bytes.get(), nullptr, CMS_BINARY | CMS_NO_SIGNER_CERT_VERIFY) != 1)
        refuse("the signature does not match the list of files");
    X509* certificate = nullptr;
    X509_ALGOR* digest = nullptr;
    CMS_SignerInfo_get0_algs(sk_CMS_SignerInfo_value(signers, 0), nullptr, &certificate, &digest, nullptr);
    const ASN1_OBJECT* algorithm = nullptr;
    X509_ALGOR_get0(&algorithm, nullptr, nullptr, digest);
    if (!certificate || !isStrongDigest(OBJ_obj2nid(algorithm)))
        refuse("the signature’s digest is too weak");
    return certificate;
}

Store storeWith(const QByteArray& anchor)
{
    const Bio pem = reader(anchor);
    const Certificate certificate = readCertificate(pem.get());
    Store store(X509_STORE_new());
    if (!certificate || !store || X509_STORE_add_cert(store.get(), certificate.get()) != 1)
        refuse("this verifier was built without an anchor certificate");
    X509_STORE_set_flags(store.get(), X509_V_FLAG_PARTIAL_CHAIN);
    X509_VERIFY_PARAM_set_auth_level(X509_STORE_get0_param(store.get()), minimumSecurityLevel);
    return store;
}

void checkChain(X509* signer, CMS_ContentInfo* cms, const QByteArray& anchor)
{
    const Store store = storeWith(anchor);
    const Certificates others(CMS_get1_certs(cms));
    const StoreContext context(X509_STORE_CTX_new());
    if (!context || X509_STORE_CTX_init(context.get(), store.get(), signer, others.get()) != 1)
        refuse("the certificate chain cannot be checked");
    if (X509_verify_cert(context.get()) != 1)
        refuse(X509_verify_cert_error_string(X509_STORE_CTX_get_error(context.get())));
}

void checkUse(X509* signer)
{
    if (X509_check_ca(signer) != 0)
        refuse("the signer’s certificate is that of an authority");
    // OpenSSL takes a certificate without these extensions as one that may do anything.
    constexpr std::uint32_t usages = EXFLAG_KUSAGE | EXFLAG_XKUSAGE;
    if ((X509_get_extension_flags(signer) & usages) != usages ||
        (X509_get_key_usage(signer) & KU_DIGITAL_SIGNATURE) == 0 ||
        (X509_get_extended_key_usage(signer) & XKU_CODE_SIGN) == 0)
        refuse("the signer’s certificate may not sign code");
}

QString text(const ASN1_STRING* value)
{
    unsigned char* utf8 = nullptr;
    const int length = ASN1_STRING_to_UTF8(&utf8, value);
    const std::unique_ptr<unsigned char, decltype([](unsigned char* bytes) { OPENSSL_free(bytes); })> owner(
        utf8);
    return length < 0 ? QString() : QString::fromUtf8(reinterpret_cast<const char*>(utf8), length);
}

void checkUnit(X509* signer, const QString& required)
{
    const X509_NAME* subject = X509_get_subject_name(signer);
    const int first = X509_NAME_get_index_by_NID(subject, NID_organizationalUnitName, -1);
    if (first < 0 || X509_NAME_get_index_by_NID(subject, NID_organizationalUnitName, first) >= 0)
        refuse("the signer’s certificate has not exactly one organisational unit");
    if (required.isEmpty() || text(X509_NAME_ENTRY_get_data(X509_NAME_get_entry(subject, first))) != required)
        refuse("the signer is of another organisational unit");
}

Certificates readChain(BIO* pem)
{
    Certificates chain(sk_X509_new_null());
    while (Certificate certificate = readCertificate(pem))
        sk_X509_push(chain.get(), certificate.release());
    return chain;
}

} // namespace

QByteArray signContent(const QByteArray& content, const QByteArray& certificates, const QByteArray& key)
{
    const Bio certificateBytes = reader(certificates);
    const Bio keyBytes = reader(key);
    const Bio contentBytes = reader(content);
    const Certificate signer = readCertificate(certificateBytes.get());
    const Certificates chain = readChain(certificateBytes.get());
    const Key privateKey(PEM_read_bio_PrivateKey(keyBytes.get(), nullptr, nullptr, nullptr));
    if (!signer || !privateKey)
        refuse("the certificate or its key cannot be read");
    const Cms cms(CMS_sign(signer.get(), privateKey.get(), chain.get(), contentBytes.get(),
                           CMS_DETACHED | CMS_BINARY | CMS_NOSMIMECAP));
    unsigned char* der = nullptr;
    const int length = cms ? i2d_CMS_ContentInfo(cms.get(), &der) : -1;
    if (length <= 0)
        refuse("the key does not belong to the certificate");
    const QByteArray signature(reinterpret_cast<const char*>(der), length);
    OPENSSL_free(der);
    return signature;
}

void verifyContent(const QByteArray& content, const QByteArray& signature,
                   const SignatureRequirement& requirement)
{
    const Cms cms = parse(signature);
    X509* signer = verifiedSigner(cms.get(), content);
    checkChain(signer, cms.get(), requirement.anchor);
    checkUse(signer);
    checkUnit(signer, requirement.organizationalUnit);
}

} // namespace quillmarsh
