#include "signalling/access_token.h"

#include <gmock/gmock.h>

#include <cstdio>
#include <fstream>
#include <stdexcept>
#include <string>

namespace zelrtc::camera {
namespace {

constexpr const char* kToken = "0123456789abcdef";

Request requestFor(const std::string& method, const std::string& path, const std::string& token = "") {
    Request request;
    request.method = method;
    request.path = path;
    if (!token.empty()) {
        request.headers.push_back({"authorization", "Bearer " + token});
    }
    return request;
}

bool isRefused(const Request& request) {
    const auto refusal = refuseStrangers(request, kToken);
    EXPECT_TRUE(!refusal || refusal->status == 401);
    return refusal.has_value();
}

TEST(AccessToken, IsNeededForEverythingThatShowsOrDoesSomething) {
    for (const auto& [method, path] :
         {std::pair("GET", "/health"), std::pair("GET", "/calls"), std::pair("POST", "/calls"),
          std::pair("POST", "/calls/1/candidates"), std::pair("POST", "/calls/1/streams"),
          std::pair("DELETE", "/calls/1"), std::pair("POST", "/whep"), std::pair("PATCH", "/whep/1"),
          std::pair("DELETE", "/whep/1"), std::pair("POST", "/calls/1/events"), std::pair("GET", "/events"),
          std::pair("GET", "/elsewhere"), std::pair("POST", "/")}) {
        EXPECT_TRUE(isRefused(requestFor(method, path))) << method << " " << path;
        EXPECT_TRUE(isRefused(requestFor(method, path, "another-token-00"))) << method << " " << path;
        EXPECT_FALSE(isRefused(requestFor(method, path, kToken))) << method << " " << path;
    }
}

TEST(AccessToken, IsNotNeededForThePageAndWhatBrowsersCannotAddItTo) {
    EXPECT_FALSE(isRefused(requestFor("GET", "/")));
    EXPECT_FALSE(isRefused(requestFor("HEAD", "/")));
    EXPECT_FALSE(isRefused(requestFor("OPTIONS", "/whep")));
    EXPECT_FALSE(isRefused(requestFor("GET", "/calls/1/events")));
}

class TokenFile : public ::testing::Test {
protected:
    ~TokenFile() override {
        std::remove(path_.c_str());
    }

    std::string tokenIn(const std::string& text) const {
        std::ofstream(path_) << text;
        return readToken(path_);
    }

    const std::string path_ =
        ::testing::TempDir() + ::testing::UnitTest::GetInstance()->current_test_info()->name() + ".token";
};

TEST_F(TokenFile, HoldsTheTokenInItsFirstLine) {
    EXPECT_EQ(tokenIn("a-token_that.is~long\n"), "a-token_that.is~long");
    EXPECT_EQ(tokenIn("0123456789abcdef"), kToken);
    EXPECT_EQ(tokenIn("0123456789abcdef\nand a note\n"), kToken);
}

TEST_F(TokenFile, IsRefusedWithoutAGoodToken) {
    EXPECT_THROW(readToken(path_), std::runtime_error);
    for (const char* text : {"", "\n", "short\n", "0123456789abcde", "0123456789abcdef\r\n", "0123456789 abcdef",
                             "0123456789abcdef&b=c", "0123456789abcdef\"\n"}) {
        EXPECT_THROW(tokenIn(text), std::runtime_error) << text;
    }
}

}  // namespace
}  // namespace zelrtc::camera
