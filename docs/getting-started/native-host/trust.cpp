// Adds a certificate authority (PEM) to the trusted roots of the Windows user. For throw-away authorities only.
// Usage: trust FILE

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>
#include <windows.h>

#include <wincrypt.h>

int main(int argc, char** argv) {
    std::ifstream file(argc == 2 ? argv[1] : "", std::ios::binary);
    const std::string pem((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    std::vector<BYTE> certificate(pem.size());
    DWORD size = static_cast<DWORD>(certificate.size());
    const HCERTSTORE store = CertOpenSystemStoreW(0, L"ROOT");
    const bool isTrusted = store && !pem.empty()
                           && CryptStringToBinaryA(pem.c_str(), static_cast<DWORD>(pem.size()), CRYPT_STRING_BASE64HEADER,
                                                   certificate.data(), &size, nullptr, nullptr)
                           && CertAddEncodedCertificateToStore(store, X509_ASN_ENCODING, certificate.data(), size,
                                                               CERT_STORE_ADD_REPLACE_EXISTING, nullptr);
    if (store)
        CertCloseStore(store, 0);
    std::puts(isTrusted ? "trusted" : "That is no certificate that Windows accepts.");
    return isTrusted ? 0 : 1;
}
