/** @file page.h The viewer page, built into the program. */
#ifndef CAMERA_PAGE_H
#define CAMERA_PAGE_H

#include <string_view>

namespace zelrtc::camera {

/** The page as UTF-8 HTML. */
extern const std::string_view page;

}  // namespace zelrtc::camera

#endif
