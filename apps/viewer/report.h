/** @file report.h What the program prints and how it exits. */
#ifndef APPS_VIEWER_REPORT_H
#define APPS_VIEWER_REPORT_H

#include <string>
#include <vector>

#include "call_statistics.h"
#include "options.h"

namespace zelrtc::viewer {

/** One line of JSON: {"ok":...,"calls":[...]}. */
std::string reportAsJson(const std::vector<CallRecord>& records, const Options& options);

/** The same for people: a block of lines per call. */
std::string reportAsText(const std::vector<CallRecord>& records, const Options& options);

/** 0: every call had picture and sound, or broke off where it was told to; 1: one did not; 2: HTTP failed. */
int exitStatus(const std::vector<CallRecord>& records, const Options& options);

}  // namespace zelrtc::viewer

#endif
