# Never run yet.
vcpkg_check_linkage(ONLY_STATIC_LIBRARY)

# The authors' release, from the archive that scripts/deps.sh takes it from as well.
vcpkg_download_distfile(
    archive
    URLS https://deb.debian.org/debian/pool/main/l/laszip/laszip_3.5.0.orig.tar.xz
    FILENAME laszip_3.5.0.orig.tar.xz
    SHA512
        4244e665ac1fda3e1bc66d25ff0267bd46db049782909c67448ca9a7a3095446ceecb10fe203e6c96b57384e9803e0312c7a494b501ac45cdcf316928bb009e1
)
vcpkg_extract_source_archive(source ARCHIVE ${archive})

vcpkg_cmake_configure(
    SOURCE_PATH ${CMAKE_CURRENT_LIST_DIR}/../../../../cmake/laszip
    OPTIONS -DLASZIP_SOURCE=${source}
)
vcpkg_cmake_install()
vcpkg_cmake_config_fixup(PACKAGE_NAME tarnel-laszip CONFIG_PATH lib/cmake/tarnel-laszip)
file(REMOVE_RECURSE ${CURRENT_PACKAGES_DIR}/debug/include)
vcpkg_install_copyright(FILE_LIST ${source}/COPYING)
