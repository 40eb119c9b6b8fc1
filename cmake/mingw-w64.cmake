# Cross-compiles for 64-bit Windows with MinGW-w64 (Debian: g++-mingw-w64-x86-64-posix). The
# test programs run under Wine when CMAKE_CROSSCOMPILING_EMULATOR names its loader.
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(TN_MINGW_TRIPLET x86_64-w64-mingw32)
include(${CMAKE_CURRENT_LIST_DIR}/MinGW.cmake)
