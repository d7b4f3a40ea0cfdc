# Installs the build into a temporary folder as the package lays it out under /usr, and
# checks that a Linux desktop finds the game: the program with its sounds beside it, the
# commands on PATH leading to the right files, the desktop entry, icons of the sizes their
# folders name, AppStream data, manual pages and the registry's service.
set(dest ${BUILD_DIR}/install-check)
file(REMOVE_RECURSE ${dest})
execute_process(COMMAND ${CMAKE_COMMAND} -E env DESTDIR=${dest}
                        ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix /usr
                RESULT_VARIABLE rc OUTPUT_QUIET)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "cmake --install failed: ${rc}")
endif()
set(app id.pobrek.Dorvala)
set(icon_sizes 16 22 24 32 48 64 128 256)
set(expected usr/lib/dorvala/dorvala usr/lib/dorvala/AB.MID usr/lib/dorvala/maker/index.html
    usr/share/applications/${app}.desktop usr/share/metainfo/${app}.metainfo.xml
    usr/share/man/man6/dorvala.6.gz usr/share/man/man1/dorvala-registry.1.gz
    usr/share/doc/dorvala/copyright usr/share/doc/dorvala/changelog.gz
    lib/systemd/system/dorvala-registry.service)
foreach(wave WIN.wav MeC.WAV MeX.wav MEI.wav lose.wav Mess.wav OL.wav)
  list(APPEND expected usr/lib/dorvala/${wave})
endforeach()
foreach(size ${icon_sizes})
  list(APPEND expected usr/share/icons/hicolor/${size}x${size}/apps/dorvala.png)
endforeach()
foreach(f ${expected})
  if(NOT EXISTS ${dest}/${f})
    message(FATAL_ERROR "missing after install: ${f}")
  endif()
endforeach()

# The commands are relative links (they must survive DESTDIR and the package) that lead to
# the real files; the program finds its sounds from where the link leads.
foreach(pair "usr/bin/dorvala|../lib/dorvala/dorvala"
             "usr/lib/dorvala/registry.py|../../bin/dorvala-registry")
  string(REPLACE "|" ";" pair "${pair}")
  list(GET pair 0 link)
  list(GET pair 1 target)
  file(READ_SYMLINK ${dest}/${link} got)
  if(NOT got STREQUAL target)
    message(FATAL_ERROR "${link} leads to '${got}', not ${target}")
  endif()
endforeach()
file(READ ${dest}/usr/bin/dorvala-registry head LIMIT 20)
if(NOT head MATCHES "^#!/usr/bin/python3\n" OR IS_SYMLINK ${dest}/usr/bin/dorvala-registry)
  message(FATAL_ERROR "dorvala-registry is not the script run by Debian's python3")
endif()

# An icon in the wrong size folder is scaled by the desktop, blurred; read the PNG header.
foreach(size ${icon_sizes})
  set(png ${dest}/usr/share/icons/hicolor/${size}x${size}/apps/dorvala.png)
  file(READ ${png} header LIMIT 24 HEX)
  string(SUBSTRING "${header}" 32 8 width_hex)
  string(SUBSTRING "${header}" 40 8 height_hex)
  math(EXPR width "0x${width_hex}")
  math(EXPR height "0x${height_hex}")
  if(NOT width EQUAL size OR NOT height EQUAL size)
    message(FATAL_ERROR "the ${size}x${size} icon is ${width}x${height}")
  endif()
endforeach()

file(READ ${dest}/usr/share/applications/${app}.desktop entry)
file(READ ${dest}/usr/share/metainfo/${app}.metainfo.xml metainfo)
foreach(check "entry|Exec=dorvala\n" "entry|Icon=dorvala\n" "metainfo|<id>${app}</id>"
              "metainfo|<launchable type=\"desktop-id\">${app}.desktop</launchable>")
  string(REPLACE "|" ";" check "${check}")
  list(GET check 0 var)
  list(GET check 1 key)
  string(FIND "${${var}}" "${key}" at)
  if(at EQUAL -1)
    message(FATAL_ERROR "${var} lacks ${key}")
  endif()
endforeach()

execute_process(COMMAND ${dest}/usr/bin/dorvala --version OUTPUT_VARIABLE out RESULT_VARIABLE rc)
if(NOT rc EQUAL 0 OR NOT out MATCHES "Dorvala Online 1\\.0")
  message(FATAL_ERROR "installed dorvala --version: ${rc} ${out}")
endif()
file(REMOVE_RECURSE ${dest})
message(STATUS "install layout ok")
