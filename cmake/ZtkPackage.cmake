# `cpack` makes one Debian package of each installed component (but the documentation, which is
# for reading in place). Configure with -DCMAKE_INSTALL_PREFIX=/usr, as the preset "package" does:
# the library folder of the packages is chosen then.
set(ZTK_MAINTAINER "The ztkbase authors <ztkbase@packages.invalid>" CACHE STRING
  "Whom the packages name as their maintainer")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ztkbase)
set(CPACK_PACKAGE_CONTACT "${ZTK_MAINTAINER}")
set(CPACK_PACKAGE_VENDOR "The ztkbase authors")
set(CPACK_PACKAGE_DIRECTORY "${PROJECT_BINARY_DIR}/packages")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SOURCE ztkbase)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
# What a package depends on is found when it is made, see debian/prepare.cmake; its copyright
# and changelog are put into it then, and its manual pages compressed.
set(CPACK_PROJECT_CONFIG_FILE "${PROJECT_SOURCE_DIR}/cmake/debian/prepare.cmake")
set(CPACK_PRE_BUILD_SCRIPTS "${PROJECT_SOURCE_DIR}/cmake/debian/doc_files.cmake")
set(CPACK_ZTK_DEBIAN_FILES "${PROJECT_SOURCE_DIR}/cmake/debian")
set(CPACK_ZTK_SCRATCH "${PROJECT_BINARY_DIR}/install/debian")
set(CPACK_COMPONENTS_ALL "")

# ztk_package(<component> <name> <section> <summary> <text>): sets, for its caller, what makes a
# package of a component. The text is broken into lines by hand.
macro(ztk_package component name section summary text)
  string(TOUPPER ${component} _key)
  list(APPEND CPACK_COMPONENTS_ALL ${component})
  set(CPACK_DEBIAN_${_key}_PACKAGE_NAME ${name})
  set(CPACK_DEBIAN_${_key}_PACKAGE_SECTION ${section})
  set(CPACK_DEBIAN_${_key}_DESCRIPTION "${summary}\n${text}")
endmacro()

set(_version "${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}")
set(_about "Strings, arrays, lists and maps, byte streams and a serialiser, files and
paths in five syntaxes, text files, a configuration file, dates, threads,
timers, modules, a log and a file dialog, in one family of C++ classes.
.
")

set(_binaries "")

ztk_built_libraries(_libraries)
set(_all_runtime "")
foreach(_library IN LISTS _libraries)
  get_target_property(_output ${_library} OUTPUT_NAME)
  string(REPLACE base runtime _component ${_library})
  string(TOUPPER ${_component} _key)
  set(_paths "slash-separated")
  if(NOT _library STREQUAL "base")
    set(_paths "colon-separated")
  endif()
  set(_name lib${_output}${PROJECT_VERSION_MAJOR})
  ztk_package(${_component} ${_name} libs "foundation class library for ${_paths} paths"
    "${_about}This package holds the shared library. Its own paths are ${_paths}.")
  set(CPACK_DEBIAN_${_key}_PACKAGE_SUGGESTS libztkbase-dialog-gtk3)
  string(APPEND _binaries "set(CPACK_ZTK_${_key}_BINARY [[$<TARGET_FILE:${_library}>]])\n")
  file(WRITE "${CPACK_ZTK_SCRATCH}/${_component}/shlibs"
    "lib${_output} ${PROJECT_VERSION_MAJOR} ${_name} (>= ${PROJECT_VERSION})\n")
  set(CPACK_DEBIAN_${_key}_PACKAGE_CONTROL_EXTRA
    "${CPACK_ZTK_SCRATCH}/${_component}/shlibs;${CPACK_ZTK_DEBIAN_FILES}/triggers")
  list(APPEND _all_runtime "${_name} (= ${_version})")
endforeach()
list(JOIN _all_runtime ", " _all_runtime)

ztk_package(development libztkbase-dev libdevel "foundation class library, development files"
  "${_about}This package holds the headers and what CMake and pkg-config ask for.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${_all_runtime}")

if(TARGET ztkdialog_gtk3)
  ztk_package(dialog libztkbase-dialog-gtk3 libs "foundation class library, GTK file dialog"
    "${_about}This package holds the plug-in that shows the file dialog with GTK 3.")
  set(CPACK_DEBIAN_DIALOG_PACKAGE_DEPENDS "libztkbase1 (= ${_version})")
  set(CPACK_DEBIAN_DIALOG_PACKAGE_ENHANCES "libztkbase1")
  string(APPEND _binaries "set(CPACK_ZTK_DIALOG_BINARY [[$<TARGET_FILE:ztkdialog_gtk3>]])\n")
endif()

if(TARGET ztk_tool)
  ztk_package(tools ztkbase-tools utils "foundation class library, command-line tool"
    "${_about}This package holds the command ztk: text files, configuration files, paths and
serialised streams on the command line.")
  set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "libztkbase1 (= ${_version})")
  string(APPEND _binaries "set(CPACK_ZTK_TOOLS_BINARY [[$<TARGET_FILE:ztk_tool>]])\n")
endif()

# Which file each of them is about; known when the build system is written.
file(GENERATE OUTPUT "${CPACK_ZTK_SCRATCH}/binaries.cmake" CONTENT "${_binaries}")

include(CPack)
