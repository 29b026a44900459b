# The demo camera and its systemd unit, in their places, where the camera is built.

set(ZELRTC_INSTALLS_CAMERA OFF)
if(TARGET zelrtc-camera)
  get_target_property(is_left_out zelrtc-camera EXCLUDE_FROM_ALL)
  if(NOT is_left_out)
    set(ZELRTC_INSTALLS_CAMERA ON)
  endif()
endif()

if(ZELRTC_INSTALLS_CAMERA)
  install(TARGETS zelrtc-camera RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT camera)
  # Not the folder of libraries, which depends on the architecture: systemd looks here.
  install(FILES ${PROJECT_SOURCE_DIR}/apps/camera/zelrtc-camera.service DESTINATION lib/systemd/system COMPONENT camera)
  install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR}/camera COMPONENT camera)
endif()
