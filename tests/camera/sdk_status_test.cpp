#include "signalling/sdk_status.h"

#include <gmock/gmock.h>

namespace zelrtc::camera {
namespace {

using ::testing::HasSubstr;

int httpStatusOfOffer(uint32_t status) {
    return errorOfOffer("the offer was refused", static_cast<int>(status)).httpStatus();
}

TEST(SdkStatusTest, WhatIsWrongWithAnOfferIsTheViewersMistake) {
    for (const uint32_t status :
         {0x00000002U, 0x00000005U, 0x1500000cU, 0x40000002U, 0x40000004U, 0x40000005U, 0x55000003U, 0x55000004U,
          0x55000005U, 0x55000006U, 0x55000008U, 0x55000009U, 0x5600000fU, 0x5e000001U}) {
        EXPECT_EQ(httpStatusOfOffer(status) / 100, 4) << std::hex << status;
    }
}

TEST(SdkStatusTest, SoIsWhatOnlyTheTextOfAnOfferCanCause) {
    for (const uint32_t status : {0x40000099U, 0x55000099U, 0x56000099U}) {
        EXPECT_EQ(httpStatusOfOffer(status), 400) << std::hex << status;
    }
}

TEST(SdkStatusTest, WhatTheCameraLacksIsNot) {
    EXPECT_EQ(httpStatusOfOffer(0x00000004), 503);
    EXPECT_EQ(httpStatusOfOffer(0x5a00001d), 503);
    EXPECT_EQ(httpStatusOfOffer(0x5a000007), 500);
    EXPECT_EQ(httpStatusOfOffer(0x0000000e), 501);
    EXPECT_EQ(httpStatusOfOffer(0x12345678), 500);
    EXPECT_EQ(errorOfStatus("the candidate was refused", 0x55000099).httpStatus(), 500);
}

TEST(SdkStatusTest, TheReasonNamesTheStatus) {
    const HttpError known = errorOfOffer("the offer was refused", 0x55000009);
    EXPECT_THAT(known.what(), HasSubstr("fingerprint"));
    EXPECT_THAT(known.what(), HasSubstr("0x55000009"));
    EXPECT_THAT(errorOfOffer("the offer was refused", 0x55000099).what(), HasSubstr("0x55000099"));
}

}  // namespace
}  // namespace zelrtc::camera
