#include "answering_side.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "access_units.h"

namespace zelrtc::test {

namespace {

constexpr UINT64 kVideoInterval = 333333;  // 100 ns
constexpr UINT64 kAudioInterval = 200000;
constexpr UINT32 kAudioSize = 160;
constexpr BYTE kMulawSilence = 0xff;

}  // namespace

AnsweringSide::AnsweringSide(const std::string& iceServer, ICE_TRANSPORT_POLICY policy) {
    RtcConfiguration configuration{};
    configuration.iceTransportPolicy = policy;
    iceServer.copy(configuration.iceServers[0].urls, MAX_ICE_CONFIG_URI_LEN);
    EXPECT_EQ(createPeerConnection(&configuration, &connection_), STATUS_SUCCESS);
    const auto self = static_cast<UINT64>(reinterpret_cast<uintptr_t>(this));
    EXPECT_EQ(peerConnectionOnIceCandidate(connection_, self, onCandidate), STATUS_SUCCESS);
    EXPECT_EQ(peerConnectionOnConnectionStateChange(connection_, self, onState), STATUS_SUCCESS);
    video_ = addTrack(RTC_CODEC_H264_PROFILE_42E01F_LEVEL_ASYMMETRY_ALLOWED_PACKETIZATION_MODE,
                      MEDIA_STREAM_TRACK_KIND_VIDEO);
    audio_ = addTrack(RTC_CODEC_MULAW, MEDIA_STREAM_TRACK_KIND_AUDIO);
    EXPECT_EQ(transceiverOnFrame(audio_, self, onAudio), STATUS_SUCCESS);
}

AnsweringSide::~AnsweringSide() {
    if (connection_ != nullptr) {
        close();
        EXPECT_EQ(freePeerConnection(&connection_), STATUS_SUCCESS);
    }
}

PRtcRtpTransceiver AnsweringSide::addTrack(RTC_CODEC codec, MEDIA_STREAM_TRACK_KIND kind) {
    RtcMediaStreamTrack track{};
    PRtcRtpTransceiver transceiver = nullptr;
    track.codec = codec;
    track.kind = kind;
    strcpy(track.trackId, "track");
    strcpy(track.streamId, "stream");
    EXPECT_EQ(addSupportedCodec(connection_, codec), STATUS_SUCCESS);
    EXPECT_EQ(addTransceiver(connection_, &track, nullptr, &transceiver), STATUS_SUCCESS);
    return transceiver;
}

STATUS AnsweringSide::setOffer(const std::string& sdp) {
    RtcSessionDescriptionInit offer{};
    offer.type = SDP_TYPE_OFFER;
    sdp.copy(offer.sdp, sizeof(offer.sdp) - 1);
    return setRemoteDescription(connection_, &offer);
}

STATUS AnsweringSide::answer(const std::string& offer) {
    STATUS status = setOffer(offer);
    if (status == STATUS_SUCCESS) {
        status = createAnswer(connection_, &answer_);
    }
    if (status == STATUS_SUCCESS) {
        status = setLocalDescription(connection_, &answer_);
    }
    return status;
}

std::string AnsweringSide::answerSdp() const {
    return answer_.sdp;
}

std::string AnsweringSide::localSdp() {
    RtcSessionDescriptionInit local{};
    EXPECT_EQ(peerConnectionGetCurrentLocalDescription(connection_, &local), STATUS_SUCCESS);
    EXPECT_EQ(static_cast<int>(local.type), 0);
    return local.sdp;
}

STATUS AnsweringSide::addCandidate(const std::string& line) {
    std::string text = line;
    return addIceCandidate(connection_, text.data());
}

STATUS AnsweringSide::writeVideo(size_t index) {
    return writeUnit(accessUnits()[index % accessUnits().size()], index);
}

STATUS AnsweringSide::writeUnit(std::vector<uint8_t> unit, size_t index) {
    Frame frame{};
    frame.frameData = unit.data();
    frame.size = static_cast<UINT32>(unit.size());
    frame.presentationTs = index * kVideoInterval;
    return writeFrame(video_, &frame);
}

STATUS AnsweringSide::writeAudio(size_t index) {
    std::vector<BYTE> samples(kAudioSize, kMulawSilence);
    Frame frame{};
    frame.frameData = samples.data();
    frame.size = kAudioSize;
    frame.presentationTs = index * kAudioInterval;
    return writeFrame(audio_, &frame);
}

bool AnsweringSide::writeUntil(const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + kDeadline;
    for (size_t index = 0; std::chrono::steady_clock::now() < end; index++) {
        if (condition()) {
            return true;
        }
        writeVideo(index);
        writeAudio(index);
        std::this_thread::sleep_for(std::chrono::milliseconds(33));
    }
    return false;
}

void AnsweringSide::close() {
    EXPECT_EQ(closePeerConnection(connection_), STATUS_SUCCESS);
}

bool AnsweringSide::waitForState(RTC_PEER_CONNECTION_STATE state, std::chrono::milliseconds limit) {
    return waitFor([&] { return std::find(states_.begin(), states_.end(), state) != states_.end(); }, limit);
}

bool AnsweringSide::waitForGathering(std::chrono::milliseconds limit) {
    return waitFor([&] { return ends_ > 0; }, limit);
}

bool AnsweringSide::waitFor(const std::function<bool()>& condition, std::chrono::milliseconds limit) {
    std::unique_lock<std::mutex> lock(mutex_);
    return changed_.wait_for(lock, limit, condition);
}

std::vector<RTC_PEER_CONNECTION_STATE> AnsweringSide::states() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return states_;
}

std::vector<std::string> AnsweringSide::candidates() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return candidates_;
}

int AnsweringSide::ends() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return ends_;
}

std::vector<UINT32> AnsweringSide::audioSizes() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return audioSizes_;
}

std::vector<UINT64> AnsweringSide::audioTimes() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return audioTimes_;
}

std::set<std::thread::id> AnsweringSide::timerThreads() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return timerThreads_;
}

std::set<std::thread::id> AnsweringSide::listenerThreads() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return listenerThreads_;
}

void AnsweringSide::note(std::set<std::thread::id>* threads, const std::function<void()>& change) {
    const std::lock_guard<std::mutex> lock(mutex_);
    change();
    threads->insert(std::this_thread::get_id());
    changed_.notify_all();
}

AnsweringSide& AnsweringSide::from(UINT64 customData) {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the SDK's custom data is an integer word
    return *reinterpret_cast<AnsweringSide*>(static_cast<uintptr_t>(customData));
}

VOID AnsweringSide::onCandidate(UINT64 customData, PCHAR json) {
    AnsweringSide& side = from(customData);
    side.note(&side.timerThreads_, [&] {
        if (json == nullptr) {
            side.ends_++;
        } else {
            side.candidates_.emplace_back(json);
        }
    });
}

VOID AnsweringSide::onState(UINT64 customData, RTC_PEER_CONNECTION_STATE state) {
    AnsweringSide& side = from(customData);
    const bool isConnected = state == RTC_PEER_CONNECTION_STATE_CONNECTED;
    side.note(isConnected ? &side.listenerThreads_ : &side.timerThreads_, [&] { side.states_.push_back(state); });
    if (side.duringState) {
        side.duringState(state);
    }
}

VOID AnsweringSide::onAudio(UINT64 customData, PFrame frame) {
    AnsweringSide& side = from(customData);
    side.note(&side.listenerThreads_, [&] {
        side.audioSizes_.push_back(frame->size);
        side.audioTimes_.push_back(frame->presentationTs);
    });
    if (side.duringAudio) {
        side.duringAudio();
    }
}

}  // namespace zelrtc::test
