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

constexpr const char* kNotJson = "it is not the expected JSON";
constexpr const char* kTooManyLines = "its sdp has too many lines, or one that cannot be read";
constexpr const char* kBadServer = "the camera's ICE server has a bad URL";

constexpr std::array<Meaning, 22> kMeanings = {{
    {0x00000002, 400, "it is longer than can be taken"},
    {0x00000004, 503, "the camera is out of memory"},
    {0x00000005, 422, "it has too many media sections, or the answer to it would be too long"},
    {0x0000000e, 501, "the camera's WebRTC stack cannot do this"},
    {0x1500000c, 400, kNotJson},
    {0x40000002, 400, kTooManyLines},
    {0x40000004, 400, kTooManyLines},
    {0x40000005, 400, kTooManyLines},
    {0x55000003, 400, "its type is neither \"offer\" nor \"answer\""},
    {0x55000004, 400, "its sdp is missing or empty"},
    {0x55000005, 400, "it has no type"},
    {0x55000006, 413, "its sdp is too long"},
    {0x55000008, 400, "its sdp is not a session description, or a media section has no a=ice-ufrag and a=ice-pwd"},
    {0x55000009, 400, "its sdp has no certificate fingerprint"},
    {0x5600000f, 400, "its sdp holds something that cannot be taken"},
    {0x5a000007, 500, kBadServer},
    {0x5a000008, 500, kBadServer},
    {0x5a000011, 400, kNotJson},
    {0x5a000012, 400, "it has no candidate line"},
    {0x5a00001d, 503, "the camera has no network to call over"},
    {0x5a000028, 500, "no such ICE server"},
    {0x5e000001, 400, "its sdp cannot be answered; its \"s=\" line may be empty"},
}};

// The parts of the SDK that look at nothing but the offer's text: whatever they refuse is the viewer's.
bool isAboutText(uint32_t status) {
    const uint32_t part = status >> 24U;
    return part == 0x40 || part == 0x55 || part == 0x56;
}

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

HttpError errorOfOffer(const std::string& what, int status) {
    HttpError error = errorOfStatus(what, status);
    if (error.httpStatus() == 500 && isAboutText(static_cast<uint32_t>(status))) {
        return {400, error.what()};
    }
    return error;
}

}  // namespace zelrtc::camera
