# `cpack` in the build folder (or `make deb`) makes a Debian package of the deck. Its library
# dependencies come from dpkg-shlibdeps; what the program needs beyond its libraries is named here.
include(GNUInstallDirs)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME spindrel)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_VENDOR "The Spindrel developers")
set(CPACK_PACKAGE_CONTACT "Spindrel developers <developers@spindrel.io>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "cassette deck for recording sound")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
    "Spindrel records from any input into tapes: one .m4a file each, in AAC or Apple\n\
Lossless, with the title, notes, date and cover art kept in the file. It plays,\n\
cues, reviews and winds them like a cassette deck, from its keys, the keyboard\n\
and global hot keys, and finds them again in a searchable tape box.")
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "https://spindrel.io/")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Loaded at run time, so dpkg-shlibdeps cannot see them: the SVG plugins draw the icons, and Qt's
# network library brings the TLS backend itself. The sound server is the desktop's.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libqt6svg6")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "pipewire-pulse | pulseaudio, qt6-wayland")
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)

# The documentation every Debian package carries: the copyright, a compressed changelog and the
# manual page.
set(spindrel_changelog ${CMAKE_BINARY_DIR}/changelog.Debian.gz)
execute_process(COMMAND gzip -9nc ${PROJECT_SOURCE_DIR}/resources/debian/changelog
                OUTPUT_FILE ${spindrel_changelog})
install(FILES ${PROJECT_SOURCE_DIR}/resources/debian/copyright ${spindrel_changelog}
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/spindrel)
set(spindrel_manual ${CMAKE_BINARY_DIR}/spindrel.1.gz)
execute_process(COMMAND gzip -9nc ${PROJECT_SOURCE_DIR}/resources/spindrel.1 OUTPUT_FILE ${spindrel_manual})
install(FILES ${spindrel_manual} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)

include(CPack)
