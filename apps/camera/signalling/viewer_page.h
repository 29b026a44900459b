/** @file viewer_page.h The viewer page, built into the program. */
#ifndef APPS_CAMERA_SIGNALLING_VIEWER_PAGE_H
#define APPS_CAMERA_SIGNALLING_VIEWER_PAGE_H

#include <string_view>

namespace zelrtc::camera {

/** The page as UTF-8 HTML. */
extern const std::string_view kPage;

}  // namespace zelrtc::camera

#endif
