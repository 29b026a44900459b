// What holds after every step, whatever the step was.
#include "session_run.h"

#include <string.h>

#include "promise.h"
#include "session_members.h"

namespace zelrtc::fuzz {

using zelrtc::test::LogLine;
using zelrtc::test::member;
using zelrtc::test::SdkCall;
using zelrtc::test::SdkFunction;

namespace {

template <size_t SIZE>
bool holds(const CHAR (&field)[SIZE], const std::string& text) {
    return strnlen(field, SIZE) < SIZE && field == untilTerminator(text);
}

}  // namespace

void SessionRun::expectConfiguration() const {
    const std::vector<SdkCall> created = sdk_.calls(SdkFunction::createPeerConnection);
    require(created.size() == 1, "a negotiation creates one connection");
    const RtcConfiguration configuration = created[0].as<RtcConfiguration>();
    const bool isRelay = configuration.iceTransportPolicy == ICE_TRANSPORT_POLICY_RELAY;
    require(isRelay == model_.corrected.relayOnly, "only relays are asked for when relayOnly is set");
    const auto& servers = model_.corrected.iceServers;
    for (size_t i = 0; i < MAX_ICE_SERVERS_COUNT; ++i) {
        const ZelRtcIceServer server = i < servers.size() ? servers[i] : ZelRtcIceServer();
        const RtcIceServer& given = configuration.iceServers[i];
        require(holds(given.urls, server.url), "servers are passed on in order");
        require(holds(given.username, server.username), "a server has its user name");
        require(holds(given.credential, server.username.empty() ? "" : server.credential),
                "a credential goes with a user name only");
    }
}

void SessionRun::expectMembers() {
    require(session_->getSessionId() == sid_, "the id stays");
    require(static_cast<UINT32>(session_->getState()) == model_.state, "getState is the last state reported");
    const bool hasConnection = member(*session_, zelrtc::test::pPeerConnection_Tag()) != nullptr;
    require(hasConnection == model_.hasConnection, "only a successful init keeps its connection");
    require(sdk_.liveConnections() == (hasConnection ? 1 : 0), "a connection that is not kept has been freed");
    require((member(*session_, zelrtc::test::pVideoRtcRtpTransceiver_Tag()) != nullptr) == model_.hasTransceivers,
            "the video transceiver is kept after success only");
    require((member(*session_, zelrtc::test::pAudioRtcRtpTransceiver_Tag()) != nullptr) == model_.hasTransceivers,
            "the audio transceiver is kept after success only");
    require(member(*session_, zelrtc::test::waitKeyframe_Tag()) == model_.waitsForKeyFrame,
            "the key-frame gate opens and closes as promised");
    require((member(*session_, zelrtc::test::connected_Tag()) != 0) == model_.connected, "connected follows the state");
    require((member(*session_, zelrtc::test::terminated_Tag()) != 0) == model_.terminated,
            "terminated is never cleared");
    require(member(*session_, zelrtc::test::videoType_Tag()) == model_.videoType, "the video stream is the one chosen");
    require(member(*session_, zelrtc::test::audioType_Tag()) == model_.audioType, "audio is on or off as chosen");
}

void SessionRun::expectLines() const {
    for (const LogLine& line : sdk_.lines()) {
        require(line.level >= 1 && line.level <= 5, "log levels are 1 to 5");
        require(line.tag == "platform-utils", "the log's tag is fixed");
        require(line.format.compare(0, 6, "%s(): ") == 0, "every line begins with the function's name");
        require(line.text.find("(): ") != 0, "the function has a name");
    }
}

void SessionRun::expectAll() {
    require(application_.told == model_.told, "the application gets each report once and in order");
    require(sdk_.misuse().empty(), "the SDK is only called with live objects");
    expectMembers();
    expectLines();
}

}  // namespace zelrtc::fuzz
