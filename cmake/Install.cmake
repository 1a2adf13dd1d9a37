# Where an installation puts Zentor's files (the GNU install directories), and
# zentor_install_configured() for files that must name the prefix installed to.
include(GNUInstallDirs)

# The delivered files (Camera.ini, stand descriptions): <prefix>/share/zentor.
set(ZENTOR_INSTALL_DATA ${CMAKE_INSTALL_DATADIR}/zentor)
# The same folder as the installed program sees it from its own folder, so an
# installation works wherever its prefix lies (core/settings uses it).
file(RELATIVE_PATH ZENTOR_DATA_FROM_BIN /prefix/${CMAKE_INSTALL_BINDIR} /prefix/${ZENTOR_INSTALL_DATA})

# zentor_install_configured(template destination [GZIP]): installs `template`
# (its name without .in) into <prefix>/destination, filled at install time with
# the prefix actually installed to, so `cmake --install --prefix` and CPack both
# get paths that are right. The template may use @ZENTOR_SERVICE_EXEC@,
# @ZENTOR_PANEL_EXEC@, @ZENTOR_DESCRIPTIONS_DIR@ and @ZENTOR_VERSION@. GZIP
# installs it compressed (manual pages). The destination ZENTOR_USER_UNIT_DIR
# is decided at install time: where the systemd user manager finds units for
# that prefix.
set(ZENTOR_USER_UNIT_DIR "<systemd user units>")
function(zentor_install_configured template destination)
  cmake_parse_arguments(Z "GZIP" "" "" ${ARGN})
  get_filename_component(name ${template} NAME)
  string(REGEX REPLACE "\\.in$" "" name "${name}")
  install(CODE "
    set(ZENTOR_TEMPLATE \"${template}\")
    set(ZENTOR_OUTPUT_DIR \"${CMAKE_CURRENT_BINARY_DIR}/install-configured\")
    set(ZENTOR_OUTPUT_NAME \"${name}\")
    set(ZENTOR_DESTINATION \"${destination}\")
    set(ZENTOR_BINDIR \"${CMAKE_INSTALL_BINDIR}\")
    set(ZENTOR_DATADIR \"${CMAKE_INSTALL_DATADIR}\")
    set(ZENTOR_INSTALL_DATA \"${ZENTOR_INSTALL_DATA}\")
    set(ZENTOR_VERSION \"${PROJECT_VERSION}\")
    set(ZENTOR_GZIP ${Z_GZIP})
    include(\"${PROJECT_SOURCE_DIR}/cmake/InstallConfigured.cmake\")")
endfunction()
