// The media paths neither allocate nor copy.
#include "allocations.h"
#include "session_test.h"

namespace zelrtc::test {
namespace {

const int kFrames = 10000;

class MediaPathCost : public SessionTest {
protected:
    uint8_t data[1200] = {};
};

/** An application that only looks at what it receives. */
class PointerCheck : public ZelWebrtcSessionCallback {
public:
    void onAudioFrame(ZELRTC_SESSION_ID, void* data, unsigned int) override {
        ++frames;
        sameBuffer = sameBuffer && data == expected;
    }

    const void* expected = nullptr;
    int frames = 0;
    bool sameBuffer = true;
};

TEST_F(MediaPathCost, IsNoAllocationForAFrameThatGoesOut) {
    startVideo();
    const AllocationCount count;
    for (int i = 0; i < kFrames; ++i) {
        session->writeVideoData(data, sizeof(data), i * 33333, i % 30 == 0 ? kKeyFrame : 0, 1);
        session->writeAudioData(data, 160, i * 20000, 0);
    }
    EXPECT_EQ(count.made(), 0U);
    EXPECT_EQ(sdk.calls(SdkFunction::writeFrame).size(), 2U * kFrames);
}

TEST_F(MediaPathCost, IsNoCopyOfAFrameThatGoesOut) {
    startVideo();
    for (int i = 0; i < kFrames; ++i) {
        session->writeVideoData(data + i % 1000, 200, i, 0, 1);
        session->writeAudioData(data + i % 1000, 160, i, 0);
    }
    size_t index = 0;
    for (const SdkCall& call : sdk.calls(SdkFunction::writeFrame)) {
        ASSERT_EQ(call.pointer, data + (index / 2) % 1000) << index;
        ++index;
    }
    EXPECT_EQ(index, 2U * kFrames);
}

TEST_F(MediaPathCost, IsNoAllocationForAFrameThatIsHeldBackRefusedOrLeftOut) {
    connect();
    const AllocationCount count;
    for (int i = 0; i < kFrames; ++i) {
        session->writeVideoData(data, sizeof(data), i, 0, 1);
        session->writeVideoData(data, sizeof(data), i, 0, 2);
    }
    session->setAudioVideoType(0, 1);
    session->writeAudioData(data, 160, 0, 0);
    session->teminate();
    session->writeVideoData(data, sizeof(data), 0, kKeyFrame, 1);
    EXPECT_EQ(count.made(), 0U);
    EXPECT_EQ(sdk.calls(SdkFunction::writeFrame).size(), 0U);
}

TEST_F(MediaPathCost, IsNeitherAllocationNorCopyForAFrameThatComesIn) {
    PointerCheck check;
    check.expected = data;
    negotiate(trickleConfig(), &check);
    Frame frame;
    memset(&frame, 0, sizeof(frame));
    frame.frameData = data;
    frame.size = 160;
    RecordedTransceiver& audio = connection().audio();
    RecordedTransceiver& video = connection().video();
    const AllocationCount count;
    for (int i = 0; i < kFrames; ++i) {
        audio.fireFrame(frame);
        video.fireFrame(frame);
        video.fireBandwidth(i);
    }
    EXPECT_EQ(count.made(), 0U);
    EXPECT_EQ(check.frames, kFrames);
    EXPECT_TRUE(check.sameBuffer);
    destroy();
}

TEST_F(MediaPathCost, IsNoAllocationForASwitchOfStreams) {
    startVideo();
    const AllocationCount count;
    for (int i = 0; i < kFrames; ++i) {
        session->setAudioVideoType(i % 2, i % 3);
    }
    EXPECT_EQ(count.made(), 0U);
}

// One copy of the text, so that the application may keep it after the SDK has dropped its own.
TEST_F(MediaPathCost, IsOneAllocationForALongCandidate) {
    class Silent : public ZelWebrtcSessionCallback {};
    Silent silent;
    negotiate(trickleConfig(), &silent);
    const std::string candidate(200, 'c');
    std::vector<CHAR> text(candidate.begin(), candidate.end());
    text.push_back('\0');
    RecordedConnection& fired = connection();
    const AllocationCount count;
    fired.onCandidate(fired.candidateData, text.data());
    EXPECT_EQ(count.made(), 1U);
    EXPECT_EQ(count.unreleased(), 0);
    destroy();
}

}  // namespace
}  // namespace zelrtc::test
