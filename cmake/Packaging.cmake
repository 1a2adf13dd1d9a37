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
zentor_install_configured(${zentor_packaging}/man/zentor.1.in ${CMAKE_INSTALL_MANDIR}/man1 GZIP)
zentor_install_configured(${zentor_packaging}/man/zentor-service.1.in ${CMAKE_INSTALL_MANDIR}/man1 GZIP)

# The service under the systemd user manager where the session has one: the
# units the bus activation files name (SystemdService=).
zentor_install_configured(${zentor_packaging}/systemd/zentor-service.service.in ${ZENTOR_USER_UNIT_DIR})
zentor_install_configured(${zentor_packaging}/systemd/zentor-fiber.service.in ${ZENTOR_USER_UNIT_DIR})

# The licence and the history, where Debian looks for them: the
# machine-readable copyright file and the changelog of this (native) package.
set(zentor_docdir ${CMAKE_INSTALL_DATADIR}/doc/zentor)
install(FILES ${zentor_packaging}/debian/copyright DESTINATION ${zentor_docdir})
zentor_install_configured(${zentor_packaging}/debian/changelog ${zentor_docdir} GZIP)

# The Debian package: `cpack -G DEB` in the build folder.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME zentor)
set(CPACK_PACKAGE_VENDOR "Zentor developers")
set(CPACK_PACKAGE_CONTACT "Zentor developers <maintainers@zentor.org>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "operator's control panel of a motorised research microscope")
set(CPACK_PACKAGE_DESCRIPTION "Shows the state of every motorised device of the microscope stand and lets\nthe operator change it, through the microscope service zentor-service on the\nD-Bus session bus, which serves simulated stands.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION science)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Beyond the libraries: the session bus that starts the service on demand;
# first the one that hands it to the systemd user manager, then any other.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "dbus-user-session | default-dbus-session-bus | dbus-session-bus, dbus-daemon")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "at-spi2-core, xdg-utils")
set(CPACK_STRIP_FILES ON)
include(CPack)

if(BUILD_TESTING OR NOT DEFINED BUILD_TESTING)
  add_subdirectory(packaging/tests)
endif()
