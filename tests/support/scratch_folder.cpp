#include "scratch_folder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <stdexcept>

namespace zelrtc::test {

ScratchFolder::ScratchFolder() : path_((std::filesystem::temp_directory_path() / "zelrtc-call-XXXXXX").string()) {
    if (mkdtemp(path_.data()) == nullptr) {
        throw std::runtime_error("cannot make a folder for the test's files");
    }
}

ScratchFolder::~ScratchFolder() {
    if (::testing::Test::HasFailure()) {
        std::cerr << "the test's files are in " << path_ << '\n';
        return;
    }
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::string ScratchFolder::file(const std::string& name) const {
    return path_ + "/" + name;
}

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

}  // namespace zelrtc::test
