// How a configuration is checked and cleaned up before a session uses it.
#include <limits>
#include <new>

#include "allocations.h"
#include "session_test.h"

namespace zelrtc::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ConfigurationCheck : public SessionTest {
protected:
    static LogLine refusal(const ZelRtcIceServer& server, int sid = kSid) {
        return line(5, "%s(): session %d, invalid iceserver. url %s, username %s, credential %s", "checkSessionConfig",
                    sid, server.url.c_str(), server.username.c_str(), server.credential.c_str());
    }
};

TEST_F(ConfigurationCheck, TurnsAnAlexaCallIntoATrickleCallWithoutServersAndLogsNothing) {
    for (const bool trickle : {false, true}) {
        for (const bool relay : {false, true}) {
            ZelRtcSessionConfig config = alexaConfig();
            config.trickleIce = trickle;
            config.relayOnly = relay;
            config.iceServers.push_back(iceServer(std::string(257, 'u'), "too long", "to be kept"));

            checkSessionConfig(kSid, &config);

            EXPECT_TRUE(config.isAlexaCall);
            EXPECT_TRUE(config.trickleIce);
            EXPECT_FALSE(config.relayOnly);
            EXPECT_THAT(config.iceServers, IsEmpty());
        }
    }
    EXPECT_THAT(journal(), IsEmpty());
}

TEST_F(ConfigurationCheck, LeavesTheFlagsOfAnyOtherCallAlone) {
    for (const bool trickle : {false, true}) {
        for (const bool relay : {false, true}) {
            ZelRtcSessionConfig config = completeAnswerConfig(iceServers(1));
            config.trickleIce = trickle;
            config.relayOnly = relay;

            checkSessionConfig(kSid, &config);

            EXPECT_FALSE(config.isAlexaCall);
            EXPECT_EQ(config.trickleIce, trickle);
            EXPECT_EQ(config.relayOnly, relay);
        }
    }
    EXPECT_THAT(journal(), IsEmpty());
}

TEST_F(ConfigurationCheck, KeepsValidServersInTheirOrderAndLogsNothing) {
    ZelRtcSessionConfig config = completeAnswerConfig(iceServers(3));

    checkSessionConfig(kSid, &config);

    EXPECT_EQ(textsOf(config.iceServers), textsOf(iceServers(3)));
    EXPECT_THAT(journal(), IsEmpty());
}

TEST_F(ConfigurationCheck, LeavesAnEmptyListEmptyAndLogsNothing) {
    ZelRtcSessionConfig config = completeAnswerConfig();

    checkSessionConfig(kSid, &config);

    EXPECT_THAT(config.iceServers, IsEmpty());
    EXPECT_THAT(journal(), IsEmpty());
}

TEST_F(ConfigurationCheck, KeepsAServerWithoutAnyText) {
    ZelRtcSessionConfig config = completeAnswerConfig({iceServer("")});

    checkSessionConfig(kSid, &config);

    EXPECT_THAT(textsOf(config.iceServers), ElementsAre("", "", ""));
    EXPECT_THAT(journal(), IsEmpty());
}

TEST_F(ConfigurationCheck, DoesNotLookAtTheFormOfAUrl) {
    ZelRtcSessionConfig config = completeAnswerConfig({iceServer("no url at all\n", "", "credential alone")});

    checkSessionConfig(kSid, &config);

    EXPECT_THAT(textsOf(config.iceServers), ElementsAre("no url at all\n", "", "credential alone"));
    EXPECT_THAT(journal(), IsEmpty());
}

TEST_F(ConfigurationCheck, LimitsEachTextTo256Bytes) {
    std::string ZelRtcIceServer::*const texts[] = {&ZelRtcIceServer::url, &ZelRtcIceServer::username,
                                                   &ZelRtcIceServer::credential};
    for (const auto text : texts) {
        for (const size_t size : {255U, 256U}) {
            ZelRtcSessionConfig config = completeAnswerConfig(iceServers(1));
            config.iceServers[0].*text = std::string(size, 'x');
            const std::vector<std::string> expected = textsOf(config.iceServers);
            checkSessionConfig(kSid, &config);
            EXPECT_EQ(textsOf(config.iceServers), expected) << size;
            EXPECT_THAT(journal(), IsEmpty());
        }
        for (const size_t size : {257U, 258U, 100000U}) {
            ZelRtcSessionConfig config = completeAnswerConfig(iceServers(1));
            config.iceServers[0].*text = std::string(size, 'x');
            const LogLine expected = refusal(config.iceServers[0]);
            sdk.forget();
            checkSessionConfig(kSid, &config);
            EXPECT_THAT(config.iceServers, IsEmpty()) << size;
            EXPECT_EQ(lines(), Lines{expected});
            sdk.forget();
        }
    }
}

TEST_F(ConfigurationCheck, AcceptsThreeTextsOf256Bytes) {
    const std::string longest(256, 'x');
    ZelRtcSessionConfig config = completeAnswerConfig({iceServer(longest, longest, longest)});

    checkSessionConfig(kSid, &config);

    EXPECT_THAT(textsOf(config.iceServers), ElementsAre(longest, longest, longest));
}

TEST_F(ConfigurationCheck, CountsBytesUpToTheEndOfAText) {
    std::string withZero(257, 'x');
    withZero[10] = '\0';
    ZelRtcSessionConfig config = completeAnswerConfig({iceServer(withZero)});
    const LogLine expected = refusal(config.iceServers[0]);

    checkSessionConfig(kSid, &config);

    EXPECT_THAT(config.iceServers, IsEmpty());
    EXPECT_EQ(lines(), Lines{expected});
}

TEST_F(ConfigurationCheck, DropsTheBadServerBetweenTwoGoodOnes) {
    ZelRtcSessionConfig config = completeAnswerConfig(iceServers(3));
    config.iceServers[1].username = std::string(257, 'u');
    std::vector<ZelRtcIceServer> kept = iceServers(3);
    kept.erase(kept.begin() + 1);
    const LogLine expected = refusal(config.iceServers[1]);

    checkSessionConfig(kSid, &config);

    EXPECT_EQ(textsOf(config.iceServers), textsOf(kept));
    EXPECT_EQ(lines(), Lines{expected});
}

TEST_F(ConfigurationCheck, WritesOneLineForEachDroppedServerInTheirOrder) {
    ZelRtcSessionConfig config = completeAnswerConfig(iceServers(4));
    for (const size_t bad : {0U, 1U, 3U}) {
        config.iceServers[bad].url += std::string(257, 'u');
        config.iceServers[bad].credential += std::string(257, 'c');
    }
    const Lines expected = {refusal(config.iceServers[0]), refusal(config.iceServers[1]),
                            refusal(config.iceServers[3])};

    checkSessionConfig(kSid, &config);

    EXPECT_EQ(lines(), expected);
    EXPECT_EQ(config.iceServers.size(), 1U);
}

TEST_F(ConfigurationCheck, LogsPercentSignsAsTheyStand) {
    ZelRtcSessionConfig config = completeAnswerConfig({iceServer("%s%n%d" + std::string(257, '%'), "%s", "%n")});
    const LogLine expected = refusal(config.iceServers[0]);

    checkSessionConfig(kSid, &config);

    EXPECT_EQ(lines(), Lines{expected});
}

TEST_F(ConfigurationCheck, LogsAnySessionId) {
    for (const int sid : {0, -1, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
        ZelRtcSessionConfig config = completeAnswerConfig({iceServer(std::string(257, 'u'))});
        const LogLine expected = refusal(config.iceServers[0], sid);
        sdk.forget();
        checkSessionConfig(sid, &config);
        EXPECT_EQ(lines(), Lines{expected});
    }
}

TEST_F(ConfigurationCheck, KeepsTheListAsItWasWhenMemoryRunsOut) {
    ZelRtcSessionConfig config = completeAnswerConfig(iceServers(3));
    for (ZelRtcIceServer& server : config.iceServers) {
        server.credential = std::string(200, 'c');
    }
    const std::vector<std::string> before = textsOf(config.iceServers);

    unsigned failures = 0;
    for (bool failed = true; failed; failures += failed ? 1 : 0) {
        const AllocationCount count;
        failed = false;
        try {
            const FailingAllocation failing(failures + 1);
            checkSessionConfig(kSid, &config);
        } catch (const std::bad_alloc&) {
            failed = true;
        }
        EXPECT_EQ(textsOf(config.iceServers), before);
        EXPECT_EQ(count.unreleased(), 0) << "allocation " << failures + 1;
    }
    EXPECT_GT(failures, 3U);
}

}  // namespace
}  // namespace zelrtc::test
