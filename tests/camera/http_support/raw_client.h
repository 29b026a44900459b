/** @file raw_client.h A client that sends whatever bytes a test wants, HTTP or not. */
#ifndef TESTS_CAMERA_HTTP_SUPPORT_RAW_CLIENT_H
#define TESTS_CAMERA_HTTP_SUPPORT_RAW_CLIENT_H

#include <chrono>
#include <string>

namespace zelrtc::camera::test {

/** A TCP connection to a server on 127.0.0.1. Waits give up after ten seconds. */
class RawClient {
public:
    /**
     * @param port          of the server
     * @param from          the client's own address, in 127.0.0.0/8
     * @param receiveBuffer how much the kernel buffers for a client that does not read; 0 for the default
     */
    explicit RawClient(int port, const std::string& from = "127.0.0.1", int receiveBuffer = 0);
    ~RawClient();
    RawClient(RawClient&& other) noexcept;
    RawClient& operator=(RawClient&&) = delete;
    RawClient(const RawClient&) = delete;
    RawClient& operator=(const RawClient&) = delete;

    /** Whether there is a connection; the server may refuse one. */
    bool isConnected() const;

    /** The socket, for other uses. */
    int descriptor() const;

    /** Sends all of it. @return false when the server has closed the connection */
    bool send(const std::string& bytes);

    /** Stops sending, but still receives. */
    void closeSending();

    /** Receives until the text arrives and takes everything up to its end. @return what was taken; if the server closes
     * the connection or time runs out first, all that came */
    std::string receiveUntil(const std::string& text);

    /** Receives one response with its body, which must have a length. @return the same as receiveUntil */
    std::string receiveResponse();

    /** Receives until the server closes the connection. @return false if time runs out first */
    bool isClosedByServer(std::chrono::milliseconds limit = std::chrono::seconds(10));

    /** Whether the connection is still open after everything received so far. Does not wait. */
    bool isOpen();

private:
    bool receiveSome(std::chrono::steady_clock::time_point deadline);

    int socket_;
    std::string received_;
};

}  // namespace zelrtc::camera::test

#endif
