#include "http/self_signed.h"

#include <arpa/inet.h>
#include <gnutls/crypto.h>
#include <gnutls/gnutls.h>
#include <gnutls/x509.h>
#include <netinet/in.h>

#include <array>
#include <ctime>
#include <iomanip>
#include <memory>
#include <sstream>
#include <stdexcept>

namespace zelrtc::camera {

namespace {

constexpr time_t kDay = time_t{24} * 60 * 60;
// Browsers refuse what is valid for longer than 398 days.
constexpr time_t kValidity = 397 * kDay;
constexpr unsigned kVersion = 3;
constexpr size_t kSha256Bytes = 32;

using Key = std::unique_ptr<std::remove_pointer_t<gnutls_x509_privkey_t>, decltype(&gnutls_x509_privkey_deinit)>;
using Certificate = std::unique_ptr<std::remove_pointer_t<gnutls_x509_crt_t>, decltype(&gnutls_x509_crt_deinit)>;

void require(int result) {
    if (result < 0) {
        throw std::runtime_error(std::string("the certificate can be neither made nor read: ") +
                                 gnutls_strerror(result));
    }
}

Key makeKey() {
    gnutls_x509_privkey_t made = nullptr;
    require(gnutls_x509_privkey_init(&made));
    Key key(made, gnutls_x509_privkey_deinit);
    require(gnutls_x509_privkey_generate(made, GNUTLS_PK_ECDSA, GNUTLS_CURVE_TO_BITS(GNUTLS_ECC_CURVE_SECP256R1), 0));
    return key;
}

void setName(gnutls_x509_crt_t certificate, const std::string& name) {
    in_addr ipv4{};
    in6_addr ipv6{};
    const auto setAlternative = [&](gnutls_x509_subject_alt_name_t type, const void* data, size_t size) {
        require(gnutls_x509_crt_set_subject_alt_name(certificate, type, data, static_cast<unsigned>(size), 0));
    };
    if (inet_pton(AF_INET, name.c_str(), &ipv4) == 1) {
        setAlternative(GNUTLS_SAN_IPADDRESS, &ipv4, sizeof ipv4);
    } else if (inet_pton(AF_INET6, name.c_str(), &ipv6) == 1) {
        setAlternative(GNUTLS_SAN_IPADDRESS, &ipv6, sizeof ipv6);
    } else {
        setAlternative(GNUTLS_SAN_DNSNAME, name.data(), name.size());
    }
    require(gnutls_x509_crt_set_dn_by_oid(certificate, GNUTLS_OID_X520_COMMON_NAME, 0, name.data(),
                                          static_cast<unsigned>(name.size())));
}

void setSerial(gnutls_x509_crt_t certificate) {
    std::array<unsigned char, 16> serial{};
    require(gnutls_rnd(GNUTLS_RND_NONCE, serial.data(), serial.size()));
    serial[0] &= 0x7FU;  // a positive number
    require(gnutls_x509_crt_set_serial(certificate, serial.data(), serial.size()));
}

Certificate makeCertificate(gnutls_x509_privkey_t key, const std::string& name) {
    gnutls_x509_crt_t made = nullptr;
    require(gnutls_x509_crt_init(&made));
    Certificate certificate(made, gnutls_x509_crt_deinit);
    const time_t now = time(nullptr);
    require(gnutls_x509_crt_set_version(made, kVersion));
    setSerial(made);
    setName(made, name);
    // A day early, for clients whose clocks are behind.
    require(gnutls_x509_crt_set_activation_time(made, now - kDay));
    require(gnutls_x509_crt_set_expiration_time(made, now - kDay + kValidity));
    require(gnutls_x509_crt_set_key_usage(made, GNUTLS_KEY_DIGITAL_SIGNATURE));
    require(gnutls_x509_crt_set_key_purpose_oid(made, GNUTLS_KP_TLS_WWW_SERVER, 0));
    require(gnutls_x509_crt_set_key(made, key));
    require(gnutls_x509_crt_sign2(made, made, key, GNUTLS_DIG_SHA256, 0));
    return certificate;
}

std::string textOf(const gnutls_datum_t& datum) {
    const std::unique_ptr<unsigned char, decltype(gnutls_free)> owner(datum.data, gnutls_free);
    return {reinterpret_cast<const char*>(datum.data), datum.size};
}

}  // namespace

HttpCertificate makeSelfSigned(const std::string& name) {
    const Key key = makeKey();
    const Certificate certificate = makeCertificate(key.get(), name);
    gnutls_datum_t chainText{};
    gnutls_datum_t keyText{};
    require(gnutls_x509_crt_export2(certificate.get(), GNUTLS_X509_FMT_PEM, &chainText));
    const std::string chain = textOf(chainText);
    require(gnutls_x509_privkey_export2(key.get(), GNUTLS_X509_FMT_PEM, &keyText));
    return {chain, textOf(keyText)};
}

std::string fingerprintOf(const std::string& chain) {
    std::string text = chain;
    const gnutls_datum_t pem{reinterpret_cast<unsigned char*>(text.data()), static_cast<unsigned>(text.size())};
    gnutls_x509_crt_t made = nullptr;
    require(gnutls_x509_crt_init(&made));
    const Certificate certificate(made, gnutls_x509_crt_deinit);
    require(gnutls_x509_crt_import(made, &pem, GNUTLS_X509_FMT_PEM));
    std::array<unsigned char, kSha256Bytes> digest{};
    size_t size = digest.size();
    require(gnutls_x509_crt_get_fingerprint(made, GNUTLS_DIG_SHA256, digest.data(), &size));
    std::ostringstream written;
    written << std::hex << std::uppercase << std::setfill('0');
    for (const unsigned char byte : digest) {
        written << (written.tellp() > 0 ? ":" : "") << std::setw(2) << unsigned{byte};
    }
    return written.str();
}

}  // namespace zelrtc::camera
