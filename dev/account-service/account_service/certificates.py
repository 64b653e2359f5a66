"""A certificate authority for one run, and the server certificate it signs."""

import datetime
import ipaddress
import ssl
from pathlib import Path

from cryptography import x509
from cryptography.hazmat.primitives import hashes, serialization
from cryptography.hazmat.primitives.asymmetric import ec
from cryptography.x509.oid import ExtendedKeyUsageOID, NameOID

from .files import write_private, write_public

LIFETIME = datetime.timedelta(days=30)
# Kinds of server certificates by the days from now to their start. Only the first is good for its address and time.
KINDS = {"good": -1, "expired": -60, "not-yet-valid": 30, "other-host": -1}


def _usage(*granted: str) -> x509.KeyUsage:
    names = ("digital_signature", "content_commitment", "key_encipherment",
             "data_encipherment", "key_agreement", "key_cert_sign", "crl_sign",
             "encipher_only", "decipher_only")
    return x509.KeyUsage(**{name: name in granted for name in names})


def _builder(subject: str, issuer: x509.Name | None, key, days: int = KINDS["good"]) -> x509.CertificateBuilder:
    name = x509.Name([x509.NameAttribute(NameOID.COMMON_NAME, subject)])
    start = datetime.datetime.utcnow() + datetime.timedelta(days=days)
    return (x509.CertificateBuilder().subject_name(name).issuer_name(issuer or name)
            .public_key(key.public_key()).serial_number(x509.random_serial_number())
            .not_valid_before(start).not_valid_after(start + LIFETIME)
            .add_extension(x509.SubjectKeyIdentifier.from_public_key(key.public_key()), False))


def make_tls_context(folder: Path, kind: str) -> ssl.SSLContext:
    """Writes ca.pem, server.pem and server-key.pem. The key of the authority is
    never written, so nobody can sign another certificate with it."""
    ca_key = ec.generate_private_key(ec.SECP256R1())
    authority = (_builder("Account service development CA", None, ca_key)
                 .add_extension(x509.BasicConstraints(ca=True, path_length=0), True)
                 .add_extension(_usage("key_cert_sign", "crl_sign"), True)
                 .sign(ca_key, hashes.SHA256()))
    key = ec.generate_private_key(ec.SECP256R1())
    hosts = [x509.DNSName("localhost"), x509.IPAddress(ipaddress.ip_address("127.0.0.1"))]
    if kind == "other-host":
        hosts = [x509.DNSName("accounts.elsewhere.invalid")]
    server = (_builder("localhost", authority.subject, key, KINDS[kind])
              .add_extension(x509.BasicConstraints(ca=False, path_length=None), True)
              .add_extension(_usage("digital_signature"), True)
              .add_extension(x509.ExtendedKeyUsage([ExtendedKeyUsageOID.SERVER_AUTH]), False)
              .add_extension(x509.SubjectAlternativeName(hosts), False)
              .add_extension(x509.AuthorityKeyIdentifier.from_issuer_public_key(
                  ca_key.public_key()), False)
              .sign(ca_key, hashes.SHA256()))

    pem = serialization.Encoding.PEM
    write_public(folder / "ca.pem", authority.public_bytes(pem))
    write_public(folder / "server.pem", server.public_bytes(pem) + authority.public_bytes(pem))
    write_private(folder / "server-key.pem", key.private_bytes(
        pem, serialization.PrivateFormat.PKCS8, serialization.NoEncryption()))

    context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    context.minimum_version = ssl.TLSVersion.TLSv1_2
    context.load_cert_chain(folder / "server.pem", folder / "server-key.pem")
    return context
