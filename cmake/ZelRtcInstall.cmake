# What `cmake --install` and CPack deliver, in components:
#   runtime   the shared library
#   dev       headers, the library to link against, the CMake package, the pkg-config file
#   hostsdk   the SDK stand-in, if the library was built against it; never for a device
#   camera    the demo camera and its systemd unit, if it was built

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(ZELRTC_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/ZelWebrtcClient)
set(ZELRTC_PKGCONFIG_DIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH ZELRTC_PC_PREFIX /${ZELRTC_PKGCONFIG_DIR} /)
string(REGEX REPLACE "/$" "" ZELRTC_PC_PREFIX "${ZELRTC_PC_PREFIX}")

install(TARGETS ZelWebrtcClient EXPORT ZelWebrtcClientTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT dev
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev)
install(FILES ${PROJECT_SOURCE_DIR}/include/zelwebrtc.h
              ${PROJECT_SOURCE_DIR}/src/libZelWebrtcClient/zelwebrtc_session.h
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT dev)
install(EXPORT ZelWebrtcClientTargets NAMESPACE ZelWebrtcClient:: DESTINATION ${ZELRTC_CMAKE_DIR} COMPONENT dev)
install(FILES ${PROJECT_SOURCE_DIR}/cmake/FindKvsWebrtcClient.cmake DESTINATION ${ZELRTC_CMAKE_DIR} COMPONENT dev)

# Sets what the pkg-config file says about the SDK: the SDK's own .pc files if they describe the SDK that was found,
# otherwise flags.
function(zelrtc_describe_installed_sdk)
  set(requires "")
  set(cflags "")
  set(libs "")
  get_filename_component(library_dir ${KvsWebrtcClient_LIBRARY} DIRECTORY)
  if(PC_KVS_CLIENT_FOUND AND PC_KVS_CLIENT_LIBDIR STREQUAL library_dir)
    set(requires "libkvsWebrtcClient")
    if(PC_KVS_PLATFORM_FOUND)
      string(APPEND requires " libkvspicUtils")
    endif()
  else()
    get_target_property(include_dirs KvsWebrtcClient::KvsWebrtcClient INTERFACE_INCLUDE_DIRECTORIES)
    list(REMOVE_DUPLICATES include_dirs)
    list(TRANSFORM include_dirs PREPEND "-I")
    list(JOIN include_dirs " " cflags)
    get_target_property(libraries KvsWebrtcClient::KvsWebrtcClient INTERFACE_LINK_LIBRARIES)
    list(REMOVE_ITEM libraries "")
    list(TRANSFORM libraries REPLACE "^([^/-].*)$" "-l\\1")
    list(JOIN libraries " " libs)
  endif()
  set(ZELRTC_PC_REQUIRES "${requires}" PARENT_SCOPE)
  set(ZELRTC_PC_SDK_CFLAGS "${cflags}" PARENT_SCOPE)
  set(ZELRTC_PC_SDK_LIBS "${libs}" PARENT_SCOPE)
endfunction()

if(ZELRTC_SDK_CHOSEN STREQUAL "installed")
  zelrtc_describe_installed_sdk()
else()
  set(ZELRTC_PC_REQUIRES zelrtc-hostsdk)
  include(ZelRtcInstallHostSdk)
endif()
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/ZelWebrtcClientConfig.cmake.in
                              ${PROJECT_BINARY_DIR}/ZelWebrtcClientConfig.cmake
                              INSTALL_DESTINATION ${ZELRTC_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/ZelWebrtcClientConfigVersion.cmake
                                 COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/ZelWebrtcClientConfig.cmake
              ${PROJECT_BINARY_DIR}/ZelWebrtcClientConfigVersion.cmake
        DESTINATION ${ZELRTC_CMAKE_DIR} COMPONENT dev)

set(ZELRTC_PC_CLOCK "")
if(ZELRTC_CLOCK_LIBRARY)
  set(ZELRTC_PC_CLOCK "-l${ZELRTC_CLOCK_LIBRARY}")
endif()
configure_file(${PROJECT_SOURCE_DIR}/cmake/ZelWebrtcClient.pc.in ${PROJECT_BINARY_DIR}/ZelWebrtcClient.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/ZelWebrtcClient.pc DESTINATION ${ZELRTC_PKGCONFIG_DIR} COMPONENT dev)

install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT dev)
if(BUILD_SHARED_LIBS)
  install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR}/runtime COMPONENT runtime)
endif()
