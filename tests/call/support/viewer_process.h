/** @file viewer_process.h The headless viewer as a program. */
#ifndef TESTS_CALL_SUPPORT_VIEWER_PROCESS_H
#define TESTS_CALL_SUPPORT_VIEWER_PROCESS_H

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "child_process.h"
#include "scratch_folder.h"

namespace zelrtc::test {

/** The viewer's status when the camera refuses it, or it refuses the camera. */
constexpr int kRefused = 2;

/** Starts in the constructor and runs beside the test. */
class ViewerProcess {
public:
    ViewerProcess(const std::string& url, const std::vector<std::string>& arguments);

    ChildProcess& process() {
        return process_;
    }

    struct Outcome {
        int status;
        nlohmann::json report;

        /** The only call of the report. */
        const nlohmann::json& call() const {
            return report.at("calls").at(0);
        }
    };

    /** Waits until so many pictures have come, as long as a connection may take; for a single call, as the next. */
    bool getsPictures(int count) const;
    /** Waits until pictures of this width come, as long as that. */
    bool getsWidth(int width) const;

    /** Waits for the end. @throws std::runtime_error if it does not come or brings no report */
    Outcome finish(std::chrono::milliseconds limit = std::chrono::seconds(60));

    /** Makes it hang up, then calls finish. */
    Outcome hangUp();

private:
    bool seesEventually(const std::function<bool(const std::vector<nlohmann::json>& seconds)>& isEnough) const;

    ScratchFolder folder_;
    ChildProcess process_;
};

/** Runs a viewer from beginning to end. */
ViewerProcess::Outcome view(const std::string& url, const std::vector<std::string>& arguments);

/**
 * Whether every picture of the only call could be read. A machine too busy to empty its sockets loses packets, which
 * spoils pictures until the next key frame; only then some may be unreadable.
 */
::testing::AssertionResult couldReadItsPictures(const ViewerProcess::Outcome& outcome);

}  // namespace zelrtc::test

#endif
