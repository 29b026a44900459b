// Which elements pass on a list of packets as one.
#include "gst/packet_lists.h"

#include <gst/rtp/gstrtpbuffer.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "gst/elements.h"

namespace gst = zelrtc::gst;

namespace zelrtc::test {

namespace {

constexpr guint kPackets = 3;

GstBufferList* makeList() {
    GstBufferList* const list = gst_buffer_list_new();
    for (guint16 number = 0; number < kPackets; number++) {
        GstBuffer* const packet = gst_rtp_buffer_new_allocate(100, 0, 0);
        GstRTPBuffer header = GST_RTP_BUFFER_INIT;
        gst_rtp_buffer_map(packet, GST_MAP_WRITE, &header);
        gst_rtp_buffer_set_seq(&header, number);
        gst_rtp_buffer_set_payload_type(&header, 96);
        gst_rtp_buffer_set_ssrc(&header, 1);
        gst_rtp_buffer_unmap(&header);
        gst_buffer_list_add(list, packet);
    }
    return list;
}

// An element, and what comes out of it.
class Way {
public:
    explicit Way(const char* factory) {
        gst_init(nullptr, nullptr);
        element = gst::GstPtr<GstElement>(GST_ELEMENT(gst_object_ref_sink(gst::makeElement(factory))));
        input_.reset(gst_element_get_static_pad(element.get(), "sink"));
        output_.reset(gst_element_get_static_pad(element.get(), "src"));
        sink_.reset(GST_ELEMENT(gst_object_ref_sink(gst::makeElement("fakesink"))));
        const gst::GstPtr<GstPad> end(gst_element_get_static_pad(sink_.get(), "sink"));
        g_object_set(sink_.get(), "async", FALSE, nullptr);
        gst_pad_link(output_.get(), end.get());
        const auto each = static_cast<GstPadProbeType>(GST_PAD_PROBE_TYPE_BUFFER | GST_PAD_PROBE_TYPE_BUFFER_LIST);
        gst_pad_add_probe(output_.get(), each, onOutput, this, nullptr);
        gst_element_set_state(sink_.get(), GST_STATE_PLAYING);
        gst_element_set_state(element.get(), GST_STATE_PLAYING);
        begin();
    }
    Way(const Way&) = delete;
    Way& operator=(const Way&) = delete;
    Way(Way&&) = delete;
    Way& operator=(Way&&) = delete;
    ~Way() {
        gst_element_set_state(element.get(), GST_STATE_NULL);
        gst_element_set_state(sink_.get(), GST_STATE_NULL);
    }

    // How many packets came out at once, each time.
    std::vector<guint> sizesOut() {
        out_.clear();
        EXPECT_EQ(gst_pad_chain_list(input_.get(), makeList()), GST_FLOW_OK);
        return out_;
    }

    gst::GstPtr<GstElement> element;

private:
    void begin() {
        GstSegment segment;
        gst_segment_init(&segment, GST_FORMAT_TIME);
        const gst::GstPtr<GstCaps> caps(gst_caps_from_string(
            "application/x-rtp,media=video,encoding-name=H264,clock-rate=90000,payload=96,ssrc=(uint)1"));
        gst_pad_send_event(input_.get(), gst_event_new_stream_start("packets"));
        gst_pad_send_event(input_.get(), gst_event_new_caps(caps.get()));
        gst_pad_send_event(input_.get(), gst_event_new_segment(&segment));
    }

    static GstPadProbeReturn onOutput(GstPad*, GstPadProbeInfo* info, gpointer self) {
        const bool isOne = (GST_PAD_PROBE_INFO_TYPE(info) & GST_PAD_PROBE_TYPE_BUFFER) != 0;
        static_cast<Way*>(self)->out_.push_back(isOne ? 1
                                                      : gst_buffer_list_length(GST_PAD_PROBE_INFO_BUFFER_LIST(info)));
        return GST_PAD_PROBE_OK;
    }

    gst::GstPtr<GstPad> input_;
    gst::GstPtr<GstPad> output_;
    gst::GstPtr<GstElement> sink_;
    std::vector<guint> out_;
};

const std::vector<guint> kTogether = {kPackets};
const std::vector<guint> kOneByOne(kPackets, 1);

}  // namespace

TEST(PacketLists, passAnEncoderOfRedundancyThatIsOff) {
    Way way("rtpulpfecenc");
    g_object_set(way.element.get(), "percentage", 100U, nullptr);
    EXPECT_EQ(way.sizesOut(), kOneByOne);
    gst::letListsPass(way.element.get());
    EXPECT_EQ(way.sizesOut(), kTogether);
}

TEST(PacketLists, arePutInOneByOneOnceItIsOn) {
    Way way("rtpulpfecenc");
    gst::letListsPass(way.element.get());
    g_object_set(way.element.get(), "pt", 120U, nullptr);
    EXPECT_EQ(way.sizesOut(), kOneByOne);
}

TEST(PacketLists, passAnEncoderOfEnvelopesThatIsOff) {
    Way way("rtpredenc");
    g_object_set(way.element.get(), "allow-no-red-blocks", FALSE, nullptr);
    EXPECT_EQ(way.sizesOut(), kOneByOne);
    gst::letListsPass(way.element.get());
    EXPECT_EQ(way.sizesOut(), kTogether);
}

TEST(PacketLists, arePutIntoEnvelopesOneByOne) {
    Way way("rtpredenc");
    gst::letListsPass(way.element.get());
    g_object_set(way.element.get(), "allow-no-red-blocks", TRUE, "pt", 121, nullptr);
    EXPECT_EQ(way.sizesOut(), kOneByOne);
    g_object_set(way.element.get(), "allow-no-red-blocks", FALSE, "distance", 1U, nullptr);
    EXPECT_EQ(way.sizesOut(), kOneByOne);
}

TEST(PacketLists, leaveOtherElementsAsTheyAre) {
    Way way("identity");
    const gst::GstPtr<GstPad> input(gst_element_get_static_pad(way.element.get(), "sink"));
    const GstPadChainListFunction before = GST_PAD_CHAINLISTFUNC(input.get());
    gst::letListsPass(way.element.get());
    EXPECT_EQ(GST_PAD_CHAINLISTFUNC(input.get()), before);
}

}  // namespace zelrtc::test
