#include "gst/packet_lists.h"

#include <algorithm>
#include <iterator>
#include <vector>

#include "gst/elements.h"

namespace zelrtc::gst {

namespace {

struct Property {
    const char* name;
    guint valueWhenOff;
};

struct Encoder {
    const char* factory;
    std::vector<Property> properties;
};

// The first has no payload type for what it would add; the second makes an envelope neither for earlier packets nor
// without them.
const Encoder* kindOf(GstElement* element) {
    static const Encoder kEncoders[] = {{"rtpulpfecenc", {{"pt", 255}}},
                                        {"rtpredenc", {{"distance", 0}, {"allow-no-red-blocks", FALSE}}}};
    const Encoder* const found = std::find_if(std::begin(kEncoders), std::end(kEncoders),
                                              [=](const Encoder& kind) { return isMadeBy(element, kind.factory); });
    return found == std::end(kEncoders) ? nullptr : found;
}

bool has(GstElement* element, const Property& property) {
    return g_object_class_find_property(G_OBJECT_GET_CLASS(element), property.name) != nullptr;
}

bool isOff(GstElement* element, const Encoder& kind) {
    return std::all_of(kind.properties.begin(), kind.properties.end(), [=](const Property& property) {
        return plainProperty<guint>(element, property.name) == property.valueWhenOff;
    });
}

GstFlowReturn passEach(GstPad* input, GstObject* encoder, GstBufferList* packets) {
    GstFlowReturn result = GST_FLOW_OK;
    for (guint i = 0; i < gst_buffer_list_length(packets) && result == GST_FLOW_OK; i++) {
        result = GST_PAD_CHAINFUNC(input)(input, encoder, gst_buffer_ref(gst_buffer_list_get(packets, i)));
    }
    gst_buffer_list_unref(packets);
    return result;
}

GstFlowReturn passList(GstPad* input, GstObject* encoder, GstBufferList* packets) {
    GstElement* const element = GST_ELEMENT(encoder);
    const GstPtr<GstPad> output(gst_element_get_static_pad(element, "src"));
    return isOff(element, *kindOf(element)) ? gst_pad_push_list(output.get(), packets)
                                            : passEach(input, encoder, packets);
}

}  // namespace

void letListsPass(GstElement* encoder) {
    const Encoder* const kind = kindOf(encoder);
    if (kind == nullptr || !std::all_of(kind->properties.begin(), kind->properties.end(),
                                        [=](const Property& property) { return has(encoder, property); })) {
        return;
    }
    const GstPtr<GstPad> input(gst_element_get_static_pad(encoder, "sink"));
    const GstPtr<GstPad> output(gst_element_get_static_pad(encoder, "src"));
    if (input != nullptr && output != nullptr) {
        gst_pad_set_chain_list_function(input.get(), passList);
    }
}

}  // namespace zelrtc::gst
