#include "http/response.h"

#include <nlohmann/json.hpp>

namespace zelrtc::camera {

namespace {

const char* titleOf(int status) {
    switch (status) {
        case 400:
            return "Bad request";
        case 401:
            return "Token needed";
        case 403:
            return "Not from there";
        case 404:
            return "Not found";
        case 405:
            return "Method not allowed";
        case 412:
            return "Precondition failed";
        case 413:
            return "Too large";
        case 415:
            return "Unsupported media type";
        case 421:
            return "Not this camera";
        case 422:
            return "Cannot be answered";
        case 429:
            return "Too many requests";
        case 431:
            return "Header too large";
        case 501:
            return "Not supported";
        case 503:
            return "Not available now";
        case 504:
            return "No answer in time";
        default:
            return status < 500 ? "Request refused" : "Failure in the camera";
    }
}

}  // namespace

Response problemResponse(int status, const std::string& detail) {
    using nlohmann::json;
    const json document = {{"title", titleOf(status)}, {"status", status}, {"detail", detail}};
    Response response;
    response.status = status;
    response.type = "application/problem+json";
    response.body = document.dump(-1, ' ', false, json::error_handler_t::replace);
    return response;
}

}  // namespace zelrtc::camera
