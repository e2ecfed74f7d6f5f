# What `cmake --install` puts where: the tool, the header for agents with what CMake and pkg-config
# need to find it, the manual page, the documents and the examples. Nothing of it names the prefix,
# so that an installed tree can be moved.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(TARGETS VcPatch VcPatchAgent
    EXPORT VcPatchTargets
    RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
install(FILES "${PROJECT_SOURCE_DIR}/agent/KvPatchAgentApi.h"
    DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")

set(kv_package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/VcPatch")
install(EXPORT VcPatchTargets
    NAMESPACE VcPatch::
    DESTINATION "${kv_package_dir}")
configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/VcPatchConfig.cmake.in"
    "${PROJECT_BINARY_DIR}/VcPatchConfig.cmake"
    INSTALL_DESTINATION "${kv_package_dir}"
    NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/VcPatchConfigVersion.cmake"
    COMPATIBILITY SameMajorVersion)
install(FILES
    "${PROJECT_BINARY_DIR}/VcPatchConfig.cmake"
    "${PROJECT_BINARY_DIR}/VcPatchConfigVersion.cmake"
    DESTINATION "${kv_package_dir}")

# pkg-config's file leads to the header by the way from its own directory.
set(kv_pkgconfig_dir "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
file(RELATIVE_PATH kv_pc_to_include
    "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_FULL_INCLUDEDIR}")
configure_file("${PROJECT_SOURCE_DIR}/cmake/VcPatch.pc.in" "${PROJECT_BINARY_DIR}/VcPatch.pc"
    @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/VcPatch.pc" DESTINATION "${kv_pkgconfig_dir}")

install(FILES "${PROJECT_SOURCE_DIR}/docs/VcPatch.1" DESTINATION "${CMAKE_INSTALL_MANDIR}/man1")

# As in the source tree, so that the documents' links lead somewhere.
install(FILES "${PROJECT_SOURCE_DIR}/README.md" DESTINATION "${CMAKE_INSTALL_DOCDIR}")
install(DIRECTORY "${PROJECT_SOURCE_DIR}/docs" "${PROJECT_SOURCE_DIR}/examples"
    DESTINATION "${CMAKE_INSTALL_DOCDIR}"
    USE_SOURCE_PERMISSIONS
    PATTERN "*.1" EXCLUDE)
