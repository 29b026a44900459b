/** @file session_members.h The session's private members, for promises that no public operation reveals. */
#ifndef TESTS_SUPPORT_SESSION_MEMBERS_H
#define TESTS_SUPPORT_SESSION_MEMBERS_H

#include "zelwebrtc_session.h"

namespace zelrtc::test {

// Access checks do not apply to explicit instantiations, so the session's header needs no opening for tests.
template <typename Tag, typename Tag::type kMember>
struct Reveal {
    friend typename Tag::type pointerTo(Tag) {
        return kMember;
    }
};

#define ZELRTC_REVEAL(name, memberType)          \
    struct name##Tag {                           \
        typedef memberType ZelRtcSession::*type; \
        friend type pointerTo(name##Tag);        \
    };                                           \
    template struct Reveal<name##Tag, &ZelRtcSession::name>

ZELRTC_REVEAL(sid_, ZELRTC_SESSION_ID);
ZELRTC_REVEAL(callback_, ZelWebrtcSessionCallback*);
ZELRTC_REVEAL(sessionConfig_, ZelRtcSessionConfig);
ZELRTC_REVEAL(pPeerConnection_, PRtcPeerConnection);
ZELRTC_REVEAL(pVideoRtcRtpTransceiver_, PRtcRtpTransceiver);
ZELRTC_REVEAL(pAudioRtcRtpTransceiver_, PRtcRtpTransceiver);
ZELRTC_REVEAL(state_, RTC_PEER_CONNECTION_STATE);
ZELRTC_REVEAL(waitKeyframe_, bool);
ZELRTC_REVEAL(offerReceiveTime_, double);
ZELRTC_REVEAL(connected_, ATOMIC_BOOL);
ZELRTC_REVEAL(terminated_, ATOMIC_BOOL);
ZELRTC_REVEAL(videoType_, UINT32);
ZELRTC_REVEAL(audioType_, UINT32);

#undef ZELRTC_REVEAL

// The only private operation with a result that no public operation reveals.
struct ReleaseTag {
    typedef UINT32 (ZelRtcSession::*type)(PRtcPeerConnection*);
    friend type pointerTo(ReleaseTag);
};
template struct Reveal<ReleaseTag, &ZelRtcSession::releaseRtcConnection>;

/** The member, as in `member(session, waitKeyframe_Tag())`. */
template <typename Tag>
auto member(ZelRtcSession& session, Tag tag) -> decltype((session.*pointerTo(tag))) {
    return session.*pointerTo(tag);
}

}  // namespace zelrtc::test

#endif
