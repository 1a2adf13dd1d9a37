# What `cmake --install` puts where (besides the service's own rules in
# stand/service), and the Debian package CPack builds from the same rules.
set(zentor_packaging ${PROJECT_SOURCE_DIR}/packaging)

install(TARGETS zentor RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES ${ZENTOR_CAMERA_INI} DESTINATION ${ZENTOR_INSTALL_DATA})

# The desktop: menu entry, icon, AppStream metadata, manual pages.
zentor_install_configured(${zentor_packaging}/desktop/org.zentor.Zentor.desktop.in ${CMAKE_INSTALL_DATADIR}/applications)
zentor_install_configured(${zentor_packaging}/desktop/org.zentor.Zentor.metainfo.xml.in ${CMAKE_INSTALL_DATADIR}/metainfo)
install(FILES ${zentor_packaging}/desktop/org.zentor.Zentor.svg
        DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)
zentor_install_configured(${zentor_packaging}/man/zentor.1.in ${CMAKE_INSTALL_MANDIR}/man1)
zentor_install_configured(${zentor_packaging}/man/zentor-service.1.in ${CMAKE_INSTALL_MANDIR}/man1)

# The Debian package: `cpack -G DEB` in the build folder.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME zentor)
set(CPACK_PACKAGE_VENDOR "Zentor developers")
set(CPACK_PACKAGE_CONTACT "Zentor developers <zentor@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "operator's control panel of a motorised research microscope")
set(CPACK_PACKAGE_DESCRIPTION "Shows the state of every motorised device of the microscope stand and lets\nthe operator change it, through the microscope service zentor-service on the\nD-Bus session bus, which serves simulated stands.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION science)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Beyond the libraries: the session bus that starts the service on demand.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "dbus-session-bus | default-dbus-session-bus, dbus-daemon")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "at-spi2-core, xdg-utils")
set(CPACK_STRIP_FILES ON)
include(CPack)

if(BUILD_TESTING OR NOT DEFINED BUILD_TESTING)
  add_subdirectory(packaging/tests)
endif()
