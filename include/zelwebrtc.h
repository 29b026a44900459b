/**
 * @file zelwebrtc.h The records an application fills in to describe a call and the interface through which a session
 * reports back.
 *
 * An application includes zelwebrtc_session.h, which includes this header.
 */
#ifndef ZELWEBRTC_H
#define ZELWEBRTC_H

#include <stdint.h>

#include <string>
#include <vector>

#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>

/** The library's semantic version; every other statement of it is derived from these three numbers. */
#define ZELRTC_VERSION_MAJOR 0
/** Second number: additions. */
#define ZELRTC_VERSION_MINOR 1
/** Third number: corrections. */
#define ZELRTC_VERSION_PATCH 0

#if defined(__GNUC__)
#define ZELRTC_API __attribute__((visibility("default")))
#else
#define ZELRTC_API
#endif

/** Names one call. The application chooses it; the library prints it in the log and passes it to every callback. */
typedef int32_t ZELRTC_SESSION_ID;

/** The bit in a frame's `flags` that marks a video key frame. It is not the SDK's own key-frame value. */
enum { ZELRTC_FRAME_FLAG_KEY_FRAME = 0x10 };

/** Results of the media writes that are the library's own; every other non-zero result is a status of the SDK. */
enum {
    /** The frame was handed to the SDK, or left out on purpose (stream not selected, audio off). */
    ZELRTC_WRITE_OK = 0,
    /** Not sent: the call is not connected, or has been ended. */
    ZELRTC_WRITE_NOT_CONNECTED = -1,
    /** Not sent: video starts with a key frame, and this frame is not one. */
    ZELRTC_WRITE_WAITING_KEY_FRAME = -127
};

/** One STUN or TURN server. Each text may hold at most 256 bytes; a server with a longer one is left out of the call.
 */
struct ZelRtcIceServer {
    std::string url;        /**< "stun:host:port", "turn:host:port?transport=udp" and the like. */
    std::string username;   /**< Login of a TURN server; empty for none, and the credential is then not used either. */
    std::string credential; /**< The password that belongs to the user name. */
};

/** What a session needs to know about its call. The session copies the record and never changes the caller's. */
struct ZelRtcSessionConfig {
    /** Starts with all flags false and no servers. */
    ZELRTC_API ZelRtcSessionConfig();

    /** A call placed by the Alexa voice service: always trickle, never relay only, and without ICE servers. */
    bool isAlexaCall;
    /** true: the answer goes out at once and candidates follow; false: one answer that holds every candidate. */
    bool trickleIce;
    /** Use relayed (TURN) candidates only. */
    bool relayOnly;
    /** The servers in order of use. The SDK takes 21; the rest is left out with a line in the log. */
    std::vector<ZelRtcIceServer> iceServers;
};

/**
 * What a session tells its application. Override what is of interest; the rest does nothing.
 *
 * The application owns the object and keeps it alive until every session that was given it is destroyed. But for
 * onAnswer of a trickle call every operation runs on a thread of the SDK and holds that thread up for as long as it
 * takes. From inside any of them a session's getters, media writes, setAudioVideoType, addRemoteCandidate and teminate
 * may be called, but the session must not be destroyed there. None is called again once teminate has returned, save
 * for one that was already on its way on another thread, and onAnswer of a trickle init that is called after it.
 *
 * The bodies stand here, and not in the library, so that an application compiled with run-time type information can
 * derive from the class although the library was compiled without.
 */
class ZELRTC_API ZelWebrtcSessionCallback {
public:
    ZelWebrtcSessionCallback() {
    }
    virtual ~ZelWebrtcSessionCallback() {
    }

    /**
     * The answer is ready to be sent to the viewer. Called once a call: in a trickle call inside init, on the thread
     * that called it; otherwise when candidate gathering has ended, on a thread of the SDK.
     * @param sid    the session
     * @param answer the SDK's JSON form of the answer, at most 10239 bytes; valid during the call
     */
    virtual void onAnswer(ZELRTC_SESSION_ID sid, const std::string& answer) {
        (void) sid;
        (void) answer;
    }

    /**
     * One local candidate to be sent to the viewer; only in a trickle call, possibly before init has returned.
     * @param sid       the session
     * @param candidate the SDK's JSON form of the candidate; valid during the call
     */
    virtual void onIceCandidate(ZELRTC_SESSION_ID sid, const std::string& candidate) {
        (void) sid;
        (void) candidate;
    }

    /**
     * The connection entered a state. In CONNECTED media may be written from here on; DISCONNECTED, FAILED and CLOSED
     * are for the application to act on, the session does nothing more by itself.
     * @param sid   the session
     * @param state the state exactly as the SDK reported it
     */
    virtual void onStateChange(ZELRTC_SESSION_ID sid, RTC_PEER_CONNECTION_STATE state) {
        (void) sid;
        (void) state;
    }

    /**
     * One frame of the viewer's audio, G.711 mu-law at 8 kHz.
     * @param sid  the session
     * @param data the SDK's own buffer, valid only during the call: copy what is to be kept
     * @param size bytes in data
     */
    virtual void onAudioFrame(ZELRTC_SESSION_ID sid, void* data, unsigned int size) {
        (void) sid;
        (void) data;
        (void) size;
    }
};

#endif
