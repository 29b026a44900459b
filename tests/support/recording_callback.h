/** @file recording_callback.h A session callback that notes its calls in the recorder's journal. */
#ifndef TESTS_SUPPORT_RECORDING_CALLBACK_H
#define TESTS_SUPPORT_RECORDING_CALLBACK_H

#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "allocations.h"
#include "recording_sdk.h"
#include "zelwebrtc.h"

namespace zelrtc::test {

class RecordingCallback : public ZelWebrtcSessionCallback {
public:
    struct Audio {
        const void* data;
        unsigned int size;
    };

    void onAnswer(ZELRTC_SESSION_ID sid, const std::string& answer) override {
        tell(sid, "onAnswer " + answer);
        act(duringAnswer);
    }

    void onIceCandidate(ZELRTC_SESSION_ID sid, const std::string& candidate) override {
        tell(sid, "onIceCandidate " + candidate);
        act(duringCandidate);
    }

    void onStateChange(ZELRTC_SESSION_ID sid, RTC_PEER_CONNECTION_STATE state) override {
        tell(sid, "onStateChange " + std::to_string(static_cast<unsigned>(state)));
        act(duringState);
    }

    void onAudioFrame(ZELRTC_SESSION_ID sid, void* data, unsigned int size) override {
        tell(sid, "onAudioFrame " + std::to_string(size) + " bytes");
        {
            const UncountedScope uncounted;
            audio.push_back(Audio{data, size});
        }
        act(duringAudio);
    }

    std::function<void()> duringAnswer;
    std::function<void()> duringCandidate;
    std::function<void()> duringState;
    std::function<void()> duringAudio;
    std::vector<Audio> audio;
    std::thread::id lastThread;

private:
    void tell(ZELRTC_SESSION_ID sid, const std::string& what) {
        const UncountedScope uncounted;
        lastThread = std::this_thread::get_id();
        RecordingSdk::instance().note("app " + std::to_string(sid) + " " + what);
    }

    static void act(const std::function<void()>& action) {
        if (action) {
            action();
        }
    }
};

}  // namespace zelrtc::test

#endif
