# Read by cpack before it makes the packages.

# Else it would stand as the first line of every package's description.
unset(CPACK_PACKAGE_DESCRIPTION_SUMMARY)

# A package depends on those that hold the shared libraries which its program or library names.
# CPack can ask dpkg-shlibdeps as well, but then it also writes maintainer scripts that run
# ldconfig, where a trigger is what Debian asks for.
include("${CPACK_ZTK_SCRATCH}/binaries.cmake")
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER ${component} key)
  set(binary "${CPACK_ZTK_${key}_BINARY}")
  if(binary STREQUAL "")
    continue()
  endif()
  # It wants a source package around it.
  set(work "${CPACK_ZTK_SCRATCH}/${component}")
  file(WRITE "${work}/debian/control" "Source: ztkbase\n\nPackage: unnamed\nArchitecture: any\n")
  execute_process(COMMAND dpkg-shlibdeps --ignore-missing-info -O -xlibztkbase1 "${binary}"
    WORKING_DIRECTORY "${work}"
    OUTPUT_VARIABLE found ERROR_VARIABLE problems RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "dpkg-shlibdeps ${binary}: ${problems}")
  endif()
  string(REGEX REPLACE "^shlibs:Depends=|\n$" "" found "${found}")
  if(CPACK_DEBIAN_${key}_PACKAGE_DEPENDS)
    string(PREPEND found "${CPACK_DEBIAN_${key}_PACKAGE_DEPENDS}, ")
  endif()
  set(CPACK_DEBIAN_${key}_PACKAGE_DEPENDS "${found}")
endforeach()
