// The same server over TLS, with a client that trusts its certificate and no other.

#include <gmock/gmock.h>
#include <gnutls/gnutls.h>
#include <gtest/gtest.h>

#include <array>
#include <string>

#include "http/self_signed.h"
#include "http_support/raw_client.h"
#include "http_support/test_server.h"

namespace zelrtc::camera::test {
namespace {

using ::testing::HasSubstr;

constexpr unsigned kLimitMs = 10000;

/** A TLS session over a connection of its own. */
class TlsClient {
public:
    TlsClient(int port, const HttpCertificate& trusted, const std::string& name, const char* versions = "NORMAL")
        : connection_(port) {
        gnutls_certificate_allocate_credentials(&credentials_);
        gnutls_datum_t chain{};
        chain.data = reinterpret_cast<unsigned char*>(const_cast<char*>(trusted.chain.data()));
        chain.size = static_cast<unsigned>(trusted.chain.size());
        gnutls_certificate_set_x509_trust_mem(credentials_, &chain, GNUTLS_X509_FMT_PEM);
        gnutls_init(&session_, GNUTLS_CLIENT);
        gnutls_priority_set_direct(session_, versions, nullptr);
        gnutls_credentials_set(session_, GNUTLS_CRD_CERTIFICATE, credentials_);
        name_ = name;
        gnutls_session_set_verify_cert(session_, name_.c_str(), 0);
        gnutls_transport_set_int(session_, connection_.descriptor());
        gnutls_handshake_set_timeout(session_, kLimitMs);
        gnutls_record_set_timeout(session_, kLimitMs);
        gnutls_transport_set_pull_timeout_function(session_, gnutls_system_recv_timeout);
    }
    ~TlsClient() {
        gnutls_deinit(session_);
        gnutls_certificate_free_credentials(credentials_);
    }
    TlsClient(const TlsClient&) = delete;
    TlsClient& operator=(const TlsClient&) = delete;

    bool shakeHands() {
        return gnutls_handshake(session_) == GNUTLS_E_SUCCESS;
    }

    void send(const std::string& text) {
        for (size_t sent = 0; sent < text.size();) {
            const ssize_t count = gnutls_record_send(session_, text.data() + sent, text.size() - sent);
            ASSERT_GT(count, 0);
            sent += static_cast<size_t>(count);
        }
    }

    std::string receiveUntil(const std::string& text) {
        std::string received;
        std::array<char, 4096> buffer{};
        while (received.find(text) == std::string::npos) {
            const ssize_t count = gnutls_record_recv(session_, buffer.data(), buffer.size());
            if (count <= 0) {
                break;
            }
            received.append(buffer.data(), static_cast<size_t>(count));
        }
        return received;
    }

private:
    RawClient connection_;
    std::string name_;
    gnutls_certificate_credentials_t credentials_ = nullptr;
    gnutls_session_t session_ = nullptr;
};

class HttpTls : public ::testing::Test {
protected:
    const HttpCertificate certificate_ = makeSelfSigned("127.0.0.1");
    TestServer server_{patientLimits(), certificate_};
};

TEST_F(HttpTls, CarriesRequestsBodiesAndStreams) {
    TlsClient client(server_.port(), certificate_, "127.0.0.1");
    ASSERT_TRUE(client.shakeHands());
    client.send(getRequest("/"));
    EXPECT_THAT(client.receiveUntil("hello"), HasSubstr("200 OK"));
    client.send(postRequest("/echo", std::string(60000, '-') + "end"));
    EXPECT_THAT(client.receiveUntil("end"), HasSubstr("----"));
    server_.source->add("first");
    client.send(getRequest("/events"));
    EXPECT_THAT(client.receiveUntil("first"), HasSubstr("first"));
    server_.source->add("second");
    EXPECT_THAT(client.receiveUntil("second"), HasSubstr("second"));
}

TEST_F(HttpTls, ShowsItsOwnCertificate) {
    const HttpCertificate another = makeSelfSigned("127.0.0.1");
    EXPECT_FALSE(TlsClient(server_.port(), another, "127.0.0.1").shakeHands());
    EXPECT_FALSE(TlsClient(server_.port(), certificate_, "127.0.0.2").shakeHands());
}

TEST_F(HttpTls, SpeaksNoOldVersions) {
    EXPECT_FALSE(TlsClient(server_.port(), certificate_, "127.0.0.1", "NORMAL:-VERS-ALL:+VERS-TLS1.1").shakeHands());
    EXPECT_TRUE(TlsClient(server_.port(), certificate_, "127.0.0.1", "NORMAL:-VERS-ALL:+VERS-TLS1.2").shakeHands());
}

TEST_F(HttpTls, AnswersNobodyInPlain) {
    RawClient client(server_.port());
    client.send(getRequest("/"));
    EXPECT_EQ(client.receiveUntil("hello").find("hello"), std::string::npos);
    EXPECT_TRUE(client.isClosedByServer());
}

TEST(HttpTlsDeadline, CoversTheHandshake) {
    HttpLimits limits = patientLimits();
    limits.idle = std::chrono::milliseconds(150);
    TestServer server(limits, makeSelfSigned("127.0.0.1"));
    RawClient client(server.port());
    client.send("\x16\x03\x01");
    EXPECT_TRUE(client.isClosedByServer());
}

TEST(HttpTlsCertificate, MustBeOneWithItsKey) {
    const HttpCertificate one = makeSelfSigned("a");
    const HttpCertificate other = makeSelfSigned("b");
    for (const HttpCertificate& wrong : {HttpCertificate{"text", "text"}, HttpCertificate{one.chain, other.key}}) {
        HttpServer server({HttpLimits(), wrong});
        EXPECT_THROW(server.bind("127.0.0.1", 0), std::runtime_error);
    }
}

// Made with: openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -subj /CN=a
constexpr const char* kCertificate =
    "-----BEGIN CERTIFICATE-----\n"
    "MIIBbjCCAROgAwIBAgIUBliI0i0D+xJhAT0WDCehMvgWChAwCgYIKoZIzj0EAwIw\n"
    "DDEKMAgGA1UEAwwBYTAeFw0yNjExMjIwMzExMTBaFw0yNjExMjMwMzExMTBaMAwx\n"
    "CjAIBgNVBAMMAWEwWTATBgcqhkjOPQIBBggqhkjOPQMBBwNCAAQ37GaHItcMLZ14\n"
    "1gYGZUh4yjLKyCEOZzannfhLYVzh46MYF0/UpTuvSu+o8ztDIKNodvAAgbTKDClE\n"
    "p49EZY+9o1MwUTAdBgNVHQ4EFgQUSRXZDtds6D96EFI+iuF+d559ugkwHwYDVR0j\n"
    "BBgwFoAUSRXZDtds6D96EFI+iuF+d559ugkwDwYDVR0TAQH/BAUwAwEB/zAKBggq\n"
    "hkjOPQQDAgNJADBGAiEAr6fNeOITeUNdxOITr2XVgQmfEy31bPe+N/W0ZZJB51IC\n"
    "IQDwBpGPZVlNJzgiIgtdLir7Zb1/RlFWV0eFeS0KjG48Gw==\n"
    "-----END CERTIFICATE-----\n";

TEST(HttpTlsCertificate, HasTheFingerprintThatBrowsersShow) {
    // Made with: openssl x509 -noout -fingerprint -sha256
    EXPECT_EQ(fingerprintOf(kCertificate),
              "AA:BF:1D:27:53:1C:18:99:D3:12:C0:44:47:69:9A:37:"
              "5A:03:D9:82:C3:3C:56:22:9F:B1:66:C8:AA:28:63:7B");
    EXPECT_THROW(fingerprintOf("text"), std::runtime_error);
}

}  // namespace
}  // namespace zelrtc::camera::test
