#include "session_test.h"

namespace zelrtc_test {
namespace {

using ::testing::IsEmpty;

class ConfigurationCheck : public SessionTest {};

TEST_F(ConfigurationCheck, LeavesAnEmptyListEmptyAndLogsNothing) {
    ZelRtcSessionConfig config = completeAnswerConfig();
    checkSessionConfig(SID, &config);
    EXPECT_THAT(config.iceServers, IsEmpty());
    EXPECT_THAT(journal(), IsEmpty());
}

}  // namespace
}  // namespace zelrtc_test
