// The public records, the callback interface and the public shape of the session.
#include <type_traits>

#include "session_test.h"

namespace zelrtc::test {
namespace {

static_assert(std::is_same<ZELRTC_SESSION_ID, int32_t>::value, "the id is a signed 32-bit integer");
static_assert(!std::is_copy_constructible<ZelRtcSession>::value, "a session cannot be copied");
static_assert(!std::is_copy_assignable<ZelRtcSession>::value, "a session cannot be assigned");
static_assert(!std::is_move_constructible<ZelRtcSession>::value, "a session cannot be moved");
static_assert(!std::is_polymorphic<ZelRtcSession>::value, "a session has no virtual operations");
static_assert(std::is_polymorphic<ZelWebrtcSessionCallback>::value, "the callback is an interface");
static_assert(!std::is_abstract<ZelWebrtcSessionCallback>::value, "no operation of it is pure");
static_assert(std::has_virtual_destructor<ZelWebrtcSessionCallback>::value, "it may be deleted through its base");
static_assert(std::is_copy_constructible<ZelRtcIceServer>::value && std::is_copy_assignable<ZelRtcIceServer>::value &&
                  std::is_nothrow_move_constructible<ZelRtcIceServer>::value,
              "a server is a value");
static_assert(std::is_copy_constructible<ZelRtcSessionConfig>::value &&
                  std::is_copy_assignable<ZelRtcSessionConfig>::value,
              "a configuration is a value");
static_assert(sizeof(ZelWebrtcSessionCallback) == sizeof(void*), "the callback holds no data");

// The signatures are the interface.
static_assert(std::is_same<decltype(&ZelRtcSession::init), int (ZelRtcSession::*)(const std::string&)>::value, "");
static_assert(
    std::is_same<decltype(&ZelRtcSession::addRemoteCandidate), int (ZelRtcSession::*)(const std::string&)>::value, "");
static_assert(std::is_same<decltype(&ZelRtcSession::setAudioVideoType), int (ZelRtcSession::*)(int, int)>::value, "");
static_assert(std::is_same<decltype(&ZelRtcSession::writeVideoData),
                           int (ZelRtcSession::*)(uint8_t*, size_t, int64_t, int, int)>::value,
              "");
static_assert(std::is_same<decltype(&ZelRtcSession::writeAudioData),
                           int (ZelRtcSession::*)(uint8_t*, size_t, int64_t, int)>::value,
              "");
static_assert(std::is_same<decltype(&ZelRtcSession::teminate), int (ZelRtcSession::*)()>::value, "");
static_assert(std::is_same<decltype(&ZelRtcSession::getState), RTC_PEER_CONNECTION_STATE (ZelRtcSession::*)()>::value,
              "");
static_assert(std::is_same<decltype(&ZelRtcSession::getSessionId), ZELRTC_SESSION_ID (ZelRtcSession::*)()>::value, "");
static_assert(std::is_same<decltype(&checkSessionConfig), void (*)(int, ZelRtcSessionConfig*)>::value, "");
static_assert(std::is_same<decltype(&initializePeerConnection),
                           UINT32 (*)(ZELRTC_SESSION_ID, ZelRtcSessionConfig, PRtcPeerConnection*)>::value,
              "");
static_assert(std::is_same<decltype(&logSelectedIceCandidatesInformation), UINT32 (*)(PRtcPeerConnection)>::value, "");
static_assert(std::is_same<decltype(&gatherIceServerStats), UINT32 (*)(PRtcPeerConnection, int)>::value, "");

TEST(PublicRecords, StartWithAllFlagsFalseAndNoServers) {
    alignas(ZelRtcSessionConfig) unsigned char memory[sizeof(ZelRtcSessionConfig)];
    memset(memory, 0xff, sizeof(memory));
    ZelRtcSessionConfig* const config = new (memory) ZelRtcSessionConfig();
    EXPECT_FALSE(config->isAlexaCall);
    EXPECT_FALSE(config->trickleIce);
    EXPECT_FALSE(config->relayOnly);
    EXPECT_TRUE(config->iceServers.empty());
    config->~ZelRtcSessionConfig();
}

TEST(PublicRecords, AreIndependentCopies) {
    ZelRtcSessionConfig original = trickleConfig(iceServers(2));
    const ZelRtcSessionConfig copy = original;
    original.iceServers[0].url = "changed";
    original.trickleIce = false;
    EXPECT_EQ(textsOf(copy.iceServers), textsOf(iceServers(2)));
    EXPECT_TRUE(copy.trickleIce);
}

TEST(PublicRecords, NameTheKeyFrameBitAndTheResultsOfAWrite) {
    EXPECT_EQ(ZELRTC_FRAME_FLAG_KEY_FRAME, 0x10);
    EXPECT_EQ(ZELRTC_WRITE_OK, 0);
    EXPECT_EQ(ZELRTC_WRITE_NOT_CONNECTED, -1);
    EXPECT_EQ(ZELRTC_WRITE_WAITING_KEY_FRAME, -127);
}

// The order of its virtual functions is part of the ABI: callers compiled earlier must reach the same ones.
TEST(CallbackInterface, KeepsItsOperationsInTheirSlots) {
    // A pointer to a virtual member function holds its vtable offset plus one (on ARM, the offset itself). The two
    // destructors come first.
    const auto slotOf = [](auto operation) {
        intptr_t parts[sizeof(operation) / sizeof(intptr_t)];
        memcpy(parts, &operation, sizeof(operation));
        return static_cast<size_t>(parts[0] & ~static_cast<intptr_t>(1)) / sizeof(void*);
    };
    EXPECT_EQ(slotOf(&ZelWebrtcSessionCallback::onAnswer), 2U);
    EXPECT_EQ(slotOf(&ZelWebrtcSessionCallback::onIceCandidate), 3U);
    EXPECT_EQ(slotOf(&ZelWebrtcSessionCallback::onStateChange), 4U);
    EXPECT_EQ(slotOf(&ZelWebrtcSessionCallback::onAudioFrame), 5U);
}

TEST(CallbackInterface, DoesNothingByItself) {
    ZelWebrtcSessionCallback callback;
    char data[] = "x";
    callback.onAnswer(1, "answer");
    callback.onIceCandidate(1, "candidate");
    callback.onStateChange(1, RTC_PEER_CONNECTION_STATE_CONNECTED);
    callback.onAudioFrame(1, data, 1);
    EXPECT_STREQ(data, "x");
}

class SilentApplication : public SessionTest {};

TEST_F(SilentApplication, MayLeaveEveryOperationAsItIs) {
    ZelWebrtcSessionCallback callback;
    negotiate(trickleConfig(), &callback);
    Frame frame;
    memset(&frame, 0, sizeof(frame));
    connection().fireCandidate("c");
    connection().fireGatheringEnd();
    connection().fireState(RTC_PEER_CONNECTION_STATE_CONNECTED);
    connection().audio().fireFrame(frame);
    EXPECT_EQ(session->getState(), RTC_PEER_CONNECTION_STATE_CONNECTED);
    destroy();
}

}  // namespace
}  // namespace zelrtc::test
