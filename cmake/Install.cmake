# Where an install on Linux puts the game (cmake --install, and the .deb made from it).
#
# The program reads its sounds, tune and maker page from its own folder, so it lives with
# them in lib/dorvala; bin/dorvala is a relative link that the program resolves to its real
# folder. Paths are written out rather than taken from GNUInstallDirs: its LIBDIR turns
# multiarch under /usr, and the package's postinst names the program by its path.
if(WIN32)
  return()
endif()

set(DORVALA_INSTALL_DIR lib/dorvala)
set(DORVALA_APP_ID id.pobrek.Dorvala)
set(DORVALA_PACKAGING_DIR ${CMAKE_SOURCE_DIR}/packaging)
set(exec_perms OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
               WORLD_READ WORLD_EXECUTE)

# Relative links keep working under DESTDIR and inside the package.
function(dorvala_install_link target link)
  install(CODE "
    get_filename_component(dir \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${link}\" DIRECTORY)
    file(MAKE_DIRECTORY \"\${dir}\")
    file(CREATE_LINK ${target} \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${link}\" SYMBOLIC)")
endfunction()

install(TARGETS dorvala RUNTIME DESTINATION ${DORVALA_INSTALL_DIR})
install(TARGETS dorvala_sound_effects LIBRARY DESTINATION ${DORVALA_INSTALL_DIR})
install(DIRECTORY ${DORVALA_ASSET_DIR}/sounds/ DESTINATION ${DORVALA_INSTALL_DIR})
install(DIRECTORY ${DORVALA_ASSET_DIR}/maker DESTINATION ${DORVALA_INSTALL_DIR})
dorvala_install_link(../${DORVALA_INSTALL_DIR}/dorvala bin/dorvala)

# The registry server for a LAN or a server; the self-play demo also finds it beside the
# program under its source name.
install(PROGRAMS ${CMAKE_SOURCE_DIR}/scripts/registry.py DESTINATION bin
        RENAME dorvala-registry)
dorvala_install_link(../../bin/dorvala-registry ${DORVALA_INSTALL_DIR}/registry.py)
# Debian 12 keeps system units in /lib (files may not move between / and /usr there).
install(FILES ${DORVALA_PACKAGING_DIR}/dorvala-registry.service
        DESTINATION /lib/systemd/system)

# The system-wide defaults, every line commented: an administrator points all players of a
# machine at a registry once. A conffile: an administrator's edit survives an upgrade.
install(FILES ${DORVALA_PACKAGING_DIR}/dorvala.conf DESTINATION /etc/xdg/Pobrek)

# What a desktop needs to show and start the game.
install(FILES ${DORVALA_ASSET_DIR}/desktop/${DORVALA_APP_ID}.desktop
        DESTINATION share/applications)
install(FILES ${DORVALA_PACKAGING_DIR}/${DORVALA_APP_ID}.metainfo.xml DESTINATION share/metainfo)
foreach(size 16 22 24 32 48 64 128)
  install(FILES ${DORVALA_ASSET_DIR}/icons/dorvala-${size}.png
          DESTINATION share/icons/hicolor/${size}x${size}/apps RENAME dorvala.png)
endforeach()
install(FILES ${DORVALA_ASSET_DIR}/icons/dorvala.png DESTINATION share/icons/hicolor/256x256/apps)

# Manual pages and the changelog go in compressed, as Debian wants them (-n: no time stamp,
# so two builds give the same bytes).
find_program(DORVALA_GZIP gzip REQUIRED)
set(gz_dir ${CMAKE_BINARY_DIR}/packaging)
set(gz_files)
foreach(pair "dorvala.6|share/man/man6" "dorvala-registry.1|share/man/man1"
             "changelog|share/doc/dorvala")
  string(REPLACE "|" ";" pair "${pair}")
  list(GET pair 0 name)
  list(GET pair 1 dest)
  add_custom_command(OUTPUT ${gz_dir}/${name}.gz
    COMMAND ${CMAKE_COMMAND} -E copy ${DORVALA_PACKAGING_DIR}/${name} ${gz_dir}/${name}
    COMMAND ${DORVALA_GZIP} -9nf ${gz_dir}/${name}
    DEPENDS ${DORVALA_PACKAGING_DIR}/${name} VERBATIM)
  list(APPEND gz_files ${gz_dir}/${name}.gz)
  install(FILES ${gz_dir}/${name}.gz DESTINATION ${dest})
endforeach()
add_custom_target(dorvala_compressed_docs ALL DEPENDS ${gz_files})
install(FILES ${DORVALA_PACKAGING_DIR}/copyright DESTINATION share/doc/dorvala)
# The screenshots the AppStream data shows travel with the game, so a player has them even
# before the game has a web home of its own.
install(FILES ${CMAKE_SOURCE_DIR}/docs/screenshots/installed.png
              ${CMAKE_SOURCE_DIR}/docs/screenshots/match_game.png
              ${CMAKE_SOURCE_DIR}/docs/screenshots/settings.png
        DESTINATION share/doc/dorvala/screenshots)
install(FILES ${DORVALA_PACKAGING_DIR}/lintian-overrides DESTINATION share/lintian/overrides
        RENAME dorvala)
