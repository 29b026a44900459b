// What the SDK reports, and how the session may react.
#include "session_run.h"

#include "promise.h"

namespace zelrtc::fuzz {

using zelrtc::test::RecordedConnection;
using zelrtc::test::SdkCall;
using zelrtc::test::SdkFunction;

void SessionRun::fireAny() {
    if (sdk_.liveConnections() == 0 || sdk_.connection().transceivers.size() < 2 ||
        sdk_.connection().audio().onFrame == nullptr) {
        return;
    }
    switch (input_.ConsumeIntegralInRange(0, 6)) {
        case 0:
            fireCandidate();
            break;
        case 1:
            fireGatheringEnd();
            break;
        case 2:
            fireFrames();
            break;
        case 3:
            fireBandwidth();
            break;
        default:
            fireState();
    }
}

void SessionRun::fireCandidate() {
    const std::string json = untilTerminator(text(400));
    const bool isTold = !model_.terminated && model_.corrected.trickleIce && model_.hasCallback;
    const size_t lines = sdk_.lines().size();
    const size_t calls = sdk_.calls().size();
    if (isTold) {
        model_.told.push_back(Told{"onIceCandidate", sid_, json, nullptr, 0});
    }
    sdk_.connection().fireCandidate(json);
    require(isTold || (sdk_.lines().size() == lines && sdk_.calls().size() == calls),
            "a candidate that is not passed on leaves no trace");
}

void SessionRun::fireGatheringEnd() {
    const size_t lines = sdk_.lines().size();
    const size_t before = sdk_.calls().size();
    const bool wasTerminated = model_.terminated;
    const bool isAnswer = !model_.corrected.trickleIce && model_.hasCallback;
    sdk_.connection().fireGatheringEnd();

    const std::vector<SdkCall> calls = ownCallsSince(before);
    if (wasTerminated) {
        require(calls.empty() && sdk_.lines().size() == lines, "nothing happens after teminate");
        return;
    }
    require(calls.at(0).function == SdkFunction::peerConnectionGetCurrentLocalDescription,
            "the end of gathering asks for the description");
    const bool fetched = calls[0].status == STATUS_SUCCESS;
    require(calls.size() == (fetched ? 2 : 1), "the description is serialized when it was fetched");
    if (isAnswer && fetched && calls[1].status == STATUS_SUCCESS && answerFits()) {
        model_.told.push_back(Told{"onAnswer", sid_, answerText(sdk_.deliver.currentLocalSdp), nullptr, 0});
    }
}

void SessionRun::fireState() {
    const UINT32 state = input_.ConsumeIntegralInRange<UINT32>(0, 5) < 3 ? UINT32{RTC_PEER_CONNECTION_STATE_CONNECTED}
                                                                         : input_.ConsumeIntegral<uint8_t>();
    const size_t lines = sdk_.lines().size();
    const size_t calls = sdk_.calls().size();
    const bool wasTerminated = model_.terminated;
    if (!wasTerminated) {
        model_.state = state;
        model_.connected = state == RTC_PEER_CONNECTION_STATE_CONNECTED;
        if (model_.hasCallback) {
            model_.told.push_back(Told{"onStateChange", sid_, "", nullptr, state});
        }
    }
    sdk_.connection().fireState(state);
    require(!wasTerminated || (sdk_.lines().size() == lines && sdk_.calls().size() == calls),
            "a state after teminate leaves no trace");
}

void SessionRun::fireFrames() {
    Frame frame = {};
    frame.frameData = media_.data();
    frame.size = input_.ConsumeIntegral<UINT32>();
    frame.trackId = input_.ConsumeIntegral<UINT64>();
    RecordedConnection& connection = sdk_.connection();
    const size_t lines = sdk_.lines().size();
    connection.video().fireFrame(frame);
    require(sdk_.lines().size() == lines + 1, "a video frame that arrives is logged and nothing else");
    if (!model_.terminated && model_.hasCallback) {
        model_.told.push_back(Told{"onAudioFrame", sid_, "", media_.data(), frame.size});
    }
    connection.audio().fireFrame(frame);
}

void SessionRun::fireBandwidth() {
    RecordedConnection& connection = sdk_.connection();
    const size_t lines = sdk_.lines().size();
    const double limit = input_.ConsumeFloatingPoint<double>();
    connection.video().fireBandwidth(limit);
    connection.audio().fireBandwidth(limit);
    connection.fireSenderBandwidth();
    require(sdk_.lines().size() == lines + 2, "a bitrate limit is logged, a sender's estimate is not");
}

}  // namespace zelrtc::fuzz
