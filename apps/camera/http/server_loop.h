/** @file server_loop.h The server's one thread. Only this room's insides include it. */
#ifndef APPS_CAMERA_HTTP_SERVER_LOOP_H
#define APPS_CAMERA_HTTP_SERVER_LOOP_H

#include <microhttpd.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>

#include "http/connection_table.h"
#include "http/dispatcher.h"
#include "http/event_feed.h"
#include "http/http_settings.h"
#include "http/mailbox.h"
#include "http/worker_pool.h"

namespace zelrtc::camera {

/**
 * Everything that concerns connections happens on one thread, in one loop around epoll: thousands of them cost neither
 * threads nor locks, and an event stream costs nothing while nothing happens. The HTTP library would bring a thread of
 * its own, but knows only how long a connection has been silent; in a loop of ours every deadline, also one against
 * bytes that trickle in, is a look at a table. Handlers may block, so they run on a bounded pool, while their
 * connections are suspended.
 */
class ServerLoop {
public:
    /**
     * @param listener   owned by the loop from now on
     * @param dispatcher must outlive the loop and not change any more
     * @throw std::runtime_error when the server cannot be set up, such as with a certificate that is none
     */
    ServerLoop(int listener, const HttpSettings& settings, const Dispatcher& dispatcher);
    ~ServerLoop();
    ServerLoop(const ServerLoop&) = delete;
    ServerLoop& operator=(const ServerLoop&) = delete;

    /** Serves until stop. */
    void run();

    /** Has run return as soon as the responses to complete requests are out. Any thread, also before run. */
    void stop();

private:
    /** A request under way, and what becomes of it. The loop and a handler hold it, never both at work on it. */
    struct Exchange {
        Request request;
        const Route* route = nullptr;  // null when the request has been refused
        uint64_t bodyBytes = 0;
        std::optional<Response> response;
        bool hasBeenHeldBack = false;
    };

    struct Connection {
        ServerLoop* loop;
        uint64_t id;
        MHD_Connection* handle;
        int socket;
        bool isSuspended = false;
        bool isLeaving = false;
        std::shared_ptr<Exchange> exchange;
        std::unique_ptr<EventFeed> feed;
    };

    static void onConnection(void* self, MHD_Connection* handle, void** context, MHD_ConnectionNotificationCode code);
    static void* onRequestLine(void* self, const char* uri, MHD_Connection* handle);
    static MHD_Result onRequest(void* self, MHD_Connection* handle, const char* url, const char* method,
                                const char* version, const char* data, size_t* size, void** context);
    static void onCompleted(void* self, MHD_Connection* handle, void** context, MHD_RequestTerminationCode code);
    static ssize_t onReadStream(void* connection, uint64_t position, char* buffer, size_t most);

    void startDaemon(int listener, const HttpSettings& settings);
    void connect(MHD_Connection* handle, void** context);
    MHD_Result begin(Connection& connection, const char* path, const char* method);
    MHD_Result receive(Connection& connection, const char* data, size_t* size);
    MHD_Result conclude(Connection& connection);
    MHD_Result respond(Connection& connection);
    void handle(Connection& connection);
    ssize_t readStream(Connection& connection, char* buffer, size_t most);
    void endExchange(Connection& connection);

    void suspend(Connection& connection, Phase phase);
    void resume(Connection& connection);
    void leave(uint64_t id);
    void leaveAll(const std::function<bool(Phase)>& chosen);
    void watchForHangUp(const Connection& connection);

    void wait();
    void look(uint64_t id);
    void enforceDeadlines();
    void beginStop();
    void finish();

    const HttpLimits limits_;
    const Dispatcher& dispatcher_;
    ConnectionTable table_;
    std::map<uint64_t, std::unique_ptr<Connection>> connections_;
    uint64_t newestId_;
    std::shared_ptr<Mailbox> mailbox_ = std::make_shared<Mailbox>();
    int poll_ = -1;
    MHD_Daemon* daemon_ = nullptr;
    std::atomic<bool> isAskedToStop_{false};
    bool isStopping_ = false;
    HttpClock::time_point stopDeadline_;
    bool needsAnotherTurn_ = false;
    std::unique_ptr<WorkerPool> handlers_;
};

}  // namespace zelrtc::camera

#endif
