# How the project is compiled. `project_warnings` hold for everything, `project_flags` add the
# sanitizers of a build that has some, `product_flags` what the code on the camera gives up:
# exceptions, run-time type information and guarded statics, so that it needs no C++ runtime library.

add_library(project_warnings INTERFACE)
target_compile_options(project_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wformat=2 -Wno-format-nonliteral -Werror)

add_library(project_flags INTERFACE)
target_link_libraries(project_flags INTERFACE project_warnings)

if(VOXO_SANITIZE)
    # The sanitizers' own code makes g++ see uninitialised values in its library.
    target_compile_options(project_flags INTERFACE -Wno-maybe-uninitialized
        -fsanitize=${VOXO_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(project_flags INTERFACE -fsanitize=${VOXO_SANITIZE})
endif()

add_library(product_flags INTERFACE)
target_link_libraries(product_flags INTERFACE project_flags)
target_compile_options(product_flags INTERFACE
    $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti -fno-threadsafe-statics>)
