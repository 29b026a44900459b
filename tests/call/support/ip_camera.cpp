#include "ip_camera.h"

#include <csignal>
#include <filesystem>
#include <stdexcept>
#include <utility>

#include "waiting.h"

namespace zelrtc::test {

namespace {

constexpr std::chrono::seconds kServesWithin(20);

}  // namespace

std::string IpCamera::picture(int pictures) {
    return "videotestsrc is-live=true pattern=ball ! video/x-raw,width=320,height=180,framerate=30/1 ! x264enc "
           "tune=zerolatency speed-preset=ultrafast bitrate=300 option-string=scenecut=0 key-int-max=" +
           std::to_string(pictures) + " ! video/x-h264,profile=constrained-baseline ! rtph264pay name=pay0 pt=96 ";
}

std::string IpCamera::tone(int hertz) {
    return "audiotestsrc is-live=true freq=" + std::to_string(hertz) +
           " volume=0.5 ! audio/x-raw,rate=8000,channels=1 ! mulawenc ! rtppcmupay name=pay1 pt=0 min-ptime=20000000 "
           "max-ptime=20000000 ";
}

IpCamera::IpCamera(std::string media) : media_(std::move(media)) {
    switchOn();
}

void IpCamera::switchOn() {
    const std::string output = folder_.file("output");
    std::filesystem::remove(output);
    server_ = std::make_unique<ChildProcess>(ZELRTC_RTSP_SERVER, std::vector<std::string>{port_, "( " + media_ + " )"},
                                             output, folder_.file("errors"));
    eventually([&] { return readFile(output).find('\n') != std::string::npos || server_->waitForExit({}); },
               kServesWithin);
    const std::string address = readFile(output);
    const size_t path = address.find("/camera");
    if (path == std::string::npos) {
        throw std::runtime_error("the IP camera does not start: " + readFile(folder_.file("errors")));
    }
    url_ = address.substr(0, address.find('\n'));
    port_ = url_.substr(url_.rfind(':') + 1, path - url_.rfind(':') - 1);
}

void IpCamera::switchOff() {
    server_->signal(SIGKILL);
    server_->waitForExit(kServesWithin);
}

}  // namespace zelrtc::test
