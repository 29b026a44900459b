# shellcheck shell=bash
# Sourced by the package tests. Needs SOURCE (the project) and WORK (the test's scratch folder).
set -euo pipefail

SOURCE=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
WORK=${1:?usage: $0 SCRATCH-FOLDER}
rm -rf "$WORK"
mkdir -p "$WORK"
WORK=$(cd "$WORK" && pwd)
LOG=$WORK/log
CC=${CC:-cc}
export CMAKE_GENERATOR=${CMAKE_GENERATOR:-Ninja}

fail() {
    echo "FAILED: $*" >&2
    if [ -f "$LOG" ]; then
        tail -n 40 "$LOG" >&2
    fi
    exit 1
}

# run COMMAND...: silent unless it fails.
run() {
    "$@" >"$LOG" 2>&1 || fail "$*"
}

# expect_text FILE PATTERN WHAT
expect_text() {
    grep -qE -- "$2" "$1" || { cp "$1" "$LOG"; fail "$3"; }
}

# same_lists EXPECTED-FILE ACTUAL-FILE WHAT: both sorted, compared line by line.
same_lists() {
    diff -u "$1" "$2" >"$LOG" || fail "$3"
}

# copy_sdk_headers PREFIX: the SDK's records in another layout than hostsdk's, over the same platform layer, so that
# nothing can depend on what only hostsdk has.
copy_sdk_headers() {
    local platform=com/amazonaws/kinesis/video/common
    cp -r "$SOURCE/tests/support/sdk-other-layout/include" "$1/include"
    mkdir -p "$1/include/$platform"
    cp "$SOURCE/hostsdk/include/$platform/"*.h "$1/include/$platform/"
}

# make_stub_sdk PREFIX KIND CLIENT-NAME PLATFORM-NAME: an installed SDK, KIND shared or static. Without a platform name
# the client library holds the platform's symbols too.
make_stub_sdk() {
    local prefix=$1 kind=$2 client=$3 platform=$4 unit
    local objects=$prefix/objects
    mkdir -p "$prefix/lib" "$objects"
    copy_sdk_headers "$prefix"
    for unit in stub_client stub_platform; do
        run "$CC" -c -O1 -fPIC -I"$prefix/include" "$SOURCE/tests/support/stub_sdk/$unit.c" -o "$objects/$unit.o"
    done
    if [ "$kind" = static ]; then
        run ar rcs "$prefix/lib/lib$client.a" "$objects/stub_client.o"
        [ -z "$platform" ] || run ar rcs "$prefix/lib/lib$platform.a" "$objects/stub_platform.o"
    elif [ -z "$platform" ]; then
        link_shared "$prefix/lib/lib$client.so" "$objects/stub_client.o" "$objects/stub_platform.o"
    else
        link_shared "$prefix/lib/lib$client.so" "$objects/stub_client.o"
        link_shared "$prefix/lib/lib$platform.so" "$objects/stub_platform.o"
    fi
    rm -r "$objects"
}

link_shared() {
    local library=$1
    shift
    run "$CC" -shared -Wl,-soname,"$(basename "$library")" "$@" -o "$library"
}

# add_pkg_config PREFIX STATED-PREFIX CLIENT-NAME PLATFORM-NAME
add_pkg_config() {
    local dir=$1/lib/pkgconfig
    mkdir -p "$dir"
    write_pc "$dir/libkvsWebrtcClient.pc" "$2" "$3"
    [ -z "$4" ] || write_pc "$dir/libkvspicUtils.pc" "$2" "$4"
}

write_pc() {
    cat >"$1" <<END
prefix=$2
libdir=\${prefix}/lib
includedir=\${prefix}/include

Name: $3
Description: stub of the WebRTC SDK
Version: 1.7.3
Libs: -L\${libdir} -l$3 -lpthread
Cflags: -I\${includedir}
END
}

# configure BUILD-FOLDER OPTIONS...: the project without its apps and tests.
configure() {
    local build=$1
    shift
    run cmake -S "$SOURCE" -B "$build" -DZELRTC_BUILD_APPS=OFF -DZELRTC_BUILD_TESTS=OFF "$@"
}

# project_version: as the public header states it.
project_version() {
    sed -nE 's/^#define ZELRTC_VERSION_(MAJOR|MINOR|PATCH) ([0-9]+)$/\2/p' "$SOURCE/include/zelwebrtc.h" | paste -sd.
}

# binary_version: the end of the soname; before 1.0 each minor version has its own ABI.
binary_version() {
    project_version | sed -nE 's/^(0\.[0-9]+|[0-9]+)\..*/\1/p'
}
