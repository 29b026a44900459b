#include "recording_sdk.h"

#include <stdio.h>

#include <algorithm>
#include <sstream>

#include "allocations.h"

namespace zelrtc::test {

namespace {

std::string formatted(const char* format, va_list values) {
    va_list again;
    va_copy(again, values);
    const int length = vsnprintf(nullptr, 0, format, again);
    va_end(again);
    std::vector<char> buffer(static_cast<size_t>(length < 0 ? 0 : length) + 1);
    vsnprintf(buffer.data(), buffer.size(), format, values);
    return buffer.data();
}

bool needsObject(SdkFunction function) {
    switch (function) {
        case SdkFunction::createPeerConnection:
        case SdkFunction::deserializeSessionDescriptionInit:
        case SdkFunction::serializeSessionDescriptionInit:
        case SdkFunction::deserializeRtcIceCandidateInit:
            return false;
        default:
            return true;
    }
}

// The SDK refuses a null connection with a status, but crashes on writing to a null transceiver.
bool isOnNull(const SdkCall& call) {
    return call.object == nullptr && needsObject(call.function) && call.function != SdkFunction::writeFrame;
}

std::string hex(UINT32 value) {
    char text[16];
    snprintf(text, sizeof(text), "0x%08x", value);
    return text;
}

template <size_t kSize>
void put(CHAR (&field)[kSize], const char* text) {
    memset(field, 0, kSize);
    strncpy(field, text, kSize - 1);
}

}  // namespace

const char* nameOf(SdkFunction function) {
    static const char* const names[] = {"createPeerConnection",
                                        "closePeerConnection",
                                        "freePeerConnection",
                                        "peerConnectionOnIceCandidate",
                                        "peerConnectionOnConnectionStateChange",
                                        "peerConnectionOnSenderBandwidthEstimation",
                                        "addSupportedCodec",
                                        "addTransceiver",
                                        "transceiverOnFrame",
                                        "transceiverOnBandwidthEstimation",
                                        "deserializeSessionDescriptionInit",
                                        "serializeSessionDescriptionInit",
                                        "setRemoteDescription",
                                        "setLocalDescription",
                                        "createAnswer",
                                        "peerConnectionGetCurrentLocalDescription",
                                        "deserializeRtcIceCandidateInit",
                                        "addIceCandidate",
                                        "writeFrame",
                                        "rtcPeerConnectionGetMetrics"};
    return names[static_cast<size_t>(function)];
}

bool SdkCall::recordIsZero() const {
    return !record.empty() && std::all_of(record.begin(), record.end(), [](BYTE byte) { return byte == 0; });
}

bool LogLine::operator==(const LogLine& other) const {
    return level == other.level && tag == other.tag && format == other.format && text == other.text;
}

std::ostream& operator<<(std::ostream& out, const LogLine& line) {
    return out << "level " << line.level << " tag " << line.tag << " \"" << line.format << "\": " << line.text;
}

LogLine line(UINT32 level, const char* format, ...) {
    va_list values;
    va_start(values, format);
    LogLine expected = {level, "platform-utils", format, formatted(format, values)};
    va_end(values);
    return expected;
}

void RecordedTransceiver::fireFrame(Frame& frame) const {
    onFrame(frameData, &frame);
}

void RecordedTransceiver::fireBandwidth(double bitsPerSecond) const {
    onBandwidth(bandwidthData, bitsPerSecond);
}

// As with the SDK, the text is gone as soon as the handler returns.
void RecordedConnection::fireCandidate(const std::string& json) const {
    std::vector<CHAR> text(json.begin(), json.end());
    text.push_back('\0');
    onCandidate(candidateData, text.data());
    std::fill(text.begin(), text.end(), '#');
}

void RecordedConnection::fireGatheringEnd() const {
    onCandidate(candidateData, nullptr);
}

void RecordedConnection::fireState(UINT32 state) const {
    onState(stateData, static_cast<RTC_PEER_CONNECTION_STATE>(state));
}

void RecordedConnection::fireSenderBandwidth() const {
    onSender(senderData, 1, 2, 3, 4, 5);
}

RecordedTransceiver& RecordedConnection::video() const {
    return *transceivers.at(0);
}

RecordedTransceiver& RecordedConnection::audio() const {
    return *transceivers.at(1);
}

SdkDeliveries::SdkDeliveries() {
    memset(&localCandidate, 0, sizeof(localCandidate));
    put(localCandidate.address, "192.0.2.2");
    put(localCandidate.candidateType, "host");
    put(localCandidate.protocol, "udp");
    put(localCandidate.relayProtocol, "N/A");
    put(localCandidate.url, "N/A");
    localCandidate.port = 45020;
    localCandidate.priority = 2130706431;

    memset(&remoteCandidate, 0, sizeof(remoteCandidate));
    put(remoteCandidate.address, "198.51.100.7");
    put(remoteCandidate.candidateType, "srflx");
    put(remoteCandidate.protocol, "tcp");
    put(remoteCandidate.relayProtocol, "remote relay protocol");
    put(remoteCandidate.url, "remote url");
    remoteCandidate.port = 9;
    remoteCandidate.priority = -5;
}

RecordingSdk& RecordingSdk::instance() {
    static RecordingSdk sdk;
    return sdk;
}

RecordingSdk::RecordingSdk() : quiet_(false), quietCalls_(0), callCounts_(), created_(0) {
}

void RecordingSdk::reset() {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    forget();
    deliver = SdkDeliveries();
    scripts_.clear();
    actions_.clear();
    logAction_ = nullptr;
    flags_.clear();
    misuse_.clear();
    connections_.clear();
    created_ = 0;
    quiet_.store(false, std::memory_order_relaxed);
    quietCalls_.store(0, std::memory_order_relaxed);
}

void RecordingSdk::forget() {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    calls_.clear();
    lines_.clear();
    journal_.clear();
    std::fill(std::begin(callCounts_), std::end(callCounts_), 0U);
}

void RecordingSdk::failAlways(SdkFunction function, UINT32 status) {
    failNth(function, 0, status);
}

void RecordingSdk::failNth(SdkFunction function, unsigned nth, UINT32 status) {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    scripts_.push_back(Script{function, nth, status});
}

void RecordingSdk::succeedAgain() {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    scripts_.clear();
}

void RecordingSdk::during(SdkFunction function, std::function<void()> action) {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    actions_[function] = std::move(action);
}

void RecordingSdk::duringLog(std::function<void(const LogLine&)> action) {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    logAction_ = std::move(action);
}

void RecordingSdk::watchFlag(const volatile SIZE_T* flag, const std::string& name) {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    flags_[flag] = name;
}

void RecordingSdk::beQuiet(bool quiet) {
    quiet_.store(quiet, std::memory_order_relaxed);
}

std::vector<SdkCall> RecordingSdk::calls() const {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    return calls_;
}

std::vector<SdkCall> RecordingSdk::calls(SdkFunction function) const {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    std::vector<SdkCall> found;
    std::copy_if(calls_.begin(), calls_.end(), std::back_inserter(found),
                 [function](const SdkCall& call) { return call.function == function; });
    return found;
}

SdkCall RecordingSdk::onlyCall(SdkFunction function) const {
    const std::vector<SdkCall> found = calls(function);
    return found.size() == 1 ? found.front() : SdkCall();
}

std::vector<LogLine> RecordingSdk::lines() const {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    return lines_;
}

std::vector<std::string> RecordingSdk::journal() const {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    return journal_;
}

void RecordingSdk::note(const std::string& entry) {
    const UncountedScope uncounted;
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    journal_.push_back(entry);
}

std::vector<std::string> RecordingSdk::misuse() const {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    return misuse_;
}

size_t RecordingSdk::liveConnections() const {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    return connections_.size();
}

RecordedConnection& RecordingSdk::connection() const {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    return *connections_.at(connections_.size() - 1);
}

unsigned long RecordingSdk::quietCalls() const {
    return quietCalls_.load(std::memory_order_relaxed);
}

bool RecordingSdk::isQuiet() const {
    return quiet_.load(std::memory_order_relaxed);
}

void RecordingSdk::countQuietCall() {
    quietCalls_.fetch_add(1, std::memory_order_relaxed);
}

UINT32 RecordingSdk::enter(SdkCall call) {
    std::function<void()> action;
    UINT32 status = STATUS_SUCCESS;
    {
        std::lock_guard<std::recursive_mutex> lock(mutex_);
        status = scriptedStatus(call.function);
        if (status == STATUS_SUCCESS && isOnNull(call)) {
            status = STATUS_NULL_ARG;
        }
        reportMisuse(call);
        call.status = status;
        call.thread = std::this_thread::get_id();
        std::string entry = nameOf(call.function);
        entry += call.detail.empty() ? "" : " " + call.detail;
        entry += status == STATUS_SUCCESS ? "" : " = " + hex(status);
        journal_.push_back(entry);
        const auto found = actions_.find(call.function);
        if (found != actions_.end()) {
            action = found->second;
        }
        calls_.push_back(std::move(call));
    }
    if (action) {
        action();
    }
    return status;
}

void RecordingSdk::writeLine(UINT32 level, const char* tag, const char* format, va_list values) {
    const UncountedScope uncounted;
    LogLine written = {level, tag, format, formatted(format, values)};
    std::function<void(const LogLine&)> action;
    {
        std::lock_guard<std::recursive_mutex> lock(mutex_);
        journal_.push_back("log " + std::to_string(level) + " " + written.text);
        lines_.push_back(written);
        action = logAction_;
    }
    if (action) {
        action(written);
    }
}

void RecordingSdk::noteFlag(const volatile SIZE_T* flag, const char* operation, const std::string& value) {
    const UncountedScope uncounted;
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    const auto found = flags_.find(flag);
    if (found != flags_.end()) {
        journal_.push_back(operation + (" " + found->second) + value);
    }
}

UINT32 RecordingSdk::scriptedStatus(SdkFunction function) {
    const unsigned nth = ++callCounts_[static_cast<size_t>(function)];
    for (const Script& script : scripts_) {
        if (script.function == function && (script.nth == 0 || script.nth == nth)) {
            return script.status;
        }
    }
    return STATUS_SUCCESS;
}

void RecordingSdk::reportMisuse(const SdkCall& call) {
    if (!needsObject(call.function) || isOnNull(call)) {
        return;
    }
    switch (call.function) {
        case SdkFunction::transceiverOnFrame:
        case SdkFunction::transceiverOnBandwidthEstimation:
        case SdkFunction::writeFrame:
            if (findTransceiver(call.object) != nullptr) {
                return;
            }
            break;
        default:
            if (find(call.object) != nullptr) {
                return;
            }
    }
    misuse_.push_back(std::string(nameOf(call.function)) + " on something that does not live");
}

PRtcPeerConnection RecordingSdk::createConnection() {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    std::unique_ptr<RecordedConnection> created(new RecordedConnection());
    created->name = "pc" + std::to_string(++created_);
    connections_.push_back(std::move(created));
    return &connections_.back()->sdk;
}

void RecordingSdk::freeConnection(PRtcPeerConnection connection) {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    connections_.erase(std::remove_if(connections_.begin(), connections_.end(),
                                      [connection](const std::unique_ptr<RecordedConnection>& live) {
                                          return &live->sdk == connection;
                                      }),
                       connections_.end());
}

RecordedConnection* RecordingSdk::find(const void* connection) const {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    for (const auto& live : connections_) {
        if (&live->sdk == connection) {
            return live.get();
        }
    }
    return nullptr;
}

RecordedTransceiver* RecordingSdk::findTransceiver(const void* transceiver) const {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    for (const auto& live : connections_) {
        for (const auto& candidate : live->transceivers) {
            if (&candidate->sdk == transceiver) {
                return candidate.get();
            }
        }
    }
    return nullptr;
}

std::string RecordingSdk::nameOfObject(const void* object) const {
    if (object == nullptr) {
        return "null";
    }
    const RecordedConnection* connection = find(object);
    if (connection != nullptr) {
        return connection->name;
    }
    const RecordedTransceiver* transceiver = findTransceiver(object);
    return transceiver != nullptr ? transceiver->name : "unknown";
}

}  // namespace zelrtc::test
