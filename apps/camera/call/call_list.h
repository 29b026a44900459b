/** @file call_list.h Tells the machine's owner the addresses of all calls. */
#ifndef APPS_CAMERA_CALL_CALL_LIST_H
#define APPS_CAMERA_CALL_CALL_LIST_H

#include <mutex>
#include <string>

namespace zelrtc::camera {

/** A file with a line "ID KEY" for every call, which only its owner can read. Any thread. */
class CallList {
public:
    /**
     * Begins an empty list.
     * @param path empty for no list
     * @throw std::runtime_error with a sentence for the user when the file cannot be written
     */
    explicit CallList(const std::string& path);
    ~CallList();
    CallList(const CallList&) = delete;
    CallList& operator=(const CallList&) = delete;

    /** Adds a call. */
    void add(int id, const std::string& key);

private:
    std::mutex mutex_;
    const int file_;
};

}  // namespace zelrtc::camera

#endif
