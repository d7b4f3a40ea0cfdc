# Installs the build into a temporary folder and checks that a Linux desktop finds the game:
# the program with its sounds beside it, the link on PATH, the desktop entry and the icons.
set(dest ${BUILD_DIR}/install-check)
file(REMOVE_RECURSE ${dest})
execute_process(COMMAND ${CMAKE_COMMAND} -E env DESTDIR=${dest}
                        ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix /usr
                RESULT_VARIABLE rc OUTPUT_QUIET)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "cmake --install failed: ${rc}")
endif()
foreach(f usr/bin/dorvala usr/lib/dorvala/dorvala usr/lib/dorvala/WIN.wav usr/lib/dorvala/MeC.WAV
          usr/lib/dorvala/lose.wav usr/lib/dorvala/AB.MID usr/lib/dorvala/maker/index.html
          usr/share/applications/dorvala.desktop
          usr/share/icons/hicolor/256x256/apps/dorvala.png
          usr/share/icons/hicolor/48x48/apps/dorvala.png)
  if(NOT EXISTS ${dest}/${f})
    message(FATAL_ERROR "missing after install: ${f}")
  endif()
endforeach()
file(READ ${dest}/usr/share/applications/dorvala.desktop entry)
foreach(key "Exec=dorvala" "Icon=dorvala" "Type=Application" "Name=Dorvala Online")
  string(FIND "${entry}" "${key}" at)
  if(at EQUAL -1)
    message(FATAL_ERROR "desktop entry lacks ${key}")
  endif()
endforeach()
execute_process(COMMAND ${dest}/usr/bin/dorvala --version OUTPUT_VARIABLE out RESULT_VARIABLE rc)
if(NOT rc EQUAL 0 OR NOT out MATCHES "Dorvala Online 1\\.0")
  message(FATAL_ERROR "installed dorvala --version: ${rc} ${out}")
endif()
file(REMOVE_RECURSE ${dest})
message(STATUS "install layout ok")
