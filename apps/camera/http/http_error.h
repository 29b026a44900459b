/** @file http_error.h What went wrong with a request, in words for the person who sent it. */
#ifndef APPS_CAMERA_HTTP_HTTP_ERROR_H
#define APPS_CAMERA_HTTP_HTTP_ERROR_H

#include <chrono>
#include <optional>
#include <stdexcept>
#include <string>

namespace zelrtc::camera {

/** Thrown while handling a request; the HTTP server turns it into a problem document. */
class HttpError : public std::runtime_error {
public:
    /**
     * @param httpStatus status of the response
     * @param detail     the reason, without a full stop
     * @param retryAfter when the same request may succeed
     */
    HttpError(int httpStatus, const std::string& detail, std::optional<std::chrono::seconds> retryAfter = std::nullopt)
        : std::runtime_error(detail), httpStatus_(httpStatus), retryAfter_(retryAfter) {
    }

    int httpStatus() const {
        return httpStatus_;
    }

    std::optional<std::chrono::seconds> retryAfter() const {
        return retryAfter_;
    }

private:
    int httpStatus_;
    std::optional<std::chrono::seconds> retryAfter_;
};

}  // namespace zelrtc::camera

#endif
