#include <cstdio>

#include <zelwebrtc_session.h>

int main() {
    initKvsWebRtc();
    {
        ZelRtcSession session(7, ZelRtcSessionConfig(), nullptr);
        std::printf("session %d of version %d.%d.%d in state %d\n", static_cast<int>(session.getSessionId()),
                    ZELRTC_VERSION_MAJOR, ZELRTC_VERSION_MINOR, ZELRTC_VERSION_PATCH, session.getState());
    }
    return static_cast<int>(deinitKvsWebRtc());
}
