# The SDK stand-in, installed under its own names, so that it can never be mistaken for a device's SDK.

set(ZELRTC_HOSTSDK_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR}/zelrtc-hostsdk)

foreach(target zelrtc_hostsdk zelrtc_hostsdk_headers)
  target_include_directories(${target} INTERFACE $<INSTALL_INTERFACE:${ZELRTC_HOSTSDK_INCLUDEDIR}>)
endforeach()
install(TARGETS zelrtc_hostsdk zelrtc_hostsdk_headers EXPORT ZelRtcHostSdkTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT hostsdk
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT hostsdk)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/hostsdk/include/ DESTINATION ${ZELRTC_HOSTSDK_INCLUDEDIR} COMPONENT hostsdk
        FILES_MATCHING PATTERN "*.h")
install(EXPORT ZelRtcHostSdkTargets NAMESPACE ZelRtc:: DESTINATION ${ZELRTC_CMAKE_DIR} COMPONENT hostsdk)

set(ZELRTC_PC_HOSTSDK_REQUIRES "")
set(ZELRTC_PC_HOSTSDK_LIBS "")
get_target_property(hostsdk_type zelrtc_hostsdk TYPE)
if(NOT hostsdk_type STREQUAL "INTERFACE_LIBRARY")
  set(ZELRTC_PC_HOSTSDK_LIBS "-L\${libdir} -lzelrtc_hostsdk -l:libnice.so.10")
  set(ZELRTC_PC_HOSTSDK_REQUIRES "gstreamer-webrtc-1.0 gstreamer-sdp-1.0 gstreamer-app-1.0 gstreamer-video-1.0")
endif()
configure_file(${PROJECT_SOURCE_DIR}/cmake/zelrtc-hostsdk.pc.in ${PROJECT_BINARY_DIR}/zelrtc-hostsdk.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/zelrtc-hostsdk.pc DESTINATION ${ZELRTC_PKGCONFIG_DIR} COMPONENT hostsdk)
