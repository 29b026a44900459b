/** @file call_registry.h The calls that are up. */
#ifndef APPS_CAMERA_CALL_CALL_REGISTRY_H
#define APPS_CAMERA_CALL_CALL_REGISTRY_H

#include <chrono>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "call/call.h"
#include "call/call_list.h"
#include "call/call_releaser.h"
#include "call/waiting_calls.h"

namespace zelrtc::camera {

/** A complete answer waits for the end of gathering, which the SDK puts off for up to 10 s when a server is dead. */
constexpr std::chrono::seconds kAnswerLimit(12);

/** How many calls of one client may be slow to connect; in a full house, how many may not have connected. */
constexpr size_t kMostSlowCalls = 4;

/** Settings shared by all calls. */
struct CallSettings {
    ZelRtcSessionConfig session; /**< ICE servers, relay only, and trickle unless the viewer asks otherwise */
    std::string recordDir;       /**< where talk-back is recorded; empty: nowhere */
    size_t maxCalls = 16;
    std::string listFile;                     /**< where the calls' keys are written to; empty for nowhere */
    std::chrono::milliseconds patience{5000}; /**< how long a viewer with an answer may take to connect, undisturbed */
    uint64_t recordLimitMib = 1024;           /**< what all recordings together may take */
};

/** Admits, finds and ends calls. Any thread except the SDK's. */
class CallRegistry {
public:
    /** @throw std::runtime_error with a sentence for the user when the list of calls cannot be written */
    CallRegistry(CallSettings settings, MediaHub& hub);

    /**
     * Places a call and starts it. When there are as many as there may be, one that has not connected gives way; a
     * connected one never does.
     * @param offer   the SDK's JSON form of the offer
     * @param trickle how to answer; nothing: as the camera is set
     * @param client  who calls; the calls of one client have equal ones
     * @throw CallError when there are too many calls or the offer is refused; nothing of the call remains then
     */
    std::shared_ptr<Call> place(const std::string& offer, std::optional<bool> trickle, const std::string& client);

    /**
     * Waits for a call's answer; a call without one is ended.
     * @throw CallError when the limit has passed, or the call has been ended before
     */
    std::string answerOf(Call& call, std::chrono::milliseconds limit = kAnswerLimit);

    /** @throw CallError when there is none of this key */
    std::shared_ptr<Call> find(const std::string& key);

    /**
     * What has happened in a call. The last few that ended are kept, because a call may be over before its viewer gets
     * to ask. @throw CallError when there is none of this key
     */
    std::shared_ptr<CallHistory> eventsOf(const std::string& key);

    /** As endIfUp. @throw CallError when there is none of this key */
    void end(const std::string& key, const std::string& reason);

    /**
     * Takes a call down. Its end goes on after this has returned, beside those of other calls; until it is over, held
     * counts it.
     * @return false when there is none of this id (any more)
     */
    bool endIfUp(int id, const std::string& reason);

    /** The calls, oldest first. */
    std::vector<std::shared_ptr<Call>> all();

    /** Ends the oldest of the calls that a client has beyond kMostSlowCalls, among those that are slow to connect. */
    void thinOut();

    /** How many calls are held: those that are up and those still being released. */
    size_t held();

    /** Admits no more calls, ends those that are up, and returns when all that were ever ended are released. */
    void shutdown();

private:
    struct Entry {
        std::shared_ptr<Call> call;
        std::string client;
    };
    struct EndedCall {
        std::string key;
        std::shared_ptr<CallHistory> events;
    };

    std::shared_ptr<Call> findOrNull(const std::string& key);
    std::shared_ptr<Call> admit(std::optional<bool> trickle, const std::string& client);
    void refuseIfTooMany(const std::string& client) const;
    std::shared_ptr<Call> makeRoom(const std::string& client);
    std::shared_ptr<Call> add(const ZelRtcSessionConfig& config, const std::string& client);
    std::shared_ptr<Call> remove(int id);
    void release(const std::shared_ptr<Call>& call, const std::string& reason);
    template <typename Condition>
    std::vector<WaitingCall> waitingWhere(Condition condition) const;
    std::string recordPath(int id) const;

    const CallSettings settings_;
    MediaHub& hub_;
    CallList list_;
    RecordingBudget recordings_;
    std::mutex mutex_;
    std::map<int, Entry> calls_;  // ids grow, so this is also the order of arrival
    size_t ending_ = 0;
    std::deque<EndedCall> ended_;
    int newestId_ = 0;
    bool isShutDown_ = false;
    CallReleaser releaser_;  // last: its destructor waits for releases, which use what stands above
};

}  // namespace zelrtc::camera

#endif
