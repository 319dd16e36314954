# `make package`: a Debian package of the installed tree, built by CPack.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME gleanmark)
set(CPACK_PACKAGE_VENDOR "Brimwell Enterprises")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY
    "harvest contact information from documents and web sites")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "Brimwell Enterprises")
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
# The summary heads the package's description; this text follows it.
set(CPACK_PACKAGE_DESCRIPTION
    "Gleanmark pulls e-mail addresses, web addresses, mailto addresses, the words
that follow chosen keywords and the headers of saved mail messages out of
local text, HTML and ASP files, and out of web sites it crawls. Results are
shown in one grid and saved as tab-separated text. gleanmark harvest reads
mail archives, PDF, Office and OpenDocument files and archives as well, and
writes validated, deduplicated contacts with where each was found as TSV,
CSV, JSON Lines, SQLite, XLSX or vCard. The package holds the desktop
program, its command line (gleanmark run, crawl, shortcut and harvest), a
user guide and a manual page.")
# The libraries the program links come from dpkg-shlibdeps; these are the
# pieces it loads at run time: the desktop's platform plugins and the SVG
# plugins that draw its icon.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "qt6-qpa-plugins, libqt6svg6")
# A program with the browser view also needs the helper process its pages run
# in, which no library names: PackageRuntime.cmake adds it when cpack runs.
# The browser view is in the window program.
file(GENERATE OUTPUT ${CMAKE_BINARY_DIR}/PackageProgram.cmake
     CONTENT "set(GLEANMARK_PROGRAM \"$<TARGET_FILE:gleanmark-window>\")\n")
set(CPACK_GLEANMARK_PROGRAM_FILE ${CMAKE_BINARY_DIR}/PackageProgram.cmake)
set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_CURRENT_LIST_DIR}/PackageRuntime.cmake)
# Help opens in the desktop's browser through xdg-open; Qt needs a font.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "xdg-utils, fonts-dejavu-core")

include(CPack)
