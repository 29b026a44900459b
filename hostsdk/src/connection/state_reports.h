/** @file state_reports.h The order of the connection's states, across the threads on which they are reported. */
#ifndef HOSTSDK_SRC_CONNECTION_STATE_REPORTS_H
#define HOSTSDK_SRC_CONNECTION_STATE_REPORTS_H

#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>

#include <functional>
#include <memory>

#include "connection/handler_executor.h"

namespace zelrtc::hostsdk {

// CONNECTED is reported on the listener thread, every other state on the timer thread. No report starts before the one
// of the state before has returned, so a handler never sees two states at once nor out of order.
class StateReports {
public:
    using Report = std::function<void(RTC_PEER_CONNECTION_STATE)>;

    StateReports(const std::shared_ptr<HandlerExecutor>& executor, Report report);

    // Any thread.
    void add(RTC_PEER_CONNECTION_STATE state);

private:
    struct Queue;

    static void postFirst(const std::shared_ptr<Queue>& queue);

    std::shared_ptr<Queue> queue_;
};

}  // namespace zelrtc::hostsdk

#endif
