// The course of a run: construction, steps, what the SDK does, destruction.
#include "session_run.h"

#include <algorithm>

#include "promise.h"
#include "session_members.h"

namespace zelrtc::fuzz {

using zelrtc::test::member;
using zelrtc::test::SdkCall;
using zelrtc::test::SdkFunction;

namespace {

const size_t kMaxSteps = 60;
const size_t kMaxServers = 24;
const size_t kMaxServerText = 256;
const size_t kLargestAnswer = 10240;

// The SDK calls in which events may interrupt an operation: gathering starts with the descriptions.
const SdkFunction kInterrupted[] = {SdkFunction::setRemoteDescription, SdkFunction::createAnswer,
                                    SdkFunction::setLocalDescription, SdkFunction::serializeSessionDescriptionInit,
                                    SdkFunction::closePeerConnection};

bool isTooLong(const ZelRtcIceServer& server) {
    return std::max({server.url.size(), server.username.size(), server.credential.size()}) > kMaxServerText;
}

ZelRtcSessionConfig corrected(const ZelRtcSessionConfig& given) {
    ZelRtcSessionConfig config = given;
    if (given.isAlexaCall) {
        config.trickleIce = true;
        config.relayOnly = false;
        config.iceServers.clear();
    }
    auto& servers = config.iceServers;
    servers.erase(std::remove_if(servers.begin(), servers.end(), isTooLong), servers.end());
    return config;
}

}  // namespace

SessionRun::SessionRun(const uint8_t* data, size_t size)
    : input_(data, size), sdk_(zelrtc::test::RecordingSdk::instance()), media_(64) {
    sdk_.reset();
    deliverDefaults();
}

SessionRun::~SessionRun() {
    session_.reset();
    sdk_.reset();
}

void SessionRun::run() {
    construct();
    for (size_t i = 0; i < kMaxSteps && input_.remaining_bytes() > 0; ++i) {
        forget();
        step();
        expectAll();
    }
    forget();
    destroy();
}

void SessionRun::forget() {
    sdk_.forget();
    nestedCalls_.clear();
}

void SessionRun::construct() {
    ZelRtcSessionConfig& given = model_.given;
    given.isAlexaCall = input_.ConsumeIntegralInRange(0, 7) == 0;
    given.trickleIce = input_.ConsumeBool();
    given.relayOnly = input_.ConsumeBool();
    const size_t serverCount = input_.ConsumeIntegralInRange<size_t>(0, kMaxServers);
    const bool areAlike = input_.ConsumeBool();
    for (size_t i = 0; i < serverCount; ++i) {
        given.iceServers.push_back(areAlike && i > 0 ? given.iceServers[0] : server());
    }
    model_.corrected = corrected(given);
    model_.hasCallback = input_.ConsumeIntegralInRange(0, 7) != 0;
    sid_ = input_.ConsumeIntegral<ZELRTC_SESSION_ID>();
    application_.reaction = [this] { react(); };

    session_.reset(new ZelRtcSession(sid_, given, model_.hasCallback ? &application_ : nullptr));

    const ZelRtcSessionConfig& own = member(*session_, zelrtc::test::sessionConfig_Tag());
    require(own.iceServers.size() == model_.corrected.iceServers.size(), "servers with long texts are left out");
    require(own.trickleIce == model_.corrected.trickleIce && own.relayOnly == model_.corrected.relayOnly,
            "the flags are the caller's, but for an Alexa call");
    require(sdk_.calls().empty(), "construction does not touch the SDK");
    require(sdk_.lines().size() == 1 + (given.isAlexaCall ? 0 : given.iceServers.size() - own.iceServers.size()),
            "construction writes one line, and one for each server left out");
    expectAll();
}

void SessionRun::step() {
    switch (input_.ConsumeIntegralInRange(0, 9)) {
        case 0:
            scriptSdk();
            break;
        case 1:
            init();
            break;
        case 2:
            addRemoteCandidate();
            break;
        case 3:
            setAudioVideoType();
            break;
        case 4:
            writeAudio();
            break;
        case 5:
            // Ending too early would leave little to see.
            if (input_.ConsumeIntegralInRange(0, 3) == 0) {
                teminate();
            }
            break;
        case 6:
        case 7:
            writeVideo();
            break;
        default:
            fireAny();
    }
}

void SessionRun::destroy() {
    interruptNext();
    const size_t serverCount = model_.corrected.iceServers.size();
    model_.terminated = true;
    model_.connected = false;
    const bool hadConnection = model_.hasConnection;
    session_.reset();

    const std::vector<SdkCall> calls = ownCallsSince(0);
    size_t queries = 0;
    bool failed = false;
    while (hadConnection && queries < serverCount && !failed) {
        require(calls.at(queries).function == SdkFunction::rtcPeerConnectionGetMetrics, "servers are queried in turn");
        require(calls[queries].length == queries, "each server is queried once");
        failed = calls[queries].status != STATUS_SUCCESS;
        ++queries;
    }
    require(calls.size() == queries + (hadConnection ? 2 : 0), "destruction asks for statistics, closes and frees");
    if (hadConnection) {
        require(calls[queries].function == SdkFunction::closePeerConnection, "the connection is closed");
        require(calls[queries + 1].function == SdkFunction::freePeerConnection, "the connection is freed after that");
    }
    require(sdk_.liveConnections() == 0, "every connection that was created has been freed");
    require(application_.told == model_.told, "destruction tells the application nothing");
    require(sdk_.misuse().empty(), "the SDK is only called with live objects");
    expectLines();
}

// ---- what the SDK does ----

void SessionRun::scriptSdk() {
    sdk_.succeedAgain();
    deliverDefaults();
    const size_t answerSize = input_.PickValueInArray<size_t>({0, 0, 0, 1, 10238, 10239, 10240, 30000});
    sdk_.deliver.serializedJson = std::string(answerSize, 'a');
    sdk_.deliver.connectionInSpiteOfFailure = input_.ConsumeBool();
    sdk_.deliver.freeLeavesPointer = input_.ConsumeBool();
    const size_t failures = input_.ConsumeIntegralInRange<size_t>(0, 3);
    for (size_t i = 0; i < failures; ++i) {
        const auto function = static_cast<SdkFunction>(
            input_.ConsumeIntegralInRange<size_t>(0, static_cast<size_t>(SdkFunction::kCount) - 1));
        sdk_.failNth(function, input_.ConsumeIntegralInRange(0U, 3U), status());
    }
}

void SessionRun::deliverDefaults() {
    sdk_.deliver = zelrtc::test::SdkDeliveries();
    sdk_.deliver.iceServers.resize(kMaxServers);
}

// Fires an event while the next operation is inside the SDK.
void SessionRun::interruptNext() {
    const SdkFunction function = input_.PickValueInArray(kInterrupted);
    for (const SdkFunction other : kInterrupted) {
        sdk_.during(other, nullptr);
    }
    if (input_.ConsumeBool()) {
        sdk_.during(function, [this] { nested(&SessionRun::fireAny); });
    }
}

void SessionRun::react() {
    nested(&SessionRun::operateInside);
}

void SessionRun::nested(void (SessionRun::*action)()) {
    if (isNested_) {
        return;
    }
    isNested_ = true;
    const size_t first = sdk_.calls().size();
    (this->*action)();
    isNested_ = false;
    nestedCalls_.emplace_back(first, sdk_.calls().size());
}

// What an application may do from inside a callback.
void SessionRun::operateInside() {
    switch (input_.ConsumeIntegralInRange(0, 7)) {
        case 0:
            teminate();
            break;
        case 1:
            addRemoteCandidate();
            break;
        case 2:
            setAudioVideoType();
            break;
        case 3:
            writeVideo();
            break;
        case 4:
            writeAudio();
            break;
        default:
            break;
    }
}

// ---- helpers ----

std::vector<SdkCall> SessionRun::ownCallsSince(size_t first) const {
    const std::vector<SdkCall> all = sdk_.calls();
    std::vector<SdkCall> own;
    for (size_t i = first; i < all.size(); ++i) {
        const bool isOther =
            std::any_of(nestedCalls_.begin(), nestedCalls_.end(),
                        [i](const std::pair<size_t, size_t>& range) { return i >= range.first && i < range.second; });
        if (!isOther) {
            own.push_back(all[i]);
        }
    }
    return own;
}

bool SessionRun::answerFits() const {
    return sdk_.deliver.serializedJson.size() < kLargestAnswer;
}

std::string SessionRun::answerText(const std::string& sdp) const {
    const std::string& whole = sdk_.deliver.serializedJson;
    return whole.empty() ? R"({"type": "answer", "sdp": ")" + sdp + R"("})" : whole;
}

// Mostly short; now and then as long as a limit may be.
std::string SessionRun::text(size_t limit) {
    if (input_.ConsumeBool()) {
        return input_.ConsumeRandomLengthString(16);
    }
    return std::string(input_.ConsumeIntegralInRange<size_t>(0, limit), 'x');
}

ZelRtcIceServer SessionRun::server() {
    ZelRtcIceServer server;
    server.url = text(300);
    server.username = text(300);
    server.credential = text(300);
    return server;
}

UINT32 SessionRun::status() {
    return input_.ConsumeIntegralInRange<UINT32>(1, 0x5fffffff);
}

}  // namespace zelrtc::fuzz
