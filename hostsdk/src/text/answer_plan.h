/** @file answer_plan.h What becomes of each section of an offer, decided before the engine sees it. */
#ifndef HOSTSDK_SRC_TEXT_ANSWER_PLAN_H
#define HOSTSDK_SRC_TEXT_ANSWER_PLAN_H

#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "text/offered_transport.h"
#include "text/payload_format.h"
#include "text/session_description.h"

namespace zelrtc::hostsdk {

// What a transceiver offers to answer with.
struct AnsweringTrack {
    RTC_CODEC codec = RTC_CODEC_MULAW;
    RTC_RTP_TRANSCEIVER_DIRECTION direction = RTC_RTP_TRANSCEIVER_DIRECTION_SENDRECV;
    std::string streamId;
    std::string trackId;
};

enum class Outcome {
    kRejected,  // port 0
    kIdle,      // shares the transport of a served one, and nothing is sent or received
    kServed     // by a transceiver
};

struct PlannedSection {
    Section offered;
    Outcome outcome = Outcome::kRejected;
    std::string reason;  // why it is not served
    PayloadFormat format;
    std::string parameters;                                                            // of the answer's fmtp
    std::vector<std::string> feedback;                                                 // of the answer: "nack pli"
    RTC_RTP_TRANSCEIVER_DIRECTION direction = RTC_RTP_TRANSCEIVER_DIRECTION_INACTIVE;  // of the answer
    size_t track = 0;  // the one that serves it, and its names
    std::string streamId;
    std::string trackId;
};

struct AnswerPlan {
    std::vector<PlannedSection> sections;     // those of the offer, in its order
    std::vector<size_t> served;               // the sections that the engine sees, in their order
    std::vector<std::vector<size_t>> groups;  // BUNDLE, as the answer has them
    // Either one for everything that is served, or one for each.
    std::vector<Transport> transports;
    bool isIceLite = false;

    bool isBundled() const {
        return transports.size() < served.size();
    }
    // The m-line of the engine's offer and answer that holds the section's transport; the section is not rejected.
    size_t engineLineOf(size_t section) const;
    // Of the engine's m-line: with one transport, all m-lines have it.
    const Transport& transportOfEngineLine(size_t line) const;
};

// Nothing when no section can be served or a transport is incomplete; `error` then says why. A track serves at most one
// section, the first of its kind that it can.
std::optional<AnswerPlan> planAnswer(const SessionDescription& offer, const std::vector<AnsweringTrack>& tracks,
                                     std::string* error);

}  // namespace zelrtc::hostsdk

#endif
