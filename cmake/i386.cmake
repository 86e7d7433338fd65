# Toolchain for the i386 build on an x86_64 Debian machine (g++-multilib).
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(CMAKE_C_FLAGS_INIT "-m32")
set(CMAKE_CXX_FLAGS_INIT "-m32")
set(CMAKE_EXE_LINKER_FLAGS_INIT "-m32")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-m32")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "-m32")
# i386 libraries (zlib, ...) come from Debian multiarch.
set(CMAKE_LIBRARY_ARCHITECTURE i386-linux-gnu)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)

# Some x86_64 kernels cannot execute 32-bit programs ("Exec format error").
# There the tests run under user-mode emulation: KR_I386_EMULATOR names the
# emulator (qemu-i386 from Debian's qemu-user; scripts/i386-runner.sh tells
# which way this machine needs). CTest, test discovery and the tests' own
# child processes then start every i386 program through it.
set(KR_I386_EMULATOR "$ENV{KR_I386_EMULATOR}" CACHE STRING
    "Emulator for i386 programs (e.g. qemu-i386); empty: run them natively")
if(KR_I386_EMULATOR)
  find_program(KR_I386_EMULATOR_PATH NAMES ${KR_I386_EMULATOR} NO_CACHE REQUIRED)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${KR_I386_EMULATOR_PATH} -L /)
endif()
