# Cross-compiles for 64-bit Windows with Debian's mingw-w64 (package g++-mingw-w64-x86-64-posix).
# The posix thread variant: the win32 one has no std::thread or std::mutex, which the driver uses.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(QX_MINGW_TRIPLE x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${QX_MINGW_TRIPLE}-gcc-posix)
set(CMAKE_CXX_COMPILER ${QX_MINGW_TRIPLE}-g++-posix)
set(CMAKE_RC_COMPILER ${QX_MINGW_TRIPLE}-windres)

# Headers and libraries come from the mingw-w64 sysroot only, never from the build machine's
# /usr/include; programs (none are run at configure time) from the build machine.
set(CMAKE_FIND_ROOT_PATH /usr/${QX_MINGW_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
