#include "TestKit/SelfSignedCertificate.h"

#include <memory>
#include <openssl/ec.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

namespace Velquor::TestKit {

namespace {

constexpr long validSeconds = 2 * 24 * 3600;

using Key = std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)>;
using Certificate = std::unique_ptr<X509, decltype(&X509_free)>;
using Bio = std::unique_ptr<BIO, decltype(&BIO_free)>;

bool setNames(X509* certificate) {
    X509_NAME* const name = X509_get_subject_name(certificate);
    const std::unique_ptr<X509_EXTENSION, decltype(&X509_EXTENSION_free)> alternative(
        X509V3_EXT_conf_nid(nullptr, nullptr, NID_subject_alt_name, "IP:127.0.0.1"), &X509_EXTENSION_free);
    return X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC, reinterpret_cast<const unsigned char*>("127.0.0.1"), -1, -1, 0)
               == 1
           && X509_set_issuer_name(certificate, name) == 1 && alternative
           && X509_add_ext(certificate, alternative.get(), -1) == 1;
}

Certificate sign(EVP_PKEY* key) {
    Certificate certificate(X509_new(), &X509_free);
    X509* const made = certificate.get();
    const bool done = made && X509_set_version(made, X509_VERSION_3) == 1 && ASN1_INTEGER_set(X509_get_serialNumber(made), 1) == 1
                      && X509_gmtime_adj(X509_getm_notBefore(made), -validSeconds / 2)
                      && X509_gmtime_adj(X509_getm_notAfter(made), validSeconds) && setNames(made)
                      && X509_set_pubkey(made, key) == 1 && X509_sign(made, key, EVP_sha256()) > 0;
    if (!done)
        certificate.reset();
    return certificate;
}

QByteArray contents(BIO* bio) {
    char* data = nullptr;
    const long size = BIO_get_mem_data(bio, &data);
    return QByteArray(data, static_cast<int>(size));
}

} // namespace

SelfSignedCertificate makeSelfSignedCertificate() {
    SelfSignedCertificate made;
    const Key key(EVP_EC_gen("P-256"), &EVP_PKEY_free);
    const Certificate certificate = key ? sign(key.get()) : Certificate(nullptr, &X509_free);
    const Bio certificateText(BIO_new(BIO_s_mem()), &BIO_free);
    const Bio keyText(BIO_new(BIO_s_mem()), &BIO_free);
    if (!certificate || PEM_write_bio_X509(certificateText.get(), certificate.get()) != 1
        || PEM_write_bio_PrivateKey(keyText.get(), key.get(), nullptr, nullptr, 0, nullptr, nullptr) != 1)
        return made;
    made.certificate = QSslCertificate(contents(certificateText.get()));
    made.key = QSslKey(contents(keyText.get()), QSsl::Ec);
    return made;
}

} // namespace Velquor::TestKit
