#include "engine/packet_filter.h"

#include <atomic>
#include <memory>
#include <utility>

#include "gst/handles.h"
#include "text/log.h"

namespace zelrtc::hostsdk {

namespace {

struct Filter {
    std::string reason;
    PacketTest test;
    std::atomic<bool> hasDropped{false};

    bool passes(GstBuffer* buffer) {
        GstMapInfo map;
        if (!gst_buffer_map(buffer, &map, GST_MAP_READ)) {
            return false;
        }
        const bool isGood = test(map.data, map.size);
        gst_buffer_unmap(buffer, &map);
        if (!isGood && !hasDropped.exchange(true)) {
            logWarning("packets of the far end are dropped: " + reason);
        }
        return isGood;
    }
};

using Shared = std::shared_ptr<Filter>;

gboolean keepOrDrop(GstBuffer** buffer, guint, gpointer filter) {
    if (!static_cast<Filter*>(filter)->passes(*buffer)) {
        gst_clear_buffer(buffer);
    }
    return TRUE;
}

GstPadProbeReturn onPackets(GstPad*, GstPadProbeInfo* info, gpointer data) {
    Filter* const filter = static_cast<Shared*>(data)->get();
    if ((GST_PAD_PROBE_INFO_TYPE(info) & GST_PAD_PROBE_TYPE_BUFFER) != 0) {
        return filter->passes(GST_PAD_PROBE_INFO_BUFFER(info)) ? GST_PAD_PROBE_OK : GST_PAD_PROBE_DROP;
    }
    GstBufferList* const list = gst_buffer_list_make_writable(GST_PAD_PROBE_INFO_BUFFER_LIST(info));
    GST_PAD_PROBE_INFO_DATA(info) = list;
    gst_buffer_list_foreach(list, keepOrDrop, filter);
    return GST_PAD_PROBE_OK;
}

}  // namespace

void dropUnless(GstPad* pad, const std::string& reason, PacketTest test) {
    const auto filter = std::make_shared<Filter>();
    filter->reason = reason;
    filter->test = std::move(test);
    const auto packets = static_cast<GstPadProbeType>(GST_PAD_PROBE_TYPE_BUFFER | GST_PAD_PROBE_TYPE_BUFFER_LIST);
    gst::addProbe(pad, packets, onPackets, filter);
}

}  // namespace zelrtc::hostsdk
