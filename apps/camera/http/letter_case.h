/** @file letter_case.h For names whose case does not matter. */
#ifndef APPS_CAMERA_HTTP_LETTER_CASE_H
#define APPS_CAMERA_HTTP_LETTER_CASE_H

#include <string>

namespace zelrtc::camera {

/** The text with its ASCII letters in lower case. */
inline std::string lowerCase(std::string text) {
    for (char& letter : text) {
        if (letter >= 'A' && letter <= 'Z') {
            letter = static_cast<char>(letter - 'A' + 'a');
        }
    }
    return text;
}

}  // namespace zelrtc::camera

#endif
