# What `cmake --install BUILD --prefix WayfarRoutes_VERSION.app` lays out: a folder in the AppDir form, which runs wherever
# it is put.
set(bundle ${CMAKE_SOURCE_DIR}/packaging)
install(TARGETS wayfar-installer wayfar-starter RUNTIME DESTINATION usr/bin)
install(PROGRAMS ${bundle}/bundle/wayfar-menu-entry DESTINATION usr/bin)
install(PROGRAMS ${bundle}/bundle/AppRun DESTINATION .)
install(FILES ${bundle}/wayfar-installer.desktop ${bundle}/bundle/README DESTINATION .)
install(FILES ${bundle}/wayfar-installer.desktop DESTINATION usr/share/applications)
set(icons ${CMAKE_SOURCE_DIR}/src/resources)
install(FILES ${icons}/icons/wayfar-installer-256.png DESTINATION . RENAME wayfar-installer.png)
install(FILES ${icons}/icons/wayfar-installer-256.png DESTINATION usr/share/icons/hicolor/256x256/apps
    RENAME wayfar-installer.png)
install(FILES ${icons}/svg/wayfar-installer.svg DESTINATION usr/share/icons/hicolor/scalable/apps)
install(FILES ${CMAKE_SOURCE_DIR}/LICENSE DESTINATION usr/share/doc/wayfar-installer)
