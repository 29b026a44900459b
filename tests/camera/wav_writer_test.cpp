#include "media/wav_writer.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace zelrtc::camera {
namespace {

using ::testing::ElementsAre;

class WavWriterTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_NE(mkdtemp(directory_.data()), nullptr);
    }
    void TearDown() override {
        std::filesystem::remove_all(directory_);
    }
    std::string path() const {
        return directory_ + "/call-1.wav";
    }
    std::vector<uint8_t> bytes() const {
        std::ifstream file(path(), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }
    uint32_t numberAt(size_t position) const {
        const auto file = bytes();
        uint32_t number = 0;
        for (size_t i = 4; i > 0; --i) {
            number = number << 8 | file.at(position + i - 1);
        }
        return number;
    }

private:
    std::string directory_ = (std::filesystem::temp_directory_path() / "camera-wav-XXXXXX").string();
};

TEST_F(WavWriterTest, AFreshFileIsAValidEmptyRecording) {
    const WavWriter writer(path());
    const auto file = bytes();
    ASSERT_EQ(file.size(), 44U);
    EXPECT_EQ(std::string(file.begin(), file.begin() + 4), "RIFF");
    EXPECT_EQ(std::string(file.begin() + 8, file.begin() + 16), "WAVEfmt ");
    EXPECT_EQ(numberAt(4), 36U);
    EXPECT_EQ(numberAt(24), 8000U);
    EXPECT_EQ(numberAt(40), 0U);
}

TEST_F(WavWriterTest, TheHeaderIsRightAfterEveryAppendWhileTheFileIsOpen) {
    WavWriter writer(path());
    ASSERT_TRUE(writer.append({1, -2}));
    EXPECT_EQ(numberAt(40), 4U);
    ASSERT_TRUE(writer.append({300}));
    EXPECT_EQ(numberAt(40), 6U);
    EXPECT_EQ(numberAt(4), 42U);
    const auto file = bytes();
    EXPECT_THAT(std::vector<uint8_t>(file.begin() + 44, file.end()), ElementsAre(1, 0, 0xfe, 0xff, 0x2c, 0x01));
}

TEST_F(WavWriterTest, OnlyTheOwnerCanReadARecording) {
    const WavWriter writer(path());
    using std::filesystem::perms;
    EXPECT_EQ(std::filesystem::status(path()).permissions(), perms::owner_read | perms::owner_write);
}

TEST_F(WavWriterTest, WhatIsThereAlreadyStaysAndTheRecordingGetsAnotherName) {
    std::ofstream(path()) << "kept";
    WavWriter second(path());
    const WavWriter third(path());
    ASSERT_TRUE(second.append({1}));
    const auto kept = bytes();
    EXPECT_EQ(std::string(kept.begin(), kept.end()), "kept");
    EXPECT_EQ(second.path(), path().substr(0, path().size() - 4) + "-2.wav");
    EXPECT_EQ(third.path(), path().substr(0, path().size() - 4) + "-3.wav");
    EXPECT_EQ(std::filesystem::file_size(second.path()), 46U);
}

TEST_F(WavWriterTest, ALinkIsNotFollowed) {
    std::filesystem::create_symlink(path() + ".target", path());
    const WavWriter writer(path());
    EXPECT_FALSE(std::filesystem::exists(path() + ".target"));
}

TEST_F(WavWriterTest, APathThatCannotBeWrittenIsReported) {
    EXPECT_THROW(WavWriter(path() + "/no/such/directory.wav"), std::runtime_error);
}

}  // namespace
}  // namespace zelrtc::camera
