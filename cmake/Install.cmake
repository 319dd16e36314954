# What `cmake --install` puts where: the command-line program, the window
# program, the desktop entry and icon, the user guide and the manual page.
# Also tells the programs their version and where the other installed files
# are found, and gives the window its icon.
include(GNUInstallDirs)

set(GLEANMARK_DOC_DIR ${CMAKE_INSTALL_DATAROOTDIR}/doc/gleanmark)
set(GLEANMARK_GUIDE_SOURCES ${PROJECT_SOURCE_DIR}/docs/guide)
# The window program is not one a user types: it lives in a folder of its own.
set(GLEANMARK_WINDOW_DIR ${CMAKE_INSTALL_LIBEXECDIR}/gleanmark)

# Each program finds the installed files relative to its own folder, so the
# installed tree can move (cmake --install --prefix, a package). `gleanmark`
# finds the window program there; the window finds the guide there (a window
# run from its build folder reads the guide in the source tree). The guide's
# place is relative to the window program's folder, which is what the
# window's own folder is when it runs.
file(RELATIVE_PATH window_from_bindir ${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}
     ${CMAKE_INSTALL_PREFIX}/${GLEANMARK_WINDOW_DIR})
file(RELATIVE_PATH guide_from_window_dir ${CMAKE_INSTALL_PREFIX}/${GLEANMARK_WINDOW_DIR}
     ${CMAKE_INSTALL_PREFIX}/${GLEANMARK_DOC_DIR}/guide/index.html)
target_compile_definitions(gleanmark PRIVATE
  GLEANMARK_WINDOW_FROM_BINDIR="${window_from_bindir}")
target_compile_definitions(gleanmark_ui PRIVATE
  GLEANMARK_GUIDE_FROM_PROGRAM_DIR="${guide_from_window_dir}"
  GLEANMARK_GUIDE_IN_SOURCES="${GLEANMARK_GUIDE_SOURCES}/index.html")

target_compile_definitions(gleanmark PRIVATE GLEANMARK_VERSION="${PROJECT_VERSION}")
target_compile_definitions(gleanmark-window PRIVATE GLEANMARK_VERSION="${PROJECT_VERSION}")
# The icons are the window's alone; the command line prints only text.
target_sources(gleanmark-window PRIVATE ${PROJECT_SOURCE_DIR}/data/gleanmark.qrc)
set_target_properties(gleanmark-window PROPERTIES AUTORCC ON)

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
install(TARGETS gleanmark-window RUNTIME DESTINATION ${GLEANMARK_WINDOW_DIR})
install(FILES data/gleanmark.desktop DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/applications)
install(FILES data/gleanmark.svg
        DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/icons/hicolor/scalable/apps)
install(FILES ${GLEANMARK_MAN_PAGE} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(DIRECTORY ${GLEANMARK_GUIDE_SOURCES}/ DESTINATION ${GLEANMARK_DOC_DIR}/guide
        FILES_MATCHING PATTERN "*.html" PATTERN "*.css" PATTERN "*.png")
