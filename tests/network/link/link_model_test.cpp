#include "link_model.h"

#include <gtest/gtest.h>

#include <vector>

#include "link_command.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr uint64_t kSeed = 7;
constexpr size_t kPacket = 1200;
const zelrtc::link::Time kStart{seconds(1000)};

zelrtc::link::Conditions conditions(const std::string& commands) {
    zelrtc::link::Conditions result;
    EXPECT_EQ("", zelrtc::link::applyCommand(commands, &result));
    return result;
}

std::vector<std::optional<zelrtc::link::Time>> sendPackets(const std::string& commands, int count,
                                                           zelrtc::link::Duration interval = milliseconds(1),
                                                           uint64_t seed = kSeed) {
    zelrtc::link::LinkModel model(seed);
    model.setConditions(conditions(commands));
    std::vector<std::optional<zelrtc::link::Time>> deliveries;
    for (int i = 0; i < count; i++) {
        deliveries.push_back(model.admit(kStart + i * interval, kPacket));
    }
    return deliveries;
}

size_t countDelivered(const std::vector<std::optional<zelrtc::link::Time>>& deliveries) {
    size_t delivered = 0;
    for (const auto& delivery : deliveries) {
        delivered += delivery ? 1 : 0;
    }
    return delivered;
}

TEST(LinkModel, aClearLinkDeliversAtOnce) {
    const auto deliveries = sendPackets("clear", 3);
    for (int i = 0; i < 3; i++) {
        EXPECT_EQ(kStart + i * milliseconds(1), deliveries[static_cast<size_t>(i)]);
    }
}

TEST(LinkModel, losesTheAskedShareOfPackets) {
    const size_t delivered = countDelivered(sendPackets("loss 20", 10000));
    EXPECT_GT(delivered, 7800U);
    EXPECT_LT(delivered, 8200U);
}

TEST(LinkModel, theSameSeedMakesTheSameDecisions) {
    const char* commands = "loss 20,delay 200 50,reorder 10 30";
    EXPECT_EQ(sendPackets(commands, 1000), sendPackets(commands, 1000));
    EXPECT_NE(sendPackets(commands, 1000), sendPackets(commands, 1000, milliseconds(1), kSeed + 1));
}

TEST(LinkModel, jitterStaysWithinItsBoundsAndKeepsTheOrder) {
    const auto deliveries = sendPackets("delay 200 50", 1000, milliseconds(20));
    for (size_t i = 0; i < deliveries.size(); i++) {
        const auto delay = *deliveries[i] - (kStart + static_cast<int>(i) * milliseconds(20));
        EXPECT_GE(delay, milliseconds(150));
        EXPECT_LE(delay, milliseconds(250));
        EXPECT_TRUE(i == 0 || *deliveries[i] >= *deliveries[i - 1]);
    }
}

TEST(LinkModel, aReorderedPacketIsOvertaken) {
    const auto deliveries = sendPackets("delay 10 0,reorder 10 5", 1000);
    int overtaken = 0;
    for (size_t i = 1; i < deliveries.size(); i++) {
        overtaken += *deliveries[i] < *deliveries[i - 1] ? 1 : 0;
    }
    EXPECT_GT(overtaken, 50);
    EXPECT_LT(overtaken, 150);
}

TEST(LinkModel, theRateLimitSpacesPackets) {
    const auto deliveries = sendPackets("rate 960 100000", 10, milliseconds(0));
    for (size_t i = 1; i < deliveries.size(); i++) {
        EXPECT_EQ(milliseconds(10), *deliveries[i] - *deliveries[i - 1]);
    }
}

TEST(LinkModel, aFullQueueDropsTheNewestPackets) {
    const auto deliveries = sendPackets("rate 960 12000", 20, milliseconds(0));
    for (size_t i = 0; i < deliveries.size(); i++) {
        EXPECT_EQ(i <= 10, deliveries[i].has_value()) << i;
    }
}

TEST(LinkModel, nothingPassesALinkThatIsDown) {
    zelrtc::link::LinkModel model(kSeed);
    model.setConditions(conditions("down"));
    EXPECT_FALSE(model.admit(kStart, kPacket));
    model.setConditions(conditions("down,up"));
    EXPECT_TRUE(model.admit(kStart, kPacket));
    EXPECT_EQ(1U, model.counters().whileDown);
    EXPECT_EQ(1U, model.counters().delivered);
}

TEST(LinkCommand, aWrongCommandChangesNothingAndIsNamed) {
    for (const char* wrong : {"loss", "loss 101", "loss -1", "loss x", "loss 5 x", "delay 5", "rate 5", "reorder 1",
                              "up 1", "upwards", "loss 5,bad"}) {
        zelrtc::link::Conditions changed;
        changed.lossPercent = 3;
        EXPECT_NE("", zelrtc::link::applyCommand(wrong, &changed)) << wrong;
        EXPECT_EQ(3, changed.lossPercent) << wrong;
        EXPECT_TRUE(changed.isUp) << wrong;
    }
}

}  // namespace
