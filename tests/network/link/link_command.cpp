#include "link_command.h"

#include <sstream>
#include <vector>

namespace zelrtc::link {

namespace {

constexpr double kMaxPercent = 100;
constexpr double kMaxMilliseconds = 3600000;
constexpr double kMaxKilobits = 10000000;
constexpr double kMaxQueueBytes = 1e9;

struct Command {
    std::string name;
    std::vector<double> values;
};

Duration milliseconds(double value) {
    return Duration(static_cast<int64_t>(value * 1e6));
}

bool isWithin(const std::vector<double>& values, size_t index, double maximum) {
    return values[index] >= 0 && values[index] <= maximum;
}

bool parse(const std::string& text, Command* command) {
    std::istringstream words(text);
    words >> command->name;
    double value = 0;
    while (words >> value) {
        command->values.push_back(value);
    }
    return words.eof();
}

bool applyPlain(const Command& command, Conditions* conditions) {
    if (!command.values.empty()) {
        return false;
    }
    if (command.name == "clear") {
        *conditions = Conditions();
        return true;
    }
    conditions->isUp = command.name == "up";
    return command.name == "up" || command.name == "down";
}

bool applyValues(const Command& command, Conditions* conditions) {
    const std::vector<double>& values = command.values;
    if (command.name == "loss" && values.size() == 1 && isWithin(values, 0, kMaxPercent)) {
        conditions->lossPercent = values[0];
        return true;
    }
    if (command.name == "delay" && values.size() == 2 && isWithin(values, 0, kMaxMilliseconds) &&
        isWithin(values, 1, kMaxMilliseconds)) {
        conditions->delay = milliseconds(values[0]);
        conditions->jitter = milliseconds(values[1]);
        return true;
    }
    if (command.name == "reorder" && values.size() == 2 && isWithin(values, 0, kMaxPercent) &&
        isWithin(values, 1, kMaxMilliseconds)) {
        conditions->reorderPercent = values[0];
        conditions->reorderHold = milliseconds(values[1]);
        return true;
    }
    if (command.name == "rate" && values.size() == 2 && isWithin(values, 0, kMaxKilobits) &&
        isWithin(values, 1, kMaxQueueBytes)) {
        conditions->rateBitsPerSecond = static_cast<uint64_t>(values[0] * 1000);
        conditions->queueBytes = static_cast<size_t>(values[1]);
        return true;
    }
    return false;
}

}  // namespace

std::string applyCommand(const std::string& line, Conditions* conditions) {
    Conditions changed = *conditions;
    std::istringstream parts(line);
    std::string part;
    while (std::getline(parts, part, ',')) {
        Command command;
        if (!parse(part, &command) || !(applyPlain(command, &changed) || applyValues(command, &changed))) {
            return "not a link command: " + part;
        }
    }
    *conditions = changed;
    return "";
}

}  // namespace zelrtc::link
