# ztk_add_test(<name> SOURCES <file>... [EVERY_LAYER | LAYERS <layer>...] [ONE_BY_ONE]
#   [OPTIMISED] [LIBRARIES <target>...] [DEFINITIONS <definition>...] [PROPERTIES <name> <value>...])
#
# One test program over the library as a user links it; ctest runs each of its cases in a process
# of its own, or with ZTK_TEST_WHOLE all of them in one, but for a program that says ONE_BY_ONE:
# a process takes longer to begin than most cases do, with a sanitizer above all. What is tested is the same object code in every library, so that it runs once, over
# "posix", unless it asks a layer: EVERY_LAYER says so. LAYERS names those that alone have it, of
# "posix", "mac", and "mac_inside", which is the library of "mac" with what it hides. The program is
# <name> for the first layer and <name>-<layer> for any other, and so are its cases in ctest. It is
# compiled once; with ZTK_TEST_PLAIN without optimisation, which takes a fourth of the time, unless
# it says OPTIMISED: what it tests is inline code of headers, too. With ZTK_TEST_UNITED several
# sources of a program are compiled at a time.
#
# On Windows the one library is that of "win32", which is what a test without a layer is run over
# then. What needs calls of Unix there is in tests_not_on_windows.txt; a program is built of the
# rest. ctest runs a program as a whole.
if(CMAKE_CXX_FLAGS MATCHES "-m32" OR WIN32)
  # No distribution ships GoogleTest for the second architecture: build it from its source package.
  set(INSTALL_GTEST OFF)
  set(BUILD_SHARED_LIBS_OF_ZTK "${BUILD_SHARED_LIBS}")
  set(BUILD_SHARED_LIBS OFF)
  add_subdirectory(/usr/src/googletest "${CMAKE_BINARY_DIR}/googletest" EXCLUDE_FROM_ALL SYSTEM)
  set(BUILD_SHARED_LIBS "${BUILD_SHARED_LIBS_OF_ZTK}")
else()
  find_package(GTest REQUIRED)
endif()
include(GoogleTest)

# Every test includes GoogleTest, which takes longer to compile than most tests.
function(ztk_add_test_headers target is_plain)
  add_library(${target} OBJECT "${CMAKE_CURRENT_FUNCTION_LIST_DIR}/../tests/support/test_headers.cpp")
  target_include_directories(${target} PRIVATE "${PROJECT_SOURCE_DIR}")
  target_link_libraries(${target} PRIVATE ztk::base ztk_compile GTest::gmock GTest::gtest)
  target_precompile_headers(${target} PRIVATE
    <gmock/gmock.h> <gtest/gtest.h> <functional> <memory> <string> <string_view> <vector>)
  set_target_properties(${target} PROPERTIES
    ZTK_IS_PROGRAM ON ZTK_IS_PLAIN ${is_plain} UNITY_BUILD OFF)
  target_compile_options(${target} PRIVATE -pthread)  # As with every library of a test.
endfunction()
if(NOT TARGET ztk_test_headers)
  ztk_add_test_headers(ztk_test_headers OFF)
  if(ZTK_TEST_PLAIN)
    ztk_add_test_headers(ztk_plain_test_headers ON)
  endif()
endif()

set(ZTK_LIBRARY_posix ztk::base)
set(ZTK_LIBRARY_win32 ztk::base)
set(ZTK_LIBRARY_mac ztk::base_mac)
set(ZTK_LIBRARY_mac_inside ztk_mac_inside)

if(WIN32)
  set(ZTK_EVERY_LAYER win32)
  set(ZTK_TEST_MAIN ztk_windows_main)
  file(STRINGS "${CMAKE_CURRENT_LIST_DIR}/tests_not_on_windows.txt" ZTK_NOT_ON_WINDOWS
    REGEX "^[^#]")
else()
  set(ZTK_EVERY_LAYER posix mac)
  set(ZTK_TEST_MAIN GTest::gtest_main)
endif()

# ztk_leave_out(<variable>): takes from a list of sources those that are not for this system.
function(ztk_leave_out variable)
  set(kept "")
  foreach(source IN LISTS ${variable})
    get_filename_component(path "${source}" ABSOLUTE)
    file(RELATIVE_PATH path "${PROJECT_SOURCE_DIR}/tests" "${path}")
    set(reason "")
    foreach(line IN LISTS ZTK_NOT_ON_WINDOWS)
      if(line MATCHES "^([^ ]+): (.+)$" AND CMAKE_MATCH_1 STREQUAL path)
        set(reason "${CMAKE_MATCH_2}")
      endif()
    endforeach()
    if(reason STREQUAL "")
      list(APPEND kept "${source}")
    else()
      message(STATUS "not on Windows: ${path}: ${reason}")
    endif()
  endforeach()
  set(${variable} "${kept}" PARENT_SCOPE)
endfunction()

function(ztk_add_test name)
  cmake_parse_arguments(arg "EVERY_LAYER;ONE_BY_ONE;OPTIMISED" "" "SOURCES;LAYERS;LIBRARIES;DEFINITIONS;PROPERTIES" ${ARGN})
  if(arg_EVERY_LAYER)
    set(arg_LAYERS ${ZTK_EVERY_LAYER})
  elseif(NOT arg_LAYERS)
    list(GET ZTK_EVERY_LAYER 0 arg_LAYERS)
  endif()
  if(WIN32)
    ztk_leave_out(arg_SOURCES)
    if(NOT arg_LAYERS STREQUAL win32 OR NOT arg_SOURCES)
      return()
    endif()
  endif()
  list(POP_FRONT arg_LAYERS first)

  add_library(${name}_objects OBJECT ${arg_SOURCES})
  target_include_directories(${name}_objects PRIVATE "${PROJECT_SOURCE_DIR}")
  target_compile_definitions(${name}_objects PRIVATE ${arg_DEFINITIONS})
  target_link_libraries(${name}_objects PRIVATE
    ${ZTK_LIBRARY_${first}} ztk_compile ztk_test_support ${arg_LIBRARIES} GTest::gmock GTest::gtest)
  set(headers ztk_test_headers)
  if(ZTK_TEST_PLAIN AND NOT arg_OPTIMISED)
    set(headers ztk_plain_test_headers)
    set_target_properties(${name}_objects PROPERTIES ZTK_IS_PLAIN ON)
  endif()
  set_target_properties(${name}_objects PROPERTIES
    ZTK_IS_PROGRAM ON UNITY_BUILD ${ZTK_TEST_UNITED})
  target_compile_options(${name}_objects PRIVATE -pthread)
  target_precompile_headers(${name}_objects REUSE_FROM ${headers})

  foreach(layer ${first} ${arg_LAYERS})
    set(suffix "")
    if(NOT layer STREQUAL first)
      set(suffix "-${layer}")
    endif()
    add_executable(${name}${suffix} $<TARGET_OBJECTS:${name}_objects>)
    target_link_libraries(${name}${suffix} PRIVATE ${ZTK_LIBRARY_${layer}} ztk_compile
      ztk_test_support ${arg_LIBRARIES} GTest::gmock ${ZTK_TEST_MAIN})
    if((ZTK_TEST_WHOLE OR WIN32) AND NOT arg_ONE_BY_ONE)
      # Longer programs begin first, so that none is left for one processor at the end.
      list(LENGTH arg_SOURCES cost)
      add_test(NAME ${name}${suffix} COMMAND ${name}${suffix})
      set_tests_properties(${name}${suffix} PROPERTIES TIMEOUT 900 COST ${cost} ${arg_PROPERTIES})
    else()
      gtest_discover_tests(${name}${suffix} TEST_SUFFIX "${suffix}"
        DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300 ${arg_PROPERTIES})
    endif()
  endforeach()
endfunction()
