# Chooses the WebRTC SDK and names it ZelRtc::Sdk: the installed one where there is one, else the project's stand-in.

if(NOT ZELRTC_SDK STREQUAL "host")
  find_package(KvsWebrtcClient QUIET)
endif()

if(ZELRTC_SDK STREQUAL "" AND NOT KvsWebrtcClient_FOUND)
  set(ZELRTC_SDK_CHOSEN host)
elseif(ZELRTC_SDK STREQUAL "")
  set(ZELRTC_SDK_CHOSEN installed)
else()
  set(ZELRTC_SDK_CHOSEN ${ZELRTC_SDK})
endif()

if(ZELRTC_SDK_CHOSEN STREQUAL "installed")
  find_package(KvsWebrtcClient REQUIRED)
  add_library(ZelRtc::Sdk ALIAS KvsWebrtcClient::KvsWebrtcClient)
else()
  add_subdirectory(hostsdk)
  add_library(ZelRtc::Sdk ALIAS zelrtc_hostsdk)
endif()
message(STATUS "WebRTC SDK: ${ZELRTC_SDK_CHOSEN}")
