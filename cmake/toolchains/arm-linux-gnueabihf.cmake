# 32-bit ARM, hard float, with Debian's cross compiler; programs built for it run under qemu-user.
#   apt-get install g++-arm-linux-gnueabihf qemu-user

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L /usr/arm-linux-gnueabihf)

# Look for libraries and headers only among the target's, and for programs only among this machine's. Whatever
# -DCMAKE_PREFIX_PATH names counts as the target's, too.
set(CMAKE_FIND_ROOT_PATH /usr/arm-linux-gnueabihf ${CMAKE_PREFIX_PATH})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Without this, pkg-config would find this machine's libraries.
set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/arm-linux-gnueabihf/pkgconfig)
