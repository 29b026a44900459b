/**
 * @file elements.h Making, finding and linking elements. What is missing throws std::runtime_error with GStreamer's
 * reason.
 */
#ifndef GST_ELEMENTS_H
#define GST_ELEMENTS_H

#include <gst/app/gstappsink.h>

#include <functional>
#include <string>
#include <vector>

#include "gst/handles.h"

namespace zelrtc::gst {

// Floating: the bin that it is put into owns it.
GstElement* makeElement(const char* factory);

// A bin from GStreamer's pipeline text, with a pad "sink" or "src" for each open end. Floating.
GstElement* makeBin(const std::string& description);

// Whether the element came from the factory of that name.
bool isMadeBy(GstElement* element, const char* factory);

// All elements inside the bin, at any depth, that came from the factory of that name.
std::vector<GstPtr<GstElement>> elementsMadeBy(GstElement* bin, const char* factory);

// The element of that name inside the bin, and its pad.
GstPtr<GstElement> elementOf(GstElement* bin, const char* name);
GstPtr<GstPad> padOf(GstElement* bin, const char* name, const char* pad);

// Puts the receiver into the running pipeline and lets the pad feed its pad "sink". False when they do not fit.
bool addReceiver(GstElement* pipeline, GstPad* source, GstElement* receiver);

// Runs `handler` on the streaming thread for each sample that the appsink has; the handler pulls it, then or later.
void handleSamples(GstElement* appsink, std::function<void(GstAppSink*)> handler);

}  // namespace zelrtc::gst

#endif
