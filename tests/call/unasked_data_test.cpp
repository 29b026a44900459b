// The viewer offers no data channel, but the SDK starts an SCTP association on every call, negotiated or not.
#include <gst/app/gstappsrc.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <future>
#include <thread>

#include "gst/camera_end.h"
#include "gst/description.h"
#include "gst/dtls.h"
#include "gst/ice_agent.h"
#include "gst/reply.h"
#include "viewer_peer.h"
#include "waiting.h"

namespace zelrtc::viewer {
namespace {

constexpr std::chrono::seconds kDeadline(20);

// The packet that opens an association (RFC 9260, section 3.3.2), from port 5000 to port 5000.
constexpr std::array<uint8_t, 32> kSctpInit = {0x13, 0x88, 0x13, 0x88, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 20,
                                               0,    0,    0,    1,    0, 2, 0, 0, 4, 0, 4, 0, 0, 0, 0, 1};

// Answers a call and sends silence, without a word about data in its answer.
class SilentCamera {
public:
    SilentCamera() : pipeline_(gst_pipeline_new(nullptr)), webrtcbin_(gst::makeElement("webrtcbin")) {
        gst_bin_add(GST_BIN(pipeline_.get()), webrtcbin_);
        gst::configureCameraEnd(webrtcbin_);
        gst::gatherOnLoopbackIfAlone(webrtcbin_);
        gst::connectSignal(gst::niceAgent(webrtcbin_).get(), "candidate-gathering-done", G_CALLBACK(onGathered),
                           gathered_);
        gst_element_set_state(pipeline_.get(), GST_STATE_PLAYING);
    }
    SilentCamera(const SilentCamera&) = delete;
    SilentCamera& operator=(const SilentCamera&) = delete;
    ~SilentCamera() {
        gst::waitUntilIdle(webrtcbin_);
        gst_element_set_state(pipeline_.get(), GST_STATE_NULL);
    }

    std::string answer(const std::string& offer) {
        gst::setRemoteDescription(webrtcbin_, gst::readDescription(GST_WEBRTC_SDP_TYPE_OFFER, offer));
        video_ = addTrack(0, gst::Codec::kH264, 96);
        audio_ = addTrack(1, gst::Codec::kMulaw, 0);
        gst::setLocalDescription(webrtcbin_, gst::createAnswer(webrtcbin_));
        if (gathered_->get_future().wait_for(kDeadline) != std::future_status::ready) {
            throw std::runtime_error("the camera does not finish gathering");
        }
        gst::waitUntilIdle(webrtcbin_);
        return gst::writeDescription(gst::localDescription(webrtcbin_));
    }

    // Sends silence at its pace until the condition holds; false at the deadline.
    bool sendAudioUntil(const std::function<bool()>& condition) {
        const auto end = std::chrono::steady_clock::now() + kDeadline;
        while (!condition() && std::chrono::steady_clock::now() < end) {
            GstBuffer* const frame = gst_buffer_new_allocate(nullptr, 160, nullptr);
            gst_buffer_memset(frame, 0, 0xff, 160);
            GST_BUFFER_PTS(frame) = gst_element_get_current_running_time(pipeline_.get());
            gst_app_src_push_buffer(GST_APP_SRC(audio_.get()), frame);
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        return condition();
    }

    // How many transports took the packet that opens an association.
    int startAssociation() {
        int taken = 0;
        for (const auto& encoder : gst::elementsMadeBy(webrtcbin_, "dtlsenc")) {
            if (gst::dtlsState(encoder.get()) == gst::DtlsState::kConnected) {
                const gst::GstPtr<GstPad> input(gst_element_get_static_pad(encoder.get(), "sink"));
                taken += sendData(input.get()) == GST_FLOW_OK ? 1 : 0;
            }
        }
        return taken;
    }

private:
    using Gathered = std::promise<void>;

    static GstFlowReturn sendData(GstPad* input) {
        GstSegment segment;
        gst_segment_init(&segment, GST_FORMAT_BYTES);
        gst_pad_send_event(input, gst_event_new_stream_start("data"));
        gst_pad_send_event(input, gst_event_new_segment(&segment));
        return gst_pad_chain(input, gst_buffer_new_memdup(kSctpInit.data(), kSctpInit.size()));
    }

    static void onGathered(GObject* /*agent*/, guint /*stream*/, std::shared_ptr<Gathered>* gathered) {
        (*gathered)->set_value();
    }

    gst::GstPtr<GstElement> addTrack(unsigned line, gst::Codec codec, int payloadType) {
        gst::Track track;
        track.mLineIndex = line;
        track.codec = codec;
        track.payloadType = payloadType;
        track.direction = GST_WEBRTC_RTP_TRANSCEIVER_DIRECTION_SENDONLY;
        return gst::addTrack(pipeline_.get(), webrtcbin_, track);
    }

    std::shared_ptr<Gathered> gathered_ = std::make_shared<Gathered>();
    gst::GstPtr<GstElement> pipeline_;
    GstElement* webrtcbin_;
    gst::GstPtr<GstElement> video_;
    gst::GstPtr<GstElement> audio_;
};

class Progress : public PeerListener {
public:
    void onLocalCandidate(const Candidate& /*candidate*/) override {
    }
    void onGathered() override {
        gathered = true;
    }
    void onIceConnected() override {
    }
    void onState(const std::string& name) override {
        connected = connected || name == "connected";
    }
    void onKeyFrameWanted() override {
    }

    std::atomic<bool> gathered{false};
    std::atomic<bool> connected{false};
};

TEST(UnaskedData, DoesNotStopThePictureAndTheSound) {
    gst_init(nullptr, nullptr);
    Options options;
    options.decode = false;
    options.talk = false;
    options.jitterBuffer = Milliseconds(50);
    CallStatistics statistics;
    Progress progress;
    ViewerPeer viewer(options, progress, statistics);
    SilentCamera camera;
    viewer.makeOffer();
    ASSERT_TRUE(test::eventually([&] { return progress.gathered.load(); }, kDeadline));
    viewer.takeAnswer(camera.answer(viewer.currentOffer()));
    ASSERT_TRUE(test::eventually([&] { return progress.connected.load(); }, kDeadline));
    ASSERT_TRUE(camera.sendAudioUntil([&] { return statistics.record().audioReceived >= 10; }));

    ASSERT_EQ(camera.startAssociation(), 1);

    const uint64_t before = statistics.record().audioReceived;
    EXPECT_TRUE(camera.sendAudioUntil([&] { return statistics.record().audioReceived >= before + 50; }));
}

}  // namespace
}  // namespace zelrtc::viewer
