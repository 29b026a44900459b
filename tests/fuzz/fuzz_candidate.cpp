// Candidates from the far end: parses their JSON and the line inside.
#include <string.h>

#include <algorithm>
#include <memory>
#include <string>

#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>

#include "promise.h"
#include "text/candidate_line.h"

using zelrtc::fuzz::require;

namespace {

const CHAR kUntouched = '#';

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // The text has a length and no terminator; in a heap block of exactly that size, any overrun shows.
    std::unique_ptr<CHAR[]> json(new CHAR[size > 0 ? size : 1]);
    std::copy(data, data + size, json.get());
    RtcIceCandidateInit candidate;
    memset(&candidate, kUntouched, sizeof(candidate));
    RtcIceCandidateInit before = candidate;

    const STATUS status = deserializeRtcIceCandidateInit(json.get(), static_cast<UINT32>(size), &candidate);

    if (status != STATUS_SUCCESS) {
        require(memcmp(&before, &candidate, sizeof(before)) == 0, "a refused candidate leaves the record as it was");
        return 0;
    }
    const std::string line(candidate.candidate, strnlen(candidate.candidate, sizeof(candidate.candidate)));
    const auto usable = zelrtc::hostsdk::usableCandidate(line);
    require(!usable || !usable->empty(), "a usable candidate is not empty");
    zelrtc::hostsdk::sdkCandidate(line);
    return 0;
}
