# Packages: one tar.gz to unpack into a sysroot, and one .deb for each component.

set(CPACK_GENERATOR TGZ DEB)
set(CPACK_PACKAGE_NAME zelwebrtcclient)
set(CPACK_PACKAGE_VENDOR "libZelWebrtcClient developers")
set(CPACK_PACKAGE_CONTACT "libZelWebrtcClient developers <libzelwebrtcclient@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Session layer of a WebRTC client for IP cameras")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_STRIP_FILES ON)

set(CPACK_COMPONENTS_ALL dev)
set(dev_depends "")
if(BUILD_SHARED_LIBS)
  list(APPEND CPACK_COMPONENTS_ALL runtime)
  list(APPEND dev_depends "libzelwebrtcclient${ZELRTC_BINARY_VERSION} (= ${PROJECT_VERSION})")
endif()
if(ZELRTC_SDK_CHOSEN STREQUAL "host")
  list(APPEND CPACK_COMPONENTS_ALL hostsdk)
  list(APPEND dev_depends "libzelwebrtcclient-hostsdk-dev (= ${PROJECT_VERSION})")
endif()
if(ZELRTC_INSTALLS_CAMERA)
  list(APPEND CPACK_COMPONENTS_ALL camera)
endif()
list(JOIN dev_depends ", " CPACK_DEBIAN_DEV_PACKAGE_DEPENDS)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libzelwebrtcclient${ZELRTC_BINARY_VERSION})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS "libc6, libstdc++6")
set(CPACK_DEBIAN_DEV_PACKAGE_NAME libzelwebrtcclient-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_HOSTSDK_PACKAGE_NAME libzelwebrtcclient-hostsdk-dev)
set(CPACK_DEBIAN_HOSTSDK_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_HOSTSDK_PACKAGE_DEPENDS
    "libgstreamer-plugins-bad1.0-dev, gstreamer1.0-plugins-base, gstreamer1.0-plugins-good, gstreamer1.0-plugins-bad, \
gstreamer1.0-nice, libnice10")
set(CPACK_DEBIAN_CAMERA_PACKAGE_NAME zelrtc-camera)
set(CPACK_DEBIAN_CAMERA_PACKAGE_SECTION video)
set(CPACK_DEBIAN_CAMERA_PACKAGE_DEPENDS
    "gstreamer1.0-plugins-base, gstreamer1.0-plugins-good, gstreamer1.0-plugins-bad, gstreamer1.0-plugins-ugly, \
gstreamer1.0-nice")
# Libraries of no Debian package, as an SDK's or this project's own as shared ones, are for who makes the package to name.
if(ZELRTC_SDK_CHOSEN STREQUAL "host" AND NOT BUILD_SHARED_LIBS)
  set(CPACK_DEBIAN_CAMERA_PACKAGE_SHLIBDEPS ON)
endif()
if(CMAKE_CROSSCOMPILING AND CMAKE_SYSTEM_PROCESSOR MATCHES "^arm")
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE armhf)
endif()

include(CPack)
