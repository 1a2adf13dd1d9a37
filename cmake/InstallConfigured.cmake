# Runs at install time (from zentor_install_configured): fills one template
# with the paths of the prefix being installed to and installs it.
set(ZENTOR_PREFIX "${CMAKE_INSTALL_PREFIX}")
set(ZENTOR_SERVICE_EXEC "${ZENTOR_PREFIX}/${ZENTOR_BINDIR}/zentor-service")
set(ZENTOR_PANEL_EXEC "${ZENTOR_PREFIX}/${ZENTOR_BINDIR}/zentor")
set(ZENTOR_DESCRIPTIONS_DIR "${ZENTOR_PREFIX}/${ZENTOR_INSTALL_DATA}/descriptions")
# One folder of filled files per root and prefix, so that installations that
# run at once (the packaging tests) never write each other's files.
string(MD5 ZENTOR_ROOT_KEY "$ENV{DESTDIR}|${ZENTOR_PREFIX}")
set(ZENTOR_OUTPUT "${ZENTOR_OUTPUT_DIR}/${ZENTOR_ROOT_KEY}/${ZENTOR_OUTPUT_NAME}")
configure_file("${ZENTOR_TEMPLATE}" "${ZENTOR_OUTPUT}" @ONLY)

# A systemd user unit goes where the user manager looks for it: under /usr the
# distribution's folder, under any other prefix (/usr/local, ~/.local) its
# XDG data folder, which the manager searches as well.
if(ZENTOR_DESTINATION STREQUAL "<systemd user units>")
  if(ZENTOR_PREFIX STREQUAL "/usr")
    set(ZENTOR_DESTINATION "lib/systemd/user")
  else()
    set(ZENTOR_DESTINATION "${ZENTOR_DATADIR}/systemd/user")
  endif()
endif()

# Manual pages and the changelog are installed compressed, as Debian keeps
# them: gzip at its best, without the name and time that would make two
# builds of the same text differ.
if(ZENTOR_GZIP)
  find_program(ZENTOR_GZIP_PROGRAM gzip REQUIRED)
  execute_process(COMMAND "${ZENTOR_GZIP_PROGRAM}" -9nf "${ZENTOR_OUTPUT}" RESULT_VARIABLE failed)
  if(failed)
    message(FATAL_ERROR "gzip could not compress ${ZENTOR_OUTPUT}")
  endif()
  set(ZENTOR_OUTPUT "${ZENTOR_OUTPUT}.gz")
endif()
file(INSTALL DESTINATION "${ZENTOR_PREFIX}/${ZENTOR_DESTINATION}" TYPE FILE FILES "${ZENTOR_OUTPUT}")
