#include "signalling/sdk_status.h"

#include <array>
#include <cstdint>
#include <cstdio>

namespace zelrtc::camera {

namespace {

struct Meaning {
    uint32_t status;
    int httpStatus;
    const char* reason;
};

constexpr std::array<Meaning, 15> kMeanings = {{
    {0x00000002, 400, "it is longer than can be taken"},
    {0x00000004, 503, "the camera is out of memory"},
    {0x00000005, 422, "the answer to it would be too long"},
    {0x1500000c, 400, "it is not the expected JSON"},
    {0x55000003, 400, "its type is neither \"offer\" nor \"answer\""},
    {0x55000004, 400, "its sdp is missing or empty"},
    {0x55000005, 400, "it has no type"},
    {0x55000006, 413, "its sdp is longer than 25000 characters"},
    {0x55000008, 400, "its sdp is not a session description"},
    {0x5a000007, 500, "the camera's ICE server has a bad URL"},
    {0x5a000008, 500, "the camera's ICE server has a bad URL"},
    {0x5a000011, 400, "it is not the expected JSON"},
    {0x5a000012, 400, "it has no candidate line"},
    {0x5a000028, 500, "no such ICE server"},
    {0x0000000e, 501, "the camera's WebRTC stack cannot do this"},
}};

std::string hexadecimal(uint32_t status) {
    std::array<char, 11> text{};
    std::snprintf(text.data(), text.size(), "0x%08x", status);
    return text.data();
}

}  // namespace

HttpError errorOfStatus(const std::string& what, int status) {
    const auto code = static_cast<uint32_t>(status);
    for (const Meaning& meaning : kMeanings) {
        if (meaning.status == code) {
            return {meaning.httpStatus, what + ": " + meaning.reason + " (status " + hexadecimal(code) + ")"};
        }
    }
    return {500, what + " with the SDK's status " + hexadecimal(code)};
}

}  // namespace zelrtc::camera
