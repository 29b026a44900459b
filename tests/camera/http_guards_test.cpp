// Who is let in.

#include "http/guards.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace zelrtc::camera {
namespace {

Request requestWith(const std::vector<Field>& headers) {
    Request request;
    request.headers = headers;
    return request;
}

int statusOf(const std::optional<Response>& refusal) {
    return refusal ? refusal->status : 0;
}

int statusForHost(const std::string& host, const HostNames& ours) {
    return statusOf(refuseOtherHosts(requestWith({{"host", host}}), ours));
}

TEST(HostGuard, KnowsTheLoopback) {
    for (const char* host : {"127.0.0.1", "127.0.0.1:8080", "127.1.2.3:1", "localhost", "LocalHost:8080", "[::1]",
                             "[::1]:8080", "[::ffff:127.0.0.1]:80"}) {
        EXPECT_EQ(statusForHost(host, {}), 0) << host;
    }
}

TEST(HostGuard, RefusesOtherNames) {
    for (const char* host :
         {"rebound.example", "rebound.example:8080", "localhost.example", "127.0.0.1.example", "192.168.1.5",
          "[fe80::1]", "", ":80", "[", "[]", "0x7f000001", "127.1", "[::1].rebound.example",
          "127.0.0.1:80@rebound.example", "localhost:rebound.example", "[::1", "[::1]8080"}) {
        EXPECT_EQ(statusForHost(host, {}), 421) << host;
    }
}

TEST(HostGuard, KnowsAllNumbersBeyondTheLoopbackAndGivenNames) {
    const HostNames ours{true, {"porch", "porch.local"}};
    for (const char* host : {"192.168.1.5:8080", "[2001:db8::1]", "porch:8080", "Porch.local", "localhost"}) {
        EXPECT_EQ(statusForHost(host, ours), 0) << host;
    }
    EXPECT_EQ(statusForHost("porch.example", ours), 421);
}

TEST(HostGuard, WantsExactlyOneName) {
    EXPECT_EQ(statusOf(refuseOtherHosts(requestWith({}), {})), 400);
    EXPECT_EQ(statusOf(refuseOtherHosts(requestWith({{"host", "localhost"}, {"host", "rebound.example"}}), {})), 400);
}

int statusForOrigin(const std::string& origin, const std::vector<std::string>& allowed) {
    return statusOf(refuseOtherSites(requestWith({{"host", "127.0.0.1:8080"}, {"origin", origin}}), allowed));
}

TEST(OriginGuard, KnowsItsOwnPages) {
    EXPECT_EQ(statusForOrigin("http://127.0.0.1:8080", {}), 0);
    EXPECT_EQ(statusForOrigin("https://127.0.0.1:8080", {}), 0);
    EXPECT_EQ(statusOf(refuseOtherSites(requestWith({{"host", "127.0.0.1:8080"}}), {})), 0);
}

TEST(OriginGuard, RefusesPagesOfOtherSites) {
    for (const char* origin :
         {"http://example.com", "http://127.0.0.1", "http://127.0.0.1:8081", "null", "", "http://", "127.0.0.1:8080"}) {
        EXPECT_EQ(statusForOrigin(origin, {}), 403) << origin;
    }
    EXPECT_EQ(statusOf(refuseOtherSites(requestWith({{"origin", "http://"}}), {})), 403);
}

TEST(OriginGuard, RefusesWhatOtherSitesMakePartOfTheirPages) {
    const auto statusFor = [](const std::string& site, const std::string& destination) {
        const Request request =
            requestWith({{"host", "127.0.0.1:8080"}, {"sec-fetch-site", site}, {"sec-fetch-dest", destination}});
        return statusOf(refuseOtherSites(request, {"https://example.com"}));
    };
    for (const char* destination : {"image", "script", "iframe", "empty", ""}) {
        EXPECT_EQ(statusFor("cross-site", destination), 403) << destination;
        EXPECT_EQ(statusFor("same-site", destination), 403) << destination;
        EXPECT_EQ(statusFor("same-origin", destination), 0) << destination;
    }
    EXPECT_EQ(statusFor("cross-site", "document"), 0);
    EXPECT_EQ(statusFor("none", "document"), 0);
}

TEST(OriginGuard, AllowsSitesByName) {
    EXPECT_EQ(statusForOrigin("https://example.com", {"https://example.com"}), 0);
    EXPECT_EQ(statusForOrigin("http://example.com", {"https://example.com"}), 403);
    EXPECT_EQ(statusForOrigin("https://example.com.evil", {"https://example.com"}), 403);
}

TEST(MediaTypeGuard, LooksAtTheTypeAlone) {
    const auto statusForType = [](const std::string& type) {
        return statusOf(requireMediaType(requestWith({{"content-type", type}}), "application/json"));
    };
    EXPECT_EQ(statusForType("application/json"), 0);
    EXPECT_EQ(statusForType("Application/JSON; charset=utf-8"), 0);
    EXPECT_EQ(statusForType("text/plain"), 415);
    EXPECT_EQ(statusForType("application/jsonp"), 415);
    EXPECT_EQ(statusForType(""), 415);
    EXPECT_EQ(statusOf(requireMediaType(requestWith({}), "application/json")), 415);
}

TEST(TokenGuard, LetsTheTokenIn) {
    EXPECT_EQ(statusOf(requireToken(requestWith({{"authorization", "Bearer secret"}}), "secret")), 0);
    EXPECT_EQ(statusOf(requireToken(requestWith({{"authorization", "bearer secret"}}), "secret")), 0);
}

TEST(TokenGuard, RefusesEverythingElse) {
    for (const char* credentials :
         {"Bearer Secret", "Bearer secre", "Bearer secret ", "Basic secret", "secret", "Bearer", "Bearer ", ""}) {
        const auto refusal = requireToken(requestWith({{"authorization", credentials}}), "secret");
        ASSERT_EQ(statusOf(refusal), 401) << credentials;
        EXPECT_EQ(refusal->headers.at(0).name, "WWW-Authenticate");
        EXPECT_EQ(refusal->headers.at(0).value, "Bearer");
    }
}

TEST(TokenGuard, SlowsDownWrongTokensOnly) {
    EXPECT_GE(requireToken(requestWith({{"authorization", "Bearer guess"}}), "secret")->delay,
              std::chrono::milliseconds(100));
    EXPECT_EQ(requireToken(requestWith({}), "secret")->delay, std::chrono::milliseconds(0));
}

TEST(TokenGuard, ComparesWholeSecrets) {
    EXPECT_TRUE(isSameSecret("", ""));
    EXPECT_TRUE(isSameSecret("abc", "abc"));
    EXPECT_FALSE(isSameSecret("abc", "abd"));
    EXPECT_FALSE(isSameSecret("abc", "bbc"));
    EXPECT_FALSE(isSameSecret("abc", "ab"));
    EXPECT_FALSE(isSameSecret(std::string("a\0b", 3), std::string("a\0c", 3)));
}

}  // namespace
}  // namespace zelrtc::camera
