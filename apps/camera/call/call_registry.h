/** @file call_registry.h The calls that are up. */
#ifndef APPS_CAMERA_CALL_CALL_REGISTRY_H
#define APPS_CAMERA_CALL_CALL_REGISTRY_H

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "call/call.h"

namespace zelrtc::camera {

/** Settings shared by all calls. */
struct CallSettings {
    ZelRtcSessionConfig session; /**< ICE servers, relay only, and trickle unless the viewer asks otherwise */
    std::string recordDir;       /**< where talk-back is recorded; empty: nowhere */
    size_t maxCalls = 16;
};

/** Admits, finds and ends calls. Any thread except the SDK's. */
class CallRegistry {
public:
    CallRegistry(CallSettings settings, MediaHub& hub);

    /**
     * Places a call and starts it.
     * @param offer   the SDK's JSON form of the offer
     * @param trickle how to answer; nothing: as the camera is set
     * @throw Problem when there are too many calls or the offer is refused; nothing of the call remains then
     */
    std::shared_ptr<Call> place(const std::string& offer, std::optional<bool> trickle);

    /** @throw Problem 404 when there is none of this id */
    std::shared_ptr<Call> find(int id);

    /**
     * What has happened in a call. The last few that ended are kept, because a call may be over before its viewer gets
     * to ask. @throw Problem 404 when there is none of this id
     */
    std::shared_ptr<EventLog> eventsOf(int id);

    /** Ends one call. @throw Problem 404 when there is none of this id */
    void end(int id, const std::string& reason);

    /** Ends one call. @return false if there is none with this id, or not any more */
    bool endIfUp(int id, const std::string& reason);

    /** The calls, oldest first. */
    std::vector<std::shared_ptr<Call>> all();

    /** How many calls are held: those that are up and those still being released. */
    size_t held();

    /** Refuses new calls and ends those that are up. */
    void shutdown();

private:
    std::shared_ptr<Call> admit(std::optional<bool> trickle);
    std::shared_ptr<Call> remove(int id);
    void release(Call& call, const std::string& reason);
    std::string recordPath(int id) const;

    const CallSettings settings_;
    MediaHub& hub_;
    std::mutex mutex_;
    std::map<int, std::shared_ptr<Call>> calls_;
    size_t ending_ = 0;
    std::map<int, std::shared_ptr<EventLog>> ended_;
    int newestId_ = 0;
    bool isShutDown_ = false;
};

}  // namespace zelrtc::camera

#endif
