// Writes COUNT frames in way NUMBER, for a tool that counts instructions: write_path_loop NUMBER COUNT.
// Without arguments it lists the ways, one per line, in order of their numbers.
#include <cstdio>
#include <cstdlib>

#include "frame_writers.h"

int main(int argc, char** argv) {
    const auto& writers = zelrtc::bench::frameWriters();
    if (argc != 3) {
        for (const zelrtc::bench::NamedWriter& way : writers) {
            std::puts(way.name);
        }
        return 0;
    }
    const zelrtc::bench::NamedWriter& way = writers.at(std::strtoul(argv[1], nullptr, 10));
    const long count = std::strtol(argv[2], nullptr, 10);
    zelrtc::bench::Targets targets;
    int unexpected = 0;
    for (long i = 0; i < count; i++) {
        unexpected |= way.writer(&targets, i) ^ way.result;
    }
    return unexpected == 0 ? 0 : 1;
}
