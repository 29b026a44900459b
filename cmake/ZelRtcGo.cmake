# Programs in Go, on the libraries of Debian's packages alone.
set(ZELRTC_GO_PACKAGES /usr/share/gocode CACHE PATH "Where Debian's packages put the sources of Go libraries")
find_program(ZELRTC_GO go)
set(ZELRTC_HAS_PION OFF)
if(ZELRTC_GO AND EXISTS ${ZELRTC_GO_PACKAGES}/src/github.com/pion/webrtc)
  set(ZELRTC_HAS_PION ON)
endif()

# zelrtc_go_program(target program folder source...): builds the package in `folder`, made of `source...`, as `program`.
function(zelrtc_go_program target program folder)
  list(TRANSFORM ARGN PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/${folder}/ OUTPUT_VARIABLE sources)
  add_custom_command(
    OUTPUT ${program}
    COMMAND ${CMAKE_COMMAND} -E env GO111MODULE=off GOPATH=${ZELRTC_GO_PACKAGES} GOFLAGS=
            GOCACHE=${PROJECT_BINARY_DIR}/go-cache ${ZELRTC_GO} build -o ${program} .
    DEPENDS ${sources}
    WORKING_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR}/${folder}
    VERBATIM)
  add_custom_target(${target} DEPENDS ${program})
endfunction()
