# Cross-compiles for 32-bit Windows with MinGW-w64 (Debian: g++-mingw-w64-i686-posix): the
# form of the DLL that existing 32-bit host programs load.
set(CMAKE_SYSTEM_PROCESSOR x86)
set(TN_MINGW_TRIPLET i686-w64-mingw32)
include(${CMAKE_CURRENT_LIST_DIR}/MinGW.cmake)
