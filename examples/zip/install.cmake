# The examples in the zip for Windows: programs beside the DLLs, and their sources as one project.
install(TARGETS ztk_dialog ztk_keep_encoding_example ztk_messages_loop ztk_modern_cpp_example
    ztk_own_loop ztk_pool_loop ztk_readme_example ztk_shared_settings_example ztk_tour
    ztk_tour_greeter ztk_watch_settings_windows_example
  RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT examples
  LIBRARY DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT examples)
install(FILES zip/CMakeLists.txt DESTINATION examples COMPONENT examples)
install(FILES dialog/main.cpp DESTINATION examples/dialog COMPONENT examples)
install(FILES modern_cpp/modern_cpp.cpp DESTINATION examples/modern_cpp COMPONENT examples)
install(FILES readme/settings.cpp DESTINATION examples/readme COMPONENT examples)
install(FILES loops/countdown.h loops/messages_loop.cpp loops/own_loop.cpp loops/pool_loop.cpp
  DESTINATION examples/loops COMPONENT examples)
install(FILES options/keep_encoding.cpp options/shared_settings.cpp
    options/watch_settings_windows.cpp
  DESTINATION examples/options COMPONENT examples)
install(DIRECTORY tour DESTINATION examples COMPONENT examples
  FILES_MATCHING PATTERN "*.cpp" PATTERN "*.h" PATTERN "home_unix.cpp" EXCLUDE)
