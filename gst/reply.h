/** @file reply.h Waiting for webrtcbin. Never on one of its own threads, which would wait for themselves. */
#ifndef GST_REPLY_H
#define GST_REPLY_H

#include <string>

#include "gst/handles.h"

namespace zelrtc::gst {

// The reply to one of webrtcbin's asynchronous actions. Starts the action and waits.
class Reply {
public:
    // `argument`: what the action takes besides the promise; null for its default.
    Reply(GstElement* webrtcbin, const char* action, gpointer argument = nullptr);

    bool accepted() const;
    // Null when the reply holds nothing.
    const GstStructure* structure() const;
    // Why it was refused.
    std::string error() const;
    // Throws std::runtime_error, with the action and the reason, when it was not accepted.
    void require() const;

private:
    const char* action_;
    GstPtr<GstPromise> promise_;
};

// Returns once webrtcbin has done all that it was asked and told of before: its thread works through one queue, and
// the reply to a request for statistics comes last.
void waitUntilIdle(GstElement* webrtcbin);

}  // namespace zelrtc::gst

#endif
