# What `cmake --install` puts where, in components:
#
#   runtime        libztkbase.so.1           runtime_mac    libztkbase-mac.so.1
#   development    headers, link names or static libraries, CMake and pkg-config files
#   dialog         the file dialog's plug-in
#   tools          programs
#   documentation  README, CHANGELOG, the licence and the guides
#
# Nothing that is installed names the place it was installed to, unless one of the directories
# was set to an absolute path: a tree may be moved as a whole.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# ztk_install_library(<target> <output name>): one library with its exported target, named
# ztk::<target>, and its pkg-config file, named after the output.
function(ztk_install_library target output)
  string(REPLACE base runtime runtime ${target})
  install(TARGETS ${target} EXPORT ztkbase-${target}
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT ${runtime}
      NAMELINK_COMPONENT development
    ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT development
    RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT ${runtime}
    INCLUDES DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")
  install(EXPORT ztkbase-${target} NAMESPACE ztk:: FILE ztkbase-${target}-targets.cmake
    DESTINATION "${CMAKE_INSTALL_LIBDIR}/cmake/ztkbase" COMPONENT development)
  ztk_install_pkg_config(${target} ${output})
endfunction()

function(ztk_install_pkg_config target output)
  set(ZTK_PC_NAME ${output})
  set(ZTK_PC_LAYER "")
  if(NOT target STREQUAL "base")
    set(ZTK_PC_LAYER ", for colon-separated paths")
  endif()
  set(ZTK_PC_CFLAGS "")
  if(NOT BUILD_SHARED_LIBS)
    set(ZTK_PC_CFLAGS " -DZTK_STATIC")
  endif()
  # The prefix is found from where the file lies; not so if it may lie outside the prefix.
  if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
    set(ZTK_PC_PREFIX "${CMAKE_INSTALL_PREFIX}")
    set(ZTK_PC_LIBDIR "${CMAKE_INSTALL_LIBDIR}")
  else()
    file(RELATIVE_PATH up "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
    string(REGEX REPLACE "/$" "" up "${up}")
    set(ZTK_PC_PREFIX "\${pcfiledir}/${up}")
    set(ZTK_PC_LIBDIR "\${prefix}/${CMAKE_INSTALL_LIBDIR}")
  endif()
  if(IS_ABSOLUTE "${CMAKE_INSTALL_INCLUDEDIR}")
    set(ZTK_PC_INCLUDEDIR "${CMAKE_INSTALL_INCLUDEDIR}")
  else()
    set(ZTK_PC_INCLUDEDIR "\${prefix}/${CMAKE_INSTALL_INCLUDEDIR}")
  endif()
  configure_file("${PROJECT_SOURCE_DIR}/cmake/install/ztkbase.pc.in"
    "${PROJECT_BINARY_DIR}/install/${output}.pc" @ONLY)
  install(FILES "${PROJECT_BINARY_DIR}/install/${output}.pc"
    DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT development)
endfunction()

# ztk_built_libraries(<variable>): the targets of those libraries that are part of the build.
function(ztk_built_libraries variable)
  get_property(libraries GLOBAL PROPERTY ZTK_LIBRARIES)
  set(built "")
  foreach(library IN LISTS libraries)
    get_target_property(excluded ${library} EXCLUDE_FROM_ALL)
    if(NOT excluded)
      list(APPEND built ${library})
    endif()
  endforeach()
  set(${variable} ${built} PARENT_SCOPE)
endfunction()

# ztk_public_layer_headers(<target> <file>...): headers of a library's platform layer that its users
# include, too, named relative to the folder that holds "ztk".
function(ztk_public_layer_headers target)
  set_property(TARGET ${target} PROPERTY ZTK_LAYER_HEADERS ${ARGN})
endfunction()

# ztk_install_libraries(): the libraries that are part of the build, and what they share.
function(ztk_install_libraries)
  install(DIRECTORY "${PROJECT_SOURCE_DIR}/ztk" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}"
    COMPONENT development
    FILES_MATCHING PATTERN "*.h" PATTERN "internal" EXCLUDE PATTERN "platform" EXCLUDE)

  set(ZTK_CONFIG_LIBRARIES "")
  set(ZTK_CONFIG_FILES "")
  ztk_built_libraries(libraries)
  foreach(library IN LISTS libraries)
    get_target_property(output ${library} OUTPUT_NAME)
    ztk_install_library(${library} ${output})
    list(APPEND ZTK_CONFIG_LIBRARIES ${library})
    get_target_property(headers ${library} ZTK_LAYER_HEADERS)
    foreach(header IN LISTS headers)
      if(header)
        get_filename_component(folder "${CMAKE_INSTALL_INCLUDEDIR}/${header}" DIRECTORY)
        install(FILES "${PROJECT_SOURCE_DIR}/${header}" DESTINATION "${folder}"
          COMPONENT development)
      endif()
    endforeach()
    if(WIN32 AND BUILD_SHARED_LIBS)
      set(file "${CMAKE_IMPORT_LIBRARY_PREFIX}${output}${CMAKE_IMPORT_LIBRARY_SUFFIX}")
    elseif(BUILD_SHARED_LIBS)
      set(file "${CMAKE_SHARED_LIBRARY_PREFIX}${output}${CMAKE_SHARED_LIBRARY_SUFFIX}")
      string(APPEND file ".${PROJECT_VERSION}")
    else()
      set(file "${CMAKE_STATIC_LIBRARY_PREFIX}${output}${CMAKE_STATIC_LIBRARY_SUFFIX}")
    endif()
    string(APPEND ZTK_CONFIG_FILES "set(_ztkbase_file_${library} \"${file}\")\n")
  endforeach()
  list(JOIN ZTK_CONFIG_LIBRARIES " " ZTK_CONFIG_LIBRARIES)

  configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/install/ztkbaseConfig.cmake.in"
    "${PROJECT_BINARY_DIR}/install/ztkbaseConfig.cmake" NO_CHECK_REQUIRED_COMPONENTS_MACRO
    INSTALL_DESTINATION "${CMAKE_INSTALL_LIBDIR}/cmake/ztkbase" PATH_VARS CMAKE_INSTALL_LIBDIR)
  write_basic_package_version_file("${PROJECT_BINARY_DIR}/install/ztkbaseConfigVersion.cmake"
    COMPATIBILITY SameMajorVersion)
  install(FILES "${PROJECT_BINARY_DIR}/install/ztkbaseConfig.cmake"
    "${PROJECT_BINARY_DIR}/install/ztkbaseConfigVersion.cmake"
    DESTINATION "${CMAKE_INSTALL_LIBDIR}/cmake/ztkbase" COMPONENT development)
endfunction()

# ztk_install_documentation(): what there is to read without a browser.
function(ztk_install_documentation)
  install(FILES "${PROJECT_SOURCE_DIR}/README.md" "${PROJECT_SOURCE_DIR}/CHANGELOG.md"
    "${PROJECT_SOURCE_DIR}/LICENSE"
    DESTINATION "${CMAKE_INSTALL_DOCDIR}" COMPONENT documentation)
  install(DIRECTORY "${PROJECT_SOURCE_DIR}/docs"
    DESTINATION "${CMAKE_INSTALL_DOCDIR}" COMPONENT documentation
    FILES_MATCHING PATTERN "*.md" PATTERN "*.png" PATTERN "site" EXCLUDE)
endfunction()

# ztk_install_tool(<target>): a program, which finds the libraries beside it.
function(ztk_install_tool target)
  # Where the system itself keeps libraries, it finds them without help.
  if(NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    file(RELATIVE_PATH libraries "${CMAKE_INSTALL_FULL_BINDIR}" "${CMAKE_INSTALL_FULL_LIBDIR}")
    set_target_properties(${target} PROPERTIES INSTALL_RPATH "$ORIGIN/${libraries}")
  endif()
  install(TARGETS ${target} RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT tools)
endfunction()
