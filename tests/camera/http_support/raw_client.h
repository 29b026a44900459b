/** @file raw_client.h A client that sends bytes as a test wants them, not as HTTP does. */
#ifndef TESTS_CAMERA_HTTP_SUPPORT_RAW_CLIENT_H
#define TESTS_CAMERA_HTTP_SUPPORT_RAW_CLIENT_H

#include <chrono>
#include <string>

namespace zelrtc::camera::test {

/** A TCP connection to a server on 127.0.0.1. What waits gives up after ten seconds. */
class RawClient {
public:
    /**
     * @param port          of the server
     * @param from          the client's own address, of 127.0.0.0/8
     * @param receiveBuffer how much the kernel takes for a client that does not read; 0 for what is usual
     */
    explicit RawClient(int port, const std::string& from = "127.0.0.1", int receiveBuffer = 0);
    ~RawClient();
    RawClient(RawClient&& other) noexcept;
    RawClient& operator=(RawClient&&) = delete;
    RawClient(const RawClient&) = delete;
    RawClient& operator=(const RawClient&) = delete;

    /** Whether there is a connection; there may be none when the server refuses. */
    bool isConnected() const;

    /** The socket, for whoever wants to use it in another way. */
    int descriptor() const;

    /** Sends all. @return false when the server has closed the connection */
    bool send(const std::string& bytes);

    /** Sends nothing more, but still receives. */
    void closeSending();

    /** Receives until the text is among what has come, and takes everything up to its end. @return what was taken; all
     * that came when the server closes the connection or the time is over */
    std::string receiveUntil(const std::string& text);

    /** Receives one response with its body, which has a length. @return the same as receiveUntil */
    std::string receiveResponse();

    /** Receives until the server closes the connection. @return false when the time is over before */
    bool isClosedByServer(std::chrono::milliseconds limit = std::chrono::seconds(10));

    /** Whether the connection is still open after all that has come. Does not wait. */
    bool isOpen();

private:
    bool receiveSome(std::chrono::steady_clock::time_point deadline);

    int socket_;
    std::string received_;
};

}  // namespace zelrtc::camera::test

#endif
