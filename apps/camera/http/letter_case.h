/** @file letter_case.h For comparing names that ignore case. */
#ifndef APPS_CAMERA_HTTP_LETTER_CASE_H
#define APPS_CAMERA_HTTP_LETTER_CASE_H

#include <string>

namespace zelrtc::camera {

/** Lower-cases ASCII letters, whatever the locale. */
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
