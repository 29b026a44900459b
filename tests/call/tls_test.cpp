// A camera behind TLS is called by who trusts its certificate.

#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "camera_process.h"
#include "http/self_signed.h"
#include "scratch_folder.h"
#include "viewer_process.h"

namespace zelrtc::test {
namespace {

class CameraOverTls : public ::testing::Test {
protected:
    std::string write(const std::string& name, const std::string& text) const {
        std::ofstream(folder_.file(name)) << text;
        return folder_.file(name);
    }

    ScratchFolder folder_;
    const camera::HttpCertificate certificate_ = camera::makeSelfSigned("127.0.0.1");
    const std::string chainFile_ = write("chain.pem", certificate_.chain);
    CameraProcess camera_{{"--tls-cert", chainFile_, "--tls-key", write("key.pem", certificate_.key)}};
};

TEST_F(CameraOverTls, IsCalledByWhoTrustsItsCertificate) {
    const auto own = view(camera_.url(), {"--seconds", "2", "--certificate", chainFile_});
    EXPECT_EQ(own.status, 0) << own.report.dump(2);
    const auto whep = view(camera_.url(), {"--seconds", "2", "--certificate", chainFile_, "--whep"});
    EXPECT_EQ(whep.status, 0) << whep.report.dump(2);
}

TEST_F(CameraOverTls, IsNotCalledByWhoDoesNot) {
    const std::string anotherFile = write("another.pem", camera::makeSelfSigned("127.0.0.1").chain);
    EXPECT_EQ(view(camera_.url(), {"--seconds", "2"}).status, kRefused);
    EXPECT_EQ(view(camera_.url(), {"--seconds", "2", "--certificate", anotherFile}).status, kRefused);
    EXPECT_EQ(camera_.get("/health").at("calls"), 0);
}

TEST_F(CameraOverTls, TellsItsFingerprint) {
    EXPECT_NE(camera_.log().find(camera::fingerprintOf(certificate_.chain)), std::string::npos);
}

}  // namespace
}  // namespace zelrtc::test
