# Patch agents may be written in C, and some of ours are. Their compiler is the sibling of the C++
# compiler, so that both know the same options.
if(NOT CMAKE_C_COMPILER)
    get_filename_component(kv_compiler "${CMAKE_CXX_COMPILER}" NAME)
    get_filename_component(kv_compiler_dir "${CMAKE_CXX_COMPILER}" DIRECTORY)
    string(REPLACE "clang++" "clang" kv_compiler "${kv_compiler}")
    string(REPLACE "g++" "gcc" kv_compiler "${kv_compiler}")
    string(REPLACE "c++" "cc" kv_compiler "${kv_compiler}")
    set(CMAKE_C_COMPILER "${kv_compiler_dir}/${kv_compiler}")
endif()
enable_language(C)
