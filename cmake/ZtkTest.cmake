# ztk_add_test(<name> SOURCES <file>... [LAYERS <layer>...] [LIBRARIES <target>...]
#   [DEFINITIONS <definition>...] [PROPERTIES <name> <value>...])
#
# One test program over the library as a user links it; ctest runs each of its cases in a process
# of its own. Layers are "posix", "mac", and "mac_inside", which is the library of "mac" with what it
# hides; the program is <name> for the first of them and <name>-<layer> for any other, and so are its
# cases in ctest. It is compiled once.
if(CMAKE_CXX_FLAGS MATCHES "-m32")
  # No distribution ships GoogleTest for the second architecture: build it from its source package.
  set(INSTALL_GTEST OFF)
  add_subdirectory(/usr/src/googletest "${CMAKE_BINARY_DIR}/googletest" EXCLUDE_FROM_ALL SYSTEM)
else()
  find_package(GTest REQUIRED)
endif()
include(GoogleTest)

set(ZTK_LIBRARY_posix ztk::base)
set(ZTK_LIBRARY_mac ztk::base_mac)
set(ZTK_LIBRARY_mac_inside ztk_mac_inside)

function(ztk_add_test name)
  cmake_parse_arguments(arg "" "" "SOURCES;LAYERS;LIBRARIES;DEFINITIONS;PROPERTIES" ${ARGN})
  if(NOT arg_LAYERS)
    set(arg_LAYERS posix mac)
  endif()
  list(POP_FRONT arg_LAYERS first)

  add_library(${name}_objects OBJECT ${arg_SOURCES})
  target_include_directories(${name}_objects PRIVATE "${PROJECT_SOURCE_DIR}")
  target_compile_definitions(${name}_objects PRIVATE ${arg_DEFINITIONS})
  target_link_libraries(${name}_objects PRIVATE
    ${ZTK_LIBRARY_${first}} ztk_compile ztk_test_support ${arg_LIBRARIES} GTest::gmock GTest::gtest)
  set_target_properties(${name}_objects PROPERTIES ZTK_IS_PROGRAM ON)

  foreach(layer ${first} ${arg_LAYERS})
    set(suffix "")
    if(NOT layer STREQUAL first)
      set(suffix "-${layer}")
    endif()
    add_executable(${name}${suffix} $<TARGET_OBJECTS:${name}_objects>)
    target_link_libraries(${name}${suffix} PRIVATE ${ZTK_LIBRARY_${layer}} ztk_compile
      ztk_test_support ${arg_LIBRARIES} GTest::gmock GTest::gtest_main)
    gtest_discover_tests(${name}${suffix} TEST_SUFFIX "${suffix}"
      DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300 ${arg_PROPERTIES})
  endforeach()
endfunction()
