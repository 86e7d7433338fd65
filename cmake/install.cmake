# Installation: the library, the public headers, krinfo, a CMake package
# (find_package(kr95Nbs) -> kr95Nbs::kr95Nbs) and a pkg-config file.
include(CMakePackageConfigHelpers)

set(KR_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/kr95Nbs)

install(TARGETS kr95Nbs EXPORT kr95NbsTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/kr
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
        FILES_MATCHING PATTERN "*.h")
if(KR_BUILD_TOOLS)
  install(TARGETS krinfo RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

install(EXPORT kr95NbsTargets NAMESPACE kr95Nbs:: DESTINATION ${KR_CMAKE_DIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/kr95NbsConfig.cmake.in
  ${PROJECT_BINARY_DIR}/kr95NbsConfig.cmake INSTALL_DESTINATION ${KR_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/kr95NbsConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/kr95NbsConfig.cmake
              ${PROJECT_BINARY_DIR}/kr95NbsConfigVersion.cmake
        DESTINATION ${KR_CMAKE_DIR})

# The .pc file locates everything relative to itself, so the install stays
# usable wherever `cmake --install --prefix` puts it.
file(RELATIVE_PATH KR_PC_TO_PREFIX
     ${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(${PROJECT_SOURCE_DIR}/cmake/kr95Nbs.pc.in ${PROJECT_BINARY_DIR}/kr95Nbs.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/kr95Nbs.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
