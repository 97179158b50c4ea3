# Executed by cpack when it has made a package. An archive is made once more from the same files:
# cpack keeps the builder's user and the order in which the file system lists the files.
if(CPACK_GENERATOR STREQUAL TGZ)
    get_filename_component(parent ${CPACK_TEMPORARY_DIRECTORY} DIRECTORY)
    get_filename_component(name ${CPACK_TEMPORARY_DIRECTORY} NAME)
    execute_process(
        COMMAND tar --create --directory=${parent} --sort=name --mtime=@$ENV{SOURCE_DATE_EPOCH}
            --owner=root:0 --group=root:0 --format=gnu ${name}
        COMMAND gzip -9n
        OUTPUT_FILE ${CPACK_PACKAGE_FILES}
        COMMAND_ERROR_IS_FATAL ANY)
endif()
