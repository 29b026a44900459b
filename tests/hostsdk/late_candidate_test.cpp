#include <gtest/gtest.h>

#include <glib-object.h>

#include <algorithm>
#include <atomic>

#include "answering_side.h"
#include "stun_server.h"
#include "webrtcbin_viewer.h"

namespace zelrtc::test {

using namespace std::chrono_literals;

namespace {

// A server-reflexive candidate and the end of gathering are reported on different threads. Like a loaded machine, this
// delays the candidate's thread until the end has been reported, if it is.
class HeldBackCandidate {
public:
    explicit HeldBackCandidate(AnsweringSide* side)
        : side_(side),
          signal_(g_signal_lookup("new-candidate-full", g_type_from_name("NiceAgent"))),
          hook_(g_signal_add_emission_hook(signal_, 0, hold, this, nullptr)) {
    }
    HeldBackCandidate(const HeldBackCandidate&) = delete;
    HeldBackCandidate& operator=(const HeldBackCandidate&) = delete;
    HeldBackCandidate(HeldBackCandidate&&) = delete;
    HeldBackCandidate& operator=(HeldBackCandidate&&) = delete;
    ~HeldBackCandidate() {
        g_signal_remove_emission_hook(signal_, hook_);
    }

    bool wasHeld() const {
        return held_;
    }

private:
    static constexpr int kServerReflexive = 1;  // libnice's number for the type, the candidate's first field

    static gboolean hold(GSignalInvocationHint*, guint, const GValue* arguments, gpointer data) {
        if (*static_cast<const int*>(g_value_get_boxed(arguments + 1)) == kServerReflexive) {
            auto* const self = static_cast<HeldBackCandidate*>(data);
            self->held_ = true;
            self->side_->waitForGathering(300ms);
        }
        return TRUE;
    }

    AnsweringSide* side_;
    std::atomic<bool> held_{false};
    guint signal_;
    gulong hook_;
};

bool isMapped(const std::string& candidate) {
    return candidate.find(StunServer::kMappedAddress) != std::string::npos;
}

}  // namespace

TEST(Gathering, endsAfterACandidateThatTheEndHasOvertaken) {
    const StunServer server;
    AnsweringSide side(server.url());
    WebrtcbinViewer viewer("video audio");
    const HeldBackCandidate held(&side);
    ASSERT_EQ(side.answer(viewer.makeOffer()), STATUS_SUCCESS);
    ASSERT_TRUE(side.waitForGathering());
    EXPECT_TRUE(held.wasHeld());
    const std::vector<std::string> candidates = side.candidates();
    EXPECT_TRUE(std::any_of(candidates.begin(), candidates.end(), isMapped));
    EXPECT_NE(side.localSdp().find(StunServer::kMappedAddress), std::string::npos);
}

}  // namespace zelrtc::test
