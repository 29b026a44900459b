# How every target of this project is compiled. Nothing here reaches a user's own targets.

if(NOT CMAKE_BUILD_TYPE AND is_top_level)
  set(CMAKE_BUILD_TYPE RelWithDebInfo)
endif()

set(ZELRTC_WARNINGS -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
if(ZELRTC_WARNINGS_AS_ERRORS)
  list(APPEND ZELRTC_WARNINGS -Werror)
endif()

# Older toolchains have clock_gettime in librt.
include(CheckFunctionExists)
check_function_exists(clock_gettime ZELRTC_CLOCK_IN_LIBC)
set(ZELRTC_CLOCK_LIBRARY "")
if(NOT ZELRTC_CLOCK_IN_LIBC)
  set(ZELRTC_CLOCK_LIBRARY rt)
endif()

if(ZELRTC_SANITIZE)
  add_compile_options(-fsanitize=${ZELRTC_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${ZELRTC_SANITIZE})
endif()

# The fuzzer must see all code, not only the fuzz targets.
if(ZELRTC_BUILD_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

# zelrtc_compile(target standard): warnings as errors, and that C++ standard without extensions. A program learns which
# memory is kept on purpose, if it looks for leaks.
function(zelrtc_compile target standard)
  set_target_properties(${target} PROPERTIES CXX_STANDARD ${standard} CXX_STANDARD_REQUIRED ON CXX_EXTENSIONS OFF)
  target_compile_options(${target} PRIVATE $<$<COMPILE_LANGUAGE:CXX>:${ZELRTC_WARNINGS}>)
  get_target_property(type ${target} TYPE)
  if(ZELRTC_SANITIZE MATCHES address AND type STREQUAL EXECUTABLE AND TARGET zelrtc_kept_memory)
    target_sources(${target} PRIVATE $<TARGET_OBJECTS:zelrtc_kept_memory>)
  endif()
endfunction()

if(ZELRTC_BUILD_TESTS)
  add_library(zelrtc_kept_memory OBJECT EXCLUDE_FROM_ALL ${PROJECT_SOURCE_DIR}/tests/support/kept_memory.cpp)
  zelrtc_compile(zelrtc_kept_memory 17)
endif()

# zelrtc_merge_sources(target): with ZELRTC_MERGE_SOURCES, compiles several sources as one. A source that includes gmock
# or a header-only library takes seconds to parse and little more to compile, so this halves the time of a whole build.
function(zelrtc_merge_sources target)
  set_target_properties(${target} PROPERTIES UNITY_BUILD ${ZELRTC_MERGE_SOURCES} UNITY_BUILD_BATCH_SIZE 9)
endfunction()

# zelrtc_session_library(target type sdk [standard]): the session layer, compiled against the SDK target `sdk`. Tests
# use it to build the same sources against other SDKs and as other standards.
function(zelrtc_session_library target type sdk)
  set(standard 11)
  if(ARGC GREATER 3)
    set(standard ${ARGV3})
  endif()
  set(module_dir ${PROJECT_SOURCE_DIR}/src/libZelWebrtcClient)
  add_library(${target} ${type} ${module_dir}/zelwebrtc_clock.cpp ${module_dir}/zelwebrtc_config.cpp
                                ${module_dir}/zelwebrtc_session.cpp)
  target_include_directories(${target} PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
                                              $<BUILD_INTERFACE:${module_dir}> $<INSTALL_INTERFACE:include>)
  target_link_libraries(${target} PUBLIC ${sdk} PRIVATE ${ZELRTC_CLOCK_LIBRARY})
  set_target_properties(${target} PROPERTIES CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON
                                             POSITION_INDEPENDENT_CODE ON)
  zelrtc_compile(${target} ${standard})
endfunction()
