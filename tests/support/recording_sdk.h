/** @file recording_sdk.h An SDK that only records: every call and every log line, in one order. */
#ifndef TESTS_SUPPORT_RECORDING_SDK_H
#define TESTS_SUPPORT_RECORDING_SDK_H

#include <stdarg.h>
#include <string.h>

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>

namespace zelrtc::test {

enum class SdkFunction {
    createPeerConnection,
    closePeerConnection,
    freePeerConnection,
    peerConnectionOnIceCandidate,
    peerConnectionOnConnectionStateChange,
    peerConnectionOnSenderBandwidthEstimation,
    addSupportedCodec,
    addTransceiver,
    transceiverOnFrame,
    transceiverOnBandwidthEstimation,
    deserializeSessionDescriptionInit,
    serializeSessionDescriptionInit,
    setRemoteDescription,
    setLocalDescription,
    createAnswer,
    peerConnectionGetCurrentLocalDescription,
    deserializeRtcIceCandidateInit,
    addIceCandidate,
    writeFrame,
    rtcPeerConnectionGetMetrics,
    kCount
};

const char* nameOf(SdkFunction function);

/** One call, with what the caller passed at that moment. */
struct SdkCall {
    SdkFunction function = SdkFunction::kCount;
    const void* object = nullptr;   // the connection or transceiver
    const void* pointer = nullptr;  // a second pointer: transceiver init, transceiver of a query, the frame's bytes
    UINT64 customData = 0;
    uintptr_t handler = 0;
    std::string text;          // a text, of the length that the caller gave
    UINT32 length = 0;         // a length or a count
    std::vector<BYTE> record;  // the record's bytes
    std::string detail;        // the arguments as the journal shows them
    UINT32 status = 0;
    std::thread::id thread;

    template <typename Record>
    Record as() const {
        Record copy;
        memcpy(&copy, record.data(), sizeof(copy) < record.size() ? sizeof(copy) : record.size());
        return copy;
    }
    bool recordIsZero() const;
};

struct LogLine {
    UINT32 level;
    std::string tag;
    std::string format;
    std::string text;

    bool operator==(const LogLine& other) const;
};
std::ostream& operator<<(std::ostream& out, const LogLine& line);

/** A line as the session must write it: with its tag, the raw format, and the values filled in. */
#if defined(__GNUC__)
__attribute__((format(printf, 2, 3)))
#endif
LogLine
line(UINT32 level, const char* format, ...);

struct RecordedTransceiver {
    RtcRtpTransceiver sdk;
    std::string name;
    UINT64 frameData = 0;
    RtcOnFrame onFrame = nullptr;
    UINT64 bandwidthData = 0;
    RtcOnBandwidthEstimation onBandwidth = nullptr;

    void fireFrame(Frame& frame) const;
    void fireBandwidth(double bitsPerSecond) const;
};

struct RecordedConnection {
    RtcPeerConnection sdk;
    std::string name;
    UINT64 candidateData = 0;
    RtcOnIceCandidate onCandidate = nullptr;
    UINT64 stateData = 0;
    RtcOnConnectionStateChange onState = nullptr;
    UINT64 senderData = 0;
    RtcOnSenderBandwidthEstimation onSender = nullptr;
    std::vector<std::unique_ptr<RecordedTransceiver>> transceivers;

    void fireCandidate(const std::string& json) const;
    void fireGatheringEnd() const;
    void fireState(UINT32 state) const;
    void fireSenderBandwidth() const;
    RecordedTransceiver& video() const;
    RecordedTransceiver& audio() const;
};

/** What the SDK writes into the caller's records. */
struct SdkDeliveries {
    std::string answerSdp = "v=0 created answer";
    std::string currentLocalSdp = "v=0 current local description";
    /** Written by serializeSessionDescriptionInit; if empty, it serializes the description it is given. */
    std::string serializedJson;
    /** Written by deserializeRtcIceCandidateInit as the SDK does: past the end of the record if it is too long. */
    std::string candidateLine = "candidate:1 1 udp 2130706431 192.0.2.2 45020 typ host";
    RtcIceCandidateStats localCandidate;
    RtcIceCandidateStats remoteCandidate;
    std::vector<RtcIceServerStats> iceServers;
    /** createPeerConnection hands out a connection although it fails. */
    bool connectionInSpiteOfFailure = false;
    /** freePeerConnection leaves the caller's pointer as it is. */
    bool freeLeavesPointer = false;

    SdkDeliveries();
};

/**
 * Keeps a copy of each call's arguments. A test scripts what each call returns and delivers, and fires the registered
 * handlers from anywhere, even from inside an SDK call.
 *
 * There is only one, like the SDK itself in a process. Any thread may use all of it.
 */
class RecordingSdk {
public:
    static RecordingSdk& instance();

    /** Forgets calls, lines, scripts and connections. */
    void reset();
    /** Forgets calls and lines only. */
    void forget();

    void failAlways(SdkFunction function, UINT32 status);
    /** The nth call (from 1, counted since reset or forget) fails. */
    void failNth(SdkFunction function, unsigned nth, UINT32 status);
    void succeedAgain();
    /** Runs the action inside every call of the function, on the caller's thread. */
    void during(SdkFunction function, std::function<void()> action);
    /** Runs the action inside every log line that is written. */
    void duringLog(std::function<void(const LogLine&)> action);
    /** Notes the loads and stores of this flag in the journal. */
    void watchFlag(const volatile SIZE_T* flag, const std::string& name);
    /** From now on, only counts, without recording or synchronising; for runs at full speed. */
    void beQuiet(bool quiet);

    SdkDeliveries deliver;

    std::vector<SdkCall> calls() const;
    std::vector<SdkCall> calls(SdkFunction function) const;
    /** The function's only call; an empty record if there was none or more than one. */
    SdkCall onlyCall(SdkFunction function) const;
    std::vector<LogLine> lines() const;
    /** Calls, log lines and notes in the order in which they happened. */
    std::vector<std::string> journal() const;
    /** Adds the test's own entry to the journal. */
    void note(const std::string& entry);
    /** Calls on a connection or transceiver that is not alive, and the like. */
    std::vector<std::string> misuse() const;
    /** Connections created and not freed. */
    size_t liveConnections() const;
    /** The connection created last. */
    RecordedConnection& connection() const;
    unsigned long quietCalls() const;

    // For the SDK's functions, which are built on these.
    bool isQuiet() const;
    UINT32 enter(SdkCall call);
    void writeLine(UINT32 level, const char* tag, const char* format, va_list values);
    void noteFlag(const volatile SIZE_T* flag, const char* operation, const std::string& value);
    PRtcPeerConnection createConnection();
    void freeConnection(PRtcPeerConnection connection);
    RecordedConnection* find(const void* connection) const;
    RecordedTransceiver* findTransceiver(const void* transceiver) const;
    std::string nameOfObject(const void* object) const;
    void countQuietCall();

private:
    struct Script {
        SdkFunction function;
        unsigned nth;  // 0: every call
        UINT32 status;
    };

    RecordingSdk();
    UINT32 scriptedStatus(SdkFunction function);
    void reportMisuse(const SdkCall& call);

    mutable std::recursive_mutex mutex_;
    std::atomic<bool> quiet_;
    std::atomic<unsigned long> quietCalls_;
    std::vector<Script> scripts_;
    unsigned callCounts_[static_cast<size_t>(SdkFunction::kCount)];
    std::map<SdkFunction, std::function<void()>> actions_;
    std::function<void(const LogLine&)> logAction_;
    std::map<const volatile SIZE_T*, std::string> flags_;
    std::vector<SdkCall> calls_;
    std::vector<LogLine> lines_;
    std::vector<std::string> journal_;
    std::vector<std::string> misuse_;
    std::vector<std::unique_ptr<RecordedConnection>> connections_;
    unsigned created_;
};

}  // namespace zelrtc::test

#endif
