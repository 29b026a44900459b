#include "engine/viewer_sources.h"

#include <gtest/gtest.h>

#include <vector>

#include "packets.h"

namespace zelrtc::test {

using zelrtc::hostsdk::ViewerSources;

TEST(ViewerSources, takeTheFirstFewAndGoOnTakingThem) {
    ViewerSources sources;
    size_t taken = 0;
    for (uint32_t source = 0; source < 10000; source++) {
        const Bytes packet = rtpPacket(source, 0, Bytes(160));
        taken += sources.takesEncrypted(packet.data(), packet.size()) ? 1 : 0;
    }
    EXPECT_EQ(taken, ViewerSources::kMostSources);
    const Bytes first = rtpPacket(0, 0, Bytes(160));
    EXPECT_TRUE(sources.takesEncrypted(first.data(), first.size()));
    const Bytes report = receiverReport(0);
    EXPECT_TRUE(sources.takesEncrypted(report.data(), report.size()));
    const Bytes other = receiverReport(77777);
    EXPECT_FALSE(sources.takesEncrypted(other.data(), other.size()));
}

TEST(ViewerSources, takeAFewContributors) {
    ViewerSources sources;
    size_t taken = 0;
    for (uint32_t number = 0; number < 1000; number++) {
        const Bytes packet = rtpPacket(1, 0, Bytes(160), {2 * number, 2 * number + 1});
        taken += sources.takesMedia(packet.data(), packet.size()) ? 1 : 0;
    }
    EXPECT_EQ(taken, ViewerSources::kMostContributors / 2);
    const Bytes plain = rtpPacket(1, 0, Bytes(160));
    EXPECT_TRUE(sources.takesMedia(plain.data(), plain.size()));
}

TEST(ViewerSources, takeAFewReportersHoweverManyAPacketHolds) {
    ViewerSources sources;
    Bytes many;
    for (uint32_t source = 0; source < 100; source++) {
        const Bytes report = receiverReport(source);
        many.insert(many.end(), report.begin(), report.end());
    }
    EXPECT_FALSE(sources.takesControl(many.data(), many.size()));
    const Bytes known = receiverReport(0);
    EXPECT_TRUE(sources.takesControl(known.data(), known.size()));
    const Bytes unknown = receiverReport(99);
    EXPECT_FALSE(sources.takesControl(unknown.data(), unknown.size()));
}

TEST(ViewerSources, lookIntoDescriptions) {
    ViewerSources sources;
    for (uint32_t source = 0; source < ViewerSources::kMostSources; source += 2) {
        const Bytes described = descriptions({source, source + 1});
        EXPECT_TRUE(sources.takesControl(described.data(), described.size())) << source;
    }
    const Bytes known = descriptions({0, 1, 2});
    EXPECT_TRUE(sources.takesControl(known.data(), known.size()));
    const Bytes other = descriptions({0, 1, 1000});
    EXPECT_FALSE(sources.takesControl(other.data(), other.size()));
}

TEST(ViewerSources, takeNothingThatIsCutShort) {
    ViewerSources sources;
    const Bytes packet = rtpPacket(1, 0, {}, {1, 2, 3});
    for (size_t size = 0; size < packet.size(); size++) {
        const Bytes part(packet.begin(), packet.begin() + static_cast<std::ptrdiff_t>(size));
        if (size < 12) {
            EXPECT_FALSE(sources.takesEncrypted(part.data(), part.size())) << size;
        }
        if (size > 0) {
            EXPECT_FALSE(sources.takesMedia(part.data(), part.size())) << size;
        }
    }
    const Bytes described = descriptions({1, 2});
    for (size_t size = 8; size < described.size(); size++) {
        const Bytes part(described.begin(), described.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_FALSE(sources.takesControl(part.data(), part.size())) << size;
    }
}

}  // namespace zelrtc::test
