# Where gdb looks depends on the prefix, which is known for sure only when something is installed.
# In: source, library (the name of its file), libdir, datadir.
cmake_path(ABSOLUTE_PATH libdir BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}" NORMALIZE)
cmake_path(ABSOLUTE_PATH datadir BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}" NORMALIZE)

# The system's gdb trusts the system's own data folder. Under any other prefix the printers lie
# beside the library, which is the first place where gdb looks and takes one line to trust.
if(CMAKE_INSTALL_PREFIX MATCHES "^/usr/?$")
  set(folder "${datadir}/gdb/auto-load${libdir}")
else()
  set(folder "${libdir}")
endif()

cmake_path(GET source PARENT_PATH from)
file(INSTALL DESTINATION "${folder}" TYPE FILE RENAME "${library}-gdb.py" FILES "${source}")
