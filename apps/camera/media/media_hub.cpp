#include "media/media_hub.h"

#include <algorithm>
#include <iterator>

namespace zelrtc::camera {

namespace {

constexpr std::array<VideoFormat, kVideoStreams> kFormats = {{{1280, 720, 2000}, {640, 360, 800}, {320, 180, 300}}};

// An IP camera that is unplugged says nothing.
std::vector<RestartPlan> plansFor(const std::array<VideoInput, kVideoStreams>& inputs) {
    std::vector<RestartPlan> plans;
    std::transform(inputs.begin(), inputs.end(), std::back_inserter(plans),
                   [](const VideoInput& input) { return RestartPlan(input.kind == VideoInput::Kind::kRtsp); });
    return plans;
}

}  // namespace

MediaHub::MediaHub(const std::array<VideoInput, kVideoStreams>& inputs, std::vector<uint8_t> audioLoop)
    : audio_(std::move(audioLoop), [this](const AudioFrame& frame) { deliverLoop(frame); }),
      keeper_(
          plansFor(inputs), [this](int stream) { restart(stream); },
          [this](int stream, const SourceState& state) { tell(stream, state); }) {
    for (int stream = 0; stream < kVideoStreams; ++stream) {
        const auto number = static_cast<size_t>(stream);
        video_.at(number) =
            std::make_unique<VideoSource>(stream, inputs.at(number), kFormats.at(number), sinksFor(stream));
    }
    const std::lock_guard<std::mutex> lock(sourcesMutex_);
    runWhatIsWanted();
}

MediaHub::~MediaHub() {
    const std::lock_guard<std::mutex> lock(sourcesMutex_);
    isClosing_ = true;
    for (const auto& source : video_) {
        source->stop();
    }
}

VideoSource::Sinks MediaHub::sinksFor(int stream) {
    return {[this](const AccessUnit& unit) { deliver(unit); },
            [this, stream](const AudioFrame& frame) { deliverSound(stream, frame); },
            [this, stream](const std::string& reason) { keeper_.failed(stream, reason); },
            [this, stream](const std::string& complaint) { keeper_.complain(stream, complaint); }};
}

// Viewers of an encoder that makes a key frame when one comes need no group.
void MediaHub::deliver(const AccessUnit& unit) {
    const auto stream = static_cast<size_t>(unit.stream);
    keeper_.delivered(unit.stream);
    if (video_.at(stream)->makesKeyFrames()) {
        for (const Viewer& viewer : viewersOf(unit.stream)) {
            viewer.sink->onVideo(unit);
        }
        return;
    }
    const auto kept = groups_.at(stream).add(unit);
    for (const Viewer& viewer : viewersOf(unit.stream)) {
        viewer.catchUp->onUnit(kept, groups_.at(stream), *viewer.sink);
    }
}

void MediaHub::deliverSound(int stream, const AudioFrame& frame) {
    hasSound_.at(static_cast<size_t>(stream)) = true;
    for (const Viewer& viewer : viewersOf(stream)) {
        viewer.sink->onAudio(frame);
    }
}

void MediaHub::deliverLoop(const AudioFrame& frame) {
    const auto lacksSound = [this](const Viewer& viewer) { return !hasSound_.at(static_cast<size_t>(viewer.stream)); };
    for (const Viewer& viewer : viewersWhere(lacksSound)) {
        viewer.sink->onAudio(frame);
    }
}

void MediaHub::tell(int stream, const SourceState& state) {
    for (const Viewer& viewer : viewersOf(stream)) {
        viewer.sink->onSource(stream, state);
    }
}

void MediaHub::attach(const std::shared_ptr<FrameSink>& sink, int stream) {
    const std::lock_guard<std::mutex> sourcesLock(sourcesMutex_);
    {
        const std::lock_guard<std::mutex> lock(viewersMutex_);
        const auto known =
            std::find_if(viewers_.begin(), viewers_.end(), [&](const Viewer& viewer) { return viewer.sink == sink; });
        if (known != viewers_.end()) {
            *known = {sink, stream, std::make_shared<CatchUp>()};
        } else {
            viewers_.push_back({sink, stream, std::make_shared<CatchUp>()});
        }
    }
    runWhatIsWanted();
}

void MediaHub::detach(const std::shared_ptr<FrameSink>& sink) {
    const std::lock_guard<std::mutex> sourcesLock(sourcesMutex_);
    {
        const std::lock_guard<std::mutex> lock(viewersMutex_);
        viewers_.erase(
            std::remove_if(viewers_.begin(), viewers_.end(), [&](const Viewer& viewer) { return viewer.sink == sink; }),
            viewers_.end());
    }
    runWhatIsWanted();
}

void MediaHub::requestKeyFrame(int stream) {
    if (!groups_.at(static_cast<size_t>(stream)).isAtHand()) {
        video_.at(static_cast<size_t>(stream))->requestKeyFrame();
    }
}

int MediaHub::runningEncoders() const {
    return static_cast<int>(
        std::count_if(video_.begin(), video_.end(), [](const auto& source) { return source->isRunning(); }));
}

template <typename Condition>
MediaHub::Viewers MediaHub::viewersWhere(Condition condition) {
    const std::lock_guard<std::mutex> lock(viewersMutex_);
    Viewers found;
    std::copy_if(viewers_.begin(), viewers_.end(), std::back_inserter(found), condition);
    return found;
}

MediaHub::Viewers MediaHub::viewersOf(int stream) {
    return viewersWhere([=](const Viewer& viewer) { return viewer.stream == stream; });
}

MediaHub::Viewers MediaHub::allViewers() {
    return viewersWhere([](const Viewer&) { return true; });
}

void MediaHub::runWhatIsWanted() {
    for (int stream = 0; stream < kVideoStreams; ++stream) {
        VideoSource& source = *video_.at(static_cast<size_t>(stream));
        if (!isWanted(stream)) {
            source.stop();
            keeper_.stopped(stream);
            groups_.at(static_cast<size_t>(stream)).startAnew();
        } else if (!source.isRunning()) {
            start(stream);
        }
    }
    if (allViewers().empty()) {
        audio_.stop();
    } else {
        audio_.start();
    }
}

void MediaHub::start(int stream) {
    groups_.at(static_cast<size_t>(stream)).startAnew();
    keeper_.started(stream);
    if (!video_.at(static_cast<size_t>(stream))->start()) {
        keeper_.failed(stream, "it cannot be started");
    }
}

void MediaHub::restart(int stream) {
    const std::lock_guard<std::mutex> lock(sourcesMutex_);
    if (isWanted(stream)) {
        video_.at(static_cast<size_t>(stream))->stop();
        start(stream);
    }
}

bool MediaHub::isWanted(int stream) {
    return !isClosing_ && (video_.at(static_cast<size_t>(stream))->runsAlways() || !viewersOf(stream).empty());
}

}  // namespace zelrtc::camera
