#include "webrtcbin_viewer.h"

#include <gst/app/gstappsink.h>
#include <gst/rtp/gstrtpbuffer.h>
#include <gst/sdp/gstsdpmessage.h>
#include <gst/webrtc/webrtc.h>

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <stdexcept>

#include "engine/dtls_close.h"
#include "engine/network_interfaces.h"

struct WebrtcbinViewer::Observer {
    std::mutex mutex;
    std::condition_variable changed;
    bool gathered = false;
    bool connected = false;
    bool closed = false;
    int talkPackets = 0;
    std::atomic<int> videoFrames{0};
    std::atomic<int> audioFrames{0};
    std::atomic<guint32> videoTimestamp{0};
    std::atomic<guint32> videoTimestampStep{0};
    std::atomic<bool> frozen{false};

    static void onGatheringState(GstElement* pWebrtcbin, GParamSpec*, Observer* pSelf);
    static void onPadAdded(GstElement* pWebrtcbin, GstPad* pPad, Observer* pSelf);
    static void onElementAdded(GstBin*, GstBin*, GstElement* pElement, Observer* pSelf);
    static void onDtlsState(GstElement* pDtlsdec, GParamSpec*, Observer* pSelf);
    static GstFlowReturn onAudio(GstAppSink* pSink, gpointer pSelf);
    static GstFlowReturn onVideo(GstAppSink* pSink, gpointer pSelf);
    static GstPadProbeReturn onSend(GstPad*, GstPadProbeInfo*, gpointer pSelf);
};

namespace {

constexpr int DTLS_CLOSED = 1;
constexpr int DTLS_CONNECTED = 4;
constexpr std::chrono::seconds GATHERING_LIMIT{20};

constexpr const char* VIDEO_CAPS =
    "application/x-rtp,media=video,encoding-name=H264,clock-rate=90000,payload=96,"
    "packetization-mode=(string)1,profile-level-id=(string)42e01f";
constexpr const char* VP8_CAPS = "application/x-rtp,media=video,encoding-name=VP8,clock-rate=90000,payload=98";
constexpr const char* AUDIO_CAPS = "application/x-rtp,media=audio,encoding-name=PCMU,clock-rate=8000,payload=0";

std::string textOf(GstWebRTCSessionDescription* pDescription) {
    char* const pText = gst_sdp_message_as_text(pDescription->sdp);
    std::string text = pText;
    g_free(pText);
    gst_webrtc_session_description_free(pDescription);
    return text;
}

void apply(GstElement* pWebrtcbin, const char* action, GstWebRTCSDPType type, const std::string& sdp) {
    GstSDPMessage* pMessage = nullptr;
    if (gst_sdp_message_new_from_text(sdp.c_str(), &pMessage) != GST_SDP_OK) {
        throw std::runtime_error("not a session description");
    }
    GstWebRTCSessionDescription* const pDescription = gst_webrtc_session_description_new(type, pMessage);
    GstPromise* const pPromise = gst_promise_new();
    g_signal_emit_by_name(pWebrtcbin, action, pDescription, pPromise);
    gst_promise_wait(pPromise);
    const GstStructure* const pReply = gst_promise_get_reply(pPromise);
    const bool refused = pReply != nullptr && gst_structure_has_field(pReply, "error");
    gst_promise_unref(pPromise);
    gst_webrtc_session_description_free(pDescription);
    if (refused) {
        throw std::runtime_error(std::string(action) + " was refused");
    }
}

const char* capsFor(const std::string& section) {
    if (section == "video") {
        return VIDEO_CAPS;
    }
    return section == "vp8" ? VP8_CAPS : AUDIO_CAPS;
}

}  // namespace

void WebrtcbinViewer::Observer::onGatheringState(GstElement* pWebrtcbin, GParamSpec*, Observer* pSelf) {
    GstWebRTCICEGatheringState state = GST_WEBRTC_ICE_GATHERING_STATE_NEW;
    g_object_get(pWebrtcbin, "ice-gathering-state", &state, nullptr);
    const std::lock_guard<std::mutex> lock(pSelf->mutex);
    pSelf->gathered = state == GST_WEBRTC_ICE_GATHERING_STATE_COMPLETE;
    pSelf->changed.notify_all();
}

void WebrtcbinViewer::Observer::onPadAdded(GstElement* pWebrtcbin, GstPad* pPad, Observer* pSelf) {
    if (GST_PAD_DIRECTION(pPad) != GST_PAD_SRC) {
        return;
    }
    GstCaps* const pCaps = gst_pad_get_current_caps(pPad);
    const char* const name = gst_structure_get_string(gst_caps_get_structure(pCaps, 0), "encoding-name");
    GstAppSinkCallbacks callbacks{};
    callbacks.new_sample = g_strcmp0(name, "PCMU") == 0 ? onAudio : onVideo;
    gst_caps_unref(pCaps);

    GstElement* const pSink = gst_element_factory_make("appsink", nullptr);
    g_object_set(pSink, "sync", FALSE, "async", FALSE, nullptr);
    gst_app_sink_set_callbacks(GST_APP_SINK(pSink), &callbacks, pSelf, nullptr);
    gst_bin_add(GST_BIN(GST_ELEMENT_PARENT(pWebrtcbin)), pSink);
    gst_element_sync_state_with_parent(pSink);
    GstPad* const pInput = gst_element_get_static_pad(pSink, "sink");
    gst_pad_link(pPad, pInput);
    gst_object_unref(pInput);
}

void WebrtcbinViewer::Observer::onElementAdded(GstBin*, GstBin*, GstElement* pElement, Observer* pSelf) {
    if (g_str_has_prefix(GST_OBJECT_NAME(pElement), "dtlsdec")) {
        g_signal_connect(pElement, "notify::connection-state", G_CALLBACK(onDtlsState), pSelf);
    } else if (g_str_has_prefix(GST_OBJECT_NAME(pElement), "nicesink")) {
        GstPad* const pPad = gst_element_get_static_pad(pElement, "sink");
        gst_pad_add_probe(pPad,
                          static_cast<GstPadProbeType>(GST_PAD_PROBE_TYPE_BUFFER | GST_PAD_PROBE_TYPE_BUFFER_LIST),
                          onSend, pSelf, nullptr);
        gst_object_unref(pPad);
    }
}

void WebrtcbinViewer::Observer::onDtlsState(GstElement* pDtlsdec, GParamSpec*, Observer* pSelf) {
    gint state = 0;
    g_object_get(pDtlsdec, "connection-state", &state, nullptr);
    const std::lock_guard<std::mutex> lock(pSelf->mutex);
    pSelf->connected = pSelf->connected || state == DTLS_CONNECTED;
    pSelf->closed = pSelf->connected && state == DTLS_CLOSED;
    pSelf->changed.notify_all();
}

GstFlowReturn WebrtcbinViewer::Observer::onAudio(GstAppSink* pSink, gpointer pSelf) {
    gst_sample_unref(gst_app_sink_pull_sample(pSink));
    static_cast<Observer*>(pSelf)->audioFrames++;
    return GST_FLOW_OK;
}

GstFlowReturn WebrtcbinViewer::Observer::onVideo(GstAppSink* pSink, gpointer pSelf) {
    auto* const pObserver = static_cast<Observer*>(pSelf);
    GstSample* const pSample = gst_app_sink_pull_sample(pSink);
    GstRTPBuffer packet = GST_RTP_BUFFER_INIT;
    gst_rtp_buffer_map(gst_sample_get_buffer(pSample), GST_MAP_READ, &packet);
    const guint32 timestamp = gst_rtp_buffer_get_timestamp(&packet);
    if (gst_rtp_buffer_get_marker(&packet)) {
        pObserver->videoTimestampStep = timestamp - pObserver->videoTimestamp.exchange(timestamp);
        pObserver->videoFrames++;
    }
    gst_rtp_buffer_unmap(&packet);
    gst_sample_unref(pSample);
    return GST_FLOW_OK;
}

GstPadProbeReturn WebrtcbinViewer::Observer::onSend(GstPad*, GstPadProbeInfo*, gpointer pSelf) {
    auto* const pObserver = static_cast<Observer*>(pSelf);
    const std::lock_guard<std::mutex> lock(pObserver->mutex);
    pObserver->talkPackets++;
    pObserver->changed.notify_all();
    return pObserver->frozen ? GST_PAD_PROBE_DROP : GST_PAD_PROBE_OK;
}

WebrtcbinViewer::WebrtcbinViewer(const std::string& sections)
    : pPipeline_(gst_pipeline_new(nullptr)),
      pWebrtcbin_(gst_element_factory_make("webrtcbin", nullptr)),
      observer_(std::make_shared<Observer>()) {
    g_object_set(pWebrtcbin_, "bundle-policy", GST_WEBRTC_BUNDLE_POLICY_MAX_BUNDLE, nullptr);
    gst_bin_add(GST_BIN(pPipeline_), pWebrtcbin_);
    configureAgent();

    Observer* const pObserver = observer_.get();
    g_signal_connect(pWebrtcbin_, "notify::ice-gathering-state", G_CALLBACK(Observer::onGatheringState), pObserver);
    g_signal_connect(pWebrtcbin_, "pad-added", G_CALLBACK(Observer::onPadAdded), pObserver);
    g_signal_connect(pWebrtcbin_, "deep-element-added", G_CALLBACK(Observer::onElementAdded), pObserver);

    size_t start = 0;
    for (int index = 0; start < sections.size(); index++) {
        const size_t end = std::min(sections.find(' ', start), sections.size());
        addSection(sections.substr(start, end - start), index);
        start = end + 1;
    }
    gst_element_set_state(pPipeline_, GST_STATE_PLAYING);
}

WebrtcbinViewer::~WebrtcbinViewer() {
    hostsdk::sendDtlsClose(GST_BIN(pWebrtcbin_));
    // Waits for what webrtcbin still has to do: closing while it gathers candidates leaks descriptors.
    GstPromise* const pPromise = gst_promise_new();
    g_signal_emit_by_name(pWebrtcbin_, "get-stats", nullptr, pPromise);
    gst_promise_wait(pPromise);
    gst_promise_unref(pPromise);
    gst_element_set_state(pPipeline_, GST_STATE_NULL);
    gst_object_unref(pPipeline_);
}

void WebrtcbinViewer::configureAgent() {
    GObject* pIce = nullptr;
    GObject* pAgent = nullptr;
    g_object_get(pWebrtcbin_, "ice-agent", &pIce, nullptr);
    g_object_set(pIce, "ice-tcp", FALSE, nullptr);
    if (hostsdk::hasOnlyLoopback()) {
        gboolean added = FALSE;
        g_signal_emit_by_name(pIce, "add-local-ip-address", "127.0.0.1", &added);
    }
    g_object_get(pIce, "agent", &pAgent, nullptr);
    g_object_set(pAgent, "upnp", FALSE, nullptr);
    g_object_unref(pAgent);
    g_object_unref(pIce);
}

void WebrtcbinViewer::addSection(const std::string& section, int index) {
    GstCaps* const pCaps = gst_caps_from_string(capsFor(section));
    if (section == "audio") {
        addTalk(pCaps, "sink_" + std::to_string(index));
    } else {
        GstWebRTCRTPTransceiver* pTransceiver = nullptr;
        g_signal_emit_by_name(pWebrtcbin_, "add-transceiver", GST_WEBRTC_RTP_TRANSCEIVER_DIRECTION_RECVONLY, pCaps,
                              &pTransceiver);
        gst_object_unref(pTransceiver);
    }
    gst_caps_unref(pCaps);
}

void WebrtcbinViewer::addTalk(GstCaps* pCaps, const std::string& padName) {
    GstElement* const pTalk = gst_parse_bin_from_description(
        "audiotestsrc is-live=true samplesperbuffer=160 ! audio/x-raw,rate=8000,channels=1 ! mulawenc ! "
        "rtppcmupay pt=0 min-ptime=20000000 max-ptime=20000000",
        TRUE, nullptr);
    gst_bin_add(GST_BIN(pPipeline_), pTalk);
    GstPad* const pOutput = gst_element_get_static_pad(pTalk, "src");
    GstPad* const pInput = gst_element_request_pad(pWebrtcbin_, gst_element_get_pad_template(pWebrtcbin_, "sink_%u"),
                                                   padName.c_str(), pCaps);
    gst_pad_link(pOutput, pInput);
    gst_object_unref(pInput);
    gst_object_unref(pOutput);
}

std::string WebrtcbinViewer::makeOffer() {
    GstPromise* const pPromise = gst_promise_new();
    g_signal_emit_by_name(pWebrtcbin_, "create-offer", nullptr, pPromise);
    gst_promise_wait(pPromise);
    GstWebRTCSessionDescription* pOffer = nullptr;
    gst_structure_get(gst_promise_get_reply(pPromise), "offer", GST_TYPE_WEBRTC_SESSION_DESCRIPTION, &pOffer, nullptr);
    gst_promise_unref(pPromise);
    apply(pWebrtcbin_, "set-local-description", GST_WEBRTC_SDP_TYPE_OFFER, textOf(pOffer));

    if (!waitFor(GATHERING_LIMIT, [this] { return observer_->gathered; })) {
        throw std::runtime_error("the viewer does not finish gathering");
    }
    GstWebRTCSessionDescription* pLocal = nullptr;
    g_object_get(pWebrtcbin_, "local-description", &pLocal, nullptr);
    return textOf(pLocal);
}

void WebrtcbinViewer::setAnswer(const std::string& sdp) {
    apply(pWebrtcbin_, "set-remote-description", GST_WEBRTC_SDP_TYPE_ANSWER, sdp);
}

int WebrtcbinViewer::videoFrames() const {
    return observer_->videoFrames;
}

int WebrtcbinViewer::audioFrames() const {
    return observer_->audioFrames;
}

guint32 WebrtcbinViewer::lastVideoTimestampStep() const {
    return observer_->videoTimestampStep;
}

void WebrtcbinViewer::freeze() {
    observer_->frozen = true;
}

void WebrtcbinViewer::thaw() {
    observer_->frozen = false;
}

int WebrtcbinViewer::talkPackets() const {
    const std::lock_guard<std::mutex> lock(observer_->mutex);
    return observer_->talkPackets;
}

bool WebrtcbinViewer::waitForTalk(int packets, std::chrono::seconds deadline) {
    return waitFor(deadline, [&] { return observer_->talkPackets >= packets; });
}

bool WebrtcbinViewer::waitForClose(std::chrono::seconds deadline) {
    return waitFor(deadline, [this] { return observer_->closed; });
}

bool WebrtcbinViewer::waitFor(std::chrono::seconds deadline, const std::function<bool()>& condition) {
    std::unique_lock<std::mutex> lock(observer_->mutex);
    return observer_->changed.wait_for(lock, deadline, condition);
}
