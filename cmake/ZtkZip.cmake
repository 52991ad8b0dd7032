# `cpack` makes one zip file for Windows: the DLLs in bin, with those of the compiler's runtime that
# they need and these files' licences, the tool, the examples, the import library, headers, the CMake
# package, and the guides.
if(BUILD_SHARED_LIBS)
  include(ZtkRuntimeDlls)
  install(FILES ${ZTK_RUNTIME_DLLS} DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT runtime)
  string(REPLACE _ - cpu "${CMAKE_SYSTEM_PROCESSOR}")
  foreach(package gcc-mingw-w64-${cpu}-posix-runtime mingw-w64-${cpu}-dev)
    install(FILES "/usr/share/doc/${package}/copyright" RENAME ${package}.txt
      DESTINATION "${CMAKE_INSTALL_DATADIR}/licences" COMPONENT runtime)
  endforeach()
endif()

set(CPACK_GENERATOR ZIP)
set(CPACK_PACKAGE_NAME ztkbase)
set(CPACK_PACKAGE_VENDOR "The ztkbase authors")
set(CPACK_PACKAGE_DIRECTORY "${PROJECT_BINARY_DIR}/packages")
set(CPACK_PACKAGE_FILE_NAME
  "ztkbase-${PROJECT_VERSION}-windows-${CMAKE_SYSTEM_PROCESSOR}-mingw")
set(CPACK_STRIP_FILES ON)
include(CPack)
