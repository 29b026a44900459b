/** @file zelwebrtc.h The records that describe a call, and the interface through which a session reports back. */
#ifndef ZELWEBRTC_H
#define ZELWEBRTC_H

#include <stdint.h>

#include <string>
#include <vector>

#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>

// Applications include zelwebrtc_session.h, which includes this header.

/** The library's semantic version. The build and the packages take it from these three numbers. */
#define ZELRTC_VERSION_MAJOR 0
/** Incremented for additions. */
#define ZELRTC_VERSION_MINOR 1
/** Incremented for fixes. */
#define ZELRTC_VERSION_PATCH 0

#if defined(__GNUC__)
#define ZELRTC_API __attribute__((visibility("default")))
#else
#define ZELRTC_API
#endif

/** Identifies a call. The application chooses it; it appears in the log and is passed to every callback. */
typedef int32_t ZELRTC_SESSION_ID;

/** The bit in a write's `flags` that marks a video key frame. Not the SDK's FRAME_FLAG_KEY_FRAME. */
enum { ZELRTC_FRAME_FLAG_KEY_FRAME = 0x10 };

/** Results of the media writes. Any other value is a status of the SDK. */
enum {
    /** Handed to the SDK, or skipped on purpose: the stream is not selected, or audio is off. */
    ZELRTC_WRITE_OK = 0,
    /** Not sent: the call is not connected, or has ended. */
    ZELRTC_WRITE_NOT_CONNECTED = -1,
    /** Not sent: video must start with a key frame, and this is not one. */
    ZELRTC_WRITE_WAITING_KEY_FRAME = -127
};

/** One STUN or TURN server. A server with a text of more than 256 bytes is skipped. */
struct ZelRtcIceServer {
    std::string url;        /**< For example "stun:host:port" or "turn:host:port?transport=udp". */
    std::string username;   /**< TURN user name; if empty, the credential is ignored too. */
    std::string credential; /**< TURN password. */
};

/** How a call is to be made. The session works on its own copy. */
struct ZelRtcSessionConfig {
    /** All flags false, no servers. */
    ZELRTC_API ZelRtcSessionConfig();

    /** A call from the Alexa voice service: always trickle, never relay-only, no ICE servers. */
    bool isAlexaCall;
    /** true: answer at once and send candidates as they are found; false: one answer with all candidates. */
    bool trickleIce;
    /** Use relayed (TURN) candidates only. */
    bool relayOnly;
    /** Used in this order. The SDK takes 21; the rest are skipped and logged. */
    std::vector<ZelRtcIceServer> iceServers;
};

/**
 * What a session reports to its application. Override what you need; the defaults do nothing.
 *
 * The application owns the object and must keep it alive until every session that uses it is destroyed.
 *
 * All callbacks run on an SDK thread, except onAnswer in trickle mode, which runs inside init. The SDK thread waits
 * until the callback returns. The table of threads at ZelRtcSession says what may overlap.
 *
 * A callback may call the session's getters, media writes, setAudioVideoType, addRemoteCandidate and teminate. It must
 * not call init and must not destroy the session.
 *
 * A callback must not throw. On an SDK thread the exception runs into the SDK's C code: std::terminate at best,
 * undefined behaviour at worst. From a trickle onAnswer it leaves through init, which first releases the connection,
 * so init may be called again; a library built with -fno-exceptions promises nothing.
 *
 * After teminate returns, no new callback starts. One already running on another thread may still finish. Calling init
 * afterwards still delivers a trickle onAnswer.
 */
// Defined inline so that an application built with RTTI can derive from it even if the library was built without.
class ZELRTC_API ZelWebrtcSessionCallback {
public:
    ZelWebrtcSessionCallback() {
    }
    virtual ~ZelWebrtcSessionCallback() {
    }

    /**
     * The answer, to be sent to the viewer. Called once per call: in trickle mode inside init, otherwise when candidate
     * gathering has ended.
     * @param sid    the session
     * @param answer the answer as the SDK's JSON, at most 10239 bytes; valid until the callback returns
     */
    virtual void onAnswer(ZELRTC_SESSION_ID sid, const std::string& answer) {
        (void) sid;
        (void) answer;
    }

    /**
     * A local candidate, to be sent to the viewer. Trickle mode only; may come before init returns.
     * @param sid       the session
     * @param candidate the candidate as the SDK's JSON; valid until the callback returns
     */
    virtual void onIceCandidate(ZELRTC_SESSION_ID sid, const std::string& candidate) {
        (void) sid;
        (void) candidate;
    }

    /**
     * The connection changed state. From CONNECTED on, media can be written. The session does not act on DISCONNECTED,
     * FAILED or CLOSED; that is up to the application.
     * @param sid   the session
     * @param state the state as the SDK reported it
     */
    virtual void onStateChange(ZELRTC_SESSION_ID sid, RTC_PEER_CONNECTION_STATE state) {
        (void) sid;
        (void) state;
    }

    /**
     * A frame of the viewer's audio: G.711 mu-law, 8 kHz.
     * @param sid  the session
     * @param data the SDK's buffer, valid until the callback returns: copy what you keep
     * @param size in bytes
     */
    virtual void onAudioFrame(ZELRTC_SESSION_ID sid, void* data, unsigned int size) {
        (void) sid;
        (void) data;
        (void) size;
    }
};

#endif
