/** @file application.h A session callback that records what it receives and may react to it. */
#ifndef TESTS_FUZZ_APPLICATION_H
#define TESTS_FUZZ_APPLICATION_H

#include <functional>
#include <string>
#include <vector>

#include "zelwebrtc.h"

namespace zelrtc::fuzz {

struct Told {
    std::string operation;
    ZELRTC_SESSION_ID sid;
    std::string text;
    const void* data;
    UINT32 number;

    bool operator==(const Told& other) const {
        return operation == other.operation && sid == other.sid && text == other.text && data == other.data &&
               number == other.number;
    }
};

class Application : public ZelWebrtcSessionCallback {
public:
    void onAnswer(ZELRTC_SESSION_ID sid, const std::string& answer) override {
        note(Told{"onAnswer", sid, answer, nullptr, 0});
    }

    void onIceCandidate(ZELRTC_SESSION_ID sid, const std::string& candidate) override {
        note(Told{"onIceCandidate", sid, candidate, nullptr, 0});
    }

    void onStateChange(ZELRTC_SESSION_ID sid, RTC_PEER_CONNECTION_STATE state) override {
        note(Told{"onStateChange", sid, "", nullptr, static_cast<UINT32>(state)});
    }

    void onAudioFrame(ZELRTC_SESSION_ID sid, void* data, unsigned int size) override {
        note(Told{"onAudioFrame", sid, "", data, size});
    }

    std::vector<Told> told;
    std::function<void()> reaction;

private:
    void note(const Told& what) {
        told.push_back(what);
        if (reaction) {
            reaction();
        }
    }
};

}  // namespace zelrtc::fuzz

#endif
