/** @file h264_check.h What is wrong with a stream, in words, where viewers would only show black. */
#ifndef APPS_CAMERA_MEDIA_H264_CHECK_H
#define APPS_CAMERA_MEDIA_H264_CHECK_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>

namespace zelrtc::camera {

/** Reads along. One thread at a time. */
class H264Check {
public:
    H264Check();
    ~H264Check();
    H264Check(const H264Check&) = delete;
    H264Check& operator=(const H264Check&) = delete;

    /**
     * @param data whole NAL units in Annex B form, from the start of the stream on
     * @return what is wrong and was not said before
     */
    std::optional<std::string> complaint(const uint8_t* data, size_t size);

private:
    struct Parser;

    std::optional<std::string> firstTime(const std::string& complaint);
    std::string complaintOfUnit(void* unit);
    std::string complaintOfSlice(void* unit, bool isKeyFrame);

    std::unique_ptr<Parser> parser_;
    std::set<std::string> said_;
};

/** @return why a file shows nothing; nothing if it shows something, as far as its first megabyte tells */
std::optional<std::string> whyFileShowsNothing(const std::string& path);

}  // namespace zelrtc::camera

#endif
