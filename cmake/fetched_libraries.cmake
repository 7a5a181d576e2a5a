# For toolchain files: finds libraries in Debian packages of another
# architecture, which are fetched into a cache outside the tree. FOREIGN names
# the architecture as Debian does, FOREIGN_TRIPLET its library folders.
execute_process(
    COMMAND ${CMAKE_CURRENT_LIST_DIR}/../scripts/fetch-packages ${FOREIGN}
            libc6-dev libusb-1.0-0-dev
            libavformat-dev libavcodec-dev libavutil-dev libswscale-dev
            libcli11-dev nlohmann-json3-dev
            libgtest-dev libgmock-dev
    OUTPUT_VARIABLE FOREIGN_ROOT OUTPUT_STRIP_TRAILING_WHITESPACE
    RESULT_VARIABLE FOREIGN_FETCHED)
if(NOT FOREIGN_FETCHED EQUAL 0)
    message(FATAL_ERROR "The packages for ${FOREIGN} cannot be fetched")
endif()

set(CMAKE_SYSROOT ${FOREIGN_ROOT})
set(CMAKE_LIBRARY_ARCHITECTURE ${FOREIGN_TRIPLET})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${FOREIGN_ROOT})
set(ENV{PKG_CONFIG_LIBDIR}
    ${FOREIGN_ROOT}/usr/lib/${FOREIGN_TRIPLET}/pkgconfig:${FOREIGN_ROOT}/usr/share/pkgconfig)

set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../scripts/run-foreign ${FOREIGN})
