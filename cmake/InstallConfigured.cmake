# Runs at install time (from zentor_install_configured): fills one template
# with the paths of the prefix being installed to and installs it.
set(ZENTOR_PREFIX "${CMAKE_INSTALL_PREFIX}")
set(ZENTOR_SERVICE_EXEC "${ZENTOR_PREFIX}/${ZENTOR_BINDIR}/zentor-service")
set(ZENTOR_PANEL_EXEC "${ZENTOR_PREFIX}/${ZENTOR_BINDIR}/zentor")
set(ZENTOR_DESCRIPTIONS_DIR "${ZENTOR_PREFIX}/${ZENTOR_INSTALL_DATA}/descriptions")
configure_file("${ZENTOR_TEMPLATE}" "${ZENTOR_OUTPUT}" @ONLY)
file(INSTALL DESTINATION "${ZENTOR_PREFIX}/${ZENTOR_DESTINATION}" TYPE FILE FILES "${ZENTOR_OUTPUT}")
