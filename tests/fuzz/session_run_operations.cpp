// What the application does, and what it may expect.
#include "session_run.h"

#include <stdio.h>

#include <algorithm>

#include "promise.h"

namespace zelrtc::fuzz {

using zelrtc::test::SdkCall;
using zelrtc::test::SdkFunction;

namespace {

const size_t kMaxMessage = 10240;
const int kKeyFrame = 0x10;
const UINT32 kRefused = 2;

// The SDK calls of a negotiation; a trickle call adds the serialization.
const SdkFunction kNegotiation[] = {SdkFunction::createPeerConnection,
                                    SdkFunction::peerConnectionOnIceCandidate,
                                    SdkFunction::peerConnectionOnConnectionStateChange,
                                    SdkFunction::peerConnectionOnSenderBandwidthEstimation,
                                    SdkFunction::addSupportedCodec,
                                    SdkFunction::addSupportedCodec,
                                    SdkFunction::addTransceiver,
                                    SdkFunction::transceiverOnBandwidthEstimation,
                                    SdkFunction::transceiverOnFrame,
                                    SdkFunction::addTransceiver,
                                    SdkFunction::transceiverOnBandwidthEstimation,
                                    SdkFunction::transceiverOnFrame,
                                    SdkFunction::deserializeSessionDescriptionInit,
                                    SdkFunction::setRemoteDescription,
                                    SdkFunction::createAnswer,
                                    SdkFunction::setLocalDescription,
                                    SdkFunction::serializeSessionDescriptionInit};

std::string statusLine(const char* function, UINT32 status) {
    char line[128];
    snprintf(line, sizeof(line), "%s(): operation returned status code: 0x%08x", function, status);
    return line;
}

}  // namespace

void SessionRun::init() {
    const std::string offer = input_.ConsumeRandomLengthString(64);
    interruptNext();
    const bool hadConnection = model_.hasConnection;
    // init stores it early, so that events find it, even if init fails later.
    model_.hasConnection = true;
    const int result = session_->init(offer);
    const std::vector<SdkCall> calls = ownCallsSince(0);

    if (hadConnection) {
        require(result == static_cast<int>(kRefused), "a second init is refused");
        require(calls.empty(), "a second init leaves the connection alone");
        return;
    }

    const bool hasTold = model_.corrected.trickleIce && model_.hasCallback;
    const size_t wholeRoad = sizeof(kNegotiation) / sizeof(kNegotiation[0]) - (hasTold ? 0 : 1);
    UINT32 expected = STATUS_SUCCESS;
    size_t done = 0;
    while (done < wholeRoad && expected == STATUS_SUCCESS) {
        require(calls.at(done).function == kNegotiation[done], "negotiation keeps its order");
        expected = calls[done].status;
        ++done;
    }
    if (done == wholeRoad && expected == STATUS_SUCCESS && hasTold && !answerFits()) {
        expected = STATUS_BUFFER_TOO_SMALL;
    }
    require(result == static_cast<int>(expected), "init returns the first failure of the SDK");

    const bool created = done > 1 || expected == STATUS_SUCCESS || sdk_.deliver.connectionInSpiteOfFailure;
    const size_t released = expected != STATUS_SUCCESS && created ? 2 : 0;
    require(calls.size() == done + released, "a failed init closes and frees what it created, and nothing else");
    if (released > 0) {
        require(calls[done].function == SdkFunction::closePeerConnection, "a failed init closes");
        require(calls[done + 1].function == SdkFunction::freePeerConnection, "a failed init frees");
    }
    if (expected != STATUS_SUCCESS) {
        require(sdk_.lines().back().text == statusLine("init", expected), "a failed init says so in its last line");
    } else if (hasTold) {
        model_.told.push_back(Told{"onAnswer", sid_, answerText(sdk_.deliver.answerSdp), nullptr, 0});
    }
    model_.hasConnection = expected == STATUS_SUCCESS;
    model_.hasTransceivers = model_.hasConnection;
    expectConfiguration();
}

void SessionRun::addRemoteCandidate() {
    const size_t size = input_.PickValueInArray<size_t>({0, 1, 80, 255, 256, 300, 5000, 10240, 10241, 20000});
    const std::string json = input_.ConsumeRandomLengthString(64) + std::string(size, 'c');
    // The line is part of the text, so it is never longer.
    sdk_.deliver.candidateLine = json.substr(0, input_.ConsumeIntegralInRange<size_t>(0, json.size()));
    const std::string& line = sdk_.deliver.candidateLine;
    const bool isTerminated = std::min(line.size(), line.find('\0')) <= MAX_ICE_CANDIDATE_INIT_CANDIDATE_LEN;
    const size_t before = sdk_.calls().size();

    const UINT32 result = static_cast<UINT32>(session_->addRemoteCandidate(json));

    const std::vector<SdkCall> calls = ownCallsSince(before);
    if (json.size() > kMaxMessage) {
        require(calls.empty() && result == kRefused, "a candidate that is too long never reaches the SDK");
    } else if (calls.at(0).status != STATUS_SUCCESS) {
        require(calls.size() == 1 && result == calls[0].status, "an unreadable candidate goes no further");
    } else if (!isTerminated) {
        require(calls.size() == 1 && result == kRefused, "a candidate line that is too long is not added");
    } else {
        require(calls.size() == 2 && result == calls[1].status, "a readable candidate is added");
        require(calls[1].text == untilTerminator(line), "the line is added as it was read");
    }
    require(result == STATUS_SUCCESS || sdk_.lines().back().text == statusLine("addRemoteCandidate", result),
            "a refused candidate has its line");
}

void SessionRun::setAudioVideoType() {
    const int audioType = input_.ConsumeIntegralInRange(-2, 3);
    const int videoType = input_.ConsumeIntegralInRange(-2, 4);
    if (audioType == 0 || audioType == 1) {
        model_.audioType = static_cast<UINT32>(audioType);
    }
    if (videoType >= 0 && videoType <= 2 && static_cast<UINT32>(videoType) != model_.videoType) {
        model_.videoType = static_cast<UINT32>(videoType);
        model_.waitsForKeyFrame = true;
    }
    require(session_->setAudioVideoType(audioType, videoType) == 0, "setAudioVideoType returns 0");
}

void SessionRun::writeVideo() {
    const int videoType = input_.ConsumeBool() ? static_cast<int>(model_.videoType) : input_.ConsumeIntegral<int8_t>();
    const int flags = input_.ConsumeBool() ? kKeyFrame : input_.ConsumeIntegral<int>();
    const size_t size = input_.ConsumeIntegral<UINT32>();
    const int64_t time = input_.ConsumeIntegral<int64_t>();
    const bool isSelected = static_cast<UINT32>(videoType) == model_.videoType;
    const bool isOpen = model_.connected && !model_.terminated && model_.hasTransceivers;
    const bool waits = model_.waitsForKeyFrame && (flags & kKeyFrame) == 0;
    const int refusal = isOpen ? ZELRTC_WRITE_WAITING_KEY_FRAME : ZELRTC_WRITE_NOT_CONNECTED;
    const bool isSent = isSelected && isOpen && !waits;
    model_.waitsForKeyFrame = model_.waitsForKeyFrame && !isSent;

    Frame frame = {};
    frame.frameData = media_.data();
    frame.size = static_cast<UINT32>(size);
    frame.presentationTs = static_cast<UINT64>(time) * 10;
    const size_t before = sdk_.calls().size();
    const int result = session_->writeVideoData(media_.data(), size, time, flags, videoType);
    expectWrite(result, isSelected ? refusal : ZELRTC_WRITE_OK, isSent, before, frame);
}

void SessionRun::writeAudio() {
    const size_t size = input_.ConsumeIntegral<UINT32>();
    const int64_t time = input_.ConsumeIntegral<int64_t>();
    const bool isOpen = model_.connected && !model_.terminated && model_.hasTransceivers;
    const bool isSent = model_.audioType != 0 && isOpen;

    Frame frame = {};
    frame.frameData = media_.data();
    frame.size = static_cast<UINT32>(size);
    frame.presentationTs = static_cast<UINT64>(time) * 10;
    const size_t before = sdk_.calls().size();
    const int result = session_->writeAudioData(media_.data(), size, time, input_.ConsumeIntegral<int>());
    expectWrite(result, model_.audioType == 0 ? ZELRTC_WRITE_OK : ZELRTC_WRITE_NOT_CONNECTED, isSent, before, frame);
}

void SessionRun::expectWrite(int result, int expected, bool reachesSdk, size_t callsBefore, const Frame& frame) {
    const std::vector<SdkCall> calls = ownCallsSince(callsBefore);
    if (!reachesSdk) {
        require(calls.empty(), "a refused frame does not reach the SDK");
        require(result == expected, "a refused frame has its own result");
        return;
    }
    require(calls.size() == 1 && calls[0].function == SdkFunction::writeFrame, "a frame is written once");
    require(result == static_cast<int>(calls[0].status), "a write returns the SDK's status");
    const Frame written = calls[0].as<Frame>();
    require(written.frameData == frame.frameData && written.size == frame.size, "a frame is written as it came");
    require(written.presentationTs == frame.presentationTs, "microseconds become units of 100 ns");
    require(written.flags == FRAME_FLAG_NONE, "the application's flags stay with the application");
}

void SessionRun::teminate() {
    model_.terminated = true;
    require(session_->teminate() == 0, "teminate returns 0");
}

}  // namespace zelrtc::fuzz
