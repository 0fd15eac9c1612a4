# 32-bit big-endian PowerPC with an e500mc core: Debian's cross compiler, and qemu to run what it
# makes. Libraries for the target are looked for in CMAKE_FIND_ROOT_PATH, where the scripts build
# them, and in the compiler's root.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ppc)

set(CMAKE_C_COMPILER powerpc-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER powerpc-linux-gnu-g++)
set(CMAKE_C_FLAGS_INIT -mcpu=e500mc)
set(CMAKE_CXX_FLAGS_INIT -mcpu=e500mc)

get_filename_component(target_deps ${CMAKE_CURRENT_LIST_DIR}/../../build/target-deps ABSOLUTE)
list(APPEND CMAKE_FIND_ROOT_PATH
  ${target_deps}/sqlite ${target_deps}/googletest /usr/powerpc-linux-gnu)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The processor that qemu takes by itself lacks an instruction of the e500mc (isel).
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-ppc -cpu e500mc -L /usr/powerpc-linux-gnu)
