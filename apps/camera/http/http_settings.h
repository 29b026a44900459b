/** @file http_settings.h The bounds of an HTTP server, and its certificate. */
#ifndef APPS_CAMERA_HTTP_HTTP_SETTINGS_H
#define APPS_CAMERA_HTTP_HTTP_SETTINGS_H

#include <chrono>
#include <cstddef>
#include <string>

namespace zelrtc::camera {

/** What no client can exceed. A connection that is past a deadline is closed without a word. */
struct HttpLimits {
    size_t connections = 128;
    /** Of one address, or of one /64 network of IPv6. Loopback is an address like any other. */
    size_t connectionsPerAddress = 64;
    /** Threads that run handlers. They start when there is work, and end when there has been none for a while. */
    size_t handlers = 24;

    size_t headerBytes = size_t{16} * 1024;
    /** An offer holds 25000 characters at the most; escaped as JSON it is somewhat longer. */
    size_t bodyBytes = size_t{64} * 1024;

    // Long enough for packets that a bad network loses a few times in a row.
    /** From connecting, or from the end of a response, to the next request's first line. */
    std::chrono::milliseconds idle{4000};
    /** From the first line to the end of the header. */
    std::chrono::milliseconds header{4000};
    /** From the end of the header to the end of the body. */
    std::chrono::milliseconds body{8000};
    /** For a client to take a response, or what an event stream had for it. */
    std::chrono::milliseconds response{8000};
    /** How long an event stream stays quiet before it sends a comment, which shows whether the client is still there.
     */
    std::chrono::milliseconds quiet{5000};
};

/** A certificate chain and its key, as PEM texts; both empty for plain HTTP. */
struct HttpCertificate {
    std::string chain;
    std::string key;
};

struct HttpSettings {
    HttpLimits limits;
    HttpCertificate certificate;
};

}  // namespace zelrtc::camera

#endif
