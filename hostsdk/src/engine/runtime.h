/** @file runtime.h What a process does once. */
#ifndef HOSTSDK_SRC_ENGINE_RUNTIME_H
#define HOSTSDK_SRC_ENGINE_RUNTIME_H

namespace zelrtc::hostsdk {

// Starts GStreamer and makes the process's certificate, so that the first call is as quick as the later ones.
// Any thread, any number of times. False when GStreamer or an element of it is missing; the log says which.
bool startRuntime();

}  // namespace zelrtc::hostsdk

#endif
