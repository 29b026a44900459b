#include "viewer_process.h"

#include <signal.h>

#include <algorithm>
#include <sstream>
#include <stdexcept>

#include "sdk_limits.h"
#include "waiting.h"

namespace zelrtc::test {
namespace {

constexpr const char* kTimeline = "timeline";

bool has(const std::vector<std::string>& arguments, const char* option) {
    return std::find(arguments.begin(), arguments.end(), option) != arguments.end();
}

std::vector<std::string> completed(const std::string& url, const std::vector<std::string>& arguments,
                                   const ScratchFolder& folder) {
    std::vector<std::string> all{url, "--json"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    if (!has(arguments, "--calls") && !has(arguments, "--timeline")) {
        all.insert(all.end(), {"--timeline", folder.file(kTimeline)});
    }
    return all;
}

}  // namespace

ViewerProcess::ViewerProcess(const std::string& url, const std::vector<std::string>& arguments)
    : process_(ZELRTC_VIEWER, completed(url, arguments, folder_), folder_.file("viewer.json"),
               folder_.file("viewer.err")) {
}

bool ViewerProcess::getsPictures(int count) const {
    return seesEventually([count](const auto& seconds) {
        int pictures = 0;
        for (const nlohmann::json& second : seconds) {
            pictures += second.at("frames").get<int>();
        }
        return pictures >= count;
    });
}

bool ViewerProcess::getsWidth(int width) const {
    return seesEventually([width](const auto& seconds) {
        return !seconds.empty() && seconds.back().at("frames") > 0 && seconds.back().at("width") == width;
    });
}

bool ViewerProcess::seesEventually(
    const std::function<bool(const std::vector<nlohmann::json>& seconds)>& isEnough) const {
    const auto seen = [&] {
        std::vector<nlohmann::json> seconds;
        std::istringstream lines(readFile(folder_.file(kTimeline)));
        // The last one may be half written.
        for (std::string line; std::getline(lines, line) && !lines.eof();) {
            seconds.push_back(nlohmann::json::parse(line));
        }
        return isEnough(seconds);
    };
    return eventually(seen, sdkLimit("connect"));
}

ViewerProcess::Outcome ViewerProcess::finish(std::chrono::milliseconds limit) {
    const std::optional<int> status = process_.waitForExit(limit);
    if (!status) {
        throw std::runtime_error("the viewer does not end");
    }
    const std::string output = readFile(folder_.file("viewer.json"));
    Outcome outcome{*status, nlohmann::json::parse(output, nullptr, false)};
    if (outcome.report.is_discarded()) {
        throw std::runtime_error("the viewer reports nothing: " + readFile(folder_.file("viewer.err")));
    }
    return outcome;
}

ViewerProcess::Outcome ViewerProcess::hangUp() {
    process_.signal(SIGINT);
    return finish();
}

ViewerProcess::Outcome view(const std::string& url, const std::vector<std::string>& arguments) {
    return ViewerProcess(url, arguments).finish();
}

::testing::AssertionResult couldReadItsPictures(const ViewerProcess::Outcome& outcome) {
    const nlohmann::json& call = outcome.call();
    if (call.at("video").at("unreadable") == 0 || call.at("transport").at("packetsLost") > 0) {
        return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure() << "unreadable pictures, and no packet was lost: " << call.dump(2);
}

}  // namespace zelrtc::test
