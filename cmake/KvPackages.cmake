# `cpack` in the build directory: an archive everywhere, a package of the system's own where we know
# it; `cpack --config CPackSourceConfig.cmake`: the sources.
set(CPACK_PACKAGE_NAME VcPatch)
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_PACKAGE_VENDOR "Velocore")
set(CPACK_PACKAGE_CONTACT "Velocore maintainers <maintainers@velocore.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGE_FILE_NAME
    "VcPatch-${PROJECT_VERSION}-${CMAKE_SYSTEM_NAME}-${CMAKE_SYSTEM_PROCESSOR}")
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)

if(APPLE)
    set(CPACK_GENERATOR productbuild TGZ)
    set(CPACK_PRODUCTBUILD_IDENTIFIER "invalid.velocore.VcPatch")
    set(CPACK_PACKAGING_INSTALL_PREFIX /usr/local)
else()
    set(CPACK_GENERATOR DEB TGZ)
    set(CPACK_DEBIAN_PACKAGE_NAME vcpatch)
    set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
    set(CPACK_DEBIAN_PACKAGE_SECTION admin)
    # Which libraries the tool needs is known where Debian's own tools are there to tell it.
    find_program(KV_DPKG_SHLIBDEPS dpkg-shlibdeps)
    mark_as_advanced(KV_DPKG_SHLIBDEPS)
    if(KV_DPKG_SHLIBDEPS)
        set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
    endif()
endif()

set(CPACK_SOURCE_GENERATOR TGZ)
set(CPACK_SOURCE_PACKAGE_FILE_NAME "VcPatch-${PROJECT_VERSION}-source")
set(CPACK_SOURCE_IGNORE_FILES "/build/" "/\\.git/" "/\\.git$" "/\\.cache/")

include(CPack)
