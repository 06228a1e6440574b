# 32-bit x86 programs on 64-bit Linux (Debian: g++-multilib, gcc-multilib). They run on the machine that builds
# them, so this is no cross build to CMake.
set(CMAKE_C_FLAGS_INIT -m32)
set(CMAKE_CXX_FLAGS_INIT -m32)
