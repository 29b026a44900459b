# Template for a camera vendor's toolchain (hard-float Cortex-A7, uClibc). Copy it, set the two paths, and build:
#   cmake -S . -B build/device -DCMAKE_TOOLCHAIN_FILE=/path/to/your/copy.cmake -DCMAKE_BUILD_TYPE=MinSizeRel \
#         -DZELRTC_SDK=installed -DCMAKE_PREFIX_PATH=/path/to/cross-built/sdk

# Where the vendor's archive was unpacked, and the prefix of its tools: "arm-xxx-linux-uclibcgnueabihf-" comes before
# gcc, g++ and ar alike. `ls $VENDOR/bin` shows it.
set(VENDOR /opt/vendor-toolchain)
set(PREFIX ${VENDOR}/bin/arm-buildroot-linux-uclibcgnueabihf-)

# Tells CMake that it builds for another machine: it then runs no test programs, and this project never falls back to
# its SDK stand-in. The processor's name only decides the architecture of the .deb.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)

set(CMAKE_C_COMPILER ${PREFIX}gcc)
set(CMAKE_CXX_COMPILER ${PREFIX}g++)

# The processor. Omit these if the vendor's compiler was built for this very chip (`gcc -v` shows --with-cpu). All code
# in a program must agree on -mfloat-abi: use "hard" if the cross-built SDK does, or the linker fails with "uses VFP
# register arguments".
set(CMAKE_C_FLAGS_INIT "-mcpu=cortex-a7 -mfpu=neon-vfpv4 -mfloat-abi=hard")
set(CMAKE_CXX_FLAGS_INIT "-mcpu=cortex-a7 -mfpu=neon-vfpv4 -mfloat-abi=hard")

# Where the compiler's own libc and libstdc++ are. Only for toolchains that do not find them by themselves:
# `${PREFIX}gcc -print-sysroot` prints the folder, or nothing if there is none to set.
# set(CMAKE_SYSROOT ${VENDOR}/arm-buildroot-linux-uclibcgnueabihf/sysroot)

# Look for libraries and headers only among the target's, or CMake finds this machine's. The folder given as
# -DCMAKE_PREFIX_PATH holds the cross-built SDK, so it counts as the target's. Tools such as pkg-config are this
# machine's.
set(CMAKE_FIND_ROOT_PATH ${CMAKE_SYSROOT} ${CMAKE_PREFIX_PATH})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Keeps pkg-config away from this machine's libraries. CMake itself adds the folders in CMAKE_PREFIX_PATH, and so the
# SDK.
set(ENV{PKG_CONFIG_LIBDIR} ${VENDOR}/lib/pkgconfig)

# To run the unit tests here: an emulator and, after -L, the folder with the target's lib/ld-uClibc.so.0.
# set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L ${CMAKE_SYSROOT})
