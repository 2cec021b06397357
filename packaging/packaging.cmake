# Installation under /usr and the Debian package (scripts/package.sh, or cpack -G DEB in a build
# folder): kelvane and kelvane-cli, the desktop entry, the AppStream metainfo, the file types, the
# icon in SVG and 256x256 PNG, the man pages, the examples and the package's own documents.
# Dependencies come from the programs' shared libraries (dpkg-shlibdeps).
include(GNUInstallDirs)

set(KELVANE_APP_ID org.example.kelvane)
set(packaging ${CMAKE_SOURCE_DIR}/packaging)
set(staged ${CMAKE_BINARY_DIR}/packaging)

# Texts that carry the version, and the man pages and changelog compressed as Debian wants them.
configure_file(${packaging}/${KELVANE_APP_ID}.metainfo.xml.in ${staged}/${KELVANE_APP_ID}.metainfo.xml @ONLY)
set(compressed)
foreach(page kelvane.1 kelvane-cli.1 changelog)
  configure_file(${packaging}/${page}.in ${staged}/${page} @ONLY)
  add_custom_command(OUTPUT ${staged}/${page}.gz
                     COMMAND gzip -9n -c ${staged}/${page} > ${staged}/${page}.gz
                     DEPENDS ${staged}/${page} ${packaging}/${page}.in VERBATIM)
  list(APPEND compressed ${staged}/${page}.gz)
endforeach()

find_program(RSVG_CONVERT rsvg-convert)
set(iconpng ${staged}/256x256/kelvane.png)
if(RSVG_CONVERT)
  add_custom_command(OUTPUT ${iconpng}
                     COMMAND ${CMAKE_COMMAND} -E make_directory ${staged}/256x256
                     COMMAND ${RSVG_CONVERT} -w 256 -h 256 -o ${iconpng} ${packaging}/kelvane.svg
                     DEPENDS ${packaging}/kelvane.svg VERBATIM)
else()
  message(WARNING "rsvg-convert not found: the package will lack the 256x256 icon (scripts/install-deps.sh installs it)")
  set(iconpng)
endif()
add_custom_target(kelvane_packagefiles ALL DEPENDS ${compressed} ${iconpng})

install(TARGETS kelvane-cli RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES ${staged}/kelvane-cli.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
if(TARGET kelvane)
  install(TARGETS kelvane RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  install(FILES ${staged}/kelvane.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
  install(FILES ${packaging}/${KELVANE_APP_ID}.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
  install(FILES ${staged}/${KELVANE_APP_ID}.metainfo.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
  install(FILES ${packaging}/kelvane-mime.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/mime/packages RENAME kelvane.xml)
  install(FILES ${packaging}/kelvane.svg DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)
  if(iconpng)
    install(FILES ${iconpng} DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/256x256/apps)
  endif()
endif()
# The Python examples are started by python3 (the package only suggests it), so they are not
# executables of their own.
install(DIRECTORY ${CMAKE_SOURCE_DIR}/examples/ DESTINATION ${CMAKE_INSTALL_DATADIR}/kelvane/examples
        USE_SOURCE_PERMISSIONS PATTERN ".git*" EXCLUDE
        PATTERN "*.py" PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
install(FILES ${packaging}/copyright ${staged}/changelog.gz DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/kelvane)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME kelvane)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_VENDOR "The Kelvane developers")
set(CPACK_PACKAGE_CONTACT "The Kelvane developers <maintainers@kelvane.example.org>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "development and teaching environment for the Intel 8085")
string(JOIN "\n" CPACK_PACKAGE_DESCRIPTION
    "Kelvane shows the front panel of a simulated Intel 8085 (registers, flags, the"
    "last and next instruction, interrupt inputs and counters) and around it the"
    "tools a student of the processor needs: memory and I/O port editors, bit"
    "devices with an output terminal, a breakpoints manager that follows the"
    "program in its listing, a two-pass assembler, an interactive assembler, a"
    "disassembler, a small BASIC compiler and a simulation log."
    ""
    "kelvane-cli runs, assembles, disassembles and grades programs without windows.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION electronics)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "https://kelvane.example.org/")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The one thing the libraries don't tell: the window system's plugin, which Qt loads at start.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "qt6-qpa-plugins")
# What the example modules and the automation script in Python use.
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "python3-dbus, python3-gi, gir1.2-gtk-3.0")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
include(CPack)
