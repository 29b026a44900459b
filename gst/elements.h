/**
 * @file elements.h Creates, finds and links elements. A missing one throws std::runtime_error with GStreamer's reason.
 */
#ifndef GST_ELEMENTS_H
#define GST_ELEMENTS_H

#include <gst/app/gstappsink.h>

#include <functional>
#include <string>
#include <vector>

#include "gst/handles.h"

namespace zelrtc::gst {

// Floating: the bin that it is added to takes ownership.
GstElement* makeElement(const char* factory);

// A bin from pipeline text, as gst-launch takes it, with a pad "sink" or "src" for each open end. Floating.
GstElement* makeBin(const std::string& description);

// The same with the open ends left open, for a bin whose pads have to be told apart. Floating.
GstElement* makeOpenBin(const std::string& description);

// Whether the element came from the factory of that name.
bool isMadeBy(GstElement* element, const char* factory);

// All elements inside the bin, at any depth, that came from the factory of that name.
std::vector<GstPtr<GstElement>> elementsMadeBy(GstElement* bin, const char* factory);

// The element of that name inside the bin, and its pad.
GstPtr<GstElement> elementOf(GstElement* bin, const char* name);
GstPtr<GstPad> padOf(GstElement* bin, const char* name, const char* pad);

// Adds the receiver to the running pipeline and links the pad to its pad "sink". False if they do not fit.
bool addReceiver(GstElement* pipeline, GstPad* source, GstElement* receiver);

// Runs `handler` on the streaming thread for each sample that reaches the appsink; the handler pulls it, now or later.
void handleSamples(GstElement* appsink, std::function<void(GstAppSink*)> handler);

}  // namespace zelrtc::gst

#endif
