#include "pass_on.h"

#include <gst/video/video.h>

#include <stdexcept>

namespace zelrtc::viewer {
namespace {

constexpr const char* kVideo = "video";
constexpr const char* kAudio = "audio";
constexpr std::chrono::milliseconds kBetweenRequests(500);
// A server can only ask once a report has told it where the packets come from.
constexpr guint64 kBetweenReports = GST_SECOND / 2;

std::string senderText(const std::string& session, const std::string& medium, const RtpAddress& address) {
    const std::string sink = " ! udpsink sync=false async=false host=" + address.host + " port=";
    const std::string any = address.isIpv6 ? "::" : "0.0.0.0";
    return " tee name=" + medium + " ! identity name=" + medium + "-packets ! rtp.send_rtp_sink_" + session +
           " rtp.send_rtp_src_" + session + sink + std::to_string(address.port) + " rtp.send_rtcp_src_" + session +
           sink + std::to_string(address.port + 1) + " close-socket=false name=" + medium +
           "-reports udpsrc name=" + medium + "-requests port=0 address=" + any +
           " ! application/x-rtcp ! rtp.recv_rtcp_sink_" + session;
}

GstElement* makeSender(const std::vector<RtpAddress>& addresses) {
    std::string text = "rtpbin name=rtp" + senderText("0", kVideo, addresses.at(0));
    if (addresses.size() > 1) {
        text += senderText("1", kAudio, addresses.at(1));
    }
    return gst::makeOpenBin(text);
}

}  // namespace

PassOn::PassOn(const std::vector<RtpAddress>& addresses, CallStatistics& statistics, std::function<void()> askCamera)
    : statistics_(statistics),
      askCamera_(std::move(askCamera)),
      takesAudio_(addresses.size() > 1),
      bin_(makeSender(addresses)) {
    makeEntrance(kVideo);
    shareSocket(kVideo, addresses.at(0).isIpv6);
    reportOften(0);
    const gst::GstPtr<GstPad> video = gst::padOf(bin_, "video-packets", "sink");
    gst_pad_add_probe(video.get(), GST_PAD_PROBE_TYPE_BUFFER, &PassOn::onVideoPacket, this, nullptr);
    const gst::GstPtr<GstPad> requests = gst::padOf(bin_, "video-packets", "src");
    gst_pad_add_probe(requests.get(), GST_PAD_PROBE_TYPE_EVENT_UPSTREAM, &PassOn::onRequest, this, nullptr);
    if (takesAudio_) {
        makeEntrance(kAudio);
        shareSocket(kAudio, addresses.at(1).isIpv6);
        reportOften(1);
        const gst::GstPtr<GstPad> audio = gst::padOf(bin_, "audio-packets", "sink");
        gst_pad_add_probe(audio.get(), GST_PAD_PROBE_TYPE_BUFFER, &PassOn::onAudioPacket, this, nullptr);
    }
}

void PassOn::makeEntrance(const std::string& medium) {
    const gst::GstPtr<GstElement> tee = gst::elementOf(bin_, medium.c_str());
    const gst::GstPtr<GstPad> in(gst_element_get_static_pad(tee.get(), "sink"));
    const gst::GstPtr<GstPad> out(gst_element_request_pad_simple(tee.get(), "src_%u"));
    gst_element_add_pad(bin_, gst_ghost_pad_new((medium + "_sink").c_str(), in.get()));
    gst_element_add_pad(bin_, gst_ghost_pad_new((medium + "_src").c_str(), out.get()));
}

// Requests come to where the reports come from.
void PassOn::shareSocket(const std::string& medium, bool isIpv6) {
    const gst::GstPtr<GstElement> requests = gst::elementOf(bin_, (medium + "-requests").c_str());
    if (gst_element_set_state(requests.get(), GST_STATE_READY) == GST_STATE_CHANGE_FAILURE) {
        throw std::runtime_error("--pass-on: no socket can be had");
    }
    const auto socket = gst::ownedProperty<GObject>(requests.get(), "used-socket");
    const gst::GstPtr<GstElement> reports = gst::elementOf(bin_, (medium + "-reports").c_str());
    g_object_set(reports.get(), isIpv6 ? "socket-v6" : "socket", socket.get(), nullptr);
}

void PassOn::reportOften(guint session) {
    GObject* found = nullptr;
    g_signal_emit_by_name(gst::elementOf(bin_, "rtp").get(), "get-internal-session", session, &found);
    const gst::GstPtr<GObject> owned(found);
    g_object_set(found, "rtcp-min-interval", kBetweenReports, nullptr);
}

GstPadProbeReturn PassOn::onVideoPacket(GstPad* pad, GstPadProbeInfo* /*info*/, gpointer self) {
    auto* passOn = static_cast<PassOn*>(self);
    passOn->statistics_.videoPassedOn();
    passOn->askIfWanted(pad);
    return GST_PAD_PROBE_OK;
}

GstPadProbeReturn PassOn::onAudioPacket(GstPad* /*pad*/, GstPadProbeInfo* /*info*/, gpointer self) {
    static_cast<PassOn*>(self)->statistics_.audioPassedOn();
    return GST_PAD_PROBE_OK;
}

GstPadProbeReturn PassOn::onRequest(GstPad* /*pad*/, GstPadProbeInfo* info, gpointer self) {
    if (!gst_video_event_is_force_key_unit(GST_PAD_PROBE_INFO_EVENT(info))) {
        return GST_PAD_PROBE_OK;
    }
    static_cast<PassOn*>(self)->isKeyFrameWanted_ = true;
    return GST_PAD_PROBE_DROP;
}

// With the next packet rather than at once, so that the pace needs no timer.
void PassOn::askIfWanted(GstPad* pad) {
    if (Clock::now() < nextRequest_ || !isKeyFrameWanted_.exchange(false)) {
        return;
    }
    nextRequest_ = Clock::now() + kBetweenRequests;
    statistics_.keyFrameAskedFor();
    gst_pad_push_event(pad, gst_video_event_new_upstream_force_key_unit(GST_CLOCK_TIME_NONE, TRUE, 0));
    askCamera_();
}

}  // namespace zelrtc::viewer
