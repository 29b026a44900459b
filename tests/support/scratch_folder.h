/** @file scratch_folder.h A folder for the files of one test. */
#ifndef TESTS_SUPPORT_SCRATCH_FOLDER_H
#define TESTS_SUPPORT_SCRATCH_FOLDER_H

#include <string>

namespace zelrtc::test {

/** Removed when the test passes; kept, and named in the output, when it fails. */
class ScratchFolder {
public:
    ScratchFolder();
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    std::string file(const std::string& name) const;
    const std::string& path() const {
        return path_;
    }

private:
    std::string path_;
};

/** The whole file; empty if there is none. */
std::string readFile(const std::string& path);

}  // namespace zelrtc::test

#endif
