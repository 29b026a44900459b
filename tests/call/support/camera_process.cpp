#include "camera_process.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <stdexcept>

#include "sdk_limits.h"
#include "waiting.h"

namespace zelrtc::test {
namespace {

constexpr std::chrono::seconds kStartLimit(20);
constexpr std::chrono::seconds kResponseLimit(15);
constexpr size_t kToldOfLog = 4000;

// The build's own, unless another one is to prove itself.
std::string program() {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): no thread changes the environment
    const char* const other = std::getenv("ZELRTC_CAMERA_UNDER_TEST");
    return other != nullptr ? other : ZELRTC_CAMERA;
}

int entriesIn(const std::string& folder) {
    const std::filesystem::directory_iterator entries(folder);
    return static_cast<int>(std::distance(begin(entries), end(entries)));
}

std::string addressIn(const std::string& output) {
    std::smatch match;
    const std::regex line("listening on (https?://127\\.0\\.0\\.1:[0-9]+)/(\\?token=[^\n]+)?\n");
    return std::regex_search(output, match, line) ? match[1].str() : "";
}

httplib::Client client(const std::string& url) {
    httplib::Client http(url);
    http.set_read_timeout(kResponseLimit);
    // What this asks does not depend on who the camera says it is.
    http.enable_server_certificate_verification(false);
    return http;
}

}  // namespace

CameraProcess::CameraProcess(const std::vector<std::string>& extraArguments) {
    std::vector<std::string> arguments{"--listen",     "127.0.0.1:0",
                                       "--log-level",  "1",
                                       "--log-file",   folder_.file("camera.log"),
                                       "--record-dir", folder_.path(),
                                       "--call-list",  folder_.file("calls")};
    arguments.insert(arguments.end(), extraArguments.begin(), extraArguments.end());
    const std::string output = folder_.file("camera.out");
    process_ = std::make_unique<ChildProcess>(program(), arguments, output, folder_.file("camera.err"));
    eventually([&] { return !addressIn(readFile(output)).empty() || process_->waitForExit({}); }, kStartLimit);
    url_ = addressIn(readFile(output));
    if (url_.empty()) {
        throw std::runtime_error("the camera does not serve: " + readFile(folder_.file("camera.err")));
    }
}

std::string CameraProcess::recording(const std::string& callId) const {
    return folder_.file("call-" + callId + ".wav");
}

std::string CameraProcess::log() const {
    return readFile(folder_.file("camera.log"));
}

bool CameraProcess::logsEventually(const std::string& text, std::chrono::milliseconds limit) const {
    return eventually([&] { return log().find(text) != std::string::npos; }, limit);
}

::testing::AssertionResult CameraProcess::exits(std::chrono::milliseconds limit) {
    const std::optional<int> status = process_->waitForExit(limit);
    if (status == 0) {
        return ::testing::AssertionSuccess();
    }
    const std::string all = log();
    return ::testing::AssertionFailure() << "the camera "
                                         << (status ? "exited with " + std::to_string(*status)
                                                    : "still runs after the limit")
                                         << "\nits errors: " << readFile(folder_.file("camera.err"))
                                         << "\nthe end of its log:\n"
                                         << all.substr(all.size() - std::min(all.size(), kToldOfLog));
}

std::string CameraProcess::callPath(size_t number) const {
    std::vector<std::string> keys;
    eventually(
        [&] {
            keys.clear();
            std::istringstream list(readFile(folder_.file("calls")));
            int id = 0;
            for (std::string key; list >> id >> key;) {
                keys.push_back(key);
            }
            return keys.size() >= number;
        },
        kResponseLimit);
    return "/calls/" + keys.at(number - 1);
}

nlohmann::json CameraProcess::get(const std::string& path) const {
    const httplib::Result result = client(url_).Get(path);
    if (!result || result->status != 200) {
        throw std::runtime_error("the camera does not answer GET " + path);
    }
    return nlohmann::json::parse(result->body);
}

httplib::Result CameraProcess::post(const std::string& path, const std::string& body) const {
    return client(url_).Post(path, body, "application/json");
}

httplib::Result CameraProcess::remove(const std::string& path) const {
    return client(url_).Delete(path);
}

bool CameraProcess::hasConnectedCalls(size_t count) const {
    return eventually(
        [&] {
            const nlohmann::json calls = get("/calls");
            const auto isConnected = [](const nlohmann::json& call) { return call.at("state") == "connected"; };
            return calls.size() == count && std::all_of(calls.begin(), calls.end(), isConnected);
        },
        sdkLimit("connect"));
}

bool CameraProcess::hasNoCalls(std::chrono::milliseconds limit) const {
    return eventually([this] { return get("/health").at("calls") == 0; }, limit);
}

bool CameraProcess::firstCallLasts(std::chrono::duration<double> time) const {
    const auto limit = std::chrono::duration_cast<std::chrono::milliseconds>(time) + kResponseLimit;
    return eventually(
        [&] {
            const nlohmann::json calls = get("/calls");
            return !calls.empty() && calls.at(0).at("seconds") >= time.count();
        },
        limit);
}

int CameraProcess::runningEncoders() const {
    return get("/health").at("encoders");
}

ProcessUsage CameraProcess::usage() const {
    const std::string process = "/proc/" + std::to_string(pid());
    return {entriesIn(process + "/task"), entriesIn(process + "/fd")};
}

double CameraProcess::cpuSeconds() const {
    std::ifstream stat("/proc/" + std::to_string(pid()) + "/stat");
    std::string line;
    std::getline(stat, line);
    std::istringstream fields(line.substr(line.rfind(')') + 2));
    std::string skipped;
    for (int i = 0; i < 11; ++i) {
        fields >> skipped;
    }
    double user = 0;
    double system = 0;
    fields >> user >> system;
    return (user + system) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

}  // namespace zelrtc::test
