/** @file request.h One HTTP request, as handlers and guards see it. */
#ifndef APPS_CAMERA_HTTP_REQUEST_H
#define APPS_CAMERA_HTTP_REQUEST_H

#include <optional>
#include <string>
#include <vector>

namespace zelrtc::camera {

/** A header or a query parameter. */
struct Field {
    std::string name;
    std::string value;
};

/** A request. Guards see it before its body has been read. */
struct Request {
    std::string client; /**< equal for requests of one address, of IPv6 for those of one network; nothing to read */
    std::string method;
    std::string path;                   /**< decoded, without the query */
    std::vector<std::string> variables; /**< the segments of the path that its route leaves open, from left to right */
    std::vector<Field> query;
    std::vector<Field> headers; /**< in the order they came, names in lower case; one name may come more than once */
    std::string body;

    /** The first header of this name. @param name in lower case */
    std::optional<std::string> header(const std::string& name) const;

    /** How many headers have this name. @param name in lower case */
    size_t countOf(const std::string& name) const;

    /** The first parameter of this name; empty when it stands there without a value. */
    std::optional<std::string> parameter(const std::string& name) const;

    /** The body's media type in lower case and without its parameters; empty when the request names none. */
    std::string mediaType() const;
};

}  // namespace zelrtc::camera

#endif
