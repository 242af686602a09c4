# quillmarsh_add_library(NAME SOURCES file… LINKS target…): one room of the house as one static library.
# Files are listed, never globbed; includes are written from src/ ("rewrite/AppSettings.h").
function(quillmarsh_add_library name)
    cmake_parse_arguments(LIB "" "" "SOURCES;LINKS" ${ARGN})
    add_library(${name} STATIC ${LIB_SOURCES})
    set_target_properties(${name} PROPERTIES AUTOMOC ON)
    target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(${name} PUBLIC ${LIB_LINKS} PRIVATE quillmarsh_compiler)
    target_precompile_headers(${name} PRIVATE ${PROJECT_SOURCE_DIR}/cmake/pch.h)
endfunction()
