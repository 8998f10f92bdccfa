# find_package(Vorla) and pkg-config files for the installed tree.
include(CMakePackageConfigHelpers)
install(EXPORT VorlaTargets NAMESPACE Vorla:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Vorla)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/VorlaConfig.cmake.in
  ${PROJECT_BINARY_DIR}/VorlaConfig.cmake INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Vorla)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/VorlaConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/VorlaConfig.cmake ${PROJECT_BINARY_DIR}/VorlaConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Vorla)

foreach(pc vorla-gcbase vorla-genapi vorla-clprotocol vorla-base)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/${pc}.pc.in ${PROJECT_BINARY_DIR}/pkgconfig/${pc}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/pkgconfig/${pc}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()
