# Never run yet. Builds the checkout that this file stands in.
set(source ${CMAKE_CURRENT_LIST_DIR}/../../../..)

set(VCPKG_LIBRARY_LINKAGE dynamic) # DLLs, whatever the libraries inside them are

vcpkg_cmake_configure(SOURCE_PATH ${source} OPTIONS -DTARNEL_BUILD_TESTS=OFF)
vcpkg_cmake_install()
vcpkg_cmake_config_fixup(PACKAGE_NAME Tarnel CONFIG_PATH lib/cmake/Tarnel)
vcpkg_copy_tools(TOOL_NAMES tarnel AUTO_CLEAN)
file(REMOVE_RECURSE ${CURRENT_PACKAGES_DIR}/debug/include ${CURRENT_PACKAGES_DIR}/debug/share)
vcpkg_install_copyright(FILE_LIST ${source}/LICENSE ${source}/THIRD_PARTY_NOTICES)
file(
    WRITE ${CURRENT_PACKAGES_DIR}/share/tarnel/usage
    "tarnel provides CMake targets:

    find_package(Tarnel CONFIG REQUIRED)
    target_link_libraries(main PRIVATE Tarnel::Render)
"
)
