#include "connection/server_probe.h"

#include <fcntl.h>
#include <netdb.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <mutex>
#include <random>
#include <string>
#include <thread>

namespace zelrtc::hostsdk {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kLimit{10};
constexpr std::chrono::milliseconds kFirstPause{500};

// Type, length and magic cookie; then 12 bytes that identify the transaction.
constexpr std::array<uint8_t, 8> kBindingRequest{0x00, 0x01, 0x00, 0x00, 0x21, 0x12, 0xa4, 0x42};
using Message = std::array<uint8_t, 20>;

Message makeRequest() {
    std::random_device random;
    Message request{};
    auto* const identity = std::copy(kBindingRequest.begin(), kBindingRequest.end(), request.begin());
    std::generate(identity, request.end(), [&random] { return static_cast<uint8_t>(random()); });
    return request;
}

class Descriptor {
public:
    explicit Descriptor(int number) : number_(number) {
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    Descriptor(Descriptor&& other) noexcept : number_(other.number_) {
        other.number_ = -1;
    }
    Descriptor& operator=(Descriptor&&) = delete;
    ~Descriptor() {
        if (number_ >= 0) {
            ::close(number_);
        }
    }

    int number() const {
        return number_;
    }

private:
    int number_;
};

// A socket on its way to the server; none when the server has no address or refuses at once.
Descriptor connectTo(const IceServerUrl& url) {
    addrinfo hints{};
    hints.ai_socktype = url.transport == "udp" ? SOCK_DGRAM : SOCK_STREAM;
    const bool isBracketed = url.host[0] == '[';
    const std::string host = isBracketed ? url.host.substr(1, url.host.size() - 2) : url.host;
    addrinfo* first = nullptr;
    if (getaddrinfo(host.c_str(), std::to_string(url.port).c_str(), &hints, &first) != 0) {
        return Descriptor(-1);
    }
    const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> owner(first, freeaddrinfo);
    Descriptor socket(::socket(first->ai_family, hints.ai_socktype | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (connect(socket.number(), first->ai_addr, first->ai_addrlen) != 0 && errno != EINPROGRESS) {
        return Descriptor(-1);
    }
    return socket;
}

// One server's part.
class Inquiry {
public:
    explicit Inquiry(const IceServerUrl& url) : isDatagram_(url.transport == "udp"), socket_(connectTo(url)) {
    }

    pollfd watched() const {
        return {isOver_ ? -1 : socket_.number(), static_cast<short>(isDatagram_ ? POLLIN : POLLOUT), 0};
    }
    bool isAnswered() const {
        return isAnswered_;
    }
    Clock::time_point nextRequest() const {
        return isDatagram_ && !isOver_ ? nextRequest_ : Clock::time_point::max();
    }

    void sendWhenDue(ServerExchange* exchange) {
        if (Clock::now() < nextRequest()) {
            return;
        }
        sent_ = Clock::now();
        nextRequest_ = sent_ + pause_;
        pause_ *= 2;
        if (send(socket_.number(), request_.data(), request_.size(), 0) > 0) {
            exchange->requests++;
        }
    }

    void onReady(ServerExchange* exchange) {
        if (!isDatagram_) {
            int error = 0;
            socklen_t size = sizeof error;
            isAnswered_ = getsockopt(socket_.number(), SOL_SOCKET, SO_ERROR, &error, &size) == 0 && error == 0;
            isOver_ = true;
            return;
        }
        Message response{};
        const ssize_t size = recv(socket_.number(), response.data(), response.size(), 0);
        if (size == static_cast<ssize_t>(response.size()) &&
            std::equal(request_.begin() + 4, request_.end(), response.begin() + 4)) {
            exchange->responses++;
            exchange->roundTrip += Clock::now() - sent_;
            isAnswered_ = true;
            isOver_ = true;
        }
    }

private:
    bool isDatagram_;
    Descriptor socket_;
    Message request_ = makeRequest();
    Clock::time_point sent_;
    Clock::time_point nextRequest_;
    std::chrono::milliseconds pause_ = kFirstPause;
    bool isAnswered_ = false;
    bool isOver_ = false;  // answered or refused
};

}  // namespace

// Shared with the thread, which may still be resolving a name when the probe is gone.
struct ServerProbe::Shared {
    explicit Shared(const std::vector<IceServerUrl>& wanted)
        : servers(wanted), wakeUp(eventfd(0, EFD_CLOEXEC)), exchanges(wanted.size()), unanswered(wanted.size()) {
    }

    const std::vector<IceServerUrl> servers;
    const Descriptor wakeUp;
    mutable std::mutex mutex;
    std::vector<ServerExchange> exchanges;
    size_t unanswered;
    bool stopped = false;

    bool isOver() const {
        const std::lock_guard<std::mutex> lock(mutex);
        return stopped || unanswered == 0;
    }

    void run();
    void sendRequests(std::vector<Inquiry>* inquiries);
    void readAnswers(std::vector<Inquiry>* inquiries, const std::vector<pollfd>& events);
};

void ServerProbe::Shared::run() {
    std::vector<Inquiry> inquiries;
    inquiries.reserve(servers.size());
    for (size_t i = 0; i < servers.size() && !isOver(); i++) {
        inquiries.emplace_back(servers[i]);
    }
    for (const Clock::time_point end = Clock::now() + kLimit; Clock::now() < end && !isOver();) {
        sendRequests(&inquiries);
        Clock::time_point next = end;
        std::vector<pollfd> events;
        for (const Inquiry& inquiry : inquiries) {
            next = std::min(next, inquiry.nextRequest());
            events.push_back(inquiry.watched());
        }
        events.push_back({wakeUp.number(), POLLIN, 0});
        const auto pause = std::chrono::ceil<std::chrono::milliseconds>(next - Clock::now());
        poll(events.data(), events.size(), std::max(0, static_cast<int>(pause.count())));
        readAnswers(&inquiries, events);
    }
}

void ServerProbe::Shared::sendRequests(std::vector<Inquiry>* inquiries) {
    const std::lock_guard<std::mutex> lock(mutex);
    for (size_t i = 0; i < inquiries->size(); i++) {
        (*inquiries)[i].sendWhenDue(&exchanges[i]);
    }
}

void ServerProbe::Shared::readAnswers(std::vector<Inquiry>* inquiries, const std::vector<pollfd>& events) {
    const std::lock_guard<std::mutex> lock(mutex);
    for (size_t i = 0; i < inquiries->size(); i++) {
        if (events[i].revents != 0) {
            (*inquiries)[i].onReady(&exchanges[i]);
            unanswered -= (*inquiries)[i].isAnswered() ? 1 : 0;
        }
    }
}

ServerProbe::ServerProbe(const std::vector<IceServerUrl>& servers) : shared_(std::make_shared<Shared>(servers)) {
    if (!servers.empty()) {
        std::thread([shared = shared_] { shared->run(); }).detach();
    }
}

ServerProbe::~ServerProbe() {
    const std::lock_guard<std::mutex> lock(shared_->mutex);
    shared_->stopped = true;
    eventfd_write(shared_->wakeUp.number(), 1);
}

bool ServerProbe::haveAllAnswered() const {
    const std::lock_guard<std::mutex> lock(shared_->mutex);
    return shared_->unanswered == 0;
}

ServerExchange ServerProbe::exchange(size_t index) const {
    const std::lock_guard<std::mutex> lock(shared_->mutex);
    return shared_->exchanges[index];
}

}  // namespace zelrtc::hostsdk
