# Runtime files the program opens by name from its own folder (sounds, tune, maker page).
set(DORVALA_ASSET_DIR ${CMAKE_SOURCE_DIR}/assets)
file(GLOB DORVALA_RUNTIME_FILES CONFIGURE_DEPENDS
  ${DORVALA_ASSET_DIR}/sounds/*.wav ${DORVALA_ASSET_DIR}/sounds/*.WAV ${DORVALA_ASSET_DIR}/sounds/*.MID)
file(GLOB DORVALA_MAKER_FILES CONFIGURE_DEPENDS ${DORVALA_ASSET_DIR}/maker/*)

add_custom_target(dorvala_runtime_files ALL
  COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_BINARY_DIR}/bin/maker
  COMMAND ${CMAKE_COMMAND} -E copy_directory ${DORVALA_ASSET_DIR}/sounds ${CMAKE_BINARY_DIR}/bin
  COMMAND ${CMAKE_COMMAND} -E copy_directory ${DORVALA_ASSET_DIR}/maker ${CMAKE_BINARY_DIR}/bin/maker
  # The demo starts this registry when none is configured, as the installed program does.
  COMMAND ${CMAKE_COMMAND} -E copy ${CMAKE_SOURCE_DIR}/scripts/registry.py ${CMAKE_BINARY_DIR}/bin
  COMMENT "Copying sounds, tune, maker page and registry script beside the programs")

# Pictures are compiled in: the title window must appear fast and never lack a face.
file(GLOB DORVALA_PICTURES CONFIGURE_DEPENDS RELATIVE ${DORVALA_ASSET_DIR}/pictures
  ${DORVALA_ASSET_DIR}/pictures/*.gif ${DORVALA_ASSET_DIR}/pictures/*.png
  ${DORVALA_ASSET_DIR}/pictures/*.jpg)
