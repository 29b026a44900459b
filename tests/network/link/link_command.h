/** @file link_command.h How the conditions of a link are changed by words. */
#ifndef TESTS_NETWORK_LINK_LINK_COMMAND_H
#define TESTS_NETWORK_LINK_LINK_COMMAND_H

#include <string>

#include "link_model.h"

namespace zelrtc::link {

/**
 * Changes conditions by one line of words: "up", "down", "clear", "loss PERCENT", "delay MS JITTER_MS",
 * "reorder PERCENT HOLD_MS", "rate KBIT QUEUE_BYTES". Several may stand on a line, separated by commas.
 * @return an empty text, or what is wrong with the line; the conditions are then unchanged
 */
std::string applyCommand(const std::string& line, Conditions* conditions);

}  // namespace zelrtc::link

#endif
