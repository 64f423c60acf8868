include(GoogleTest)

# wem_add_gtest(NAME name SOURCES ... LIBS ... [LABELS ...] [TIMEOUT seconds])
# One GoogleTest binary; every test case becomes a ctest test with a time limit.
# Tests see the program and the fake engine through WEM_BINARY and WEM_FAKE_ENGINE.
function(wem_add_gtest)
  cmake_parse_arguments(T "" "NAME;TIMEOUT" "SOURCES;LIBS;LABELS" ${ARGN})
  if(NOT T_TIMEOUT)
    set(T_TIMEOUT 60)
  endif()
  add_executable(${T_NAME} ${T_SOURCES})
  target_link_libraries(${T_NAME} PRIVATE ${T_LIBS} GTest::gtest GTest::gtest_main Threads::Threads)
  target_include_directories(${T_NAME} PRIVATE ${CMAKE_SOURCE_DIR}/tests)
  target_compile_definitions(${T_NAME} PRIVATE
    WEM_SOURCE_DIR="${CMAKE_SOURCE_DIR}"
    WEM_BINARY_DIR="${CMAKE_BINARY_DIR}"
    WEM_BINARY="${CMAKE_BINARY_DIR}/bin/wem"
    WEM_FAKE_ENGINE="${CMAKE_BINARY_DIR}/bin/fake_engine")
  gtest_discover_tests(${T_NAME}
    DISCOVERY_MODE PRE_TEST
    PROPERTIES TIMEOUT ${T_TIMEOUT} LABELS "${T_LABELS}")
endfunction()
