# How tests are made. Every gtest test is a ctest entry and a process of its
# own, so that `ctest -j` spreads them and each gets a private root directory
# and a fresh simulated bus.

# <name> SOURCES... [TIMEOUT seconds] [LIBRARIES targets...]
macro(_torvik_parse_test)
    cmake_parse_arguments(ARG "" "TIMEOUT" "LIBRARIES" ${ARGN})
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 120)
    endif()
endmacro()

function(_torvik_finish_test name timeout)
    target_link_libraries(${name} PRIVATE test_support torvik_warnings)
    torvik_compile_fast(${name})
    torvik_reuse_headers(${name})
    # The stand-in answers to libusb's name: its directory has to be the first
    # one that the loader searches. CMake warns of such a clash of names where
    # it writes the search path itself.
    set_target_properties(${name} PROPERTIES SKIP_BUILD_RPATH ON)
    target_link_options(${name} PRIVATE
        -Wl,-rpath,${CMAKE_BINARY_DIR}/standin -Wl,-rpath,${CMAKE_BINARY_DIR}/lib)
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST NO_PRETTY_VALUES
        PROPERTIES TIMEOUT ${timeout}
                   ENVIRONMENT "LD_LIBRARY_PATH=${CMAKE_BINARY_DIR}/standin")
endfunction()

# A test of the product's parts: links the very objects that ship, and the
# libusb stand-in in libusb's place.
function(torvik_test name)
    _torvik_parse_test(${ARGN})
    add_executable(${name} ${ARG_UNPARSED_ARGUMENTS})
    target_link_libraries(${name} PRIVATE torvik_objects ${ARG_LIBRARIES})
    _torvik_finish_test(${name} ${ARG_TIMEOUT})
endfunction()

# A test that loads the shared library as a host does, see
# tests/support/camera_library.h.
function(torvik_blackbox_test name)
    _torvik_parse_test(${ARGN})
    add_executable(${name} ${ARG_UNPARSED_ARGUMENTS})
    target_link_libraries(${name} PRIVATE torvik_identities ${ARG_LIBRARIES})
    target_compile_definitions(${name} PRIVATE
        TORVIK_CAMERA_LIBRARY="$<TARGET_FILE:torvik_camera>")
    add_dependencies(${name} torvik_camera)
    _torvik_finish_test(${name} ${ARG_TIMEOUT})
endfunction()

# A test of something around the product, without the product.
function(torvik_plain_test name)
    _torvik_parse_test(${ARGN})
    add_executable(${name} ${ARG_UNPARSED_ARGUMENTS})
    target_link_libraries(${name} PRIVATE ${ARG_LIBRARIES})
    _torvik_finish_test(${name} ${ARG_TIMEOUT})
endfunction()

# ARM programs run in an emulator that is several times slower than the
# machine. What is not run there shows as disabled; docs/testing.md says why.
set(TORVIK_EMULATED OFF)
if(CMAKE_CROSSCOMPILING_EMULATOR AND CMAKE_SYSTEM_PROCESSOR MATCHES "^arm")
    set(TORVIK_EMULATED ON)
endif()
