# AddressSanitizer and UndefinedBehaviorSanitizer for every target; any finding ends the program.
if(CONVERTQUORVLOGS_SANITIZE)
    add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all
        -fno-omit-frame-pointer)
    add_link_options(-fsanitize=address,undefined)
    add_compile_definitions(_GLIBCXX_ASSERTIONS)
endif()

# The fuzzing engine's counters in everything that it drives.
if(CONVERTQUORVLOGS_FUZZ)
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()
