# What "cpack" makes: a Debian package, and source and binary archives for everybody else. All of
# them have the same bytes whenever and wherever they are made. script/package is the short way.

# Stands in the package's control file and in its changelog. A placeholder until the owner puts
# theirs here.
set(CONVERTQUORVLOGS_MAINTAINER
    "convertquorvlogs maintainers <maintainers@convertquorvlogs.example>")
configure_file(packaging/changelog.in packaging/changelog @ONLY)

set(CPACK_GENERATOR DEB TGZ)
set(CPACK_SYSTEM_NAME linux-${CMAKE_SYSTEM_PROCESSOR})
if(CONVERTQUORVLOGS_STATIC)
    set(CPACK_GENERATOR TGZ)
    string(APPEND CPACK_SYSTEM_NAME -static)
endif()
set(CPACK_PACKAGE_NAME convertquorvlogs)
set(CPACK_PACKAGE_CONTACT "${CONVERTQUORVLOGS_MAINTAINER}")
set(CPACK_PACKAGE_DESCRIPTION_FILE ${CMAKE_SOURCE_DIR}/packaging/description)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)

# The source archive holds the tree as it lies, without what is built and what git keeps.
string(REGEX REPLACE "([][+.*()^$?|\\])" "\\\\\\1" sourceDir "${CMAKE_SOURCE_DIR}")
set(CPACK_SOURCE_GENERATOR TGZ)
set(CPACK_SOURCE_PACKAGE_FILE_NAME convertquorvlogs-${PROJECT_VERSION})
set(CPACK_SOURCE_IGNORE_FILES
    "^${sourceDir}/(build|out|\\.git)(/|$)" "^${sourceDir}/synopsis\\.csv$")

# Executed by cpack for each package: at the start, before the files are packed, and afterwards.
set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_SOURCE_DIR}/packaging/clock.cmake)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_SOURCE_DIR}/packaging/finish.cmake)
set(CPACK_POST_BUILD_SCRIPTS ${CMAKE_SOURCE_DIR}/packaging/archive.cmake)
set(CPACK_CONVERTQUORVLOGS_CHANGELOG ${CMAKE_BINARY_DIR}/packaging/changelog)
include(CPack)
