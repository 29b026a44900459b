/** @file written_answer.h The answer that the viewer gets in place of the engine's. */
#ifndef HOSTSDK_SRC_TEXT_WRITTEN_ANSWER_H
#define HOSTSDK_SRC_TEXT_WRITTEN_ANSWER_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "text/answer_plan.h"
#include "text/session_description.h"

namespace zelrtc::hostsdk {

struct LocalCandidate {
    size_t engineLine = 0;
    std::string line;  // as the engine writes it: "candidate:..."
};

struct LocalSide {
    uint64_t sessionId = 0;  // of the o= line
    SessionDescription engineAnswer;
    std::vector<LocalCandidate> candidates;
    bool hasAllCandidates = false;
};

// A section for each of the offer's. Of the engine's answer only the transports and the sources' names are taken.
std::string writeAnswer(const AnswerPlan& plan, const LocalSide& local);

}  // namespace zelrtc::hostsdk

#endif
