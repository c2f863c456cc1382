include(CMakePackageConfigHelpers)

install(TARGETS Kito AncillaryKitoOperators MiscDispatcher EXPORT LumoTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/Kito/include/Kito DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/AncillaryKitoOperators/include/AncillaryKitoOperators
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/Lumo_MiscDispatcher_DLL DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
# Only the operators' Parameter headers are public; their Operator headers stay with the library.
install(DIRECTORY ${PROJECT_SOURCE_DIR}/src/LumoStudio DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
        FILES_MATCHING PATTERN "Parameter.h")

install(EXPORT LumoTargets NAMESPACE Lumo:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Lumo)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/LumoConfig.cmake.in
  ${PROJECT_BINARY_DIR}/LumoConfig.cmake INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Lumo)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/LumoConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/LumoConfig.cmake ${PROJECT_BINARY_DIR}/LumoConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Lumo)
# The build tree is a package too.
export(EXPORT LumoTargets NAMESPACE Lumo:: FILE ${PROJECT_BINARY_DIR}/LumoTargets.cmake)
