# What find_package(Tarnel CONFIG) needs, the licences, and the runtime DLLs that the installed programs need.
include(CMakePackageConfigHelpers)

set(configDestination ${CMAKE_INSTALL_LIBDIR}/cmake/Tarnel)
configure_package_config_file(
    ${PROJECT_SOURCE_DIR}/cmake/TarnelConfig.cmake.in ${PROJECT_BINARY_DIR}/TarnelConfig.cmake
    INSTALL_DESTINATION ${configDestination}
)
write_basic_package_version_file(
    ${PROJECT_BINARY_DIR}/TarnelConfigVersion.cmake COMPATIBILITY SameMinorVersion
)
install(
    FILES ${PROJECT_BINARY_DIR}/TarnelConfig.cmake ${PROJECT_BINARY_DIR}/TarnelConfigVersion.cmake
    DESTINATION ${configDestination}
)
install(EXPORT TarnelTargets NAMESPACE Tarnel:: DESTINATION ${configDestination})
install(
    FILES ${PROJECT_SOURCE_DIR}/LICENSE ${PROJECT_SOURCE_DIR}/THIRD_PARTY_NOTICES
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/tarnel
)
if(TARNEL_RUNTIME_DLLS)
    install(FILES ${TARNEL_RUNTIME_DLLS} DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()
