# The build rules that every target of the project shares.
include_guard(GLOBAL)

include(CheckCXXSourceCompiles)
check_cxx_source_compiles("static_assert(sizeof(void*) == 8, \"\"); int main() {}" KV_IS_64_BIT)
if(NOT KV_IS_64_BIT)
    message(FATAL_ERROR "VcPatch is for 64-bit systems: its records and limits are made for them.")
endif()

find_package(Threads REQUIRED)

# Warnings, sanitizers from KV_SANITIZE; includes are written from the root.
add_library(kv_options INTERFACE)
target_include_directories(kv_options INTERFACE "${PROJECT_SOURCE_DIR}")
target_compile_options(kv_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion
    $<$<BOOL:${KV_WARNINGS_AS_ERRORS}>:-Werror>)
if(KV_SANITIZE)
    target_compile_options(kv_options INTERFACE
        -fsanitize=${KV_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    target_link_options(kv_options INTERFACE -fsanitize=${KV_SANITIZE})
endif()

# kv_strict(TARGET ...): the same compile and link options for targets that see nothing else of the
# project.
function(kv_strict)
    foreach(target ${ARGN})
        target_compile_options(${target} PRIVATE
            $<TARGET_PROPERTY:kv_options,INTERFACE_COMPILE_OPTIONS>)
        target_link_options(${target} PRIVATE
            $<TARGET_PROPERTY:kv_options,INTERFACE_LINK_OPTIONS>)
    endforeach()
endfunction()

# kv_floor(NAME SOURCES ... [LINKS ...]): one floor of the house as the static library kv_NAME,
# which may link only the floors below it.
function(kv_floor name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINKS" ${ARGN})
    add_library(kv_${name} STATIC ${ARG_SOURCES})
    target_link_libraries(kv_${name} PUBLIC kv_options ${ARG_LINKS})
endfunction()

# kv_test(NAME SOURCES ... LINKS ... [DEPENDS ...] [TIMEOUT seconds]): a GoogleTest executable
# whose tests CTest finds one by one; DEPENDS are targets that must be built before it runs.
function(kv_test name)
    cmake_parse_arguments(ARG "" "TIMEOUT" "SOURCES;LINKS;DEPENDS" ${ARGN})
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 120)
    endif()
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE kv_options ${ARG_LINKS} kv_test_support GTest::gmock_main)
    # A test is compiled often and runs once: the optimiser's time is better spent on the tool, and
    # the test library's headers are read once for all sources.
    target_compile_options(${name} PRIVATE -O0)
    target_precompile_headers(${name} PRIVATE
        $<$<COMPILE_LANGUAGE:CXX>:<gmock/gmock.h$<ANGLE-R>>
        $<$<COMPILE_LANGUAGE:CXX>:<gtest/gtest.h$<ANGLE-R>>)
    if(ARG_DEPENDS)
        add_dependencies(${name} ${ARG_DEPENDS})
    endif()
    gtest_discover_tests(${name}
        DISCOVERY_TIMEOUT 60
        PROPERTIES TIMEOUT ${ARG_TIMEOUT})
endfunction()

# kv_bench(NAME SMOKE regex SOURCES ... LINKS ...): a Google Benchmark executable. The cases that
# match the expression, the smallest ones, run once as a test, so that a benchmark that no longer
# works is noticed.
function(kv_bench name)
    cmake_parse_arguments(ARG "" "SMOKE" "SOURCES;LINKS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE kv_options ${ARG_LINKS}
        benchmark::benchmark benchmark::benchmark_main)
    if(KV_BUILD_TESTS)
        add_test(NAME ${name}.smoke COMMAND ${name}
            --benchmark_min_time=0.001 --benchmark_filter=${ARG_SMOKE})
        set_tests_properties(${name}.smoke PROPERTIES TIMEOUT 120)
    endif()
endfunction()
