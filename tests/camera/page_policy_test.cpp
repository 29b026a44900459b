#include "signalling/page_policy.h"

#include <gmock/gmock.h>

#include <string>

namespace zelrtc::camera {
namespace {

using ::testing::HasSubstr;

TEST(PagePolicy, LetsTheInlineScriptsAndStylesRunAsTheyAre) {
    const std::string policy =
        pagePolicy("<style>a{}</style><p>text</p><script type=\"module\">go();</script><script>x</script>");
    // The hash comes from: printf %s 'a{}' | openssl dgst -sha256 -binary | base64
    EXPECT_THAT(policy, HasSubstr("; style-src 'sha256-X1RutGBrXCt9KkSaXMK7tHftWiRscFHOhxsS8tv8hBk=';"));
    EXPECT_THAT(policy, HasSubstr("; script-src 'sha256-bYOqbsii8BMz1hC57p5sZG4K4cMuk6QQDiwupM2aRMM=' "
                                  "'sha256-LXEWQrcmsEQBYnyp+6wy9chTD7GQPMTbAiWHF5IaSIE=';"));
}

TEST(PagePolicy, LetsNothingElseRunAndNobodyFrameThePage) {
    const std::string policy = pagePolicy("<p>text</p>");
    EXPECT_THAT(policy, HasSubstr("default-src 'none'"));
    EXPECT_THAT(policy, HasSubstr("frame-ancestors 'none'"));
    EXPECT_THAT(policy, HasSubstr("base-uri 'none'"));
}

}  // namespace
}  // namespace zelrtc::camera
