#include "signalling/access_token.h"

#include <algorithm>
#include <fstream>
#include <stdexcept>

#include "http/guards.h"

namespace zelrtc::camera {

namespace {

constexpr size_t kShortest = 16;

// What needs no escapes in an address.
bool isUnreserved(char letter) {
    const bool isLetter = (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z');
    const bool isDigit = letter >= '0' && letter <= '9';
    return isLetter || isDigit || letter == '-' || letter == '.' || letter == '_' || letter == '~';
}

bool endsWith(const std::string& text, const std::string& end) {
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

bool isOpenToAll(const Request& request) {
    const bool isReading = request.method == "GET" || request.method == "HEAD";
    const bool isEvents = request.path.rfind("/calls/", 0) == 0 && endsWith(request.path, "/events");
    return request.method == "OPTIONS" || (isReading && (request.path == "/" || isEvents));
}

}  // namespace

std::string readToken(const std::string& path) {
    std::ifstream file(path);
    std::string token;
    if (!std::getline(file, token)) {
        throw std::runtime_error("there is no token in " + path);
    }
    if (token.size() < kShortest || !std::all_of(token.begin(), token.end(), isUnreserved)) {
        throw std::runtime_error("the token in " + path + " is not 16 or more of A-Z, a-z, 0-9, -, ., _ and ~");
    }
    return token;
}

std::optional<Response> refuseStrangers(const Request& request, const std::string& token) {
    return isOpenToAll(request) ? std::nullopt : requireToken(request, token);
}

}  // namespace zelrtc::camera
