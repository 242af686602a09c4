# The language, the warnings (errors here) and the launcher that every target of this project shares.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

find_program(CCACHE ccache)
if(CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros ${CCACHE})
endif()

add_library(quillmarsh_compiler INTERFACE)
target_compile_options(quillmarsh_compiler INTERFACE
    -Wall -Wextra -Wpedantic -Werror -Wshadow -Wconversion -Wno-sign-conversion -Wnon-virtual-dtor
    -Woverloaded-virtual -Wold-style-cast -Wcast-align -Wduplicated-cond -Wlogical-op -fno-omit-frame-pointer)
target_compile_definitions(quillmarsh_compiler INTERFACE QT_NO_CAST_TO_ASCII QT_NO_URL_CAST_FROM_STRING
    QT_STRICT_ITERATORS QT_DEPRECATED_WARNINGS)
if(QUILLMARSH_SANITIZE)
    add_compile_options(-fsanitize=${QUILLMARSH_SANITIZE} -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${QUILLMARSH_SANITIZE})
endif()
