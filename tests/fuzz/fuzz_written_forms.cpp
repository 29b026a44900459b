// Descriptions and candidates are read back exactly as they were written, whatever text they hold.
#include <fuzzer/FuzzedDataProvider.h>
#include <string.h>

#include <memory>
#include <string>
#include <vector>

#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>

#include "promise.h"
#include "text/candidate_json.h"

using zelrtc::fuzz::require;

namespace {

const size_t kLargestEscape = sizeof("\\u0000") - 1;

// JSON text is UTF-8, and a field ends at its terminator. Reading unescapes line ends only: other escapes stay in the
// text as they are.
bool comesBack(unsigned char byte) {
    return byte == '\r' || byte == '\n' || (byte >= 0x20 && byte < 0x80 && byte != '"' && byte != '\\');
}

std::string plainText(FuzzedDataProvider* input, size_t limit) {
    std::string text = input->ConsumeRandomLengthString(limit);
    for (CHAR& character : text) {
        character = comesBack(static_cast<unsigned char>(character)) ? character : 'x';
    }
    return text;
}

void describe(FuzzedDataProvider* input) {
    RtcSessionDescriptionInit written;
    memset(&written, 0, sizeof(written));
    written.type = input->ConsumeBool() ? SDP_TYPE_OFFER : SDP_TYPE_ANSWER;
    const size_t room = input->ConsumeIntegralInRange<size_t>(0, 2000);
    const std::string sdp = plainText(input, 4000);
    sdp.copy(written.sdp, sizeof(written.sdp) - 1);

    std::vector<CHAR> buffer(room + 1);
    UINT32 length = static_cast<UINT32>(room);
    const STATUS status = serializeSessionDescriptionInit(&written, buffer.data(), &length);
    if (status == STATUS_BUFFER_TOO_SMALL) {
        require(room < sdp.size() * kLargestEscape + sizeof(R"({"type": "answer", "sdp": ""})"),
                "a text that fits is written");
        return;
    }
    require(status == STATUS_SUCCESS, "only too little room makes it fail");
    require(length <= room && buffer[length - 1] == '\0', "the length counts the terminator and fits the room");

    RtcSessionDescriptionInit read;
    memset(&read, 0, sizeof(read));
    const STATUS readStatus = deserializeSessionDescriptionInit(buffer.data(), length - 1, &read);
    require((readStatus == STATUS_SUCCESS) == !sdp.empty(), "a written description can be read, unless empty");
    require(sdp.empty() || (read.type == written.type && sdp == read.sdp), "a description is read back as written");
}

void announce(FuzzedDataProvider* input) {
    const std::string line = plainText(input, MAX_ICE_CANDIDATE_INIT_CANDIDATE_LEN);
    const std::string mid = plainText(input, 32);
    std::string json = zelrtc::hostsdk::writeCandidateJson(line, mid, input->ConsumeIntegral<unsigned int>());

    RtcIceCandidateInit read;
    const STATUS status = deserializeRtcIceCandidateInit(json.data(), static_cast<UINT32>(json.size()), &read);
    require((status == STATUS_SUCCESS) == !line.empty(), "a written candidate can be read, unless empty");
    require(line.empty() || line == read.candidate, "a candidate is read back as written");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider input(data, size);
    if (input.ConsumeBool()) {
        describe(&input);
    } else {
        announce(&input);
    }
    return 0;
}
