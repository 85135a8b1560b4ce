# Cross toolchain for the 64-bit Windows module (Debian: g++-mingw-w64-x86-64-posix).
# The posix thread model is the one whose libstdc++ supports std::thread and
# friends; the module links it statically, so the model never shows in the DLL.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(KX_MINGW_TRIPLET x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${KX_MINGW_TRIPLET}-gcc-posix)
set(CMAKE_CXX_COMPILER ${KX_MINGW_TRIPLET}-g++-posix)
set(CMAKE_RC_COMPILER ${KX_MINGW_TRIPLET}-windres)
set(CMAKE_AR ${KX_MINGW_TRIPLET}-gcc-ar-posix CACHE FILEPATH "")
set(CMAKE_RANLIB ${KX_MINGW_TRIPLET}-gcc-ranlib-posix CACHE FILEPATH "")
set(CMAKE_OBJDUMP ${KX_MINGW_TRIPLET}-objdump CACHE FILEPATH "")

set(CMAKE_FIND_ROOT_PATH /usr/${KX_MINGW_TRIPLET})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

