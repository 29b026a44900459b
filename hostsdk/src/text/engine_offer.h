/** @file engine_offer.h The offer that the engine gets in place of the viewer's. */
#ifndef HOSTSDK_SRC_TEXT_ENGINE_OFFER_H
#define HOSTSDK_SRC_TEXT_ENGINE_OFFER_H

#include <string>

#include "text/answer_plan.h"

namespace zelrtc::hostsdk {

// Only what is served, in words that the engine takes: all in one group or none in any, the transport's attributes in
// each section, nothing that it does not need. The m-lines are the plan's `served`, in their order.
std::string engineOffer(const AnswerPlan& plan);

}  // namespace zelrtc::hostsdk

#endif
