# Toolchain: 32-bit x86 from a 64-bit compiler (g++-12-multilib), which has the
# sanitizers and runs at full speed. Its alignment of 64-bit members and its
# signed char are not those of ARM.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(CMAKE_C_COMPILER gcc-12)
set(CMAKE_CXX_COMPILER g++-12)

set(FOREIGN i386)
set(FOREIGN_TRIPLET i386-linux-gnu)
include(${CMAKE_CURRENT_LIST_DIR}/fetched_libraries.cmake)

# The old floating-point unit rounds otherwise than every other one, ARM's too.
set(CMAKE_C_FLAGS_INIT "-m32 -msse2 -mfpmath=sse")
set(CMAKE_CXX_FLAGS_INIT "-m32 -msse2 -mfpmath=sse")
