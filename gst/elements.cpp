#include "gst/elements.h"

#include <stdexcept>
#include <utility>

namespace zelrtc::gst {

GstElement* makeElement(const char* factory) {
    GstElement* const element = gst_element_factory_make(factory, nullptr);
    if (element == nullptr) {
        throw std::runtime_error(std::string("GStreamer's element ") + factory + " is not installed");
    }
    return element;
}

namespace {

GstElement* parseBin(const std::string& description, gboolean closesEnds) {
    GError* error = nullptr;
    GstElement* bin = gst_parse_bin_from_description(description.c_str(), closesEnds, &error);
    if (error != nullptr) {
        g_clear_object(&bin);
        throw std::runtime_error(takeReason(error));
    }
    return bin;
}

}  // namespace

GstElement* makeBin(const std::string& description) {
    return parseBin(description, TRUE);
}

GstElement* makeOpenBin(const std::string& description) {
    return parseBin(description, FALSE);
}

bool isMadeBy(GstElement* element, const char* factory) {
    GstElementFactory* const own = gst_element_get_factory(element);
    return own != nullptr && g_strcmp0(GST_OBJECT_NAME(own), factory) == 0;
}

std::vector<GstPtr<GstElement>> elementsMadeBy(GstElement* bin, const char* factory) {
    std::vector<GstPtr<GstElement>> elements;
    GstIterator* const found = gst_bin_iterate_all_by_element_factory_name(GST_BIN(bin), factory);
    GValue item = G_VALUE_INIT;
    while (gst_iterator_next(found, &item) == GST_ITERATOR_OK) {
        elements.emplace_back(GST_ELEMENT(g_value_dup_object(&item)));
        g_value_reset(&item);
    }
    g_value_unset(&item);
    gst_iterator_free(found);
    return elements;
}

GstPtr<GstElement> elementOf(GstElement* bin, const char* name) {
    return GstPtr<GstElement>(gst_bin_get_by_name(GST_BIN(bin), name));
}

GstPtr<GstPad> padOf(GstElement* bin, const char* name, const char* pad) {
    return GstPtr<GstPad>(gst_element_get_static_pad(elementOf(bin, name).get(), pad));
}

bool addReceiver(GstElement* pipeline, GstPad* source, GstElement* receiver) {
    gst_bin_add(GST_BIN(pipeline), receiver);
    gst_element_sync_state_with_parent(receiver);
    const GstPtr<GstPad> input(gst_element_get_static_pad(receiver, "sink"));
    return gst_pad_link(source, input.get()) == GST_PAD_LINK_OK;
}

void handleSamples(GstElement* appsink, std::function<void(GstAppSink*)> handler) {
    using Handler = std::function<void(GstAppSink*)>;
    GstAppSinkCallbacks callbacks{};
    callbacks.new_sample = [](GstAppSink* sink, gpointer data) {
        (*static_cast<Handler*>(data))(sink);
        return GST_FLOW_OK;
    };
    gst_app_sink_set_callbacks(GST_APP_SINK(appsink), &callbacks, new Handler(std::move(handler)),
                               [](gpointer data) { delete static_cast<Handler*>(data); });
}

}  // namespace zelrtc::gst
