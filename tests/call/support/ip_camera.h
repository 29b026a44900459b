/** @file ip_camera.h An IP camera that can be switched off and on. */
#ifndef TESTS_CALL_SUPPORT_IP_CAMERA_H
#define TESTS_CALL_SUPPORT_IP_CAMERA_H

#include <memory>
#include <string>

#include "child_process.h"
#include "scratch_folder.h"

namespace zelrtc::test {

/** GStreamer's RTSP server, always at the same address. */
class IpCamera {
public:
    /** A constrained baseline picture with a key frame every `pictures` of 30 a second. */
    static std::string picture(int pictures);
    /** A tone of so many hertz, as mu-law. */
    static std::string tone(int hertz);

    /** @param media what it sends, as the elements of a pipeline. @throw std::runtime_error if it cannot be started */
    explicit IpCamera(std::string media);

    /** Valid while it is off, too. */
    const std::string& url() const {
        return url_;
    }
    void switchOn();
    /** As a power cut does. */
    void switchOff();

private:
    ScratchFolder folder_;
    std::string media_;
    std::string port_ = "0";
    std::string url_;
    std::unique_ptr<ChildProcess> server_;
};

}  // namespace zelrtc::test

#endif
