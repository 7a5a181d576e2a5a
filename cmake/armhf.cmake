# Toolchain: 32-bit ARM with hardware floating point, as in televisions.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)

set(FOREIGN armhf)
set(FOREIGN_TRIPLET arm-linux-gnueabihf)
include(${CMAKE_CURRENT_LIST_DIR}/fetched_libraries.cmake)

# Says only that GCC 7 passes some arguments otherwise than GCC 6 did.
set(CMAKE_CXX_FLAGS_INIT -Wno-psabi)
