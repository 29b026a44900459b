#include "http_exchange.h"

#include <nlohmann/json.hpp>

#include "signalling.h"

namespace zelrtc::viewer {
namespace {

constexpr int kMostAttempts = 3;

std::string problemDetail(const httplib::Response& response) {
    const nlohmann::json problem = nlohmann::json::parse(response.body, nullptr, false);
    if (!problem.is_object()) {
        return response.body;
    }
    return problem.value("detail", problem.value("title", response.body));
}

}  // namespace

std::unique_ptr<httplib::Client> clientOf(const CameraAddress& camera, std::chrono::seconds responseLimit) {
    auto client = std::make_unique<httplib::Client>(camera.url);
    client->set_tcp_nodelay(true);
    client->set_read_timeout(responseLimit);
    if (!camera.token.empty()) {
        client->set_bearer_token_auth(camera.token);
    }
    if (!camera.certificateFile.empty()) {
        client->set_ca_cert_path(camera.certificateFile);
    }
    return client;
}

const httplib::Response& expectSuccess(const httplib::Result& result, const std::string& what) {
    if (!result) {
        throw SignallingError(what + ": " + httplib::to_string(result.error()));
    }
    if (result->status < 200 || result->status > 299) {
        throw SignallingError(what + ": HTTP " + std::to_string(result->status) + ", " + problemDetail(*result));
    }
    return *result;
}

void sendUntilAnswered(const std::function<httplib::Result()>& send, const std::string& what) {
    httplib::Result result = send();
    for (int attempt = 1; !result && attempt < kMostAttempts; ++attempt) {
        result = send();
    }
    expectSuccess(result, what);
}

std::string locationPath(const httplib::Response& response) {
    std::string location = response.get_header_value("Location");
    if (location.empty()) {
        throw SignallingError("the camera's response names no location");
    }
    const size_t scheme = location.find("://");
    if (scheme == std::string::npos) {
        return location;
    }
    const size_t path = location.find('/', scheme + 3);
    return path == std::string::npos ? "/" : location.substr(path);
}

}  // namespace zelrtc::viewer
