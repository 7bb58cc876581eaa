# ql_add_test(<name> SOURCES <files...> LIBS <targets...> [LABELS <labels...>] [TIMEOUT <s>])
# One GoogleTest executable; each TEST becomes a CTest test. Tests find the
# shared corpus through QL_SHARED_DIR (compile definition and environment).
include(GoogleTest)

function(ql_add_test name)
  cmake_parse_arguments(ARG "" "TIMEOUT" "SOURCES;LIBS;LABELS" ${ARGN})
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 300)
  endif()
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_LIBS} GTest::gtest GTest::gmock GTest::gtest_main)
  # A test folder's own helpers, as "tests/<folder>/<name>.h".
  ql_publish_headers(${name})
  target_compile_definitions(${name} PRIVATE QL_TEST_SHARED_DIR="${QL_SHARED_DIR}"
                                              QL_TEST_SOURCE_DIR="${CMAKE_SOURCE_DIR}"
                                              QL_TEST_BINARY_DIR="${CMAKE_BINARY_DIR}")
  # An empty LABELS value would be dropped on the way to the test
  # properties and turn the next keyword into a label.
  if(NOT ARG_LABELS)
    set(ARG_LABELS ${name})
  endif()
  gtest_discover_tests(${name}
    DISCOVERY_MODE PRE_TEST
    PROPERTIES
      LABELS "${ARG_LABELS}"
      TIMEOUT ${ARG_TIMEOUT}
      # One locale for every test, whatever the developer's: dates follow it.
      ENVIRONMENT "QT_QPA_PLATFORM=offscreen;QL_SHARED_DIR=${QL_SHARED_DIR};LC_ALL=C.UTF-8")
endfunction()
