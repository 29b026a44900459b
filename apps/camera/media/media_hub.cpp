#include "media/media_hub.h"

#include <algorithm>
#include <iterator>

namespace zelrtc::camera {

namespace {

constexpr std::array<VideoFormat, kVideoStreams> kFormats = {{{1280, 720, 2000}, {640, 360, 800}, {320, 180, 300}}};

}  // namespace

MediaHub::MediaHub(const std::array<VideoInput, kVideoStreams>& inputs, std::vector<uint8_t> audioLoop)
    : audio_(std::move(audioLoop), [this](const AudioFrame& frame) {
          for (const Viewer& viewer : allViewers()) {
              viewer.sink->onAudio(frame);
          }
      }) {
    for (int stream = 0; stream < kVideoStreams; ++stream) {
        const auto number = static_cast<size_t>(stream);
        video_.at(number) = std::make_unique<VideoSource>(stream, inputs.at(number), kFormats.at(number),
                                                          [this](const AccessUnit& unit) { deliver(unit); });
    }
}

// Viewers of an encoder that makes a key frame when one comes need no group.
void MediaHub::deliver(const AccessUnit& unit) {
    const auto stream = static_cast<size_t>(unit.stream);
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
        PictureGroup& group = groups_.at(static_cast<size_t>(stream));
        if (viewersOf(stream).empty()) {
            source.stop();
            group.startAnew();
        } else {
            source.start();
        }
    }
    if (allViewers().empty()) {
        audio_.stop();
    } else {
        audio_.start();
    }
}

}  // namespace zelrtc::camera
