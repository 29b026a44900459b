#include "frame_writers.h"

#include "stub_sdk.h"

namespace zelrtc::bench {

namespace {

const char kOffer[] = R"({"type":"offer","sdp":"v=0"})";
constexpr int kSelectedStream = 1;
constexpr int kOtherStream = 2;

uint8_t accessUnit[1200];

void connect(ZelRtcSession* session) {
    session->init(kOffer);
    stubHandlers.onStateChange(stubHandlers.customData, RTC_PEER_CONNECTION_STATE_CONNECTED);
}

int writeByHand(Targets* targets, int64_t presentationTs) {
    return targets->byHand.write(targets->data, targets->size, presentationTs, 0, kSelectedStream);
}

int writeToSdkAlone(Targets* targets, int64_t presentationTs) {
    Frame frame{};
    frame.frameData = targets->data;
    frame.size = static_cast<UINT32>(targets->size);
    frame.presentationTs = static_cast<UINT64>(presentationTs) * 10;
    return static_cast<int>(writeFrame(targets->transceiver, &frame));
}

int writeVideo(Targets* targets, int64_t presentationTs) {
    return targets->connected.writeVideoData(targets->data, targets->size, presentationTs, 0, kSelectedStream);
}

int writeAudio(Targets* targets, int64_t presentationTs) {
    return targets->connected.writeAudioData(targets->data, targets->size, presentationTs, 0);
}

int writeUnselectedVideo(Targets* targets, int64_t presentationTs) {
    return targets->connected.writeVideoData(targets->data, targets->size, presentationTs, 0, kOtherStream);
}

int writeUnconnectedVideo(Targets* targets, int64_t presentationTs) {
    return targets->idle.writeVideoData(targets->data, targets->size, presentationTs, 0, kSelectedStream);
}

int writeVideoBeforeKeyFrame(Targets* targets, int64_t presentationTs) {
    return targets->waiting.writeVideoData(targets->data, targets->size, presentationTs, 0, kSelectedStream);
}

}  // namespace

Targets::Targets()
    : transceiver(stubVideoTransceiver()),
      byHand(stubVideoTransceiver()),
      connected(1, ZelRtcSessionConfig(), nullptr),
      waiting(2, ZelRtcSessionConfig(), nullptr),
      idle(3, ZelRtcSessionConfig(), nullptr),
      data(accessUnit),
      size(sizeof(accessUnit)) {
    connect(&connected);
    connected.writeVideoData(data, size, 0, ZELRTC_FRAME_FLAG_KEY_FRAME, kSelectedStream);
    connect(&waiting);
}

const std::vector<NamedWriter>& frameWriters() {
    static const std::vector<NamedWriter> writers = {
        {"by hand", writeByHand, ZELRTC_WRITE_OK},
        {"SDK alone", writeToSdkAlone, ZELRTC_WRITE_OK},
        {"video", writeVideo, ZELRTC_WRITE_OK},
        {"audio", writeAudio, ZELRTC_WRITE_OK},
        {"video not selected", writeUnselectedVideo, ZELRTC_WRITE_OK},
        {"video not connected", writeUnconnectedVideo, ZELRTC_WRITE_NOT_CONNECTED},
        {"video before key frame", writeVideoBeforeKeyFrame, ZELRTC_WRITE_WAITING_KEY_FRAME}};
    return writers;
}

}  // namespace zelrtc::bench
