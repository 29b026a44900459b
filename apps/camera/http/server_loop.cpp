#include "http/server_loop.h"

#include <spdlog/spdlog.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <exception>
#include <stdexcept>
#include <string>
#include <utility>

#include "http/mhd_messages.h"

namespace zelrtc::camera {

namespace {

// Names in the loop's epoll set; those of connections come after.
constexpr uint64_t kMailbox = 0;
constexpr uint64_t kDaemon = 1;

// A client that sends too much reads no response before it has sent it all, so up to here it may.
constexpr uint64_t kMostDiscarded = uint64_t{2} * 1024 * 1024;
// The library needs room beside the header, for what it makes of it and for the response's header.
constexpr size_t kMemoryBesideHeader = size_t{32} * 1024;
// Those that leave are not in the table any more, but have not been closed yet.
constexpr size_t kMostLeaving = 64;
constexpr unsigned kLongerThanAnyLimit = 24 * 60 * 60;
const char* const kTlsVersions = "NORMAL:-VERS-ALL:+VERS-TLS1.3:+VERS-TLS1.2";

uint64_t declaredBytes(const Request& request) {
    const std::string text = request.header("content-length").value_or("0");
    uint64_t bytes = 0;
    std::from_chars(text.data(), text.data() + text.size(), bytes);
    return bytes;
}

bool sendsBody(const Request& request) {
    return declaredBytes(request) > 0 || request.header("transfer-encoding");
}

void addTo(int poll, int descriptor, uint64_t name, uint32_t events) {
    epoll_event event{};
    event.events = events;
    event.data.u64 = name;
    epoll_ctl(poll, EPOLL_CTL_ADD, descriptor, &event);
}

}  // namespace

ServerLoop::ServerLoop(int listener, const HttpSettings& settings, const Dispatcher& dispatcher)
    : limits_(settings.limits),
      dispatcher_(dispatcher),
      table_(settings.limits),
      newestId_(kDaemon),
      poll_(epoll_create1(EPOLL_CLOEXEC)),
      handlers_(std::make_unique<WorkerPool>(settings.limits.handlers)) {
    startDaemon(listener, settings);
    if (poll_ < 0 || daemon_ == nullptr) {
        close(poll_);
        throw std::runtime_error(settings.certificate.chain.empty()
                                     ? "the HTTP server cannot be started"
                                     : "the HTTPS server cannot be started: is that a certificate, and its key?");
    }
    addTo(poll_, mailbox_->descriptor(), kMailbox, EPOLLIN);
    addTo(poll_, MHD_get_daemon_info(daemon_, MHD_DAEMON_INFO_EPOLL_FD)->epoll_fd, kDaemon, EPOLLIN);
}

void ServerLoop::startDaemon(int listener, const HttpSettings& settings) {
    const bool hasTls = !settings.certificate.chain.empty();
    std::array<MHD_OptionItem, 4> tls{};
    tls.fill({MHD_OPTION_END, 0, nullptr});
    if (hasTls) {
        tls[0] = {MHD_OPTION_HTTPS_MEM_CERT, 0, const_cast<char*>(settings.certificate.chain.c_str())};
        tls[1] = {MHD_OPTION_HTTPS_MEM_KEY, 0, const_cast<char*>(settings.certificate.key.c_str())};
        tls[2] = {MHD_OPTION_HTTPS_PRIORITIES, 0, const_cast<char*>(kTlsVersions)};
    }
    const unsigned flags = static_cast<unsigned>(MHD_USE_EPOLL) | MHD_ALLOW_SUSPEND_RESUME |
                           (hasTls ? static_cast<unsigned>(MHD_USE_TLS) : 0U);
    daemon_ = MHD_start_daemon(flags, 0, nullptr, nullptr, onRequest, this, MHD_OPTION_LISTEN_SOCKET, listener,
                               MHD_OPTION_CONNECTION_LIMIT, static_cast<unsigned>(limits_.connections + kMostLeaving),
                               MHD_OPTION_CONNECTION_MEMORY_LIMIT, limits_.headerBytes + kMemoryBesideHeader,
                               MHD_OPTION_NOTIFY_CONNECTION, onConnection, this, MHD_OPTION_NOTIFY_COMPLETED,
                               onCompleted, this, MHD_OPTION_URI_LOG_CALLBACK, onRequestLine, this, MHD_OPTION_ARRAY,
                               tls.data(), MHD_OPTION_END);
}

ServerLoop::~ServerLoop() {
    finish();
    close(poll_);
}

void ServerLoop::run() {
    while (!(isStopping_ && connections_.empty())) {
        wait();
        for (const uint64_t id : mailbox_->take()) {
            look(id);
        }
        if (isAskedToStop_ && !isStopping_) {
            beginStop();
        }
        enforceDeadlines();
        MHD_run(daemon_);
    }
    finish();
}

void ServerLoop::stop() {
    isAskedToStop_ = true;
    mailbox_->wake();
}

// ---- what the library tells ----

void ServerLoop::onConnection(void* self, MHD_Connection* handle, void** context, MHD_ConnectionNotificationCode code) {
    auto* loop = static_cast<ServerLoop*>(self);
    if (code == MHD_CONNECTION_NOTIFY_STARTED) {
        loop->connect(handle, context);
        return;
    }
    const uint64_t id = static_cast<Connection*>(*context)->id;
    loop->table_.remove(id);
    loop->connections_.erase(id);
}

void ServerLoop::connect(MHD_Connection* handle, void** context) {
    const uint64_t id = ++newestId_;
    auto connection = std::make_unique<Connection>();
    connection->loop = this;
    connection->id = id;
    connection->handle = handle;
    connection->socket = socketOf(handle);
    *context = connection.get();
    connections_.emplace(id, std::move(connection));
    const auto crowdedOut = table_.add(id, clientOf(handle), HttpClock::now());
    if (crowdedOut) {
        leave(*crowdedOut);
    }
}

namespace {

void* contextOf(MHD_Connection* handle) {
    return MHD_get_connection_info(handle, MHD_CONNECTION_INFO_SOCKET_CONTEXT)->socket_context;
}

}  // namespace

void* ServerLoop::onRequestLine(void* self, const char* /*uri*/, MHD_Connection* handle) {
    const auto* connection = static_cast<Connection*>(contextOf(handle));
    static_cast<ServerLoop*>(self)->table_.enter(connection->id, Phase::kHeader, HttpClock::now());
    return nullptr;
}

MHD_Result ServerLoop::onRequest(void* self, MHD_Connection* handle, const char* url, const char* method,
                                 const char* /*version*/, const char* data, size_t* size, void** /*context*/) {
    auto& connection = *static_cast<Connection*>(contextOf(handle));
    if (connection.isLeaving) {
        return MHD_NO;
    }
    try {
        auto& loop = *static_cast<ServerLoop*>(self);
        if (!connection.exchange) {
            return loop.begin(connection, url, method);
        }
        return *size > 0 ? loop.receive(connection, data, size) : loop.conclude(connection);
    } catch (const std::exception& error) {
        spdlog::error("{} {}: {}", method, url, error.what());
        return MHD_NO;
    }
}

void ServerLoop::onCompleted(void* self, MHD_Connection* handle, void** /*context*/,
                             MHD_RequestTerminationCode /*code*/) {
    static_cast<ServerLoop*>(self)->endExchange(*static_cast<Connection*>(contextOf(handle)));
}

ssize_t ServerLoop::onReadStream(void* connection, uint64_t /*position*/, char* buffer, size_t most) {
    auto& reading = *static_cast<Connection*>(connection);
    return reading.loop->readStream(reading, buffer, most);
}

// ---- a request and its response ----

MHD_Result ServerLoop::begin(Connection& connection, const char* path, const char* method) {
    table_.enter(connection.id, Phase::kBody, HttpClock::now());
    connection.exchange = std::make_shared<Exchange>();
    Exchange& exchange = *connection.exchange;
    exchange.request = requestOf(connection.handle, path, method);
    Response refusal;
    exchange.route = dispatcher_.admit(exchange.request, headerBytesOf(connection.handle), refusal);
    const uint64_t declared = declaredBytes(exchange.request);
    if (exchange.route == nullptr) {
        exchange.response = std::move(refusal);
    } else if (declared > limits_.bodyBytes) {
        exchange.response = dispatcher_.refuseBody(exchange.request);
    }
    const bool waitsForGoAhead = exchange.request.header("expect").has_value();
    const bool isRefused = exchange.response.has_value();
    if (isRefused && sendsBody(exchange.request) && (waitsForGoAhead || declared > kMostDiscarded)) {
        return respond(connection);
    }
    return MHD_YES;
}

MHD_Result ServerLoop::receive(Connection& connection, const char* data, size_t* size) {
    Exchange& exchange = *connection.exchange;
    exchange.bodyBytes += *size;
    if (exchange.bodyBytes > kMostDiscarded) {
        return MHD_NO;
    }
    if (!exchange.response && exchange.bodyBytes > limits_.bodyBytes) {
        exchange.response = dispatcher_.refuseBody(exchange.request);
    }
    if (!exchange.response) {
        exchange.request.body.append(data, *size);
    }
    *size = 0;
    return MHD_YES;
}

// The request is complete. Called again after every suspension.
MHD_Result ServerLoop::conclude(Connection& connection) {
    Exchange& exchange = *connection.exchange;
    if (!exchange.response) {
        handle(connection);
        return MHD_YES;
    }
    if (exchange.response->delay.count() > 0 && !exchange.hasBeenHeldBack && !isStopping_) {
        exchange.hasBeenHeldBack = true;
        suspend(connection, Phase::kHeldBack);
        table_.holdBack(connection.id, HttpClock::now() + exchange.response->delay);
        return MHD_YES;
    }
    return respond(connection);
}

void ServerLoop::handle(Connection& connection) {
    suspend(connection, Phase::kHandling);
    handlers_->enqueue([exchange = connection.exchange, id = connection.id, mailbox = mailbox_, this] {
        exchange->response = dispatcher_.run(*exchange->route, exchange->request);
        mailbox->post(id);
    });
}

MHD_Result ServerLoop::respond(Connection& connection) {
    Response& response = *connection.exchange->response;
    table_.enter(connection.id, Phase::kSending, HttpClock::now());
    if (!response.events) {
        return queueBody(connection.handle, response);
    }
    response.events->wakeWith([mailbox = mailbox_, id = connection.id] { mailbox->post(id); });
    connection.feed = std::make_unique<EventFeed>(std::move(response.events));
    watchForHangUp(connection);
    // The library forgets a stream that ends while nothing is being written to it, unless it has a time limit of its
    // own: then it is looked at in every turn.
    MHD_set_connection_option(connection.handle, MHD_CONNECTION_OPTION_TIMEOUT, kLongerThanAnyLimit);
    return queueStream(connection.handle, response, onReadStream, &connection);
}

ssize_t ServerLoop::readStream(Connection& connection, char* buffer, size_t most) {
    if (connection.isLeaving) {
        return MHD_CONTENT_READER_END_WITH_ERROR;
    }
    const size_t count = connection.feed->take(buffer, most);
    if (count > 0) {
        table_.enter(connection.id, Phase::kSending, HttpClock::now());
        return static_cast<ssize_t>(count);
    }
    if (connection.feed->hasEnded() || isStopping_) {
        return MHD_CONTENT_READER_END_OF_STREAM;
    }
    suspend(connection, Phase::kQuiet);
    return 0;
}

void ServerLoop::endExchange(Connection& connection) {
    if (connection.feed) {
        epoll_ctl(poll_, EPOLL_CTL_DEL, connection.socket, nullptr);
        needsAnotherTurn_ = true;
    }
    connection.feed.reset();
    connection.exchange.reset();
    table_.enter(connection.id, Phase::kIdle, HttpClock::now());
    if (isStopping_ && !connection.isLeaving) {
        leave(connection.id);
    }
}

// ---- connections ----

void ServerLoop::suspend(Connection& connection, Phase phase) {
    MHD_suspend_connection(connection.handle);
    connection.isSuspended = true;
    table_.enter(connection.id, phase, HttpClock::now());
}

void ServerLoop::resume(Connection& connection) {
    if (connection.isSuspended) {
        connection.isSuspended = false;
        MHD_resume_connection(connection.handle);
    }
}

// The library closes a connection by itself once it finds its socket shut down.
void ServerLoop::leave(uint64_t id) {
    table_.remove(id);
    Connection& connection = *connections_.at(id);
    connection.isLeaving = true;
    shutdown(connection.socket, SHUT_RDWR);
    resume(connection);
}

// While a stream is quiet nobody reads from its socket or writes to it, which would show that the client has gone.
void ServerLoop::watchForHangUp(const Connection& connection) {
    addTo(poll_, connection.socket, connection.id, EPOLLRDHUP | EPOLLONESHOT);
}

// ---- the loop ----

void ServerLoop::wait() {
    using std::chrono::milliseconds;
    MHD_UNSIGNED_LONG_LONG libraryTimeout = 1;
    int timeout = -1;
    MHD_get_timeout(daemon_, &libraryTimeout);
    if (libraryTimeout == 0 || std::exchange(needsAnotherTurn_, false)) {
        timeout = 0;
    } else if (const auto deadline = table_.nextDeadline()) {
        const auto left = std::chrono::ceil<milliseconds>(*deadline - HttpClock::now());
        timeout = static_cast<int>(std::max(left, milliseconds(0)).count());
    }
    std::array<epoll_event, 32> events{};
    const int count = epoll_wait(poll_, events.data(), static_cast<int>(events.size()), timeout);
    for (int i = 0; i < count; ++i) {
        const uint64_t name = events.at(static_cast<size_t>(i)).data.u64;
        if (name != kMailbox && name != kDaemon && table_.phaseOf(name)) {
            leave(name);
        }
    }
}

void ServerLoop::look(uint64_t id) {
    const auto phase = table_.phaseOf(id);
    if (phase == Phase::kHandling || phase == Phase::kQuiet) {
        resume(*connections_.at(id));
    }
}

void ServerLoop::enforceDeadlines() {
    for (const uint64_t id : table_.expired(HttpClock::now())) {
        const Phase phase = *table_.phaseOf(id);
        Connection& connection = *connections_.at(id);
        if (phase == Phase::kQuiet) {
            connection.feed->addSignOfLife();
            table_.enter(id, Phase::kSending, HttpClock::now());
            resume(connection);
        } else if (phase == Phase::kHeldBack) {
            table_.enter(id, Phase::kSending, HttpClock::now());
            resume(connection);
        } else {
            leave(id);
        }
    }
    if (isStopping_ && HttpClock::now() >= stopDeadline_) {
        leaveAll([](Phase phase) { return phase != Phase::kHandling; });
    }
}

void ServerLoop::leaveAll(const std::function<bool(Phase)>& chosen) {
    for (const uint64_t id : table_.inPhase(chosen)) {
        leave(id);
    }
}

void ServerLoop::beginStop() {
    isStopping_ = true;
    stopDeadline_ = HttpClock::now() + limits_.response;
    close(MHD_quiesce_daemon(daemon_));
    leaveAll(waitsForRequest);
    const auto waitsForUs = [](Phase phase) { return phase == Phase::kQuiet || phase == Phase::kHeldBack; };
    for (const uint64_t id : table_.inPhase(waitsForUs)) {
        resume(*connections_.at(id));
    }
}

void ServerLoop::finish() {
    handlers_.reset();
    if (daemon_ == nullptr) {
        return;
    }
    for (const auto& entry : connections_) {
        resume(*entry.second);
    }
    MHD_stop_daemon(std::exchange(daemon_, nullptr));
}

}  // namespace zelrtc::camera
