/** @file camera_signalling.h The demo camera's own calls: JSON over HTTP, events back over a server-sent stream. */
#ifndef APPS_VIEWER_CAMERA_SIGNALLING_H
#define APPS_VIEWER_CAMERA_SIGNALLING_H

#include <atomic>
#include <memory>
#include <string>
#include <thread>

#include "event_stream.h"
#include "http_exchange.h"
#include "signalling.h"

namespace zelrtc::viewer {

class CameraSignalling : public Signalling {
public:
    explicit CameraSignalling(const CameraAddress& camera);
    ~CameraSignalling() override;
    CameraSignalling(const CameraSignalling&) = delete;
    CameraSignalling& operator=(const CameraSignalling&) = delete;

    Answer place(const std::string& offerSdp, bool complete) override;
    void listen(SignallingListener& listener) override;
    void sendCandidate(const Candidate& candidate) override;
    void selectStream(int stream) override;
    void askForKeyFrame() override;
    void hangUp() override;

private:
    void readEvents(SignallingListener& listener);

    std::unique_ptr<httplib::Client> requests_;
    std::unique_ptr<httplib::Client> events_;
    std::string path_;
    std::atomic<bool> leaving_{false};
    std::thread reader_;
};

}  // namespace zelrtc::viewer

#endif
