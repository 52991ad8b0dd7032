# ztk_use_host_headers(<target> <header>): an imported target for a library that is headers only,
# from where this machine has it installed. A compiler for another system must not see the folder
# with the headers of this one: it gets a folder of the build with a link to the library's alone.
function(ztk_use_host_headers target header)
  get_filename_component(folder "${header}" DIRECTORY)
  find_path(ZTK_HOST_${folder} "${header}" PATHS /usr/include /usr/local/include
    NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
  mark_as_advanced(ZTK_HOST_${folder})
  if(NOT ZTK_HOST_${folder})
    return()
  endif()
  set(include "${PROJECT_BINARY_DIR}/host_headers/${folder}")
  file(MAKE_DIRECTORY "${include}")
  file(CREATE_LINK "${ZTK_HOST_${folder}}/${folder}" "${include}/${folder}" SYMBOLIC)
  add_library(${target} INTERFACE IMPORTED GLOBAL)
  set_target_properties(${target} PROPERTIES INTERFACE_INCLUDE_DIRECTORIES "${include}")
endfunction()
