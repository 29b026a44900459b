/** @file transport_statistics.h What webrtcbin's statistics say about a call's transport. */
#ifndef APPS_VIEWER_TRANSPORT_STATISTICS_H
#define APPS_VIEWER_TRANSPORT_STATISTICS_H

#include "call_statistics.h"
#include "gst/reply.h"

namespace zelrtc::viewer {

/** The selected candidates and the packet counts in the reply to "get-stats". */
CallRecord::Transport readTransport(const gst::Reply& statistics);

}  // namespace zelrtc::viewer

#endif
