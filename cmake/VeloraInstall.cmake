include(CMakePackageConfigHelpers)

install(TARGETS VeloraPlayer_sdk_TARN EXPORT VeloraRemoteSDKTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/velora
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

set(VELORA_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/VeloraRemoteSDK)
install(EXPORT VeloraRemoteSDKTargets
  NAMESPACE Velora::
  FILE VeloraRemoteSDKTargets.cmake
  DESTINATION ${VELORA_CMAKE_DIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/VeloraRemoteSDKConfig.cmake.in
  ${PROJECT_BINARY_DIR}/VeloraRemoteSDKConfig.cmake
  INSTALL_DESTINATION ${VELORA_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/VeloraRemoteSDKConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/VeloraRemoteSDKConfig.cmake
  ${PROJECT_BINARY_DIR}/VeloraRemoteSDKConfigVersion.cmake
  DESTINATION ${VELORA_CMAKE_DIR})

# The .pc file locates the prefix from its own folder, so the package works
# wherever `cmake --install --prefix` puts it.
file(RELATIVE_PATH VELORA_PC_TO_PREFIX
  /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(${PROJECT_SOURCE_DIR}/cmake/velora-remote-sdk.pc.in
  ${PROJECT_BINARY_DIR}/velora-remote-sdk.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/velora-remote-sdk.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
