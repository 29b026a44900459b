/** @file test_server.h A server with a few routes, on a thread of its own. */
#ifndef TESTS_CAMERA_HTTP_SUPPORT_TEST_SERVER_H
#define TESTS_CAMERA_HTTP_SUPPORT_TEST_SERVER_H

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "http/http_server.h"

namespace zelrtc::camera::test {

/** Limits that no test reaches by accident, however slow the machine. */
HttpLimits patientLimits();

/** A door at which handlers wait until the test opens it. */
class Door {
public:
    /** Waits until the door is open. */
    void pass();
    /** Lets everyone pass. */
    void open();
    /** Waits until that many are waiting at the door. @return false after ten seconds */
    bool hasWaiting(int count);

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    bool isOpen_ = false;
    int waiting_ = 0;
};

/** An event source that a test feeds. */
class TestSource : public EventSource {
public:
    void wakeWith(std::function<void()> wake) override;
    bool read(std::string& text) override;

    void add(const std::string& text);
    void end();

private:
    std::mutex mutex_;
    std::function<void()> wake_;
    std::string text_;
    bool hasEnded_ = false;
};

/**
 * Serves, on 127.0.0.1:
 * GET /       "hello"
 * POST /echo  the body
 * GET /echo/X "X"
 * GET /wait   "waited", once the door is open
 * GET /fail   throws
 * GET /refuse throws an HttpError 422
 * GET /events the events of `source`
 */
class TestServer {
public:
    explicit TestServer(const HttpLimits& limits = patientLimits(), const HttpCertificate& certificate = {},
                        const std::function<void(HttpServer&)>& prepare = nullptr);
    ~TestServer();
    TestServer(const TestServer&) = delete;
    TestServer& operator=(const TestServer&) = delete;

    int port() const;

    /** Stops the server and waits for it. @return how long that took */
    std::chrono::milliseconds stop();

    Door door;
    std::shared_ptr<TestSource> source = std::make_shared<TestSource>();

private:
    void addRoutes();

    HttpServer server_;
    int port_ = 0;
    std::thread serving_;
};

/** A GET request without a body. @param fields more header lines, each with its line end */
std::string getRequest(const std::string& path, const std::string& fields = "");

/** A POST request with a body and its length. */
std::string postRequest(const std::string& path, const std::string& body, const std::string& fields = "");

/** The status of a response; 0 when there is none. */
int statusOf(const std::string& response);

/** What follows the header. */
std::string bodyOf(const std::string& response);

/** Waits for a condition. @return false if it does not come true within ten seconds */
bool comesTrue(const std::function<bool()>& condition);

}  // namespace zelrtc::camera::test

#endif
