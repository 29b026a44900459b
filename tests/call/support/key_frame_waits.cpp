#include "key_frame_waits.h"

#include <regex>
#include <sstream>

namespace zelrtc::test {
namespace {

using std::chrono::milliseconds;

/** Of "2026-11-22 10:31:41.724 info ...", the time of day. */
milliseconds timeOf(const std::smatch& line) {
    return std::chrono::hours(std::stoi(line[1])) + std::chrono::minutes(std::stoi(line[2])) +
           std::chrono::seconds(std::stoi(line[3])) + milliseconds(std::stoi(line[4]));
}

milliseconds between(milliseconds earlier, milliseconds later) {
    return later >= earlier ? later - earlier : later + std::chrono::hours(24) - earlier;
}

}  // namespace

std::vector<milliseconds> keyFrameWaits(const std::string& log) {
    const std::regex wanted(R"(\S+ (\d+):(\d+):(\d+)\.(\d+) .*(new connection state 3|input video frame, flag 16)$)");
    std::vector<milliseconds> waits;
    milliseconds connected{};
    bool isWaiting = false;
    std::istringstream lines(log);
    for (std::string line; std::getline(lines, line);) {
        std::smatch found;
        if (!std::regex_match(line, found, wanted)) {
            continue;
        }
        if (found[5] == "new connection state 3") {
            connected = timeOf(found);
            isWaiting = true;
        } else if (isWaiting) {
            waits.push_back(between(connected, timeOf(found)));
            isWaiting = false;
        }
    }
    return waits;
}

}  // namespace zelrtc::test
