# Cross build of the Windows program with the distribution's MinGW-w64, for 64 bits or, with
# i686-w64-mingw32, for 32. The thread library of the model "posix" offers std::mutex and all that,
# but does not start before Windows Vista: it is for what the tests run beside the wizard.
set(ROM_WIZARD_WINDOWS x86_64-w64-mingw32 CACHE STRING "The compiler's name for the target")
set(ROM_WIZARD_THREADS win32 CACHE STRING "The compiler's thread model: win32 or posix")
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ROM_WIZARD_WINDOWS ROM_WIZARD_THREADS)

set(CMAKE_SYSTEM_NAME Windows)
string(REGEX MATCH "^[^-]+" CMAKE_SYSTEM_PROCESSOR ${ROM_WIZARD_WINDOWS})
set(CMAKE_CXX_COMPILER ${ROM_WIZARD_WINDOWS}-g++-${ROM_WIZARD_THREADS})
set(CMAKE_RC_COMPILER ${ROM_WIZARD_WINDOWS}-windres)
set(CMAKE_FIND_ROOT_PATH /usr/${ROM_WIZARD_WINDOWS})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
