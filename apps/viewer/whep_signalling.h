/** @file whep_signalling.h Calls as a WHEP player places them. */
#ifndef APPS_VIEWER_WHEP_SIGNALLING_H
#define APPS_VIEWER_WHEP_SIGNALLING_H

#include <memory>
#include <string>

#include "http_exchange.h"
#include "signalling.h"

namespace zelrtc::viewer {

/** The answer always holds all of the camera's candidates; ours may follow by PATCH. */
class WhepSignalling : public Signalling {
public:
    explicit WhepSignalling(const CameraAddress& camera);

    Answer place(const std::string& offerSdp, bool complete) override;
    void listen(SignallingListener& listener) override;
    void sendCandidate(const Candidate& candidate) override;
    void selectStream(int stream) override;
    void askForKeyFrame() override;
    void hangUp() override;

private:
    std::unique_ptr<httplib::Client> requests_;
    std::string path_;
    std::string etag_;
    std::string iceCredentials_;  // the offer's a=ice-ufrag and a=ice-pwd lines
};

}  // namespace zelrtc::viewer

#endif
