# What find_package(Tarnel CONFIG) needs, the licences, and the runtime DLLs that the installed programs need.
#
# Components of cmake --install: "runtime", what programs load, with the licences; "development", what building them takes
# besides; "tool", the command line tool, which needs "runtime".
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
    COMPONENT development
)
install(EXPORT TarnelTargets NAMESPACE Tarnel:: DESTINATION ${configDestination} COMPONENT development)
install(
    FILES ${PROJECT_SOURCE_DIR}/LICENSE ${PROJECT_SOURCE_DIR}/THIRD_PARTY_NOTICES
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/tarnel
    COMPONENT runtime
)
if(TARNEL_RUNTIME_DLLS)
    install(FILES ${TARNEL_RUNTIME_DLLS} DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
endif()
