# quillmarsh_add_library(NAME SOURCES file… LINKS target…): one room of the house as one static library.
# Files are listed, never globbed; includes are written from src/ ("rewrite/AppSettings.h"). OBJECTS makes an
# object library instead: an executable that names it always gets the code, whoever else asks for it.
function(quillmarsh_add_library name)
    cmake_parse_arguments(LIB "OBJECTS" "" "SOURCES;LINKS" ${ARGN})
    set(kind STATIC)
    if(LIB_OBJECTS)
        set(kind OBJECT)
    endif()
    add_library(${name} ${kind} ${LIB_SOURCES})
    set_target_properties(${name} PROPERTIES AUTOMOC ON)
    target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(${name} PUBLIC ${LIB_LINKS} PRIVATE quillmarsh_compiler)
    target_precompile_headers(${name} PRIVATE ${PROJECT_SOURCE_DIR}/cmake/pch.h)
endfunction()
