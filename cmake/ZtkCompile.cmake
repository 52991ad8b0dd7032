# How every target of the project is compiled: warnings, sanitizers, coverage, hardening.
# The interface target ztk_compile carries the flags; it is private to this build and never exported.

set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "Build type" FORCE)
endif()

add_library(ztk_compile INTERFACE)
target_compile_features(ztk_compile INTERFACE cxx_std_20)
# Large files, large inode numbers and times beyond 2038, on 32-bit targets too.
target_compile_definitions(ztk_compile INTERFACE _FILE_OFFSET_BITS=64 _TIME_BITS=64)
if(WIN32)
  # Windows 10's declarations, in their UTF-16 form, without macros named like functions of ours.
  target_compile_definitions(ztk_compile INTERFACE
    _WIN32_WINNT=0x0A00 WINVER=0x0A00 UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN)
endif()

target_compile_options(ztk_compile INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wsign-compare -Wformat=2 -Wnon-virtual-dtor
  -Wshadow)
# Tests and tools lean on the standard library. In optimised code of it GCC 12 sees overlaps, sizes
# and null pointers that are none, also in headers of the system when these are precompiled; and a
# test dereferences what an assertion before it has checked.
target_compile_options(ztk_compile INTERFACE
  $<$<NOT:$<BOOL:$<TARGET_PROPERTY:ZTK_IS_PROGRAM>>>:-Wnull-dereference>
  $<$<AND:$<CXX_COMPILER_ID:GNU>,$<BOOL:$<TARGET_PROPERTY:ZTK_IS_PROGRAM>>>:-Wno-restrict>
  $<$<AND:$<CXX_COMPILER_ID:GNU>,$<BOOL:$<TARGET_PROPERTY:ZTK_IS_PROGRAM>>>:-Wno-array-bounds>
  $<$<AND:$<CXX_COMPILER_ID:GNU>,$<BOOL:$<TARGET_PROPERTY:ZTK_IS_PROGRAM>>>:-Wno-stringop-overflow>)
target_compile_options(ztk_compile INTERFACE $<$<BOOL:$<TARGET_PROPERTY:ZTK_IS_PLAIN>>:-O0>)
if(ZTK_TEST_UNITED)
  # A local variable of one test may have the name of another's global one.
  target_compile_options(ztk_compile INTERFACE
    $<$<BOOL:$<TARGET_PROPERTY:ZTK_IS_PROGRAM>>:-Wno-shadow>)
endif()
if(CMAKE_UNITY_BUILD AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # A class of one source may have fields of a type that no other source sees; and what GCC inlines
  # across sources makes it wonder about variables that a call has set.
  target_compile_options(ztk_compile INTERFACE -Wno-subobject-linkage -Wno-maybe-uninitialized)
endif()
# Tests give sizes of short texts as counts, which 64-bit Windows has smaller ones for. (A pointer is
# never converted unasked.)
if(WIN32)
  target_compile_options(ztk_compile INTERFACE
    $<$<BOOL:$<TARGET_PROPERTY:ZTK_IS_PROGRAM>>:-Wno-conversion>)
endif()
if(ZTK_WERROR)
  target_compile_options(ztk_compile INTERFACE -Werror)
endif()

if(ZTK_SANITIZE)
  target_compile_options(ztk_compile INTERFACE
    -fsanitize=${ZTK_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(ztk_compile INTERFACE -fsanitize=${ZTK_SANITIZE})
endif()

# Tests run threads; counters that are not atomic lose counts there, down to negative ones.
if(ZTK_COVERAGE)
  target_compile_options(ztk_compile INTERFACE --coverage -fprofile-update=atomic -O0)
  target_link_options(ztk_compile INTERFACE --coverage)
endif()

# How the shared libraries and the plug-ins are linked. A symbol that is in none of their libraries
# ends the link; left to the loader it would end programs. (Sanitizers keep their own symbols in the
# program.)
add_library(ztk_link_shared INTERFACE)
if(NOT ZTK_SANITIZE AND NOT WIN32)  # There a DLL is never linked otherwise.
  target_link_options(ztk_link_shared INTERFACE -Wl,-z,defs)
endif()

# Release builds are hardened. Control-flow protection exists on x86 only. (On Windows the linker's
# defaults are what there is.)
if(NOT WIN32 AND CMAKE_BUILD_TYPE MATCHES "^(Release|RelWithDebInfo)$" AND NOT ZTK_SANITIZE)
  target_compile_options(ztk_compile INTERFACE
    # The first needs optimisation.
    $<$<NOT:$<BOOL:$<TARGET_PROPERTY:ZTK_IS_PLAIN>>>:-U_FORTIFY_SOURCE>
    $<$<NOT:$<BOOL:$<TARGET_PROPERTY:ZTK_IS_PLAIN>>>:-D_FORTIFY_SOURCE=3>
    -D_GLIBCXX_ASSERTIONS -fstack-protector-strong -fstack-clash-protection)
  if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86|i.86|amd64")
    target_compile_options(ztk_compile INTERFACE -fcf-protection=full)
    # A library is protected when it says so, which a linker does by itself only when every object
    # in it says so. The start files of some C libraries do not: their _init and _fini have no
    # landing pads. Ours need neither (constructors are in an array), so that the loader is given
    # none: there is nothing left in them that is called through a pointer.
    include(CheckLinkerFlag)
    set(mark "-Wl,-z,ibt,-z,shstk,-init=ztk_no_init,-fini=ztk_no_fini")
    check_linker_flag(CXX "${mark}" ZTK_LINKER_MARKS_CONTROL_FLOW)
    if(ZTK_LINKER_MARKS_CONTROL_FLOW)
      target_link_options(ztk_link_shared INTERFACE "${mark}")
    endif()
  endif()
  # Every symbol is bound at the start, so that a call into another library needs no stub.
  target_compile_options(ztk_compile INTERFACE -fno-plt)
  target_link_options(ztk_compile INTERFACE -Wl,-z,relro,-z,now)
endif()
