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

    static void onGatheringState(GstElement* webrtcbin, GParamSpec*, Observer* self);
    static void onPadAdded(GstElement* webrtcbin, GstPad* pad, Observer* self);
    static void onElementAdded(GstBin*, GstBin*, GstElement* element, Observer* self);
    static void onDtlsState(GstElement* dtlsdec, GParamSpec*, Observer* self);
    static GstFlowReturn onAudio(GstAppSink* sink, gpointer self);
    static GstFlowReturn onVideo(GstAppSink* sink, gpointer self);
    static GstPadProbeReturn onSend(GstPad*, GstPadProbeInfo*, gpointer self);
};

namespace {

constexpr int kDtlsClosed = 1;
constexpr int kDtlsConnected = 4;
constexpr std::chrono::seconds kGatheringLimit{20};

constexpr const char* kVideoCaps =
    "application/x-rtp,media=video,encoding-name=H264,clock-rate=90000,payload=96,"
    "packetization-mode=(string)1,profile-level-id=(string)42e01f";
constexpr const char* kVp8Caps = "application/x-rtp,media=video,encoding-name=VP8,clock-rate=90000,payload=98";
constexpr const char* kAudioCaps = "application/x-rtp,media=audio,encoding-name=PCMU,clock-rate=8000,payload=0";

std::string textOf(GstWebRTCSessionDescription* description) {
    char* const written = gst_sdp_message_as_text(description->sdp);
    std::string text = written;
    g_free(written);
    gst_webrtc_session_description_free(description);
    return text;
}

void apply(GstElement* webrtcbin, const char* action, GstWebRTCSDPType type, const std::string& sdp) {
    GstSDPMessage* message = nullptr;
    if (gst_sdp_message_new_from_text(sdp.c_str(), &message) != GST_SDP_OK) {
        throw std::runtime_error("not a session description");
    }
    GstWebRTCSessionDescription* const description = gst_webrtc_session_description_new(type, message);
    GstPromise* const promise = gst_promise_new();
    g_signal_emit_by_name(webrtcbin, action, description, promise);
    gst_promise_wait(promise);
    const GstStructure* const reply = gst_promise_get_reply(promise);
    const bool refused = reply != nullptr && gst_structure_has_field(reply, "error");
    gst_promise_unref(promise);
    gst_webrtc_session_description_free(description);
    if (refused) {
        throw std::runtime_error(std::string(action) + " was refused");
    }
}

const char* capsFor(const std::string& section) {
    if (section == "video") {
        return kVideoCaps;
    }
    return section == "vp8" ? kVp8Caps : kAudioCaps;
}

}  // namespace

void WebrtcbinViewer::Observer::onGatheringState(GstElement* webrtcbin, GParamSpec*, Observer* self) {
    GstWebRTCICEGatheringState state = GST_WEBRTC_ICE_GATHERING_STATE_NEW;
    g_object_get(webrtcbin, "ice-gathering-state", &state, nullptr);
    const std::lock_guard<std::mutex> lock(self->mutex);
    self->gathered = state == GST_WEBRTC_ICE_GATHERING_STATE_COMPLETE;
    self->changed.notify_all();
}

void WebrtcbinViewer::Observer::onPadAdded(GstElement* webrtcbin, GstPad* pad, Observer* self) {
    if (GST_PAD_DIRECTION(pad) != GST_PAD_SRC) {
        return;
    }
    GstCaps* const caps = gst_pad_get_current_caps(pad);
    const char* const name = gst_structure_get_string(gst_caps_get_structure(caps, 0), "encoding-name");
    GstAppSinkCallbacks callbacks{};
    callbacks.new_sample = g_strcmp0(name, "PCMU") == 0 ? onAudio : onVideo;
    gst_caps_unref(caps);

    GstElement* const sink = gst_element_factory_make("appsink", nullptr);
    g_object_set(sink, "sync", FALSE, "async", FALSE, nullptr);
    gst_app_sink_set_callbacks(GST_APP_SINK(sink), &callbacks, self, nullptr);
    gst_bin_add(GST_BIN(GST_ELEMENT_PARENT(webrtcbin)), sink);
    gst_element_sync_state_with_parent(sink);
    GstPad* const input = gst_element_get_static_pad(sink, "sink");
    gst_pad_link(pad, input);
    gst_object_unref(input);
}

void WebrtcbinViewer::Observer::onElementAdded(GstBin*, GstBin*, GstElement* element, Observer* self) {
    if (g_str_has_prefix(GST_OBJECT_NAME(element), "dtlsdec")) {
        g_signal_connect(element, "notify::connection-state", G_CALLBACK(onDtlsState), self);
    } else if (g_str_has_prefix(GST_OBJECT_NAME(element), "nicesink")) {
        GstPad* const pad = gst_element_get_static_pad(element, "sink");
        gst_pad_add_probe(pad, static_cast<GstPadProbeType>(GST_PAD_PROBE_TYPE_BUFFER | GST_PAD_PROBE_TYPE_BUFFER_LIST),
                          onSend, self, nullptr);
        gst_object_unref(pad);
    }
}

void WebrtcbinViewer::Observer::onDtlsState(GstElement* dtlsdec, GParamSpec*, Observer* self) {
    gint state = 0;
    g_object_get(dtlsdec, "connection-state", &state, nullptr);
    const std::lock_guard<std::mutex> lock(self->mutex);
    self->connected = self->connected || state == kDtlsConnected;
    self->closed = self->connected && state == kDtlsClosed;
    self->changed.notify_all();
}

GstFlowReturn WebrtcbinViewer::Observer::onAudio(GstAppSink* sink, gpointer self) {
    gst_sample_unref(gst_app_sink_pull_sample(sink));
    static_cast<Observer*>(self)->audioFrames++;
    return GST_FLOW_OK;
}

GstFlowReturn WebrtcbinViewer::Observer::onVideo(GstAppSink* sink, gpointer self) {
    auto* const observer = static_cast<Observer*>(self);
    GstSample* const sample = gst_app_sink_pull_sample(sink);
    GstRTPBuffer packet = GST_RTP_BUFFER_INIT;
    gst_rtp_buffer_map(gst_sample_get_buffer(sample), GST_MAP_READ, &packet);
    const guint32 timestamp = gst_rtp_buffer_get_timestamp(&packet);
    if (gst_rtp_buffer_get_marker(&packet)) {
        observer->videoTimestampStep = timestamp - observer->videoTimestamp.exchange(timestamp);
        observer->videoFrames++;
    }
    gst_rtp_buffer_unmap(&packet);
    gst_sample_unref(sample);
    return GST_FLOW_OK;
}

GstPadProbeReturn WebrtcbinViewer::Observer::onSend(GstPad*, GstPadProbeInfo*, gpointer self) {
    auto* const observer = static_cast<Observer*>(self);
    const std::lock_guard<std::mutex> lock(observer->mutex);
    observer->talkPackets++;
    observer->changed.notify_all();
    return observer->frozen ? GST_PAD_PROBE_DROP : GST_PAD_PROBE_OK;
}

WebrtcbinViewer::WebrtcbinViewer(const std::string& sections)
    : pipeline_(gst_pipeline_new(nullptr)),
      webrtcbin_(gst_element_factory_make("webrtcbin", nullptr)),
      observer_(std::make_shared<Observer>()) {
    g_object_set(webrtcbin_, "bundle-policy", GST_WEBRTC_BUNDLE_POLICY_MAX_BUNDLE, nullptr);
    gst_bin_add(GST_BIN(pipeline_), webrtcbin_);
    configureAgent();

    Observer* const observer = observer_.get();
    g_signal_connect(webrtcbin_, "notify::ice-gathering-state", G_CALLBACK(Observer::onGatheringState), observer);
    g_signal_connect(webrtcbin_, "pad-added", G_CALLBACK(Observer::onPadAdded), observer);
    g_signal_connect(webrtcbin_, "deep-element-added", G_CALLBACK(Observer::onElementAdded), observer);

    size_t start = 0;
    for (int index = 0; start < sections.size(); index++) {
        const size_t end = std::min(sections.find(' ', start), sections.size());
        addSection(sections.substr(start, end - start), index);
        start = end + 1;
    }
    gst_element_set_state(pipeline_, GST_STATE_PLAYING);
}

WebrtcbinViewer::~WebrtcbinViewer() {
    zelrtc::hostsdk::sendDtlsClose(GST_BIN(webrtcbin_));
    // get-stats is a barrier: its reply follows all queued work. Closing while gathering leaks descriptors.
    GstPromise* const promise = gst_promise_new();
    g_signal_emit_by_name(webrtcbin_, "get-stats", nullptr, promise);
    gst_promise_wait(promise);
    gst_promise_unref(promise);
    gst_element_set_state(pipeline_, GST_STATE_NULL);
    gst_object_unref(pipeline_);
}

void WebrtcbinViewer::configureAgent() {
    GObject* ice = nullptr;
    GObject* agent = nullptr;
    g_object_get(webrtcbin_, "ice-agent", &ice, nullptr);
    g_object_set(ice, "ice-tcp", FALSE, nullptr);
    if (zelrtc::hostsdk::hasOnlyLoopback()) {
        gboolean added = FALSE;
        g_signal_emit_by_name(ice, "add-local-ip-address", "127.0.0.1", &added);
    }
    g_object_get(ice, "agent", &agent, nullptr);
    g_object_set(agent, "upnp", FALSE, nullptr);
    g_object_unref(agent);
    g_object_unref(ice);
}

void WebrtcbinViewer::addSection(const std::string& section, int index) {
    GstCaps* const caps = gst_caps_from_string(capsFor(section));
    if (section == "audio") {
        addTalk(caps, "sink_" + std::to_string(index));
    } else {
        GstWebRTCRTPTransceiver* transceiver = nullptr;
        g_signal_emit_by_name(webrtcbin_, "add-transceiver", GST_WEBRTC_RTP_TRANSCEIVER_DIRECTION_RECVONLY, caps,
                              &transceiver);
        gst_object_unref(transceiver);
    }
    gst_caps_unref(caps);
}

void WebrtcbinViewer::addTalk(GstCaps* caps, const std::string& padName) {
    GstElement* const talk = gst_parse_bin_from_description(
        "audiotestsrc is-live=true samplesperbuffer=160 ! audio/x-raw,rate=8000,channels=1 ! mulawenc ! "
        "rtppcmupay pt=0 min-ptime=20000000 max-ptime=20000000",
        TRUE, nullptr);
    gst_bin_add(GST_BIN(pipeline_), talk);
    GstPad* const output = gst_element_get_static_pad(talk, "src");
    GstPad* const input =
        gst_element_request_pad(webrtcbin_, gst_element_get_pad_template(webrtcbin_, "sink_%u"), padName.c_str(), caps);
    gst_pad_link(output, input);
    gst_object_unref(input);
    gst_object_unref(output);
}

std::string WebrtcbinViewer::makeOffer() {
    GstPromise* const promise = gst_promise_new();
    g_signal_emit_by_name(webrtcbin_, "create-offer", nullptr, promise);
    gst_promise_wait(promise);
    GstWebRTCSessionDescription* offer = nullptr;
    gst_structure_get(gst_promise_get_reply(promise), "offer", GST_TYPE_WEBRTC_SESSION_DESCRIPTION, &offer, nullptr);
    gst_promise_unref(promise);
    apply(webrtcbin_, "set-local-description", GST_WEBRTC_SDP_TYPE_OFFER, textOf(offer));

    if (!waitFor(kGatheringLimit, [this] { return observer_->gathered; })) {
        throw std::runtime_error("the viewer does not finish gathering");
    }
    GstWebRTCSessionDescription* local = nullptr;
    g_object_get(webrtcbin_, "local-description", &local, nullptr);
    return textOf(local);
}

void WebrtcbinViewer::setAnswer(const std::string& sdp) {
    apply(webrtcbin_, "set-remote-description", GST_WEBRTC_SDP_TYPE_ANSWER, sdp);
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
