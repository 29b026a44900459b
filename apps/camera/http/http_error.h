/** @file http_error.h What went wrong with a request, in words for the person who sent it. */
#ifndef APPS_CAMERA_HTTP_HTTP_ERROR_H
#define APPS_CAMERA_HTTP_HTTP_ERROR_H

#include <stdexcept>
#include <string>

namespace zelrtc::camera {

/** Thrown while handling a request; the HTTP server turns it into a problem document. */
class HttpError : public std::runtime_error {
public:
    /**
     * @param httpStatus status of the response
     * @param detail     the reason, without a full stop
     */
    HttpError(int httpStatus, const std::string& detail) : std::runtime_error(detail), httpStatus_(httpStatus) {
    }

    int httpStatus() const {
        return httpStatus_;
    }

private:
    int httpStatus_;
};

}  // namespace zelrtc::camera

#endif
