# How the project is compiled. `project_flags` holds for everything, `product_flags` adds what the
# code on the camera gives up: exceptions, run-time type information and guarded statics, so that it
# needs no C++ runtime library.

add_library(project_flags INTERFACE)
target_compile_options(project_flags INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wformat=2 -Wno-format-nonliteral -Werror)

if(VOXO_SANITIZE)
    target_compile_options(project_flags INTERFACE
        -fsanitize=${VOXO_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(project_flags INTERFACE -fsanitize=${VOXO_SANITIZE})
endif()

add_library(product_flags INTERFACE)
target_link_libraries(product_flags INTERFACE project_flags)
target_compile_options(product_flags INTERFACE
    $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti -fno-threadsafe-statics>)
