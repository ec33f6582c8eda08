# Install rules: the versioned shared library, its public headers (with the headers of the shared
# records they use), the resource packages, and a CMake package so a client writes
# find_package(service_business) and links service_business::service_business.
include(CMakePackageConfigHelpers)
set(SB_INCLUDE_DEST ${CMAKE_INSTALL_INCLUDEDIR}/service_business)
install(TARGETS service_business EXPORT service_businessTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} NAMELINK_COMPONENT devel)
# Only headers whose functions the library exports, or that the public headers include: the support
# libraries linked into it stay hidden (systemif/print.h is there because printer.h names its Document).
install(DIRECTORY ${PROJECT_SOURCE_DIR}/service/include/service_business
  ${PROJECT_SOURCE_DIR}/libs/common/include/common
  ${PROJECT_SOURCE_DIR}/libs/utility_business/include/utility_business
  DESTINATION ${SB_INCLUDE_DEST} FILES_MATCHING PATTERN "*.h")
install(FILES ${PROJECT_SOURCE_DIR}/libs/systemif/include/systemif/print.h DESTINATION ${SB_INCLUDE_DEST}/systemif)
install(FILES ${PROJECT_SOURCE_DIR}/libs/url_transporter/include/url_transporter/downloader_req_info.h
  DESTINATION ${SB_INCLUDE_DEST}/url_transporter)
install(EXPORT service_businessTargets NAMESPACE service_business:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/service_business)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/service_businessConfig.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/service_businessConfig.cmake INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/service_business)
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/service_businessConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/service_businessConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/service_businessConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/service_business)
