#include "report.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <sstream>

namespace zelrtc::viewer {
namespace {

using nlohmann::ordered_json;

ordered_json orNull(const std::optional<double>& value) {
    return value ? ordered_json(std::round(*value * 10) / 10) : ordered_json(nullptr);
}

ordered_json orNull(const std::string& text) {
    return text.empty() ? ordered_json(nullptr) : ordered_json(text);
}

std::optional<double> percentile(std::vector<uint32_t> values, double share) {
    if (values.empty()) {
        return std::nullopt;
    }
    const auto rank = static_cast<std::ptrdiff_t>(share * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), values.begin() + rank, values.end());
    return values[static_cast<size_t>(rank)];
}

ordered_json statesAsJson(const std::vector<CallRecord::State>& states, const char* nameKey) {
    ordered_json list = ordered_json::array();
    for (const CallRecord::State& state : states) {
        list.push_back({{nameKey, state.name}, {"ms", orNull(state.ms)}});
    }
    return list;
}

ordered_json sizesAsJson(const std::vector<CallRecord::SizeChange>& sizes) {
    ordered_json list = ordered_json::array();
    for (const CallRecord::SizeChange& change : sizes) {
        list.push_back({{"width", change.size.width},
                        {"height", change.size.height},
                        {"ms", orNull(change.ms)},
                        {"keyFrame", change.keyFrame}});
    }
    return list;
}

ordered_json videoAsJson(const CallRecord& record) {
    const PictureSize size = record.sizes.empty() ? PictureSize{} : record.sizes.back().size;
    return {
        {"frames", record.frames},
        {"keyFrames", record.keyFrames},
        {"bytes", record.bytes},
        {"decoded", record.decoded},
        {"unreadable", record.unreadable},
        {"unreadableMs", record.unreadableMs},
        {"width", size.width},
        {"height", size.height},
        {"largestGapMs", orNull(record.largestGapMs)},
        {"ageMs", {{"p50", orNull(percentile(record.agesMs, 0.5))}, {"p95", orNull(percentile(record.agesMs, 0.95))}}},
        {"sizes", sizesAsJson(record.sizes)}};
}

ordered_json callAsJson(const CallRecord& record) {
    return {
        {"id", orNull(record.id)},
        {"failure", orNull(record.failure)},
        {"ended", orNull(record.ended)},
        {"ms",
         {{"answer", orNull(record.answerMs)},
          {"connected", orNull(record.connectedMs)},
          {"firstPacket", orNull(record.firstPacketMs)},
          {"firstFrameBegan", orNull(record.firstFrameBeganMs)},
          {"firstFrame", orNull(record.firstFrameMs)},
          {"firstDecoded", orNull(record.firstDecodedMs)},
          {"lastFrame", orNull(record.lastFrameMs)}}},
        {"states", statesAsJson(record.states, "state")},
        {"cameraStates", statesAsJson(record.cameraStates, "state")},
        {"streams", statesAsJson(record.streamsAsked, "stream")},
        {"video", videoAsJson(record)},
        {"audio",
         {{"received", record.audioReceived},
          {"rms", record.audioRms},
          {"sent", record.audioSent},
          {"heard", record.audioHeard}}},
        {"passedOn",
         {{"video", record.videoPassedOn}, {"audio", record.audioPassedOn}, {"keyFramesAsked", record.keyFramesAsked}}},
        {"transport",
         {{"local", orNull(record.transport.localType)},
          {"remote", orNull(record.transport.remoteType)},
          {"protocol", orNull(record.transport.protocol)},
          {"packetsReceived", record.transport.packetsReceived},
          {"packetsLost", record.transport.packetsLost}}}};
}

std::string milliseconds(const std::optional<double>& value) {
    if (!value) {
        return "never";
    }
    char text[32];
    std::snprintf(text, sizeof text, "%.0f ms", *value);
    return text;
}

std::string statesAsText(const std::vector<CallRecord::State>& states) {
    std::string text;
    for (const CallRecord::State& state : states) {
        text += (text.empty() ? "" : ", ") + state.name + " at " + milliseconds(state.ms);
    }
    return text;
}

void printPicture(std::ostream& out, const CallRecord& record) {
    out << "  picture      " << record.frames << " frames, " << record.keyFrames << " key frames, " << record.bytes
        << " bytes, " << record.decoded << " decoded, " << record.unreadable << " unreadable\n";
    for (const CallRecord::SizeChange& change : record.sizes) {
        out << "               " << change.size.width << "x" << change.size.height << " from "
            << milliseconds(change.ms) << (change.keyFrame ? ", a key frame" : ", not a key frame") << '\n';
    }
    out << "  frame age    median " << milliseconds(percentile(record.agesMs, 0.5)) << ", 95 % "
        << milliseconds(percentile(record.agesMs, 0.95)) << ", largest gap " << milliseconds(record.largestGapMs)
        << '\n';
}

void printCall(std::ostream& out, const CallRecord& record) {
    out << "call " << (record.id.empty() ? "(not placed)" : record.id) << '\n'
        << "  states       " << statesAsText(record.states) << '\n'
        << "  camera says  " << statesAsText(record.cameraStates) << '\n'
        << "  answer       " << milliseconds(record.answerMs) << '\n'
        << "  connected    " << milliseconds(record.connectedMs) << '\n'
        << "  first frame  " << milliseconds(record.firstFrameMs) << ", decoded " << milliseconds(record.firstDecodedMs)
        << '\n';
    printPicture(out, record);
    out << "  audio        " << record.audioReceived << " packets received, rms " << record.audioRms << "; "
        << record.audioSent << " sent, " << record.audioHeard << " heard by the camera\n"
        << "  transport    " << record.transport.localType << " to " << record.transport.remoteType << ' '
        << record.transport.protocol << ", " << record.transport.packetsLost << " of "
        << record.transport.packetsReceived << " packets lost\n";
    if (record.videoPassedOn > 0) {
        out << "  passed on    " << record.videoPassedOn << " packets of video, " << record.audioPassedOn
            << " of audio; " << record.keyFramesAsked << " key frames asked for\n";
    }
    if (!record.ended.empty()) {
        out << "  ended        " << record.ended << '\n';
    }
    if (!record.failure.empty()) {
        out << "  failure      " << record.failure << '\n';
    }
}

bool broughtPictureAndSound(const CallRecord& record, const Options& options) {
    const uint64_t pictures = options.decode ? record.decoded : record.frames;
    return pictures > 0 && record.audioReceived > 0;
}

}  // namespace

std::string reportAsJson(const std::vector<CallRecord>& records, const Options& options) {
    ordered_json calls = ordered_json::array();
    for (const CallRecord& record : records) {
        calls.push_back(callAsJson(record));
    }
    return ordered_json{{"ok", exitStatus(records, options) == 0}, {"calls", calls}}.dump() + "\n";
}

std::string reportAsText(const std::vector<CallRecord>& records, const Options& options) {
    std::ostringstream out;
    for (const CallRecord& record : records) {
        printCall(out, record);
    }
    out << (exitStatus(records, options) == 0 ? "ok\n" : "not ok\n");
    return out.str();
}

int exitStatus(const std::vector<CallRecord>& records, const Options& options) {
    int status = 0;
    for (const CallRecord& record : records) {
        if (record.httpFailed) {
            return 2;
        }
        const bool leftOnPurpose = options.abortPoint != AbortPoint::kNever && record.failure.empty();
        if (!leftOnPurpose && !broughtPictureAndSound(record, options)) {
            status = 1;
        }
    }
    return status;
}

}  // namespace zelrtc::viewer
