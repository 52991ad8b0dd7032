# ZTK_RUNTIME_DLLS: what programs of this compiler need beside the library's DLL.
set(ZTK_RUNTIME_DLLS "")
foreach(name libstdc++-6.dll libgcc_s_seh-1.dll libgcc_s_dw2-1.dll libwinpthread-1.dll)
  execute_process(COMMAND "${CMAKE_CXX_COMPILER}" -print-file-name=${name}
    OUTPUT_VARIABLE file OUTPUT_STRIP_TRAILING_WHITESPACE)
  if(NOT EXISTS "${file}")  # The compiler does not look there for this one.
    set(file "/usr/${ZTK_MINGW}/lib/${name}")
  endif()
  if(EXISTS "${file}")
    list(APPEND ZTK_RUNTIME_DLLS "${file}")
  endif()
endforeach()
