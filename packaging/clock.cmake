# Read by cpack at its start. All files in a package, and the package itself, bear the date of the
# newest entry of the Debian changelog, unless SOURCE_DATE_EPOCH says another.
if(NOT DEFINED ENV{SOURCE_DATE_EPOCH})
    file(STRINGS ${CPACK_CONVERTQUORVLOGS_CHANGELOG} signatures REGEX "^ -- ")
    list(GET signatures 0 signature)
    string(REGEX REPLACE "^ -- .*>  " "" date "${signature}")
    execute_process(COMMAND date --date=${date} +%s
        OUTPUT_VARIABLE epoch OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    set(ENV{SOURCE_DATE_EPOCH} ${epoch})
endif()
