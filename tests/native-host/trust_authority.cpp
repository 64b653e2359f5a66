// Puts a certificate authority (DER) into the user's store of trusted roots, where a product without a TLS configuration of its
// own finds it. For throw-away Wine prefixes.

#include <cstdio>
#include <fstream>
#include <iterator>
#include <vector>
#include <windows.h>

#include <wincrypt.h>

int main(int argc, char** argv) {
    std::ifstream file(argc == 2 ? argv[1] : "", std::ios::binary);
    const std::vector<char> bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    const HCERTSTORE store = CertOpenSystemStoreW(0, L"ROOT");
    const bool added =
        store && !bytes.empty()
        && CertAddEncodedCertificateToStore(store, X509_ASN_ENCODING, reinterpret_cast<const BYTE*>(bytes.data()),
                                            static_cast<DWORD>(bytes.size()), CERT_STORE_ADD_REPLACE_EXISTING, nullptr);
    if (store)
        CertCloseStore(store, 0);
    std::puts(added ? "added" : "failed");
    return added ? 0 : 1;
}
