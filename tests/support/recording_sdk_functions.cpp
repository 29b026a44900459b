// The SDK's functions, on top of the recorder.
#include <stdio.h>

#include "allocations.h"
#include "recording_sdk.h"

using zelrtc::test::RecordedConnection;
using zelrtc::test::RecordedTransceiver;
using zelrtc::test::RecordingSdk;
using zelrtc::test::SdkCall;
using zelrtc::test::SdkFunction;
using zelrtc::test::UncountedScope;

namespace {

RecordingSdk& sdk() {
    return RecordingSdk::instance();
}

template <typename Record>
std::vector<BYTE> bytesOf(const Record* record) {
    const BYTE* const begin = reinterpret_cast<const BYTE*>(record);
    return std::vector<BYTE>(begin, begin + sizeof(Record));
}

template <typename Handler>
uintptr_t addressOf(Handler handler) {
    return reinterpret_cast<uintptr_t>(handler);
}

SdkCall callOn(SdkFunction function, const void* object) {
    SdkCall call;
    call.function = function;
    call.object = object;
    call.detail = sdk().nameOfObject(object);
    return call;
}

template <typename Handler>
SdkCall registration(SdkFunction function, const void* object, UINT64 customData, Handler handler) {
    SdkCall call = callOn(function, object);
    call.customData = customData;
    call.handler = addressOf(handler);
    return call;
}

SdkCall descriptionCall(SdkFunction function, PRtcPeerConnection connection, PRtcSessionDescriptionInit description) {
    SdkCall call = callOn(function, connection);
    call.record = bytesOf(description);
    return call;
}

void fillDescription(PRtcSessionDescriptionInit description, UINT32 type, const std::string& sdp) {
    description->type = static_cast<SDP_TYPE>(type);
    strncpy(description->sdp, sdp.c_str(), sizeof(description->sdp) - 1);
}

void logToRecorder(UINT32 level, PCHAR tag, PCHAR format, ...) {
    va_list values;
    va_start(values, format);
    if (sdk().isQuiet()) {
        char text[512];
        vsnprintf(text, sizeof(text), format, values);
        sdk().countQuietCall();
    } else {
        sdk().writeLine(level, tag, format, values);
    }
    va_end(values);
}

SIZE_T loadFlag(volatile SIZE_T* flag) {
    if (!sdk().isQuiet()) {
        sdk().noteFlag(flag, "load", "");
    }
    return __atomic_load_n(flag, __ATOMIC_SEQ_CST);
}

void storeFlag(volatile SIZE_T* flag, SIZE_T value) {
    if (!sdk().isQuiet()) {
        const UncountedScope uncounted;
        sdk().noteFlag(flag, "store", " " + std::to_string(value));
    }
    __atomic_store_n(flag, value, __ATOMIC_SEQ_CST);
}

void fillStatistics(PRtcStats stats) {
    RtcStatsObject& object = stats->rtcStatsObject;
    if (stats->requestedTypeOfStats == RTC_STATS_TYPE_LOCAL_CANDIDATE) {
        object.localIceCandidateStats = sdk().deliver.localCandidate;
    }
    if (stats->requestedTypeOfStats == RTC_STATS_TYPE_REMOTE_CANDIDATE) {
        object.remoteIceCandidateStats = sdk().deliver.remoteCandidate;
    }
    const UINT32 index = object.iceServerStats.iceServerIndex;
    if (stats->requestedTypeOfStats == RTC_STATS_TYPE_ICE_SERVER && index < sdk().deliver.iceServers.size()) {
        object.iceServerStats = sdk().deliver.iceServers[index];
    }
}

}  // namespace

extern "C" {

logPrintFunc globalCustomLogPrintFn = logToRecorder;
atomicLoad globalAtomicLoad = loadFlag;
atomicStore globalAtomicStore = storeFlag;

STATUS createPeerConnection(PRtcConfiguration pConfiguration, PRtcPeerConnection* ppPeerConnection) {
    const UncountedScope uncounted;
    SdkCall call;
    call.function = SdkFunction::createPeerConnection;
    call.record = bytesOf(pConfiguration);
    const UINT32 status = sdk().enter(call);
    if (status == STATUS_SUCCESS || sdk().deliver.connectionInSpiteOfFailure) {
        *ppPeerConnection = sdk().createConnection();
    }
    return status;
}

STATUS closePeerConnection(PRtcPeerConnection pPeerConnection) {
    const UncountedScope uncounted;
    return sdk().enter(callOn(SdkFunction::closePeerConnection, pPeerConnection));
}

STATUS freePeerConnection(PRtcPeerConnection* ppPeerConnection) {
    const UncountedScope uncounted;
    const UINT32 status = sdk().enter(callOn(SdkFunction::freePeerConnection, *ppPeerConnection));
    sdk().freeConnection(*ppPeerConnection);
    if (status == STATUS_SUCCESS && !sdk().deliver.freeLeavesPointer) {
        *ppPeerConnection = nullptr;
    }
    return status;
}

STATUS peerConnectionOnIceCandidate(PRtcPeerConnection pPeerConnection, UINT64 customData, RtcOnIceCandidate handler) {
    const UncountedScope uncounted;
    const UINT32 status =
        sdk().enter(registration(SdkFunction::peerConnectionOnIceCandidate, pPeerConnection, customData, handler));
    RecordedConnection* connection = sdk().find(pPeerConnection);
    if (status == STATUS_SUCCESS && connection != nullptr) {
        connection->candidateData = customData;
        connection->onCandidate = handler;
    }
    return status;
}

STATUS peerConnectionOnConnectionStateChange(PRtcPeerConnection pPeerConnection, UINT64 customData,
                                             RtcOnConnectionStateChange handler) {
    const UncountedScope uncounted;
    const UINT32 status = sdk().enter(
        registration(SdkFunction::peerConnectionOnConnectionStateChange, pPeerConnection, customData, handler));
    RecordedConnection* connection = sdk().find(pPeerConnection);
    if (status == STATUS_SUCCESS && connection != nullptr) {
        connection->stateData = customData;
        connection->onState = handler;
    }
    return status;
}

STATUS peerConnectionOnSenderBandwidthEstimation(PRtcPeerConnection pPeerConnection, UINT64 customData,
                                                 RtcOnSenderBandwidthEstimation handler) {
    const UncountedScope uncounted;
    const UINT32 status = sdk().enter(
        registration(SdkFunction::peerConnectionOnSenderBandwidthEstimation, pPeerConnection, customData, handler));
    RecordedConnection* connection = sdk().find(pPeerConnection);
    if (status == STATUS_SUCCESS && connection != nullptr) {
        connection->senderData = customData;
        connection->onSender = handler;
    }
    return status;
}

STATUS addSupportedCodec(PRtcPeerConnection pPeerConnection, RTC_CODEC codec) {
    const UncountedScope uncounted;
    SdkCall call = callOn(SdkFunction::addSupportedCodec, pPeerConnection);
    call.length = static_cast<UINT32>(codec);
    call.detail += " codec " + std::to_string(call.length);
    return sdk().enter(call);
}

STATUS addTransceiver(PRtcPeerConnection pPeerConnection, PRtcMediaStreamTrack pTrack, PRtcRtpTransceiverInit pInit,
                      PRtcRtpTransceiver* ppTransceiver) {
    const UncountedScope uncounted;
    const bool isVideo = pTrack->kind == MEDIA_STREAM_TRACK_KIND_VIDEO;
    SdkCall call = callOn(SdkFunction::addTransceiver, pPeerConnection);
    call.record = bytesOf(pTrack);
    call.pointer = pInit;
    call.detail += isVideo ? " video" : " audio";
    const UINT32 status = sdk().enter(call);
    RecordedConnection* connection = sdk().find(pPeerConnection);
    if (status == STATUS_SUCCESS && connection != nullptr) {
        std::unique_ptr<RecordedTransceiver> added(new RecordedTransceiver());
        added->name = connection->name + (isVideo ? ".video" : ".audio");
        *ppTransceiver = &added->sdk;
        connection->transceivers.push_back(std::move(added));
    }
    return status;
}

STATUS transceiverOnFrame(PRtcRtpTransceiver pTransceiver, UINT64 customData, RtcOnFrame handler) {
    const UncountedScope uncounted;
    const UINT32 status = sdk().enter(registration(SdkFunction::transceiverOnFrame, pTransceiver, customData, handler));
    RecordedTransceiver* transceiver = sdk().findTransceiver(pTransceiver);
    if (status == STATUS_SUCCESS && transceiver != nullptr) {
        transceiver->frameData = customData;
        transceiver->onFrame = handler;
    }
    return status;
}

STATUS transceiverOnBandwidthEstimation(PRtcRtpTransceiver pTransceiver, UINT64 customData,
                                        RtcOnBandwidthEstimation handler) {
    const UncountedScope uncounted;
    const UINT32 status =
        sdk().enter(registration(SdkFunction::transceiverOnBandwidthEstimation, pTransceiver, customData, handler));
    RecordedTransceiver* transceiver = sdk().findTransceiver(pTransceiver);
    if (status == STATUS_SUCCESS && transceiver != nullptr) {
        transceiver->bandwidthData = customData;
        transceiver->onBandwidth = handler;
    }
    return status;
}

STATUS deserializeSessionDescriptionInit(PCHAR json, UINT32 length, PRtcSessionDescriptionInit pDescription) {
    const UncountedScope uncounted;
    SdkCall call;
    call.function = SdkFunction::deserializeSessionDescriptionInit;
    call.text = std::string(json, length);
    call.length = length;
    call.record = bytesOf(pDescription);
    const UINT32 status = sdk().enter(call);
    if (status == STATUS_SUCCESS) {
        fillDescription(pDescription, SDP_TYPE_OFFER, call.text);
    }
    return status;
}

// Like the SDK: the length in is the room, the length out includes the terminator, and too little room is an error.
STATUS serializeSessionDescriptionInit(PRtcSessionDescriptionInit pDescription, PCHAR json, PUINT32 pLength) {
    if (sdk().isQuiet()) {
        sdk().countQuietCall();
        json[0] = '\0';
        return STATUS_SUCCESS;
    }
    const UncountedScope uncounted;
    SdkCall call;
    call.function = SdkFunction::serializeSessionDescriptionInit;
    call.record = bytesOf(pDescription);
    call.length = *pLength;
    const UINT32 status = sdk().enter(call);
    if (status != STATUS_SUCCESS) {
        return status;
    }
    std::string text = sdk().deliver.serializedJson;
    if (text.empty()) {
        text = std::string("{\"type\": \"answer\", \"sdp\": \"") + pDescription->sdp + "\"}";
    }
    if (text.size() + 1 > *pLength) {
        return STATUS_BUFFER_TOO_SMALL;
    }
    memcpy(json, text.data(), text.size());
    json[text.size()] = '\0';
    *pLength = static_cast<UINT32>(text.size() + 1);
    return STATUS_SUCCESS;
}

STATUS setRemoteDescription(PRtcPeerConnection pPeerConnection, PRtcSessionDescriptionInit pDescription) {
    const UncountedScope uncounted;
    return sdk().enter(descriptionCall(SdkFunction::setRemoteDescription, pPeerConnection, pDescription));
}

STATUS setLocalDescription(PRtcPeerConnection pPeerConnection, PRtcSessionDescriptionInit pDescription) {
    const UncountedScope uncounted;
    return sdk().enter(descriptionCall(SdkFunction::setLocalDescription, pPeerConnection, pDescription));
}

STATUS createAnswer(PRtcPeerConnection pPeerConnection, PRtcSessionDescriptionInit pDescription) {
    const UncountedScope uncounted;
    const UINT32 status = sdk().enter(descriptionCall(SdkFunction::createAnswer, pPeerConnection, pDescription));
    if (status == STATUS_SUCCESS) {
        fillDescription(pDescription, SDP_TYPE_ANSWER, sdk().deliver.answerSdp);
    }
    return status;
}

// Like the SDK, returns the type as 0.
STATUS peerConnectionGetCurrentLocalDescription(PRtcPeerConnection pPeerConnection,
                                                PRtcSessionDescriptionInit pDescription) {
    if (sdk().isQuiet()) {
        sdk().countQuietCall();
        return STATUS_SUCCESS;
    }
    const UncountedScope uncounted;
    const UINT32 status = sdk().enter(
        descriptionCall(SdkFunction::peerConnectionGetCurrentLocalDescription, pPeerConnection, pDescription));
    if (status == STATUS_SUCCESS) {
        fillDescription(pDescription, 0, sdk().deliver.currentLocalSdp);
    }
    return status;
}

// Like the SDK: a line that fills the record is not terminated, and a longer one runs past its end.
STATUS deserializeRtcIceCandidateInit(PCHAR json, UINT32 length, PRtcIceCandidateInit pCandidate) {
    if (sdk().isQuiet()) {
        sdk().countQuietCall();
        pCandidate->candidate[0] = '\0';
        return STATUS_SUCCESS;
    }
    const UncountedScope uncounted;
    SdkCall call;
    call.function = SdkFunction::deserializeRtcIceCandidateInit;
    call.text = std::string(json, length);
    call.length = length;
    call.record = bytesOf(pCandidate);
    const UINT32 status = sdk().enter(call);
    if (status == STATUS_SUCCESS) {
        const std::string& candidate = sdk().deliver.candidateLine;
        volatile CHAR* const target = pCandidate->candidate;
        for (size_t i = 0; i < candidate.size(); ++i) {
            target[i] = candidate[i];
        }
        if (candidate.size() < sizeof(pCandidate->candidate)) {
            target[candidate.size()] = '\0';
        }
    }
    return status;
}

STATUS addIceCandidate(PRtcPeerConnection pPeerConnection, PCHAR candidate) {
    if (sdk().isQuiet()) {
        sdk().countQuietCall();
        return STATUS_SUCCESS;
    }
    const UncountedScope uncounted;
    SdkCall call = callOn(SdkFunction::addIceCandidate, pPeerConnection);
    call.text = candidate;
    call.detail += " " + call.text;
    return sdk().enter(call);
}

STATUS writeFrame(PRtcRtpTransceiver pTransceiver, PFrame pFrame) {
    if (sdk().isQuiet()) {
        sdk().countQuietCall();
        return pTransceiver != nullptr && pFrame != nullptr ? STATUS_SUCCESS : STATUS_NULL_ARG;
    }
    const UncountedScope uncounted;
    SdkCall call = callOn(SdkFunction::writeFrame, pTransceiver);
    call.record = bytesOf(pFrame);
    call.pointer = pFrame->frameData;
    call.detail += " " + std::to_string(pFrame->size) + " bytes at " + std::to_string(pFrame->presentationTs);
    return sdk().enter(call);
}

STATUS rtcPeerConnectionGetMetrics(PRtcPeerConnection pPeerConnection, PRtcRtpTransceiver pTransceiver,
                                   PRtcStats pStats) {
    if (sdk().isQuiet()) {
        sdk().countQuietCall();
        memset(&pStats->rtcStatsObject, 0, sizeof(pStats->rtcStatsObject));
        return STATUS_SUCCESS;
    }
    const UncountedScope uncounted;
    SdkCall call = callOn(SdkFunction::rtcPeerConnectionGetMetrics, pPeerConnection);
    call.pointer = pTransceiver;
    call.detail += " type " + std::to_string(static_cast<UINT32>(pStats->requestedTypeOfStats));
    if (pStats->requestedTypeOfStats == RTC_STATS_TYPE_ICE_SERVER) {
        call.length = pStats->rtcStatsObject.iceServerStats.iceServerIndex;
        call.detail += " server " + std::to_string(call.length);
    }
    const UINT32 status = sdk().enter(call);
    if (status == STATUS_SUCCESS) {
        fillStatistics(pStats);
    }
    return status;
}

}  // extern "C"
