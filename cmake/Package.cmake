# The Debian package for players: cpack -G DEB in a build folder (scripts/package.sh does it
# all). Its contents are the install rules of cmake/Install.cmake.
if(WIN32)
  return()
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME dorvala)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_VENDOR "Pobrek Online Games")
set(CPACK_PACKAGE_CONTACT "Dorvala Online team <dorvala@pobrek.example>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "two-player duel on a board of nine points, over the network")
# The summary is the control file's synopsis; this is the extended description below it.
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION "Two players, two machines, one TCP connection: one player hosts a match, the
other joins it by the host's address. Each places a stone in turn on a board of
nine points; every line of three scores a point and the plus-shaped pattern of
five scores three. Beside the board there is a chat line with speech bubbles,
sound cues and both players' running totals. An online lobby lists open
matches from a shared FTP account; dorvala-registry serves one on a LAN or a
server. The game's texts are in Indonesian.")

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION games)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE https://pobrek.example/dorvala/)
# Libraries the program links come from dpkg-shlibdeps. What it opens at run time is named
# here: the X11 platform plugin, FluidSynth (loaded when the about tune first plays) with a
# General MIDI soundfont, setcap for the postinst, and Debian's Python with pyftpdlib for
# dorvala-registry.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS
    "qt6-qpa-plugins, libfluidsynth3, timgm6mb-soundfont | fluid-soundfont-gm, libcap2-bin, python3, python3-pyftpdlib")
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA
    ${CMAKE_SOURCE_DIR}/packaging/conffiles
    ${CMAKE_SOURCE_DIR}/packaging/postinst
    ${CMAKE_SOURCE_DIR}/packaging/prerm
    ${CMAKE_SOURCE_DIR}/packaging/postrm)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

include(CPack)
