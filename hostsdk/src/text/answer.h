// What the answer needs beyond what webrtcbin writes.
#ifndef HOSTSDK_SRC_TEXT_ANSWER_H
#define HOSTSDK_SRC_TEXT_ANSWER_H

#include <string>
#include <vector>

#include "text/offer.h"

namespace zelrtc::hostsdk {

// An m-line's payload type and its profile-level-id, echoed from the offer.
struct AnsweredFormat {
    int payloadType = 0;
    std::string profileLevelId;
};

// Adds the profile that webrtcbin leaves out of the answer's fmtp, and removes transport-wide feedback: browsers would
// send that instead of the bitrate limit that the bandwidth handler reports.
std::string completeAnswer(const std::string& sdp, const std::vector<AnsweredFormat>& formats);

}  // namespace zelrtc::hostsdk

#endif
