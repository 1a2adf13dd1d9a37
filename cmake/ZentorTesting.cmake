# zentor_add_test(NAME name SOURCES ... LIBS ... [GUI])
# A GoogleTest executable registered with CTest. Each test runs in a fresh home
# of its own (XDG_DATA_HOME, XDG_CONFIG_HOME, XDG_STATE_HOME, XDG_RUNTIME_DIR, HOME
# below the build tree) so that no test touches the operator's files or another test's.
# GUI tests run on the offscreen platform.
function(zentor_add_test)
  cmake_parse_arguments(T "GUI" "NAME" "SOURCES;LIBS" ${ARGN})
  add_executable(${T_NAME} ${T_SOURCES})
  target_link_libraries(${T_NAME} PRIVATE ${T_LIBS} GTest::gtest GTest::gtest_main)
  zentor_register_test(${T_NAME} ${T_GUI} $<TARGET_FILE:${T_NAME}>)
endfunction()

# zentor_register_test(name gui command args...): any command in a fresh home.
function(zentor_register_test name gui)
  set(home ${CMAKE_BINARY_DIR}/testhome/${name})
  add_test(NAME ${name}
    COMMAND ${CMAKE_SOURCE_DIR}/cmake/run-in-fresh-home.sh ${home} ${ARGN})
  if(gui)
    set_tests_properties(${name} PROPERTIES ENVIRONMENT "QT_QPA_PLATFORM=offscreen")
  endif()
endfunction()

# An X server of a test's own (cmake/run-under-xvfb.sh -s "SERVER ARGS" COMMAND):
# the server picks a free display itself, so tests that start together never
# share one.
find_program(ZENTOR_XVFB Xvfb)
find_program(ZENTOR_XAUTH xauth)
find_program(ZENTOR_MCOOKIE mcookie)
if(ZENTOR_XVFB AND ZENTOR_XAUTH AND ZENTOR_MCOOKIE)
  set(ZENTOR_XVFB_RUN ${CMAKE_SOURCE_DIR}/cmake/run-under-xvfb.sh)
endif()
