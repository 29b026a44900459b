#include "webrtcbin_viewer.h"

#include <gst/rtp/gstrtpbuffer.h>

#include <algorithm>
#include <array>
#include <condition_variable>
#include <mutex>
#include <stdexcept>

#include "gst/camera_end.h"
#include "gst/description.h"
#include "gst/dtls.h"
#include "gst/ice_agent.h"
#include "gst/reply.h"

namespace gst = zelrtc::gst;

namespace zelrtc::test {

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
    std::map<guint32, uint64_t> received;  // guarded by the mutex, like what follows
    uint16_t newest = 0;
    int stillToLose = 0;
    bool hasLostTheLastOne = false;
    std::vector<uint16_t> missing;
    std::map<int, int> units;

    static void onGatheringState(GstElement* webrtcbin, GParamSpec*, Observer* self);
    static void onPadAdded(GstElement* webrtcbin, GstPad* pad, Observer* self);
    static void onElementAdded(GstBin*, GstBin*, GstElement* element, Observer* self);
    static void onDtlsState(GstElement* dtlsdec, GParamSpec*, Observer* self);
    void onVideo(GstSample* packet);
    void countUnits(const guint8* payload, guint size);
    bool loses(guint16 number);
    static GstPadProbeReturn onReceived(GstPad*, GstPadProbeInfo* info, gpointer self);
    static GstPadProbeReturn onSend(GstPad*, GstPadProbeInfo*, gpointer self);
};

namespace {

constexpr std::chrono::seconds kGatheringLimit{20};

constexpr const char* kVideoCaps =
    "application/x-rtp,media=video,encoding-name=H264,clock-rate=90000,payload=96,"
    "packetization-mode=(string)1,profile-level-id=(string)42e01f,rtcp-fb-nack=(boolean)true,rtcp-fb-nack-pli=(boolean)"
    "true";
constexpr const char* kVp8Caps = "application/x-rtp,media=video,encoding-name=VP8,clock-rate=90000,payload=98";
constexpr const char* kAudioCaps = "application/x-rtp,media=audio,encoding-name=PCMU,clock-rate=8000,payload=0";

const char* capsFor(const std::string& section) {
    if (section == "video") {
        return kVideoCaps;
    }
    return section == "vp8" ? kVp8Caps : kAudioCaps;
}

}  // namespace

void WebrtcbinViewer::Observer::onGatheringState(GstElement* webrtcbin, GParamSpec*, Observer* self) {
    const auto state = gst::plainProperty<GstWebRTCICEGatheringState>(webrtcbin, "ice-gathering-state");
    const std::lock_guard<std::mutex> lock(self->mutex);
    self->gathered = state == GST_WEBRTC_ICE_GATHERING_STATE_COMPLETE;
    self->changed.notify_all();
}

void WebrtcbinViewer::Observer::onPadAdded(GstElement* webrtcbin, GstPad* pad, Observer* self) {
    if (GST_PAD_DIRECTION(pad) != GST_PAD_SRC) {
        return;
    }
    const bool isAudio = gst::codecOf(pad) == gst::Codec::kMulaw;
    GstElement* const sink = gst::makeElement("appsink");
    g_object_set(sink, "sync", FALSE, "async", FALSE, nullptr);
    gst::handleSamples(sink, [self, isAudio](GstAppSink* appsink) {
        const gst::GstPtr<GstSample> packet(gst_app_sink_pull_sample(appsink));
        if (isAudio) {
            self->audioFrames++;
        } else {
            self->onVideo(packet.get());
        }
    });
    gst::addReceiver(GST_ELEMENT_PARENT(webrtcbin), pad, sink);
}

void WebrtcbinViewer::Observer::onElementAdded(GstBin*, GstBin*, GstElement* element, Observer* self) {
    if (gst::isMadeBy(element, "dtlsdec")) {
        g_signal_connect(element, "notify::connection-state", G_CALLBACK(onDtlsState), self);
    } else if (gst::isMadeBy(element, "nicesink")) {
        const gst::GstPtr<GstPad> pad(gst_element_get_static_pad(element, "sink"));
        gst_pad_add_probe(pad.get(),
                          static_cast<GstPadProbeType>(GST_PAD_PROBE_TYPE_BUFFER | GST_PAD_PROBE_TYPE_BUFFER_LIST),
                          onSend, self, nullptr);
    } else if (gst::isMadeBy(element, "srtpdec")) {
        const gst::GstPtr<GstPad> pad(gst_element_get_static_pad(element, "rtp_sink"));
        gst_pad_add_probe(pad.get(), GST_PAD_PROBE_TYPE_BUFFER, onReceived, self, nullptr);
    }
}

void WebrtcbinViewer::Observer::onDtlsState(GstElement* dtlsdec, GParamSpec*, Observer* self) {
    const gst::DtlsState state = gst::dtlsState(dtlsdec);
    const std::lock_guard<std::mutex> lock(self->mutex);
    self->connected = self->connected || state == gst::DtlsState::kConnected;
    self->closed = self->connected && state == gst::DtlsState::kClosed;
    self->changed.notify_all();
}

void WebrtcbinViewer::Observer::onVideo(GstSample* packet) {
    GstRTPBuffer header = GST_RTP_BUFFER_INIT;
    gst_rtp_buffer_map(gst_sample_get_buffer(packet), GST_MAP_READ, &header);
    const guint32 timestamp = gst_rtp_buffer_get_timestamp(&header);
    if (gst_rtp_buffer_get_marker(&header)) {
        videoTimestampStep = timestamp - videoTimestamp.exchange(timestamp);
        videoFrames++;
    }
    countUnits(static_cast<const guint8*>(gst_rtp_buffer_get_payload(&header)),
               gst_rtp_buffer_get_payload_len(&header));
    gst_rtp_buffer_unmap(&header);
}

// Of RFC 6184: several units in one packet, the first fragment of one, or one alone.
void WebrtcbinViewer::Observer::countUnits(const guint8* payload, guint size) {
    constexpr guint8 kUnitType = 0x1f;
    constexpr int kAggregate = 24;
    constexpr int kFragment = 28;
    constexpr guint8 kBegins = 0x80;
    const int type = payload[0] & kUnitType;
    const std::lock_guard<std::mutex> lock(mutex);
    if (type == kAggregate) {
        for (guint at = 1; at + 2 < size; at += 2U + payload[at] * 256U + payload[at + 1]) {
            units[payload[at + 2] & kUnitType]++;
        }
    } else if (type != kFragment) {
        units[type]++;
    } else if ((payload[1] & kBegins) != 0) {
        units[payload[1] & kUnitType]++;
    }
}

// Still encrypted, but the source is in the clear.
GstPadProbeReturn WebrtcbinViewer::Observer::onReceived(GstPad*, GstPadProbeInfo* info, gpointer self) {
    constexpr gsize kHeaderBytes = 12;
    GstBuffer* const packet = GST_PAD_PROBE_INFO_BUFFER(info);
    std::array<guint8, kHeaderBytes> header{};
    const bool isRtp = gst_buffer_extract(packet, 0, header.data(), kHeaderBytes) == kHeaderBytes &&
                       ((header[1] & 0x7fU) < 64 || (header[1] & 0x7fU) > 95);
    if (isRtp) {
        auto* const observer = static_cast<Observer*>(self);
        const std::lock_guard<std::mutex> lock(observer->mutex);
        observer->received[GST_READ_UINT32_BE(&header[8])] += gst_buffer_get_size(packet);
        const bool isVideo = (header[1] & 0x7fU) != 0;
        if (isVideo && observer->loses(GST_READ_UINT16_BE(&header[2]))) {
            return GST_PAD_PROBE_DROP;
        }
    }
    return GST_PAD_PROBE_OK;
}

// Under the lock.
bool WebrtcbinViewer::Observer::loses(guint16 number) {
    newest = number;
    const auto known = std::find(missing.begin(), missing.end(), number);
    if (known != missing.end()) {
        missing.erase(known);
        return false;
    }
    hasLostTheLastOne = stillToLose > 0 && !hasLostTheLastOne;
    if (hasLostTheLastOne) {
        stillToLose--;
        missing.push_back(number);
    }
    return hasLostTheLastOne;
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
      webrtcbin_(gst::makeElement("webrtcbin")),
      observer_(std::make_shared<Observer>()) {
    g_object_set(webrtcbin_, "bundle-policy", GST_WEBRTC_BUNDLE_POLICY_MAX_BUNDLE, nullptr);
    gst_bin_add(GST_BIN(pipeline_.get()), webrtcbin_);
    gst::speedUpAgent(webrtcbin_);
    gst::gatherUdpOnly(webrtcbin_);
    gst::gatherOnLoopbackIfAlone(webrtcbin_);

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
    gst_element_set_state(pipeline_.get(), GST_STATE_PLAYING);
}

WebrtcbinViewer::~WebrtcbinViewer() {
    gst::sendDtlsClose(webrtcbin_);
    // Closing webrtcbin while it gathers leaks descriptors.
    gst::waitUntilIdle(webrtcbin_);
    gst_element_set_state(pipeline_.get(), GST_STATE_NULL);
}

void WebrtcbinViewer::addSection(const std::string& section, int index) {
    const gst::GstPtr<GstCaps> caps(gst_caps_from_string(capsFor(section)));
    if (section == "audio") {
        addTalk(caps.get(), "sink_" + std::to_string(index));
        return;
    }
    GstWebRTCRTPTransceiver* added = nullptr;
    g_signal_emit_by_name(webrtcbin_, "add-transceiver", GST_WEBRTC_RTP_TRANSCEIVER_DIRECTION_RECVONLY, caps.get(),
                          &added);
    const gst::GstPtr<GstWebRTCRTPTransceiver> transceiver(added);
}

void WebrtcbinViewer::addTalk(GstCaps* caps, const std::string& padName) {
    GstElement* const talk = gst::makeBin(
        "audiotestsrc is-live=true samplesperbuffer=160 ! audio/x-raw,rate=8000,channels=1 ! mulawenc ! "
        "rtppcmupay pt=0 min-ptime=20000000 max-ptime=20000000");
    gst_bin_add(GST_BIN(pipeline_.get()), talk);
    const gst::GstPtr<GstPad> output(gst_element_get_static_pad(talk, "src"));
    GstPadTemplate* const inputs = gst_element_get_pad_template(webrtcbin_, "sink_%u");
    const gst::GstPtr<GstPad> input(gst_element_request_pad(webrtcbin_, inputs, padName.c_str(), caps));
    gst_pad_link(output.get(), input.get());
}

std::string WebrtcbinViewer::makeOffer() {
    gst::setLocalDescription(webrtcbin_, gst::createOffer(webrtcbin_));
    if (!waitFor(kGatheringLimit, [this] { return observer_->gathered; })) {
        throw std::runtime_error("the viewer does not finish gathering");
    }
    return gst::writeDescription(gst::localDescription(webrtcbin_));
}

void WebrtcbinViewer::setAnswer(const std::string& sdp) {
    gst::setRemoteDescription(webrtcbin_, gst::readDescription(GST_WEBRTC_SDP_TYPE_ANSWER, sdp));
}

int WebrtcbinViewer::videoFrames() const {
    return observer_->videoFrames;
}

int WebrtcbinViewer::audioFrames() const {
    return observer_->audioFrames;
}

std::map<int, int> WebrtcbinViewer::videoUnits() const {
    const std::lock_guard<std::mutex> lock(observer_->mutex);
    return observer_->units;
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

namespace {

// Nothing may have gone this way before.
void beginStream(GstPad* pad) {
    GstEvent* const begun = gst_pad_get_sticky_event(pad, GST_EVENT_SEGMENT, 0);
    if (begun != nullptr) {
        gst_event_unref(begun);
        return;
    }
    GstSegment segment;
    gst_segment_init(&segment, GST_FORMAT_TIME);
    gst_pad_send_event(pad, gst_event_new_stream_start("hostile"));
    if (g_str_has_prefix(GST_PAD_NAME(pad), "rtcp")) {
        const gst::GstPtr<GstCaps> caps(gst_caps_new_empty_simple("application/x-rtcp"));
        gst_pad_send_event(pad, gst_event_new_caps(caps.get()));
    }
    gst_pad_send_event(pad, gst_event_new_segment(&segment));
}

}  // namespace

bool WebrtcbinViewer::sendPacket(const std::vector<uint8_t>& packet) {
    const bool isControl = packet.at(1) >= 192 && packet.at(1) <= 223;
    return sendInto("srtpenc", isControl ? "rtcp_sink_0" : "rtp_sink_0", packet);
}

bool WebrtcbinViewer::sendData(const std::vector<uint8_t>& data) {
    return sendInto("dtlsenc", "sink", data);
}

bool WebrtcbinViewer::sendInto(const char* factory, const char* pad, const std::vector<uint8_t>& packet) {
    for (const auto& element : gst::elementsMadeBy(webrtcbin_, factory)) {
        const gst::GstPtr<GstPad> input(gst_element_get_static_pad(element.get(), pad));
        if (input != nullptr) {
            beginStream(input.get());
            return gst_pad_chain(input.get(), gst_buffer_new_memdup(packet.data(), packet.size())) == GST_FLOW_OK;
        }
    }
    return false;
}

std::map<guint32, uint64_t> WebrtcbinViewer::receivedBytes() const {
    const std::lock_guard<std::mutex> lock(observer_->mutex);
    return observer_->received;
}

guint32 WebrtcbinViewer::largestSource() const {
    const auto received = receivedBytes();
    const auto largest = std::max_element(received.begin(), received.end(),
                                          [](const auto& one, const auto& other) { return one.second < other.second; });
    return largest == received.end() ? 0 : largest->first;
}

void WebrtcbinViewer::losePackets(int count) {
    const std::lock_guard<std::mutex> lock(observer_->mutex);
    observer_->stillToLose = count;
}

bool WebrtcbinViewer::hasLostAll() const {
    const std::lock_guard<std::mutex> lock(observer_->mutex);
    return observer_->stillToLose == 0;
}

uint16_t WebrtcbinViewer::newestPacket() const {
    const std::lock_guard<std::mutex> lock(observer_->mutex);
    return observer_->newest;
}

std::vector<uint16_t> WebrtcbinViewer::missingPackets() const {
    const std::lock_guard<std::mutex> lock(observer_->mutex);
    return observer_->missing;
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

}  // namespace zelrtc::test
