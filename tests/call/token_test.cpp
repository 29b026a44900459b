// A camera that wants a token lets in who has it.

#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <string>

#include "camera_process.h"
#include "scratch_folder.h"
#include "viewer_process.h"

namespace zelrtc::test {
namespace {

constexpr const char* kToken = "a-token-for-this-test";

class GuardedCamera : public ::testing::Test {
protected:
    static std::string tokenFile(const ScratchFolder& folder) {
        std::ofstream(folder.file("token")) << kToken << "\n";
        return folder.file("token");
    }

    std::string addressWith(const std::string& token) const {
        return camera_.url() + "/?token=" + token;
    }

    ScratchFolder folder_;
    CameraProcess camera_{{"--token-file", tokenFile(folder_)}};
};

TEST_F(GuardedCamera, IsCalledWithItsToken) {
    const auto own = view(addressWith(kToken), {"--seconds", "2"});
    EXPECT_EQ(own.status, 0) << own.report.dump(2);
    const auto whep = view(addressWith(kToken), {"--seconds", "2", "--whep"});
    EXPECT_EQ(whep.status, 0) << whep.report.dump(2);
}

TEST_F(GuardedCamera, IsCalledWithTheTokenOfAFile) {
    const auto outcome = view(camera_.url(), {"--seconds", "2", "--token-file", tokenFile(folder_)});
    EXPECT_EQ(outcome.status, 0) << outcome.report.dump(2);
}

TEST_F(GuardedCamera, IsNotCalledWhereItIsUnclearWithWhichToken) {
    constexpr int kBadUsage = 2;
    ViewerProcess two(addressWith(kToken), {"--token-file", tokenFile(folder_)});
    EXPECT_EQ(two.process().waitForExit(std::chrono::seconds(20)), kBadUsage);
    std::ofstream(folder_.file("empty")).close();
    ViewerProcess none(camera_.url(), {"--token-file", folder_.file("empty")});
    EXPECT_EQ(none.process().waitForExit(std::chrono::seconds(20)), kBadUsage);
}

TEST_F(GuardedCamera, RefusesCallsWithoutItsToken) {
    for (const std::string& address : {camera_.url(), addressWith("another-token-of-ours")}) {
        const auto outcome = view(address, {"--seconds", "2"});
        EXPECT_EQ(outcome.status, kRefused) << outcome.report.dump(2);
        EXPECT_NE(outcome.report.dump().find("401"), std::string::npos) << outcome.report.dump(2);
    }
}

TEST_F(GuardedCamera, ShowsItsPageAndNothingElse) {
    httplib::Client client(camera_.url());
    EXPECT_EQ(client.Get("/")->status, 200);
    for (const char* path : {"/health", "/calls"}) {
        const auto refused = client.Get(path);
        ASSERT_TRUE(refused);
        EXPECT_EQ(refused->status, 401);
        EXPECT_EQ(refused->get_header_value("WWW-Authenticate"), "Bearer");
    }
    client.set_bearer_token_auth(kToken);
    EXPECT_EQ(client.Get("/health")->status, 200);
}

}  // namespace
}  // namespace zelrtc::test
