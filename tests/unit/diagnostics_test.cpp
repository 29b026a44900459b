// What the log says about the selected candidates and the ICE servers.
#include <limits>

#include "session_test.h"

namespace zelrtc::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class DiagnosticsTest : public SessionTest {
protected:
    void SetUp() override {
        negotiate(trickleConfig());
        peer = &connection().sdk;
    }

    template <size_t kSize>
    static void setText(CHAR (&field)[kSize], const std::string& text) {
        memset(field, 0, kSize);
        strncpy(field, text.c_str(), kSize - 1);
    }

    PRtcPeerConnection peer = nullptr;
};

class SelectedCandidates : public DiagnosticsTest {
protected:
    static LogLine text(const char* format, const char* value) {
        return {2, "platform-utils", std::string("%s(): ") + format + "%s",
                std::string("logSelectedIceCandidatesInformation(): ") + format + value};
    }

    static LogLine number(const char* format, INT32 value) {
        return {2, "platform-utils", std::string("%s(): ") + format + "%d",
                std::string("logSelectedIceCandidatesInformation(): ") + format + std::to_string(value)};
    }

    Lines localLines() const {
        const RtcIceCandidateStats& local = sdk.deliver.localCandidate;
        return {text("Local Candidate IP Address: ", local.address),
                text("Local Candidate type: ", local.candidateType),
                number("Local Candidate port: ", local.port),
                number("Local Candidate priority: ", local.priority),
                text("Local Candidate transport protocol: ", local.protocol),
                text("Local Candidate relay protocol: ", local.relayProtocol),
                text("Local Candidate Ice server source: ", local.url)};
    }

    Lines allLines() const {
        const RtcIceCandidateStats& remote = sdk.deliver.remoteCandidate;
        Lines all = localLines();
        all.push_back(text("Remote Candidate IP Address: ", remote.address));
        all.push_back(text("Remote Candidate type: ", remote.candidateType));
        all.push_back(number("Remote Candidate port: ", remote.port));
        all.push_back(number("Remote Candidate priority: ", remote.priority));
        all.push_back(text("Remote Candidate transport protocol: ", remote.protocol));
        return all;
    }
};

TEST_F(SelectedCandidates, AreLoggedInSevenLinesAndFive) {
    EXPECT_EQ(logSelectedIceCandidatesInformation(peer), 0U);
    EXPECT_EQ(lines(), allLines());
    EXPECT_EQ(lines().size(), 12U);
}

TEST_F(SelectedCandidates, AreAskedForOneAfterTheOtherWithoutATransceiver) {
    logSelectedIceCandidatesInformation(peer);
    EXPECT_THAT(events(),
                ElementsAre("rtcPeerConnectionGetMetrics pc1 type 7", "rtcPeerConnectionGetMetrics pc1 type 11"));
    EXPECT_EQ(journal()[0], "rtcPeerConnectionGetMetrics pc1 type 7");
    EXPECT_EQ(journal()[8], "rtcPeerConnectionGetMetrics pc1 type 11");
    for (const SdkCall& call : sdk.calls()) {
        EXPECT_EQ(call.pointer, nullptr);
    }
}

TEST_F(SelectedCandidates, OfNoConnectionAreNoError) {
    EXPECT_EQ(logSelectedIceCandidatesInformation(nullptr), 0U);
    EXPECT_THAT(journal(), IsEmpty());
}

TEST_F(SelectedCandidates, GiveTheStatusWhenTheLocalOneIsUnknown) {
    for (const UINT32 status : kFailures) {
        sdk.succeedAgain();
        sdk.forget();
        sdk.failNth(SdkFunction::rtcPeerConnectionGetMetrics, 1, status);
        EXPECT_EQ(logSelectedIceCandidatesInformation(peer), status);
        EXPECT_THAT(lines(), IsEmpty());
        EXPECT_EQ(events().size(), 1U);
    }
}

TEST_F(SelectedCandidates, KeepTheLocalLinesWhenTheRemoteOneIsUnknown) {
    for (const UINT32 status : kFailures) {
        sdk.succeedAgain();
        sdk.forget();
        sdk.failNth(SdkFunction::rtcPeerConnectionGetMetrics, 2, status);
        EXPECT_EQ(logSelectedIceCandidatesInformation(peer), status);
        EXPECT_EQ(lines(), localLines());
    }
}

TEST_F(SelectedCandidates, AreLoggedWithWhateverTheSdkKnows) {
    RtcIceCandidateStats& local = sdk.deliver.localCandidate;
    memset(&local, 0, sizeof(local));
    local.port = -1;
    local.priority = std::numeric_limits<INT32>::min();
    RtcIceCandidateStats& remote = sdk.deliver.remoteCandidate;
    setText(remote.address, "2001:db8:0:0:0:ffff:255.255.255.255%s%n");
    setText(remote.candidateType, "%s");
    setText(remote.protocol, std::string(MAX_STATS_STRING_LENGTH, 'p'));
    remote.port = 65535;
    remote.priority = std::numeric_limits<INT32>::max();
    EXPECT_EQ(logSelectedIceCandidatesInformation(peer), 0U);
    EXPECT_EQ(lines(), allLines());
}

class IceServerStatistics : public DiagnosticsTest {
protected:
    static Lines block(const RtcIceServerStats& server, unsigned long long ms) {
        return {line(2, "%s(): ICE Server URL: %s", "gatherIceServerStats", server.url),
                line(2, "%s(): ICE Server port: %d", "gatherIceServerStats", server.port),
                line(2, "%s(): ICE Server protocol: %s", "gatherIceServerStats", server.protocol),
                line(2, "%s(): Total requests sent:%llu", "gatherIceServerStats",
                     static_cast<unsigned long long>(server.totalRequestsSent)),
                line(2, "%s(): Total responses received: %llu", "gatherIceServerStats",
                     static_cast<unsigned long long>(server.totalResponsesReceived)),
                line(2, "%s(): Total round trip time: %llums", "gatherIceServerStats", ms)};
    }

    static Lines joined(Lines first, const Lines& second) {
        first.insert(first.end(), second.begin(), second.end());
        return first;
    }

    const RtcIceServerStats first = serverStats("stun:a", 3478, "udp", 1, 2, 30000);
    const RtcIceServerStats second = serverStats("turn:b%s", -443, "", 4, 5, 123456789);
    const RtcIceServerStats third = serverStats("", 0, "tcp", 0, 0, 9999);
};

TEST_F(IceServerStatistics, AreLoggedInSixLinesForEachServerInOrder) {
    sdk.deliver.iceServers = {first, second, third};
    EXPECT_EQ(gatherIceServerStats(peer, 3), 0U);
    EXPECT_EQ(lines(), joined(joined(block(first, 3), block(second, 12345)), block(third, 0)));
    EXPECT_THAT(events(), ElementsAre("rtcPeerConnectionGetMetrics pc1 type 3 server 0",
                                      "rtcPeerConnectionGetMetrics pc1 type 3 server 1",
                                      "rtcPeerConnectionGetMetrics pc1 type 3 server 2"));
    for (const SdkCall& call : sdk.calls()) {
        EXPECT_EQ(call.pointer, nullptr) << "no transceiver";
    }
}

TEST_F(IceServerStatistics, DropTheRemainderOfTheRoundTripTime) {
    const UINT64 most = std::numeric_limits<UINT64>::max();
    sdk.deliver.iceServers = {serverStats("a", 1, "udp", most, most, 9999), serverStats("b", 1, "udp", 0, 0, 10000),
                              serverStats("c", 1, "udp", 1ULL << 40, 1ULL << 33, most)};
    EXPECT_EQ(gatherIceServerStats(peer, 3), 0U);
    EXPECT_EQ(lines(), joined(joined(block(sdk.deliver.iceServers[0], 0), block(sdk.deliver.iceServers[1], 1)),
                              block(sdk.deliver.iceServers[2], most / 10000)));
}

TEST_F(IceServerStatistics, OfNoServerAreNothing) {
    EXPECT_EQ(gatherIceServerStats(peer, 0), 0U);
    EXPECT_THAT(journal(), IsEmpty());
}

TEST_F(IceServerStatistics, OfNoConnectionAreNoError) {
    for (const int count : {0, 1, 21, -1}) {
        EXPECT_EQ(gatherIceServerStats(nullptr, count), 0U);
    }
    EXPECT_THAT(journal(), IsEmpty());
}

TEST_F(IceServerStatistics, EndWithTheFirstServerThatFails) {
    sdk.deliver.iceServers = {first, second, third};
    for (const UINT32 status : kFailures) {
        sdk.succeedAgain();
        sdk.forget();
        sdk.failNth(SdkFunction::rtcPeerConnectionGetMetrics, 2, status);
        EXPECT_EQ(gatherIceServerStats(peer, 3), status);
        EXPECT_EQ(lines(), block(first, 3));
        EXPECT_EQ(events().size(), 2U);
    }
}

TEST_F(IceServerStatistics, SayNothingOfTheirOwnWhenTheFirstServerFails) {
    sdk.failAlways(SdkFunction::rtcPeerConnectionGetMetrics, 0x5a000028);
    EXPECT_EQ(gatherIceServerStats(peer, 3), 0x5a000028U);
    EXPECT_THAT(lines(), IsEmpty());
    EXPECT_EQ(events().size(), 1U);
}

TEST_F(IceServerStatistics, TakeTheCountAsAnUnsignedNumber) {
    sdk.deliver.iceServers = {first};
    sdk.failNth(SdkFunction::rtcPeerConnectionGetMetrics, 3, 0x5a000028);
    EXPECT_EQ(gatherIceServerStats(peer, -1), 0x5a000028U);
    EXPECT_EQ(events().size(), 3U);
}

}  // namespace
}  // namespace zelrtc::test
