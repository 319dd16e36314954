# What `cmake --install` puts where: the program, its desktop entry and icon,
# the user guide and the manual page. Also tells the program its version, its
# window icon and where its guide is found.
include(GNUInstallDirs)

set(GLEANMARK_DOC_DIR ${CMAKE_INSTALL_DATAROOTDIR}/doc/gleanmark)
set(GLEANMARK_GUIDE_SOURCES ${PROJECT_SOURCE_DIR}/docs/guide)

# The program looks for the installed guide relative to its own folder, so
# the installed tree can move (cmake --install --prefix, a package); a program
# run from its build folder reads the guide in the source tree.
file(RELATIVE_PATH guide_from_bindir ${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}
     ${CMAKE_INSTALL_PREFIX}/${GLEANMARK_DOC_DIR}/guide/index.html)
target_compile_definitions(gleanmark_ui PRIVATE
  GLEANMARK_GUIDE_FROM_BINDIR="${guide_from_bindir}"
  GLEANMARK_GUIDE_IN_SOURCES="${GLEANMARK_GUIDE_SOURCES}/index.html")

target_compile_definitions(gleanmark PRIVATE GLEANMARK_VERSION="${PROJECT_VERSION}")
target_sources(gleanmark PRIVATE ${PROJECT_SOURCE_DIR}/data/gleanmark.qrc)
set_target_properties(gleanmark PROPERTIES AUTORCC ON)

# Debian wants manual pages compressed; man reads them either way.
set(GLEANMARK_MAN_PAGE ${CMAKE_BINARY_DIR}/gleanmark.1.gz)
add_custom_command(OUTPUT ${GLEANMARK_MAN_PAGE}
  COMMAND sh -c "gzip -9 -n -c \"$0\" > \"$1\"" ${PROJECT_SOURCE_DIR}/docs/man/gleanmark.1
          ${GLEANMARK_MAN_PAGE}
  DEPENDS ${PROJECT_SOURCE_DIR}/docs/man/gleanmark.1
  COMMENT "Compressing the manual page"
  VERBATIM)
add_custom_target(gleanmark_man_page ALL DEPENDS ${GLEANMARK_MAN_PAGE})

install(TARGETS gleanmark RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES data/gleanmark.desktop DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/applications)
install(FILES data/gleanmark.svg
        DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/icons/hicolor/scalable/apps)
install(FILES ${GLEANMARK_MAN_PAGE} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(DIRECTORY ${GLEANMARK_GUIDE_SOURCES}/ DESTINATION ${GLEANMARK_DOC_DIR}/guide
        FILES_MATCHING PATTERN "*.html" PATTERN "*.css" PATTERN "*.png")
