#include "text/answer_plan.h"

#include <algorithm>
#include <array>

#include "text/media_direction.h"

namespace zelrtc::hostsdk {

namespace {

constexpr std::array<const char*, 4> kVideoFeedback{"nack", "nack pli", "ccm fir", "goog-remb"};

const char* kindOf(RTC_CODEC codec) {
    return codec == RTC_CODEC_MULAW ? "audio" : "video";
}

// The feedback that both sides know; "*" stands for every format (RFC 4585).
std::vector<std::string> commonFeedback(const Section& section, const PayloadFormat& format) {
    std::vector<std::string> common;
    const std::string own = std::to_string(format.payloadType) + " ";
    const std::vector<std::string> offered = section.attributes.values("rtcp-fb");
    for (const char* const name : kVideoFeedback) {
        const bool isOffered = std::any_of(offered.begin(), offered.end(), [&](const std::string& value) {
            return value == own + name || value == std::string("* ") + name;
        });
        if (isOffered && section.kind == "video") {
            common.emplace_back(name);
        }
    }
    return common;
}

class Planner {
public:
    Planner(const SessionDescription& offer, const std::vector<AnsweringTrack>& tracks)
        : offer_(offer), tracks_(tracks), isTaken_(tracks.size(), false), offeredGroups_(bundleGroups(offer)) {
    }

    std::optional<AnswerPlan> plan(std::string* error);

private:
    void lookAt(size_t index);
    bool takeFormat(PlannedSection* planned, RTC_CODEC codec);
    void rejectWithoutMultiplexing();
    void rejectOutsideOfOneGroup();
    void rejectIdleWithoutTransport();
    void collectGroups();
    bool addTransports(std::string* error);
    std::optional<size_t> groupOf(size_t section) const;
    bool isMultiplexed(size_t section) const;
    bool isServed(size_t section) const;
    void reject(size_t section, const std::string& reason);
    std::string reasons() const;

    const SessionDescription& offer_;
    const std::vector<AnsweringTrack>& tracks_;
    std::vector<bool> isTaken_;
    std::vector<std::vector<size_t>> offeredGroups_;
    AnswerPlan plan_;
};

std::optional<size_t> Planner::groupOf(size_t section) const {
    for (size_t i = 0; i < offeredGroups_.size(); i++) {
        const std::vector<size_t>& group = offeredGroups_[i];
        if (std::find(group.begin(), group.end(), section) != group.end()) {
            return i;
        }
    }
    return std::nullopt;
}

bool Planner::isServed(size_t section) const {
    return plan_.sections[section].outcome == Outcome::kServed;
}

void Planner::reject(size_t section, const std::string& reason) {
    plan_.sections[section].outcome = Outcome::kRejected;
    plan_.sections[section].reason = reason;
}

bool Planner::takeFormat(PlannedSection* planned, RTC_CODEC codec) {
    const std::optional<PayloadFormat> format = chooseFormat(planned->offered, codec, &planned->reason);
    if (!format) {
        return false;
    }
    planned->format = *format;
    planned->parameters = answeredParameters(*format, codec);
    planned->feedback = commonFeedback(planned->offered, *format);
    return true;
}

void Planner::lookAt(size_t index) {
    PlannedSection& planned = plan_.sections[index];
    if (planned.offered.port == 0 && !(isBundleOnly(planned.offered) && groupOf(index))) {
        planned.reason = "the offer rejects it";
        return;
    }
    planned.reason = "nothing here serves it";
    for (size_t track = 0; track < tracks_.size(); track++) {
        if (planned.offered.kind != kindOf(tracks_[track].codec) || !takeFormat(&planned, tracks_[track].codec)) {
            continue;
        }
        if (!isTaken_[track]) {
            isTaken_[track] = true;
            planned.outcome = Outcome::kServed;
            planned.track = track;
            planned.streamId = tracks_[track].streamId;
            planned.trackId = tracks_[track].trackId;
            planned.direction = answerDirection(offeredDirection(offer_, planned.offered), tracks_[track].direction);
            return;
        }
        planned.outcome = Outcome::kIdle;
        planned.reason = "another section of its kind is served";
    }
}

// In a group one section speaks for all.
bool Planner::isMultiplexed(size_t section) const {
    const std::optional<size_t> group = groupOf(section);
    const std::vector<size_t> members = group ? offeredGroups_[*group] : std::vector<size_t>{section};
    return std::any_of(members.begin(), members.end(),
                       [this](size_t member) { return offer_.sections[member].attributes.has("rtcp-mux"); });
}

// The engine has one port for RTP and RTCP.
void Planner::rejectWithoutMultiplexing() {
    for (size_t i = 0; i < plan_.sections.size(); i++) {
        if (isServed(i) && !isMultiplexed(i)) {
            reject(i, "it has no a=rtcp-mux, and RTP and RTCP share a port here");
        }
    }
}

// The engine bundles everything or nothing.
void Planner::rejectOutsideOfOneGroup() {
    std::vector<size_t> served;
    for (size_t i = 0; i < plan_.sections.size(); i++) {
        if (isServed(i)) {
            served.push_back(i);
        }
    }
    const bool anyShare = std::any_of(served.begin(), served.end(), [&](size_t one) {
        return std::any_of(served.begin(), served.end(), [&](size_t other) {
            return one != other && groupOf(one) && groupOf(one) == groupOf(other);
        });
    });
    for (const size_t section : served) {
        if (anyShare && groupOf(section) != groupOf(served.front())) {
            reject(section, "it stands outside of the group of what is served");
        }
    }
}

void Planner::rejectIdleWithoutTransport() {
    for (size_t i = 0; i < plan_.sections.size(); i++) {
        if (plan_.sections[i].outcome != Outcome::kIdle) {
            continue;
        }
        const std::optional<size_t> group = groupOf(i);
        const bool hasTransport = group && std::any_of(offeredGroups_[*group].begin(), offeredGroups_[*group].end(),
                                                       [this](size_t member) { return isServed(member); });
        if (!hasTransport) {
            reject(i, plan_.sections[i].reason + " and it has no transport in common with that");
        }
    }
}

void Planner::collectGroups() {
    for (const std::vector<size_t>& offered : offeredGroups_) {
        std::vector<size_t> group;
        for (const size_t section : offered) {
            if (plan_.sections[section].outcome != Outcome::kRejected) {
                group.push_back(section);
            }
        }
        // The first that is served and has a transport of its own stands for all (RFC 9143).
        const auto first = std::find_if(group.begin(), group.end(), [this](size_t section) {
            return isServed(section) && !isBundleOnly(offer_.sections[section]);
        });
        if (first != group.end()) {
            std::rotate(group.begin(), first, first + 1);
        }
        if (!group.empty()) {
            plan_.groups.push_back(group);
        }
    }
}

bool Planner::addTransports(std::string* error) {
    std::vector<size_t> carriers;
    for (const size_t section : plan_.served) {
        const auto group = std::find_if(plan_.groups.begin(), plan_.groups.end(), [section](const auto& members) {
            return std::find(members.begin(), members.end(), section) != members.end();
        });
        const size_t carrier = group == plan_.groups.end() ? section : group->front();
        if (std::find(carriers.begin(), carriers.end(), carrier) == carriers.end()) {
            carriers.push_back(carrier);
        }
    }
    // NOLINTNEXTLINE(readability-use-anyofallof): the loop fills the plan as it goes
    for (const size_t carrier : carriers) {
        const std::optional<Transport> transport = transportOf(offer_, carrier, error);
        if (!transport) {
            return false;
        }
        plan_.transports.push_back(*transport);
    }
    return true;
}

std::string Planner::reasons() const {
    std::string text = "no section can be served";
    for (const PlannedSection& planned : plan_.sections) {
        text += "; " + planned.offered.name() + ": " + planned.reason;
    }
    return text;
}

std::optional<AnswerPlan> Planner::plan(std::string* error) {
    *error = checkMids(offer_);
    if (!error->empty()) {
        return std::nullopt;
    }
    plan_.isIceLite = offer_.session.has("ice-lite");
    for (size_t i = 0; i < offer_.sections.size(); i++) {
        plan_.sections.emplace_back();
        plan_.sections.back().offered = offer_.sections[i];
        lookAt(i);
    }
    rejectWithoutMultiplexing();
    rejectOutsideOfOneGroup();
    rejectIdleWithoutTransport();
    for (size_t i = 0; i < plan_.sections.size(); i++) {
        if (isServed(i)) {
            plan_.served.push_back(i);
        }
    }
    if (plan_.served.empty()) {
        *error = reasons();
        return std::nullopt;
    }
    collectGroups();
    return addTransports(error) ? std::optional<AnswerPlan>(plan_) : std::nullopt;
}

}  // namespace

size_t AnswerPlan::engineLineOf(size_t section) const {
    const auto own = std::find(served.begin(), served.end(), section);
    if (own != served.end()) {
        return static_cast<size_t>(own - served.begin());
    }
    for (const std::vector<size_t>& group : groups) {
        if (std::find(group.begin(), group.end(), section) != group.end()) {
            return engineLineOf(group.front());
        }
    }
    return 0;
}

const Transport& AnswerPlan::transportOfEngineLine(size_t line) const {
    return transports[std::min(line, transports.size() - 1)];
}

std::optional<AnswerPlan> planAnswer(const SessionDescription& offer, const std::vector<AnsweringTrack>& tracks,
                                     std::string* error) {
    return Planner(offer, tracks).plan(error);
}

}  // namespace zelrtc::hostsdk
