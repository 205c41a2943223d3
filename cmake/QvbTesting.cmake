# qvb_add_qtest(<name>
#     SOURCES <file>...
#     [LIBRARIES <target>...]
#     [GUI]                 # headless widgets: QT_QPA_PLATFORM=offscreen
#     [IN_ROOT]             # runs inside a throwaway root (tools/in-root); required for
#                           # every test that touches the system's fixed paths
#     [ROOT_OPTIONS <opt>...]  # extra options for tools/in-root (e.g. a size-limited tmpfs)
#     [TIMEOUT <seconds>])
#
# Builds one QtTest executable and registers it with CTest.
set(QVB_IN_ROOT ${CMAKE_CURRENT_LIST_DIR}/../tools/in-root)
get_filename_component(QVB_IN_ROOT ${QVB_IN_ROOT} ABSOLUTE)
# Under qemu's user-mode emulation Qt's way of starting child processes needs a system
# call qemu refuses; the test programs of such a build steer Qt to its classic one.
set(QVB_EMULATOR_SOURCES)
if(CMAKE_CROSSCOMPILING_EMULATOR MATCHES "qemu")
  set(QVB_EMULATOR_SOURCES ${CMAKE_CURRENT_LIST_DIR}/../tools/cross-test-processes.cpp)
endif()

function(qvb_add_qtest name)
  cmake_parse_arguments(T "GUI;IN_ROOT" "TIMEOUT" "SOURCES;LIBRARIES;ROOT_OPTIONS" ${ARGN})
  add_executable(${name} ${T_SOURCES} ${QVB_EMULATOR_SOURCES})
  target_link_libraries(${name} PRIVATE Qt5::Test qvb_testsupport ${T_LIBRARIES})
  if(T_IN_ROOT)
    add_test(NAME ${name} COMMAND ${QVB_IN_ROOT} ${T_ROOT_OPTIONS} -- ${CMAKE_CROSSCOMPILING_EMULATOR} $<TARGET_FILE:${name}>)
  else()
    add_test(NAME ${name} COMMAND ${name})
  endif()
  set(env "QT_QPA_PLATFORM=offscreen" "XDG_RUNTIME_DIR=/tmp")
  if(NOT T_GUI)
    # GUI-free tests must not need a display either; offscreen keeps an accidental
    # QGuiApplication from failing on a machine without one.
    set(env "QT_QPA_PLATFORM=offscreen")
  endif()
  list(APPEND env ${QVB_CROSS_TEST_ENVIRONMENT}) # empty unless cross-built
  set_tests_properties(${name} PROPERTIES ENVIRONMENT "${env}")
  if(T_TIMEOUT)
    set_tests_properties(${name} PROPERTIES TIMEOUT ${T_TIMEOUT})
  endif()
  if(T_IN_ROOT)
    set_tests_properties(${name} PROPERTIES LABELS "in-root")
  endif()
endfunction()

# qvb_add_script_test(<name> <script> [ARGS...]): a shell-level test run on the host
# (the script itself decides what runs inside a throwaway root).
function(qvb_add_script_test name script)
  add_test(NAME ${name} COMMAND bash ${script} ${ARGN})
  set_tests_properties(${name} PROPERTIES
    ENVIRONMENT "QVB_IN_ROOT=${QVB_IN_ROOT};QVB_BUILD_DIR=${CMAKE_BINARY_DIR};QVB_SOURCE_DIR=${CMAKE_SOURCE_DIR}")
endfunction()
