/**
 * @file answering_side.h The near end of a call: hostsdk through its C functions, driven as a session drives it.
 */
#ifndef TESTS_HOSTSDK_ANSWERING_SIDE_H
#define TESTS_HOSTSDK_ANSWERING_SIDE_H

#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace zelrtc::test {

class AnsweringSide {
public:
    static constexpr std::chrono::seconds kDeadline{30};

    explicit AnsweringSide(const std::string& iceServer = "", ICE_TRANSPORT_POLICY policy = ICE_TRANSPORT_POLICY_ALL);
    AnsweringSide(const AnsweringSide&) = delete;
    AnsweringSide& operator=(const AnsweringSide&) = delete;
    AnsweringSide(AnsweringSide&&) = delete;
    AnsweringSide& operator=(AnsweringSide&&) = delete;
    // Closes and frees the connection.
    ~AnsweringSide();

    STATUS setOffer(const std::string& sdp);
    // Sets the offer, then creates and sets the answer; returns the first status that is not success.
    STATUS answer(const std::string& offer);
    std::string answerSdp() const;
    // Includes the candidates gathered so far.
    std::string localSdp();
    STATUS addCandidate(const std::string& line);

    STATUS writeVideo(size_t index);
    // An access unit of the test's own as the picture of that number.
    STATUS writeUnit(std::vector<uint8_t> unit, size_t index);
    STATUS writeAudio(size_t index);
    // Writes 30 video and audio frames a second until the condition holds; false on timeout.
    bool writeUntil(const std::function<bool()>& condition);

    void close();

    // These return false on timeout.
    bool waitForState(RTC_PEER_CONNECTION_STATE state, std::chrono::milliseconds limit = kDeadline);
    bool waitForGathering(std::chrono::milliseconds limit = kDeadline);
    bool waitFor(const std::function<bool()>& condition, std::chrono::milliseconds limit = kDeadline);

    // What the handlers have received so far.
    std::vector<RTC_PEER_CONNECTION_STATE> states();
    std::vector<std::string> candidates();
    int ends();
    std::vector<UINT32> audioSizes();
    std::vector<UINT64> audioTimes();
    // The threads that delivered candidates, the end of gathering and states other than CONNECTED; then all the others.
    std::set<std::thread::id> timerThreads();
    std::set<std::thread::id> listenerThreads();

    PRtcPeerConnection connection() const {
        return connection_;
    }
    PRtcRtpTransceiver video() const {
        return video_;
    }
    PRtcRtpTransceiver audio() const {
        return audio_;
    }

    // Runs inside the state handler, after the state is recorded.
    std::function<void(RTC_PEER_CONNECTION_STATE)> duringState;
    // Runs inside the audio handler.
    std::function<void()> duringAudio;

private:
    static AnsweringSide& from(UINT64 customData);
    static VOID onCandidate(UINT64 customData, PCHAR json);
    static VOID onState(UINT64 customData, RTC_PEER_CONNECTION_STATE state);
    static VOID onAudio(UINT64 customData, PFrame frame);

    PRtcRtpTransceiver addTrack(RTC_CODEC codec, MEDIA_STREAM_TRACK_KIND kind);
    void note(std::set<std::thread::id>* threads, const std::function<void()>& change);

    PRtcPeerConnection connection_ = nullptr;
    PRtcRtpTransceiver video_ = nullptr;
    PRtcRtpTransceiver audio_ = nullptr;
    RtcSessionDescriptionInit answer_{};

    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<RTC_PEER_CONNECTION_STATE> states_;
    std::vector<std::string> candidates_;
    int ends_ = 0;
    std::vector<UINT32> audioSizes_;
    std::vector<UINT64> audioTimes_;
    std::set<std::thread::id> timerThreads_;
    std::set<std::thread::id> listenerThreads_;
};

}  // namespace zelrtc::test

#endif
