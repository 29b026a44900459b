/** @file link_command.h Commands that change the conditions of a link. */
#ifndef TESTS_NETWORK_LINK_LINK_COMMAND_H
#define TESTS_NETWORK_LINK_LINK_COMMAND_H

#include <string>

#include "link_model.h"

namespace zelrtc::link {

/**
 * Changes conditions by one line of commands: "up", "down", "clear", "loss PERCENT", "delay MS JITTER_MS",
 * "reorder PERCENT HOLD_MS", "rate KBIT QUEUE_BYTES". A line may have several, separated by commas.
 * @return an empty text, or what is wrong with the line, which then changes nothing
 */
std::string applyCommand(const std::string& line, Conditions* conditions);

}  // namespace zelrtc::link

#endif
