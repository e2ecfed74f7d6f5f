# VcPatch::agent, what the author of a patch agent links to: the directory of the one header. It is
# the same name in this build and in an installed package.
include_guard(GLOBAL)
include(GNUInstallDirs)

add_library(VcPatchAgent INTERFACE)
add_library(VcPatch::agent ALIAS VcPatchAgent)
set_target_properties(VcPatchAgent PROPERTIES EXPORT_NAME agent)
target_include_directories(VcPatchAgent INTERFACE
    "$<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/agent>"
    "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>")
