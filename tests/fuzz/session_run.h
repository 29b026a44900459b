/**
 * @file session_run.h The life of one session, driven by a byte string: public calls, SDK handlers and SDK statuses in
 * orders that nobody would think of, checked against a plain model of the session's promises. Any disagreement ends the
 * run.
 */
#ifndef TESTS_FUZZ_SESSION_RUN_H
#define TESTS_FUZZ_SESSION_RUN_H

#include <fuzzer/FuzzedDataProvider.h>

#include <memory>
#include <string>
#include <vector>

#include "application.h"
#include "recording_sdk.h"
#include "zelwebrtc_session.h"

namespace zelrtc::fuzz {

/** What a C function sees of the text. */
inline std::string untilTerminator(const std::string& text) {
    return text.substr(0, text.find('\0'));
}

class SessionRun {
public:
    SessionRun(const uint8_t* data, size_t size);
    ~SessionRun();
    SessionRun(const SessionRun&) = delete;
    SessionRun& operator=(const SessionRun&) = delete;

    void run();

private:
    /** What must be true of the session by now. */
    struct Model {
        ZelRtcSessionConfig given;
        ZelRtcSessionConfig corrected;
        bool hasCallback = false;
        bool hasConnection = false;
        bool hasTransceivers = false;
        bool connected = false;
        bool terminated = false;
        bool waitsForKeyFrame = true;
        UINT32 state = RTC_PEER_CONNECTION_STATE_NONE;
        UINT32 videoType = 1;
        UINT32 audioType = 1;
        std::vector<Told> told;
    };

    void forget();
    void construct();
    void step();
    void destroy();

    // The application's operations.
    void init();
    void addRemoteCandidate();
    void setAudioVideoType();
    void writeVideo();
    void writeAudio();
    void teminate();

    // The SDK's events.
    void fireAny();
    void fireCandidate();
    void fireGatheringEnd();
    void fireState();
    void fireFrames();
    void fireBandwidth();

    void deliverDefaults();
    void scriptSdk();
    void interruptNext();
    void nested(void (SessionRun::*action)());
    void react();
    void operateInside();

    void expectWrite(int result, int expected, bool reachesSdk, size_t callsBefore, const Frame& frame);
    void expectConfiguration() const;
    void expectMembers();
    void expectLines() const;
    void expectAll();

    std::vector<zelrtc::test::SdkCall> ownCallsSince(size_t first) const;
    bool answerFits() const;
    std::string answerText(const std::string& sdp) const;
    std::string text(size_t limit);
    ZelRtcIceServer server();
    UINT32 status();

    FuzzedDataProvider input_;
    zelrtc::test::RecordingSdk& sdk_;
    Application application_;
    Model model_;
    ZELRTC_SESSION_ID sid_ = 0;
    std::unique_ptr<ZelRtcSession> session_;
    std::vector<BYTE> media_;
    bool isNested_ = false;
    // Ranges of SDK calls that an event or a reaction made in the middle of an operation.
    std::vector<std::pair<size_t, size_t>> nestedCalls_;
};

}  // namespace zelrtc::fuzz

#endif
