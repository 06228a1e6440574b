# What every target of ours is compiled with. The same bits on every machine come first:
# no contraction of a*b+c, and the SSE unit for doubles on 32-bit x86.
add_library(tesselu_options INTERFACE)
target_compile_features(tesselu_options INTERFACE cxx_std_20)

if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
    target_compile_options(tesselu_options INTERFACE
        -Wall -Wextra -Wconversion -Wshadow -ffp-contract=off)
    if(TESSELU_WARNINGS_AS_ERRORS)
        target_compile_options(tesselu_options INTERFACE -Werror)
    endif()
    if(CMAKE_SIZEOF_VOID_P EQUAL 4 AND CMAKE_SYSTEM_PROCESSOR MATCHES "x86|i.86|AMD64")
        target_compile_options(tesselu_options INTERFACE -msse2 -mfpmath=sse)
    endif()
endif()

if(TESSELU_SANITIZE)
    target_compile_options(tesselu_options INTERFACE
        -fsanitize=${TESSELU_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer -g1)
    target_link_options(tesselu_options INTERFACE -fsanitize=${TESSELU_SANITIZE})
endif()
