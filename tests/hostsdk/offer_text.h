/** @file offer_text.h Writes offers for the tests. */
#ifndef TESTS_HOSTSDK_OFFER_TEXT_H
#define TESTS_HOSTSDK_OFFER_TEXT_H

#include <optional>
#include <string>
#include <vector>

#include "text/answer_plan.h"

namespace zelrtc::test {

constexpr RTC_CODEC kH264 = RTC_CODEC_H264_PROFILE_42E01F_LEVEL_ASYMMETRY_ALLOWED_PACKETIZATION_MODE;

inline std::string session(const std::string& lines = "") {
    return "v=0\r\no=- 7 2 IN IP4 127.0.0.1\r\ns=-\r\nt=0 0\r\n" + lines;
}

inline std::string transport(const std::string& user = "vwVw") {
    return "a=ice-ufrag:" + user +
           "\r\na=ice-pwd:9zYn8aPq3dRk7LmT2xWc5vBh\r\na=fingerprint:sha-256 7B:8D:F0:65\r\na=setup:actpass\r\n"
           "a=rtcp-mux\r\n";
}

// The mid line; nothing for an empty mid.
inline std::string midLine(const std::string& mid) {
    return mid.empty() ? "" : "a=mid:" + mid + "\r\n";
}

inline std::string video(const std::string& mid, const std::string& lines = transport()) {
    return "m=video 9 UDP/TLS/RTP/SAVPF 96\r\n" + lines + midLine(mid) +
           "a=recvonly\r\na=rtpmap:96 H264/90000\r\n"
           "a=fmtp:96 level-asymmetry-allowed=1;packetization-mode=1;profile-level-id=42e01f\r\n";
}

inline std::string audio(const std::string& mid, const std::string& lines = transport()) {
    return "m=audio 9 UDP/TLS/RTP/SAVPF 0\r\n" + lines + midLine(mid) + "a=sendrecv\r\n";
}

inline std::string data(const std::string& mid) {
    return "m=application 9 UDP/DTLS/SCTP webrtc-datachannel\r\n" + transport() + midLine(mid) + "a=sctp-port:5000\r\n";
}

inline std::vector<hostsdk::AnsweringTrack> tracks() {
    return {{kH264, RTC_RTP_TRANSCEIVER_DIRECTION_SENDRECV, "stream", "picture"},
            {RTC_CODEC_MULAW, RTC_RTP_TRANSCEIVER_DIRECTION_SENDRECV, "stream", "sound"}};
}

// Why the offer is refused.
inline std::string errorOf(const std::string& sdp) {
    std::string error;
    const auto offer = hostsdk::parseDescription(sdp, &error);
    if (offer && planAnswer(*offer, tracks(), &error)) {
        return "";
    }
    return error;
}

// The plan for an offer that can be answered.
inline hostsdk::AnswerPlan planFor(const std::string& sdp) {
    std::string error;
    const auto offer = hostsdk::parseDescription(sdp, &error);
    return planAnswer(offer.value(), tracks(), &error).value();
}

}  // namespace zelrtc::test

#endif
