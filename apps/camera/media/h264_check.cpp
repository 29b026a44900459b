#include "media/h264_check.h"

#include <gst/codecparsers/gsth264parser.h>
#include <gst/gst.h>

#include <fstream>
#include <vector>

namespace zelrtc::camera {

namespace {

constexpr size_t kReadOfFile = size_t{1024} * 1024;
constexpr size_t kMostUnitsOfLook = 64;

const char* const kNoStartCodes =
    "it is not H.264 in Annex B form: there are no start codes, as in AVC form and in MP4 files";
const char* const kNoParameterSets =
    "a key frame comes without parameter sets (SPS and PPS) before it: viewers cannot decode it";
const char* const kBFrames = "it has B frames, which viewers show in the wrong order or not at all";
const char* const kNoBaseline = "its profile is not baseline, which is what is agreed with viewers: some show nothing";

// The last one has no start code behind it.
bool isUnit(GstH264ParserResult found) {
    return found == GST_H264_PARSER_OK || found == GST_H264_PARSER_NO_NAL_END;
}

}  // namespace

struct H264Check::Parser {
    Parser() : nal(gst_h264_nal_parser_new()) {
    }
    ~Parser() {
        gst_h264_nal_parser_free(nal);
    }
    Parser(const Parser&) = delete;
    Parser& operator=(const Parser&) = delete;

    GstH264NalParser* nal;
};

H264Check::H264Check() : parser_(std::make_unique<Parser>()) {
}

H264Check::~H264Check() = default;

std::optional<std::string> H264Check::complaint(const uint8_t* data, size_t size) {
    GstH264NalUnit unit = {};
    auto found = gst_h264_parser_identify_nalu(parser_->nal, data, 0, size, &unit);
    if (found == GST_H264_PARSER_NO_NAL) {
        return firstTime(kNoStartCodes);
    }
    std::optional<std::string> wrong;
    // Every unit is read, because later ones are understood by it.
    for (size_t units = 0; isUnit(found) && units < kMostUnitsOfLook; ++units) {
        const std::string ofUnit = complaintOfUnit(&unit);
        if (!wrong && !ofUnit.empty()) {
            wrong = firstTime(ofUnit);
        }
        found = gst_h264_parser_identify_nalu(parser_->nal, data, unit.offset + unit.size, size, &unit);
    }
    return wrong;
}

std::optional<std::string> H264Check::firstTime(const std::string& complaint) {
    return said_.insert(complaint).second ? std::optional(complaint) : std::nullopt;
}

std::string H264Check::complaintOfUnit(void* unit) {
    auto* nalUnit = static_cast<GstH264NalUnit*>(unit);
    switch (nalUnit->type) {
        case GST_H264_NAL_SPS: {
            GstH264SPS sps;
            const bool isRead = gst_h264_parser_parse_sps(parser_->nal, nalUnit, &sps) == GST_H264_PARSER_OK;
            const bool isBaseline = !isRead || sps.profile_idc == GST_H264_PROFILE_BASELINE;
            gst_h264_sps_clear(&sps);
            return isBaseline ? "" : kNoBaseline;
        }
        case GST_H264_NAL_PPS: {
            GstH264PPS pps;
            gst_h264_parser_parse_pps(parser_->nal, nalUnit, &pps);
            gst_h264_pps_clear(&pps);
            return "";
        }
        case GST_H264_NAL_SLICE:
            return complaintOfSlice(unit, false);
        case GST_H264_NAL_SLICE_IDR:
            return complaintOfSlice(unit, true);
        default:
            return "";
    }
}

std::string H264Check::complaintOfSlice(void* unit, bool isKeyFrame) {
    GstH264SliceHdr slice;
    const auto read =
        gst_h264_parser_parse_slice_hdr(parser_->nal, static_cast<GstH264NalUnit*>(unit), &slice, FALSE, FALSE);
    if (read == GST_H264_PARSER_BROKEN_LINK && isKeyFrame) {
        return kNoParameterSets;
    }
    return read == GST_H264_PARSER_OK && GST_H264_IS_B_SLICE(&slice) ? kBFrames : "";
}

std::optional<std::string> whyFileShowsNothing(const std::string& path) {
    gst_init(nullptr, nullptr);
    std::vector<char> start(kReadOfFile);
    std::ifstream file(path, std::ios::binary);
    file.read(start.data(), static_cast<std::streamsize>(start.size()));
    H264Check check;
    const auto first =
        check.complaint(reinterpret_cast<const uint8_t*>(start.data()), static_cast<size_t>(file.gcount()));
    return first == kNoStartCodes || first == kNoParameterSets ? first : std::nullopt;
}

}  // namespace zelrtc::camera
