# ztk_add_test(<name> SOURCES <file>... [LIBRARIES <target>...] [PROPERTIES <name> <value>...])
#
# One test program over the library as a user links it; ctest runs each of its cases in a process
# of its own.
if(CMAKE_CXX_FLAGS MATCHES "-m32")
  # No distribution ships GoogleTest for the second architecture: build it from its source package.
  set(INSTALL_GTEST OFF)
  add_subdirectory(/usr/src/googletest "${CMAKE_BINARY_DIR}/googletest" EXCLUDE_FROM_ALL SYSTEM)
else()
  find_package(GTest REQUIRED)
endif()
include(GoogleTest)

function(ztk_add_test name)
  cmake_parse_arguments(arg "" "" "SOURCES;LIBRARIES;PROPERTIES" ${ARGN})
  add_executable(${name} ${arg_SOURCES})
  target_include_directories(${name} PRIVATE "${PROJECT_SOURCE_DIR}")
  target_link_libraries(${name} PRIVATE
    ztk::base ztk_compile ztk_test_support ${arg_LIBRARIES} GTest::gmock GTest::gtest_main)
  set_target_properties(${name} PROPERTIES ZTK_IS_TEST ON)
  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60
    PROPERTIES TIMEOUT 300 ${arg_PROPERTIES})
endfunction()
