#include "media/media_hub.h"

#include <algorithm>

namespace zelrtc::camera {

namespace {

constexpr std::array<VideoFormat, kVideoStreams> kFormats = {{{1280, 720, 2000}, {640, 360, 800}, {320, 180, 300}}};

}  // namespace

MediaHub::MediaHub(const std::array<VideoInput, kVideoStreams>& inputs, std::vector<uint8_t> audioLoop)
    : audio_(std::move(audioLoop), [this](const AudioFrame& frame) {
          for (const auto& sink : allSinks()) {
              sink->onAudio(frame);
          }
      }) {
    for (int stream = 0; stream < kVideoStreams; ++stream) {
        const auto deliver = [this](const AccessUnit& unit) {
            for (const auto& sink : sinksOf(unit.stream)) {
                sink->onVideo(unit);
            }
        };
        const auto number = static_cast<size_t>(stream);
        video_.at(number) = std::make_unique<VideoSource>(stream, inputs.at(number), kFormats.at(number), deliver);
    }
}

void MediaHub::attach(const std::shared_ptr<FrameSink>& sink, int stream) {
    const std::lock_guard<std::mutex> sourcesLock(sourcesMutex_);
    {
        const std::lock_guard<std::mutex> lock(viewersMutex_);
        const auto known =
            std::find_if(viewers_.begin(), viewers_.end(), [&](const Viewer& viewer) { return viewer.sink == sink; });
        if (known != viewers_.end()) {
            known->stream = stream;
        } else {
            viewers_.push_back({sink, stream});
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
    video_.at(static_cast<size_t>(stream))->requestKeyFrame();
}

int MediaHub::runningEncoders() const {
    return static_cast<int>(
        std::count_if(video_.begin(), video_.end(), [](const auto& source) { return source->isRunning(); }));
}

template <typename Condition>
MediaHub::Sinks MediaHub::sinksWhere(Condition condition) {
    const std::lock_guard<std::mutex> lock(viewersMutex_);
    Sinks sinks;
    for (const Viewer& viewer : viewers_) {
        if (condition(viewer)) {
            sinks.push_back(viewer.sink);
        }
    }
    return sinks;
}

MediaHub::Sinks MediaHub::sinksOf(int stream) {
    return sinksWhere([=](const Viewer& viewer) { return viewer.stream == stream; });
}

MediaHub::Sinks MediaHub::allSinks() {
    return sinksWhere([](const Viewer&) { return true; });
}

void MediaHub::runWhatIsWanted() {
    for (int stream = 0; stream < kVideoStreams; ++stream) {
        VideoSource& source = *video_.at(static_cast<size_t>(stream));
        if (sinksOf(stream).empty()) {
            source.stop();
        } else {
            source.start();
        }
    }
    if (allSinks().empty()) {
        audio_.stop();
    } else {
        audio_.start();
    }
}

}  // namespace zelrtc::camera
