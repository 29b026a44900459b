// Offers from the far end: parses them and plans their answers.
#include <string.h>

#include <memory>
#include <string>
#include <string_view>

#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>

#include "promise.h"
#include "text/answer_plan.h"
#include "text/engine_offer.h"
#include "text/written_answer.h"

using zelrtc::fuzz::require;
using zelrtc::hostsdk::LocalSide;
using zelrtc::hostsdk::parseDescription;

namespace {

const CHAR kUntouched = '#';

// The descriptions for the engine and for the viewer must parse again, with the right number of sections.
void negotiate(const std::string& sdp) {
    constexpr RTC_CODEC kH264 = RTC_CODEC_H264_PROFILE_42E01F_LEVEL_ASYMMETRY_ALLOWED_PACKETIZATION_MODE;
    std::string error;
    const auto offer = parseDescription(sdp, &error);
    const auto plan = offer ? planAnswer(*offer,
                                         {{kH264, RTC_RTP_TRANSCEIVER_DIRECTION_SENDRECV, "stream", "picture"},
                                          {RTC_CODEC_MULAW, RTC_RTP_TRANSCEIVER_DIRECTION_SENDRECV, "stream", "sound"}},
                                         &error)
                            : std::nullopt;
    require(plan || !error.empty(), "a refused offer has a reason");
    if (!plan) {
        return;
    }
    const auto forEngine = parseDescription(engineOffer(*plan), &error);
    require(forEngine && forEngine->sections.size() == plan->served.size(), "the engine sees what is served");
    LocalSide local;
    local.engineAnswer = *forEngine;
    const auto answer = parseDescription(writeAnswer(*plan, local), &error);
    require(answer && answer->sections.size() == offer->sections.size(), "the answer has the offer's sections");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // The text has a length and no terminator; in a heap block of exactly that size, any overrun shows.
    std::unique_ptr<CHAR[]> json(new CHAR[size > 0 ? size : 1]);
    std::copy(data, data + size, json.get());
    RtcSessionDescriptionInit description;
    memset(&description, kUntouched, sizeof(description));
    RtcSessionDescriptionInit before = description;

    const STATUS status = deserializeSessionDescriptionInit(json.get(), static_cast<UINT32>(size), &description);

    if (status != STATUS_SUCCESS) {
        // NOLINTNEXTLINE(bugprone-suspicious-memory-comparison): every byte of both was set
        require(memcmp(&before, &description, sizeof(before)) == 0,
                "a refused description leaves the record as it was");
        return 0;
    }
    require(description.type == SDP_TYPE_OFFER || description.type == SDP_TYPE_ANSWER, "the type is one of two");
    require(memchr(description.sdp, '\0', sizeof(description.sdp)) != nullptr, "the sdp is terminated");
    negotiate(description.sdp);
    return 0;
}
