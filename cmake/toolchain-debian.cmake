# Builds for another processor on Debian, with its cross compiler and its libraries beside this machine's own:
#     cmake ... -DCMAKE_TOOLCHAIN_FILE=cmake/toolchain-debian.cmake -DVESK_ARCHITECTURE=arm64
# VESK_ARCHITECTURE is Debian's name of it. Programs that the build runs itself, the tests that it lists, need an emulator
# that the kernel knows; scripts/test-arm64 sees to that.
set(VESK_ARCHITECTURE "" CACHE STRING "Debian's name of the processor to build for")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES VESK_ARCHITECTURE)

set(vesk_triplet_arm64 aarch64-linux-gnu)
set(vesk_triplet_armhf arm-linux-gnueabihf)
set(vesk_triplet_riscv64 riscv64-linux-gnu)
set(vesk_processor_arm64 aarch64)
set(vesk_processor_armhf armv7l)
set(vesk_processor_riscv64 riscv64)
if(NOT DEFINED vesk_triplet_${VESK_ARCHITECTURE})
    message(FATAL_ERROR "VESK_ARCHITECTURE is '${VESK_ARCHITECTURE}'; it must be arm64, armhf or riscv64")
endif()
# Else each function that takes a pair tells how compilers of before 2017 passed it.
set(vesk_flags_armhf -Wno-psabi)
set(CMAKE_CXX_FLAGS_INIT "${vesk_flags_${VESK_ARCHITECTURE}}")
set(triplet ${vesk_triplet_${VESK_ARCHITECTURE}})

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ${vesk_processor_${VESK_ARCHITECTURE}})
set(CMAKE_C_COMPILER ${triplet}-gcc)
set(CMAKE_CXX_COMPILER ${triplet}-g++)
set(CMAKE_LIBRARY_ARCHITECTURE ${triplet})
# Never this machine's own libraries in place of missing ones.
set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/${triplet}/pkgconfig:/usr/share/pkgconfig)
set(CMAKE_IGNORE_PATH /usr/lib/x86_64-linux-gnu /lib/x86_64-linux-gnu)
