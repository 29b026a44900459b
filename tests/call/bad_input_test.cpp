// Bad input is refused with a reason, and nobody else's picture suffers.

#include <gtest/gtest.h>

#include <ostream>

#include "camera_process.h"
#include "sdk_limits.h"
#include "viewer_process.h"

namespace zelrtc::test {
namespace {

using nlohmann::json;
using namespace std::chrono_literals;

constexpr const char* kAudioOnlySdp =
    "v=0\r\no=- 1 1 IN IP4 127.0.0.1\r\ns=-\r\nt=0 0\r\na=group:BUNDLE 0\r\n"
    "m=audio 9 UDP/TLS/RTP/SAVPF 0\r\nc=IN IP4 0.0.0.0\r\na=mid:0\r\na=sendrecv\r\na=rtcp-mux\r\n"
    "a=ice-ufrag:abcd\r\na=ice-pwd:abcdefghijklmnopqrstuvwx\r\na=setup:actpass\r\n"
    "a=fingerprint:sha-256 00:01:02:03:04:05:06:07:08:09:0A:0B:0C:0D:0E:0F:"
    "10:11:12:13:14:15:16:17:18:19:1A:1B:1C:1D:1E:1F\r\na=rtpmap:0 PCMU/8000\r\n";

std::string offerOf(const std::string& sdp) {
    return json{{"type", "offer"}, {"sdp", sdp}}.dump();
}

std::string lineEnds(size_t count) {
    std::string text;
    for (size_t i = 0; i < count; ++i) {
        text += "\r\n";
    }
    return text;
}

struct BadOffer {
    const char* name;
    std::string body;
    int status;
};

void PrintTo(const BadOffer& offer, std::ostream* out) {
    *out << offer.name;
}

/** A camera with one viewer that keeps watching. */
class UnderBadInput : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(camera_.hasConnectedCalls(1));
        ASSERT_TRUE(camera_.firstCallLasts(1s));
    }

    void TearDown() override {
        const std::chrono::duration<double> lasted(camera_.get("/calls").at(0).at("seconds").get<double>());
        ASSERT_TRUE(camera_.firstCallLasts(lasted + 1s));
        const auto outcome = watcher_.hangUp();
        EXPECT_EQ(outcome.status, 0) << outcome.report.dump(2);
        EXPECT_LT(outcome.call().at("video").at("largestGapMs"), 500);
        EXPECT_TRUE(couldReadItsPictures(outcome));
    }

    std::string watchersCall() const {
        return camera_.callPath(1);
    }

    CameraProcess camera_;
    ViewerProcess watcher_{camera_.url(), {"--keep"}};
};

void expectProblem(const httplib::Result& result, int status) {
    ASSERT_TRUE(result) << httplib::to_string(result.error());
    EXPECT_EQ(result->status, status) << result->body;
    EXPECT_EQ(result->get_header_value("Content-Type").rfind("application/problem+json", 0), 0U);
    const json problem = json::parse(result->body, nullptr, false);
    ASSERT_TRUE(problem.is_object()) << result->body;
    EXPECT_EQ(problem.value("status", 0), status);
    EXPECT_FALSE(problem.value("title", "").empty());
    EXPECT_FALSE(problem.value("detail", "").empty());
}

class BadOffers : public UnderBadInput, public ::testing::WithParamInterface<BadOffer> {};

INSTANTIATE_TEST_SUITE_P(
    Each, BadOffers,
    ::testing::Values(BadOffer{"Empty", "", 400}, BadOffer{"NotJson", "offer, please", 400},
                      BadOffer{"WithoutSdp", R"({"type":"offer"})", 400},
                      BadOffer{"SdpThatIsNone", offerOf("a picture, please"), 400},
                      BadOffer{"SdpThatBreaksOff", offerOf("v=0\r\nm=video "), 400},
                      BadOffer{"MediaLineWithoutFormats", offerOf("v=0\r\nm=video 9 UDP/TLS/RTP/SAVPF\r\n"), 400},
                      BadOffer{"TooLongWithItsEscapes", offerOf("v=0\r\n" + lineEnds(6300)), 413},
                      BadOffer{"NoVideo", offerOf(kAudioOnlySdp), 422},
                      BadOffer{"OneMebibyte", offerOf("v=0\r\n" + std::string(1U << 20U, 'x')), 413},
                      BadOffer{"AnAnswer", R"({"type":"answer","sdp":"v=0\r\n"})", 400}),
    [](const auto& offer) { return offer.param.name; });

TEST_P(BadOffers, IsRefusedWithAReason) {
    expectProblem(camera_.post("/calls", GetParam().body), GetParam().status);
    EXPECT_EQ(camera_.get("/health").at("calls"), 1);
}

TEST_F(UnderBadInput, RefusesACandidateOfFiveThousandCharacters) {
    const json candidate{{"candidate", "candidate:1 1 udp 1 127.0.0.1 9 typ host " + std::string(5000, 'x')},
                         {"sdpMid", "0"},
                         {"sdpMLineIndex", 0}};
    expectProblem(camera_.post(watchersCall() + "/candidates", candidate.dump()), 400);
}

TEST_F(UnderBadInput, RefusesACandidateThatIsNone) {
    expectProblem(camera_.post(watchersCall() + "/candidates", "nothing"), 400);
    expectProblem(camera_.post(watchersCall() + "/candidates", "{}"), 400);
}

TEST_F(UnderBadInput, RefusesAStreamThatDoesNotExist) {
    expectProblem(camera_.post(watchersCall() + "/streams", R"({"video":3})"), 400);
    expectProblem(camera_.post(watchersCall() + "/streams", R"({"video":"2"})"), 400);
    expectProblem(camera_.post(watchersCall() + "/streams", "2"), 400);
    expectProblem(camera_.post(watchersCall() + "/streams", R"({"keyFrame":1})"), 400);
    EXPECT_EQ(camera_.get("/calls").at(0).at("video"), 1);
}

TEST_F(UnderBadInput, KnowsNoCallAtAGuessedAddress) {
    for (const char* path : {"/calls/1", "/calls/00000000000000000000000000000000", "/calls/99999999999999999999"}) {
        expectProblem(camera_.remove(path), 404);
        expectProblem(camera_.post(std::string(path) + "/candidates", R"({"candidate":""})"), 404);
        expectProblem(camera_.post(std::string(path) + "/streams", R"({"video":1})"), 404);
    }
}

TEST_F(UnderBadInput, TellsNobodyTheAddressOfACall) {
    const std::string key = watchersCall().substr(std::string("/calls/").size());
    EXPECT_EQ(key.size(), 32U);
    for (const json& call : camera_.get("/calls")) {
        EXPECT_FALSE(call.contains("id"));
        EXPECT_EQ(call.dump().find(key), std::string::npos);
    }
    EXPECT_EQ(camera_.log().find(key), std::string::npos);
}

TEST_F(UnderBadInput, EndsACallOnlyOnce) {
    ViewerProcess other(camera_.url(), {"--keep", "--no-decode"});
    ASSERT_TRUE(camera_.hasConnectedCalls(2));
    const std::string path = camera_.callPath(2);
    const auto removed = camera_.remove(path);
    ASSERT_TRUE(removed);
    EXPECT_EQ(removed->status, 204);
    expectProblem(camera_.remove(path), 404);
    other.finish(sdkLimit("release"));
}

}  // namespace
}  // namespace zelrtc::test
