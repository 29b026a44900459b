#include "zelwebrtc.h"

ZelRtcSessionConfig::ZelRtcSessionConfig() : isAlexaCall(false), trickleIce(false), relayOnly(false) {
}
