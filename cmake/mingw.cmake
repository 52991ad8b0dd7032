# Builds for Windows on a Debian system, with MinGW-w64's compiler of POSIX threads. Included by the
# toolchain files, one for each processor.
set(CMAKE_SYSTEM_NAME Windows)
set(ZTK_MINGW ${CMAKE_SYSTEM_PROCESSOR}-w64-mingw32)
set(CMAKE_C_COMPILER ${ZTK_MINGW}-gcc-posix)  # GoogleTest asks for one.
set(CMAKE_CXX_COMPILER ${ZTK_MINGW}-g++-posix)
set(CMAKE_RC_COMPILER ${ZTK_MINGW}-windres)
set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/run_on_wine.sh")
set(CMAKE_FIND_ROOT_PATH /usr/${ZTK_MINGW})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
