# Protections of the release binary against the errors that the tests have not found. tests/analysis/
# hardening.sh looks whether they are in the binary.
#
#   position-independent executable   addresses differ from run to run
#   relro, now                        relocations are read-only once the tool has started
#   stack-protector-strong            a text that runs over its place on the stack ends the run
#   stack-clash-protection            a large frame can't jump over the guard page
#   _FORTIFY_SOURCE                   the C library checks the sizes that the compiler knows

# Level 3 needs a compiler that knows sizes at run time. Distributions set the macro themselves.
if((CMAKE_CXX_COMPILER_ID STREQUAL GNU AND CMAKE_CXX_COMPILER_VERSION VERSION_GREATER_EQUAL 12) OR
   (CMAKE_CXX_COMPILER_ID STREQUAL Clang AND CMAKE_CXX_COMPILER_VERSION VERSION_GREATER_EQUAL 15))
    set(fortifyLevel 3)
else()
    set(fortifyLevel 2)
endif()

function(harden target)
    if(NOT CMAKE_BUILD_TYPE STREQUAL Release)
        return()
    endif()
    target_compile_options(${target} PRIVATE
        -fPIE -fstack-protector-strong -fstack-clash-protection
        -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=${fortifyLevel})
    target_link_options(${target} PRIVATE LINKER:-z,relro,-z,now)
    if(NOT CONVERTQUORVLOGS_STATIC) # which brings an option of its own
        target_link_options(${target} PRIVATE -pie)
    endif()
endfunction()
