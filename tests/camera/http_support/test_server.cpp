#include "http_support/test_server.h"

#include <chrono>
#include <stdexcept>
#include <utility>

#include "http/http_error.h"

namespace zelrtc::camera::test {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kStateLimit(10);

Response textResponse(const std::string& text) {
    Response response;
    response.type = "text/plain";
    response.body = text;
    return response;
}

}  // namespace

HttpLimits patientLimits() {
    HttpLimits limits;
    limits.idle = limits.header = limits.body = limits.response = limits.quiet = std::chrono::minutes(5);
    return limits;
}

void Door::pass() {
    std::unique_lock<std::mutex> lock(mutex_);
    ++waiting_;
    changed_.notify_all();
    changed_.wait(lock, [this] { return isOpen_; });
    --waiting_;
}

void Door::open() {
    const std::lock_guard<std::mutex> lock(mutex_);
    isOpen_ = true;
    changed_.notify_all();
}

bool Door::hasWaiting(int count) {
    std::unique_lock<std::mutex> lock(mutex_);
    return changed_.wait_for(lock, kStateLimit, [this, count] { return waiting_ >= count; });
}

void TestSource::wakeWith(std::function<void()> wake) {
    const std::lock_guard<std::mutex> lock(mutex_);
    wake_ = std::move(wake);
}

bool TestSource::read(std::string& text) {
    const std::lock_guard<std::mutex> lock(mutex_);
    text += std::exchange(text_, {});
    return !hasEnded_;
}

void TestSource::add(const std::string& text) {
    const std::lock_guard<std::mutex> lock(mutex_);
    text_ += text;
    if (wake_) {
        wake_();
    }
}

void TestSource::end() {
    const std::lock_guard<std::mutex> lock(mutex_);
    hasEnded_ = true;
    if (wake_) {
        wake_();
    }
}

TestServer::TestServer(const HttpLimits& limits, const HttpCertificate& certificate,
                       const std::function<void(HttpServer&)>& prepare)
    : server_({limits, certificate}) {
    addRoutes();
    if (prepare) {
        prepare(server_);
    }
    port_ = server_.bind("127.0.0.1", 0);
    serving_ = std::thread(&HttpServer::listen, &server_);
}

TestServer::~TestServer() {
    stop();
}

void TestServer::addRoutes() {
    server_.route("GET", {}, [](const Request&) { return textResponse("hello"); });
    server_.route("POST", {"echo"}, [](const Request& request) { return textResponse(request.body); });
    server_.route("GET", {"echo", kOpen}, [](const Request& request) { return textResponse(request.variables.at(0)); });
    server_.route("GET", {"wait"}, [this](const Request&) {
        door.pass();
        return textResponse("waited");
    });
    server_.route("GET", {"fail"}, [](const Request&) -> Response { throw std::runtime_error("broken"); });
    server_.route("GET", {"refuse"}, [](const Request&) -> Response { throw HttpError(422, "not today"); });
    server_.route("GET", {"later"},
                  [](const Request&) -> Response { throw HttpError(503, "not now", std::chrono::seconds(5)); });
    server_.route("GET", {"client"}, [](const Request& request) { return textResponse(request.client); });
    server_.route("GET", {"events"}, [this](const Request&) {
        Response response;
        response.type = "text/event-stream";
        response.events = source;
        return response;
    });
}

int TestServer::port() const {
    return port_;
}

std::chrono::milliseconds TestServer::stop() {
    const auto start = Clock::now();
    door.open();
    if (serving_.joinable()) {
        server_.stop();
        serving_.join();
    }
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
}

std::string getRequest(const std::string& path, const std::string& fields) {
    return "GET " + path + " HTTP/1.1\r\nHost: 127.0.0.1\r\n" + fields + "\r\n";
}

std::string postRequest(const std::string& path, const std::string& body, const std::string& fields) {
    return "POST " + path + " HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Length: " + std::to_string(body.size()) + "\r\n" +
           fields + "\r\n" + body;
}

int statusOf(const std::string& response) {
    constexpr size_t kStatusAt = 9;
    return response.size() < kStatusAt + 3 ? 0 : std::stoi(response.substr(kStatusAt, 3));
}

std::string bodyOf(const std::string& response) {
    const size_t end = response.find("\r\n\r\n");
    return end == std::string::npos ? "" : response.substr(end + 4);
}

bool comesTrue(const std::function<bool()>& condition) {
    const auto deadline = Clock::now() + kStateLimit;
    while (!condition()) {
        if (Clock::now() >= deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

}  // namespace zelrtc::camera::test
