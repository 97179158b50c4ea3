# What "cmake --install" puts where.
include(GNUInstallDirs)

install(TARGETS convertquorvlogs RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})

# The manual page. The recipe that it shows is the very one that is installed, with the characters
# escaped that mean something to the formatter or that it would turn into typographic ones.
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS recipes/convert-checked)
file(READ recipes/convert-checked manualRecipe)
string(REPLACE "\\" "\\e" manualRecipe "${manualRecipe}")
string(REPLACE "'" "\\(aq" manualRecipe "${manualRecipe}")
string(REPLACE "^" "\\(ha" manualRecipe "${manualRecipe}")
string(REPLACE "-" "\\-" manualRecipe "${manualRecipe}")
# Its section on the columns is docs/columns.mdoc, where there is one.
set(manualColumns "")
if(EXISTS ${CMAKE_SOURCE_DIR}/docs/columns.mdoc)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS docs/columns.mdoc)
    file(READ docs/columns.mdoc manualColumns)
endif()
configure_file(docs/convertquorvlogs.1.in convertquorvlogs.1 @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/convertquorvlogs.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)

# Completions, where each shell looks for those that don't come with it.
install(FILES packaging/completions/convertquorvlogs.bash RENAME convertquorvlogs
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
install(FILES packaging/completions/_convertquorvlogs
    DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions)
install(FILES packaging/completions/convertquorvlogs.fish
    DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)

# The docs keep their places relative to each other, so that links between them lead somewhere.
install(FILES README.md CHANGELOG.md packaging/copyright DESTINATION ${CMAKE_INSTALL_DOCDIR}
    OPTIONAL)
install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DOCDIR} OPTIONAL
    PATTERN *.in EXCLUDE PATTERN *.mdoc EXCLUDE)
# So do samples and recipes. A recipe keeps its permission to be run.
install(DIRECTORY samples DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples OPTIONAL
    FILES_MATCHING PATTERN *.LOG PATTERN *.md)
install(DIRECTORY recipes DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples OPTIONAL
    USE_SOURCE_PERMISSIONS
    PATTERN CMakeLists.txt EXCLUDE)
