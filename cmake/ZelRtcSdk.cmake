# Chooses the WebRTC SDK and names it ZelRtc::Sdk: the installed one if there is one, otherwise the project's stand-in.
# A cross build never falls back: the stand-in is useless on a device, and silence would hide a wrong path. The
# stand-in, and the viewer with either SDK, are built on gst.

if(NOT ZELRTC_SDK MATCHES "^(|installed|host)$")
  message(FATAL_ERROR "ZELRTC_SDK is \"${ZELRTC_SDK}\"; it may be installed, host or empty")
endif()

if(ZELRTC_SDK STREQUAL "" AND NOT CMAKE_CROSSCOMPILING)
  find_package(KvsWebrtcClient QUIET)
endif()

if(ZELRTC_SDK)
  set(ZELRTC_SDK_CHOSEN ${ZELRTC_SDK})
elseif(CMAKE_CROSSCOMPILING OR KvsWebrtcClient_FOUND)
  set(ZELRTC_SDK_CHOSEN installed)
else()
  set(ZELRTC_SDK_CHOSEN host)
endif()

if(ZELRTC_SDK_CHOSEN STREQUAL "host" OR ZELRTC_BUILD_APPS)
  add_subdirectory(gst)
endif()

if(ZELRTC_SDK_CHOSEN STREQUAL "installed")
  find_package(KvsWebrtcClient REQUIRED)
  add_library(ZelRtc::Sdk ALIAS KvsWebrtcClient::KvsWebrtcClient)
else()
  add_subdirectory(hostsdk)
  add_library(ZelRtc::Sdk ALIAS zelrtc_hostsdk)
endif()
message(STATUS "WebRTC SDK: ${ZELRTC_SDK_CHOSEN}")
