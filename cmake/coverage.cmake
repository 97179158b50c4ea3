# Counters in every line and branch, which gcovr reads; see script/coverage.
if(CONVERTQUORVLOGS_COVERAGE)
    add_compile_options(--coverage)
    add_link_options(--coverage)
endif()
