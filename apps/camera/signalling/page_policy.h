/** @file page_policy.h What the viewer page may do in a browser. */
#ifndef APPS_CAMERA_SIGNALLING_PAGE_POLICY_H
#define APPS_CAMERA_SIGNALLING_PAGE_POLICY_H

#include <string>
#include <string_view>

namespace zelrtc::camera {

/**
 * The Content-Security-Policy of a page: its own inline scripts and styles run, as their hashes say, and nothing else;
 * it talks to its camera only; nobody may show it in a frame.
 */
std::string pagePolicy(std::string_view page);

}  // namespace zelrtc::camera

#endif
