#include "clip_file.h"

#include <chrono>
#include <sstream>
#include <stdexcept>
#include <vector>

#include "child_process.h"
#include "scratch_folder.h"

namespace zelrtc::test {

void makeClip(const std::string& path, const std::string& encoder, const std::string& caps) {
    std::istringstream words(
        "-q videotestsrc num-buffers=240 pattern=ball ! video/x-raw,width=320,height=180,"
        "framerate=30/1 ! x264enc tune=zerolatency bitrate=300 option-string=scenecut=0 " +
        encoder + " ! video/x-h264," + caps + " ! filesink location=" + path);
    std::vector<std::string> arguments;
    for (std::string word; words >> word;) {
        arguments.push_back(word);
    }
    const ScratchFolder folder;
    const std::string errors = folder.file("errors");
    ChildProcess launch("gst-launch-1.0", arguments, folder.file("output"), errors);
    if (launch.waitForExit(std::chrono::seconds(60)) != 0) {
        throw std::runtime_error("the clip cannot be made: " + readFile(errors));
    }
}

}  // namespace zelrtc::test
