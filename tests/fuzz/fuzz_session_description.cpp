// Offers from the far end: the reader of descriptions, and what the answer is chosen from.
#include <string.h>

#include <memory>
#include <string>
#include <string_view>

#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>

#include "promise.h"
#include "text/answer.h"
#include "text/offer.h"

using zelrtc::fuzz::require;

namespace {

const CHAR kUntouched = '#';

void negotiate(const std::string& sdp) {
    for (const zelrtc::hostsdk::OfferedMedia& media : zelrtc::hostsdk::parseOffer(sdp)) {
        for (const RTC_CODEC codec :
             {RTC_CODEC_H264_PROFILE_42E01F_LEVEL_ASYMMETRY_ALLOWED_PACKETIZATION_MODE, RTC_CODEC_MULAW}) {
            const auto chosen = zelrtc::hostsdk::chooseFormat(media, codec);
            if (chosen) {
                const std::string profile = zelrtc::hostsdk::profileLevelId(chosen->parameters);
                require(chosen->parameters.find(profile) != std::string::npos, "the profile is one of the offer's");
                zelrtc::hostsdk::completeAnswer(sdp, {{chosen->payloadType, profile}});
            }
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // The text ends where its length says, not at a terminator: a heap block of its size shows any step beyond.
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
