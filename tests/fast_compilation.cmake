# Tests are compiled more often than they run long, so their own code is not
# optimised, and the headers that nearly all of them include are compiled once.
# What they test is compiled as the build type says.
option(TORVIK_PRECOMPILED_HEADERS "Compile the headers of the tests once" ON)
# Sanitizers double the time. Without them in the tests' own code they still see
# all that the library, the virtual camera and the host program do.
option(TORVIK_SANITIZE_TESTS "Sanitizers are for the tests' own code too" ON)

function(torvik_compile_fast target)
    target_compile_options(${target} PRIVATE -O0)
    if(TORVIK_SANITIZE)
        # Line numbers are all that a report of the sanitizers takes from them.
        target_compile_options(${target} PRIVATE -g1)
        if(NOT TORVIK_SANITIZE_TESTS)
            target_compile_options(${target} PRIVATE -fno-sanitize=all)
        endif()
    endif()
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # Without it ccache does not see what precompiled headers are used. It
        # needs CCACHE_SLOPPINESS=pch_defines,time_macros too.
        target_compile_options(${target} PRIVATE -fpch-preprocess)
    endif()
endfunction()

# The owner of the precompiled headers has to be compiled as tests are, that
# is, as a program.
if(TORVIK_PRECOMPILED_HEADERS)
    file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/precompiled_headers.cpp "int main() {}\n")
    add_executable(precompiled_headers ${CMAKE_CURRENT_BINARY_DIR}/precompiled_headers.cpp)
    target_link_libraries(precompiled_headers PRIVATE GTest::gmock GTest::gtest Threads::Threads
                                                      torvik_warnings)
    torvik_compile_fast(precompiled_headers)
    target_precompile_headers(precompiled_headers PRIVATE
        <gmock/gmock.h> <gtest/gtest.h>
        <algorithm> <array> <atomic> <chrono> <condition_variable> <cstdio> <cstring> <deque>
        <filesystem> <fstream> <functional> <map> <memory> <mutex> <optional> <sstream> <string>
        <thread> <vector>)
endif()

# For programs.
function(torvik_reuse_headers target)
    if(TORVIK_PRECOMPILED_HEADERS)
        target_precompile_headers(${target} REUSE_FROM precompiled_headers)
    endif()
endfunction()
