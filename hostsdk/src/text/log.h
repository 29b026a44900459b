// Writes to the log through the hook, which the application may have replaced.
#ifndef HOSTSDK_SRC_TEXT_LOG_H
#define HOSTSDK_SRC_TEXT_LOG_H

#include <com/amazonaws/kinesis/video/common/PlatformUtils.h>

#include <string>

namespace zelrtc::hostsdk {

inline void writeLog(UINT32 level, const std::string& text) {
    static char tag[] = "hostsdk";
    static char format[] = "%s";
    globalCustomLogPrintFn(level, tag, format, text.c_str());
}

inline void logDetail(const std::string& text) {
    writeLog(LOG_LEVEL_DEBUG, text);
}

inline void logWarning(const std::string& text) {
    writeLog(LOG_LEVEL_WARN, text);
}

inline void logError(const std::string& text) {
    writeLog(LOG_LEVEL_ERROR, text);
}

}  // namespace zelrtc::hostsdk

#endif
