# Protections of the release binary against the errors that the tests have not found. Link hardening
# to get them; tests/analysis/hardening.sh looks whether they are in the binary.
#
#   position-independent executable   addresses differ from run to run
#   relro, now                        relocations are read-only once the tool has started
#   stack-protector-strong            a text that runs over its place on the stack ends the run
#   stack-clash-protection            a large frame can't jump over the guard page
#   _FORTIFY_SOURCE                   the C library checks the sizes that the compiler knows
include(CheckPIESupported)
check_pie_supported()
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

# Level 3 needs a compiler that knows sizes at run time. Distributions set the macro themselves.
if((CMAKE_CXX_COMPILER_ID STREQUAL GNU AND CMAKE_CXX_COMPILER_VERSION VERSION_GREATER_EQUAL 12) OR
   (CMAKE_CXX_COMPILER_ID STREQUAL Clang AND CMAKE_CXX_COMPILER_VERSION VERSION_GREATER_EQUAL 15))
    set(fortifyLevel 3)
else()
    set(fortifyLevel 2)
endif()

add_library(hardening INTERFACE)
if(CMAKE_BUILD_TYPE STREQUAL Release)
    target_compile_options(hardening INTERFACE
        -fstack-protector-strong -fstack-clash-protection
        -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=${fortifyLevel})
    target_link_options(hardening INTERFACE LINKER:-z,relro,-z,now)
endif()
