# Executed by cpack on the files that it has installed, before it packs them.

# What Debian wants to have otherwise than everybody else.
if(CPACK_GENERATOR STREQUAL DEB)
    set(share ${CPACK_TEMPORARY_DIRECTORY}/usr/share)
    file(RENAME ${share}/zsh/site-functions ${share}/zsh/vendor-completions)
    configure_file(${CPACK_CONVERTQUORVLOGS_CHANGELOG} ${share}/doc/convertquorvlogs/changelog
        COPYONLY)
    execute_process(
        COMMAND gzip -9n ${share}/doc/convertquorvlogs/changelog
            ${share}/man/man1/convertquorvlogs.1
        COMMAND_ERROR_IS_FATAL ANY)
endif()

# Permissions don't depend on the umask with which the sources were unpacked.
execute_process(COMMAND chmod -R u=rwX,go=rX ${CPACK_TEMPORARY_DIRECTORY}
    COMMAND_ERROR_IS_FATAL ANY)
