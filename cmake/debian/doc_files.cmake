# Run by cpack on the staged files of every package: adds the copyright and the changelog,
# and compresses the manual pages, as Debian wants them.
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER ${component} key)
  set(folder "${CPACK_TEMPORARY_INSTALL_DIRECTORY}/${component}/usr/share/doc")
  string(APPEND folder "/${CPACK_DEBIAN_${key}_PACKAGE_NAME}")
  file(COPY "${CPACK_ZTK_DEBIAN_FILES}/copyright" "${CPACK_ZTK_DEBIAN_FILES}/changelog"
    DESTINATION "${folder}"
    FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ
    DIRECTORY_PERMISSIONS ${CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS})
  file(RENAME "${folder}/changelog" "${folder}/changelog.Debian")
  execute_process(COMMAND gzip -9nf "${folder}/changelog.Debian" COMMAND_ERROR_IS_FATAL ANY)

  file(GLOB manuals "${CPACK_TEMPORARY_INSTALL_DIRECTORY}/${component}/usr/share/man/man*/*")
  if(manuals)
    execute_process(COMMAND gzip -9nf ${manuals} COMMAND_ERROR_IS_FATAL ANY)
  endif()
endforeach()
