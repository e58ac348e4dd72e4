# Installs the library, its headers, and what CMake and pkg-config need to find it.
install(TARGETS wkagent EXPORT wkagentTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
if(TARGET wkagent_components)
  install(TARGETS wkagent_components EXPORT wkagentTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
endif()
install(DIRECTORY include/wkagent DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")

set(wkagent_cmake_dir ${CMAKE_INSTALL_LIBDIR}/cmake/wkagent)
install(EXPORT wkagentTargets NAMESPACE wkagent:: DESTINATION ${wkagent_cmake_dir})
configure_package_config_file(cmake/wkagentConfig.cmake.in wkagentConfig.cmake
  INSTALL_DESTINATION ${wkagent_cmake_dir})
write_basic_package_version_file(wkagentConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES
  "${CMAKE_CURRENT_BINARY_DIR}/wkagentConfig.cmake"
  "${CMAKE_CURRENT_BINARY_DIR}/wkagentConfigVersion.cmake"
  DESTINATION ${wkagent_cmake_dir})

# Relative to the file's own place, so that it is also true below the prefix of `cmake --install`.
file(RELATIVE_PATH WKAGENT_PC_TO_PREFIX
  "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_PREFIX}")
string(REGEX REPLACE "/$" "" WKAGENT_PC_TO_PREFIX "${WKAGENT_PC_TO_PREFIX}")
configure_file(cmake/wkagent.pc.in wkagent.pc @ONLY)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/wkagent.pc"
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
if(TARGET wkagent_components)
  configure_file(cmake/wkagent-components.pc.in wkagent-components.pc @ONLY)
  install(FILES "${CMAKE_CURRENT_BINARY_DIR}/wkagent-components.pc"
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endif()
