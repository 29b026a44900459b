#include "viewer_process.h"

#include <signal.h>

#include <stdexcept>

namespace zelrtc::test {
namespace {

std::vector<std::string> completed(const std::string& url, const std::vector<std::string>& arguments) {
    std::vector<std::string> all{url, "--json"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return all;
}

}  // namespace

ViewerProcess::ViewerProcess(const std::string& url, const std::vector<std::string>& arguments)
    : process_(ZELRTC_VIEWER, completed(url, arguments), folder_.file("viewer.json"), folder_.file("viewer.err")) {
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

}  // namespace zelrtc::test
