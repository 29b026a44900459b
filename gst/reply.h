/** @file reply.h Waits for webrtcbin. Not for use on its own threads, which would wait for themselves. */
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
    // Null if the reply is empty.
    const GstStructure* structure() const;
    // Why it was refused.
    std::string error() const;
    // Throws std::runtime_error, with the action and the reason, if it was not accepted.
    void require() const;

private:
    const char* action_;
    GstPtr<GstPromise> promise_;
};

// Returns once webrtcbin has handled everything queued so far. Its thread works through one queue, so the reply to
// get-stats comes last.
void waitUntilIdle(GstElement* webrtcbin);

}  // namespace zelrtc::gst

#endif
