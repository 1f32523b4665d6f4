# What `cmake --install BUILD --prefix /usr` lays out: the bundle in a folder of the program's own, where its upgrades
# find their place beside it, and around it what a desktop and a shell look for. `cpack -G DEB` packs the same.
set(bundles lib/wayfar-installer)
wayfar_install_bundle(${bundles}/WayfarRoutes_${WAYFAR_VERSION}.app)
wayfar_install_desktop_files(share)
file(CREATE_LINK ../${bundles}/WayfarRoutes_${WAYFAR_VERSION}.app/usr/bin/wayfar-starter ${generated}/wayfar-installer
    SYMBOLIC)
install(FILES ${generated}/wayfar-installer DESTINATION bin)
configure_file(${packaging}/wayfar-installer.1.in ${generated}/wayfar-installer.1 @ONLY)
install(FILES ${generated}/wayfar-installer.1 DESTINATION share/man/man1)
install(FILES ${CMAKE_SOURCE_DIR}/LICENSE ${CMAKE_SOURCE_DIR}/CHANGELOG.md DESTINATION share/doc/wayfar-installer)

configure_file(${packaging}/debian/copyright.in ${generated}/debian/copyright @ONLY)
configure_file(${packaging}/debian/changelog.in ${generated}/debian/changelog @ONLY)
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME wayfar-installer)
set(CPACK_PACKAGE_VERSION ${WAYFAR_VERSION})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PRE_BUILD_SCRIPTS ${packaging}/debian/finish.cmake)
set(CPACK_WAYFAR_DOCUMENTS ${generated}/debian)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER ${WAYFAR_MAINTAINER})
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE https://${WAYFAR_SITE_HOST}/)
set(CPACK_DEBIAN_PACKAGE_SECTION utils) # a game's would have to be in /usr/games
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "ca-certificates, libglib2.0-bin, pkexec, unzip, xdg-utils")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS qt6-wayland)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${packaging}/debian/postrm)
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION "keep the Trailbook guide pack up to date and start the game
Start it instead of your game. It logs you in with the vendor, shows the news
and your account, keeps the guide pack Trailbook in the game's add-on folder
up to date, and starts the game. It also keeps itself up to date.")
include(CPack)
