# Finds an installed WebRTC SDK: its headers, its client library and its platform library.
#
#   find_package(KvsWebrtcClient)   ->   KvsWebrtcClient::KvsWebrtcClient
#
# Point at it with CMAKE_PREFIX_PATH (the folder that holds include/ and lib/). pkg-config is asked first; its answer is
# only a hint, because the .pc files of a cross-built SDK often name the folder it was built for, not the one it is in.
#
# Variables for layouts that are not found automatically:
#   KvsWebrtcClient_INCLUDE_DIR            folder that holds com/amazonaws/kinesis/video/webrtcclient/Include.h
#   KvsWebrtcClient_PLATFORM_INCLUDE_DIR   folder that holds com/amazonaws/kinesis/video/common/PlatformUtils.h
#   KvsWebrtcClient_LIBRARY                the client library
#   KvsWebrtcClient_PLATFORM_LIBRARY       the platform library; not needed if a shared client library contains it
#   KvsWebrtcClient_EXTRA_LIBRARIES        what static libraries need in addition, such as "srtp2;ssl;crypto"

set(KvsWebrtcClient_EXTRA_LIBRARIES "" CACHE STRING "Libraries that a static WebRTC SDK needs besides its own")
set(kvs_client_names kvsWebrtcClient kvsWebrtc)
set(kvs_platform_names kvspicUtils kvspic-Utils kvspic kvsPic)

find_package(PkgConfig QUIET)
if(PkgConfig_FOUND)
  pkg_check_modules(PC_KVS_CLIENT QUIET libkvsWebrtcClient)
  pkg_check_modules(PC_KVS_PLATFORM QUIET libkvspicUtils)
endif()

find_path(KvsWebrtcClient_INCLUDE_DIR com/amazonaws/kinesis/video/webrtcclient/Include.h
          HINTS ${PC_KVS_CLIENT_INCLUDE_DIRS} DOC "Headers of the WebRTC SDK")
find_path(KvsWebrtcClient_PLATFORM_INCLUDE_DIR com/amazonaws/kinesis/video/common/PlatformUtils.h
          HINTS ${KvsWebrtcClient_INCLUDE_DIR} ${PC_KVS_PLATFORM_INCLUDE_DIRS}
          DOC "Platform headers of the WebRTC SDK")
find_library(KvsWebrtcClient_LIBRARY NAMES ${kvs_client_names} HINTS ${PC_KVS_CLIENT_LIBRARY_DIRS}
             DOC "Client library of the WebRTC SDK")
find_library(KvsWebrtcClient_PLATFORM_LIBRARY NAMES ${kvs_platform_names}
             HINTS ${PC_KVS_PLATFORM_LIBRARY_DIRS} ${PC_KVS_CLIENT_LIBRARY_DIRS}
             DOC "Platform library of the WebRTC SDK")

set(kvs_required KvsWebrtcClient_LIBRARY KvsWebrtcClient_INCLUDE_DIR KvsWebrtcClient_PLATFORM_INCLUDE_DIR)
set(kvs_is_static FALSE)
if(KvsWebrtcClient_LIBRARY MATCHES "\\${CMAKE_STATIC_LIBRARY_SUFFIX}$")
  set(kvs_is_static TRUE)
  list(APPEND kvs_required KvsWebrtcClient_PLATFORM_LIBRARY)
endif()

set(kvs_missing "")
if(NOT KvsWebrtcClient_INCLUDE_DIR)
  string(APPEND kvs_missing "\n  the header com/amazonaws/kinesis/video/webrtcclient/Include.h")
endif()
if(NOT KvsWebrtcClient_PLATFORM_INCLUDE_DIR)
  string(APPEND kvs_missing "\n  the header com/amazonaws/kinesis/video/common/PlatformUtils.h")
endif()
if(NOT KvsWebrtcClient_LIBRARY)
  list(JOIN kvs_client_names ", lib" kvs_names)
  string(APPEND kvs_missing "\n  the client library, called one of lib${kvs_names}")
endif()
if(kvs_is_static AND NOT KvsWebrtcClient_PLATFORM_LIBRARY)
  list(JOIN kvs_platform_names ", lib" kvs_names)
  string(APPEND kvs_missing "\n  the platform library that belongs to the static ${KvsWebrtcClient_LIBRARY},"
                            " called one of lib${kvs_names}")
endif()
if(kvs_missing)
  list(JOIN CMAKE_PREFIX_PATH " " kvs_searched)
  string(CONCAT kvs_help "\nThe installed WebRTC SDK is not complete. Missing:${kvs_missing}\n"
                "Searched: CMAKE_PREFIX_PATH=\"${kvs_searched}\" and the system's folders.\n"
                "Point at the folder that holds the SDK's include/ and lib/:\n"
                "  cmake -DCMAKE_PREFIX_PATH=/path/to/sdk ...\n"
                "or name the parts: -DKvsWebrtcClient_INCLUDE_DIR=... -DKvsWebrtcClient_LIBRARY=...\n"
                "When cross-compiling, the folder must also be listed in CMAKE_FIND_ROOT_PATH.\n")
endif()

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(KvsWebrtcClient REQUIRED_VARS ${kvs_required} REASON_FAILURE_MESSAGE "${kvs_help}")
mark_as_advanced(KvsWebrtcClient_INCLUDE_DIR KvsWebrtcClient_PLATFORM_INCLUDE_DIR KvsWebrtcClient_LIBRARY
                 KvsWebrtcClient_PLATFORM_LIBRARY)

if(KvsWebrtcClient_FOUND AND NOT TARGET KvsWebrtcClient::KvsWebrtcClient)
  find_package(Threads REQUIRED)
  # Client before platform: the linker reads archives from left to right.
  set(KvsWebrtcClient_LINK_LIBRARIES ${KvsWebrtcClient_LIBRARY})
  if(KvsWebrtcClient_PLATFORM_LIBRARY)
    list(APPEND KvsWebrtcClient_LINK_LIBRARIES ${KvsWebrtcClient_PLATFORM_LIBRARY})
  endif()
  list(APPEND KvsWebrtcClient_LINK_LIBRARIES ${KvsWebrtcClient_EXTRA_LIBRARIES})
  if(kvs_is_static)
    set(kvs_further ${PC_KVS_CLIENT_STATIC_LIBRARIES} ${PC_KVS_PLATFORM_STATIC_LIBRARIES})
    list(REMOVE_ITEM kvs_further ${kvs_client_names} ${kvs_platform_names} pthread dl "")
    list(REMOVE_DUPLICATES kvs_further)
    list(APPEND KvsWebrtcClient_LINK_LIBRARIES ${kvs_further})
  endif()

  # Global, and with no targets of this scope behind it, so that a project that adds this one as a folder can use it.
  add_library(KvsWebrtcClient::KvsWebrtcClient INTERFACE IMPORTED GLOBAL)
  set_target_properties(
    KvsWebrtcClient::KvsWebrtcClient
    PROPERTIES INTERFACE_INCLUDE_DIRECTORIES "${KvsWebrtcClient_INCLUDE_DIR};${KvsWebrtcClient_PLATFORM_INCLUDE_DIR}"
               INTERFACE_LINK_LIBRARIES "${KvsWebrtcClient_LINK_LIBRARIES};${CMAKE_THREAD_LIBS_INIT};${CMAKE_DL_LIBS}")
  if(kvs_is_static AND PC_KVS_CLIENT_STATIC_LIBRARY_DIRS)
    set_target_properties(KvsWebrtcClient::KvsWebrtcClient PROPERTIES INTERFACE_LINK_DIRECTORIES
                                                                      "${PC_KVS_CLIENT_STATIC_LIBRARY_DIRS}")
  endif()
endif()
