# What is installed has the same bytes wherever the sources lie: no path of the machine that built
# it gets in. Other builds keep the paths, which debuggers and coverage reports look up.
add_compile_options("$<$<CONFIG:Release>:-ffile-prefix-map=${CMAKE_SOURCE_DIR}=.>")

# For laptops without a package manager: a tool that needs no shared library at all.
option(CONVERTQUORVLOGS_STATIC "Link the tool statically" OFF)
