# The bundle: a folder in the AppDir form, which runs wherever it is put.
# `cmake --install BUILD --component bundle --prefix WayfarRoutes_VERSION.app` lays out one alone.
set(packaging ${CMAKE_SOURCE_DIR}/packaging)
set(icons ${CMAKE_SOURCE_DIR}/src/resources)
set(generated ${CMAKE_BINARY_DIR}/generated)
set(entry ${generated}/${WAYFAR_APPLICATION_ID}.desktop)
set(metainfo ${generated}/${WAYFAR_APPLICATION_ID}.metainfo.xml)
configure_file(${packaging}/wayfar-installer.desktop.in ${entry} @ONLY)
configure_file(${packaging}/wayfar-installer.metainfo.xml.in ${metainfo} @ONLY)

# wayfar_install_desktop_files(SHARE component...): what a desktop reads, below the "share" folder.
function(wayfar_install_desktop_files share)
    install(FILES ${entry} DESTINATION ${share}/applications ${ARGN})
    install(FILES ${metainfo} DESTINATION ${share}/metainfo ${ARGN})
    foreach(size 16 22 24 32 48 64 128 256 512)
        install(FILES ${icons}/icons/wayfar-installer-${size}.png RENAME ${WAYFAR_APPLICATION_ID}.png
            DESTINATION ${share}/icons/hicolor/${size}x${size}/apps ${ARGN})
    endforeach()
    install(FILES ${icons}/svg/wayfar-installer.svg RENAME ${WAYFAR_APPLICATION_ID}.svg
        DESTINATION ${share}/icons/hicolor/scalable/apps ${ARGN})
endfunction()

# wayfar_install_bundle(FOLDER component...)
function(wayfar_install_bundle folder)
    cmake_path(SET usr NORMALIZE ${folder}/usr)
    install(TARGETS wayfar-installer wayfar-starter wayfar-check-vendor RUNTIME DESTINATION ${usr}/bin ${ARGN})
    install(PROGRAMS ${packaging}/bundle/wayfar-menu-entry DESTINATION ${usr}/bin ${ARGN})
    install(PROGRAMS ${packaging}/bundle/AppRun DESTINATION ${folder} ${ARGN})
    install(FILES ${packaging}/bundle/packages DESTINATION ${usr}/share/wayfar-installer ${ARGN})
    install(FILES ${entry} ${packaging}/bundle/README DESTINATION ${folder} ${ARGN})
    install(FILES ${icons}/icons/wayfar-installer-256.png RENAME ${WAYFAR_APPLICATION_ID}.png
        DESTINATION ${folder} ${ARGN})
    install(FILES ${CMAKE_SOURCE_DIR}/LICENSE DESTINATION ${usr}/share/doc/wayfar-installer ${ARGN})
    wayfar_install_desktop_files(${usr}/share ${ARGN})
endfunction()

wayfar_install_bundle(. COMPONENT bundle EXCLUDE_FROM_ALL)
