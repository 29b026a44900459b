/** @file answer.h What the answer needs beyond the text that webrtcbin writes. */
#ifndef HOSTSDK_SRC_TEXT_ANSWER_H
#define HOSTSDK_SRC_TEXT_ANSWER_H

#include <string>
#include <vector>

#include "text/offer.h"

namespace zelrtc::hostsdk {

// The m-line's format and the profile that it stands for, echoed from the offer.
struct AnsweredFormat {
    int payloadType = 0;
    std::string profileLevelId;
};

// Adds the profile that webrtcbin leaves out of the answer's fmtp, and takes out transport-wide feedback: browsers
// would send it in place of the bitrate limit that the bandwidth handler reports.
std::string completeAnswer(const std::string& sdp, const std::vector<AnsweredFormat>& formats);

}  // namespace zelrtc::hostsdk

#endif
