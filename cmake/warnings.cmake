# The warnings that all of the project's own targets are built with. Link project_warnings to get them.
add_library(project_warnings INTERFACE)
target_compile_options(project_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow
    -Wnon-virtual-dtor -Wold-style-cast -Wcast-qual -Wformat=2 -Wundef -Wdouble-promotion
    $<$<CXX_COMPILER_ID:GNU>:-Wduplicated-cond -Wlogical-op>)
if(CONVERTQUORVLOGS_WERROR)
    target_compile_options(project_warnings INTERFACE -Werror)
endif()
