# How the project is compiled. `project_warnings` hold for everything, `project_flags` add the
# sanitizers of a build that has some and the guards of buffers, `product_flags` what the code on the
# camera gives up: exceptions, run-time type information and guarded statics, so that it needs no C++
# runtime library. Warnings are errors in the project's own presets, not for who builds it with another
# compiler.
# A release of the product is compiled for size; compile_for_speed() excepts its sample loops.

add_library(project_warnings INTERFACE)
target_compile_options(project_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wformat=2 -Wno-format-nonliteral
    -Wno-psabi) # notes on what older compilers did on ARM

# A release guards its stack, is bound at its start and read-only from then on as far as it can be,
# and does not tell where it was built.
target_compile_options(project_warnings INTERFACE
    $<$<CONFIG:Release>:-fstack-protector-strong>
    "$<$<CONFIG:Release>:-ffile-prefix-map=${CMAKE_BINARY_DIR}=build>"
    "$<$<CONFIG:Release>:-ffile-prefix-map=${CMAKE_SOURCE_DIR}=.>")
target_link_options(project_warnings INTERFACE LINKER:-z,relro,-z,now,-z,noexecstack)

add_library(project_flags INTERFACE)
target_link_libraries(project_flags INTERFACE project_warnings)
target_compile_options(project_flags INTERFACE $<$<CONFIG:Release>:-D_FORTIFY_SOURCE=2>)

if(VOXO_SANITIZE)
    # The sanitizers' own code makes g++ see uninitialised values and faults in its library.
    target_compile_options(project_flags INTERFACE
        "$<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized;-Wno-array-bounds>"
        -fsanitize=${VOXO_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(project_flags INTERFACE -fsanitize=${VOXO_SANITIZE})
endif()

add_library(product_flags INTERFACE)
target_link_libraries(product_flags INTERFACE project_flags)
target_compile_options(product_flags INTERFACE
    $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti -fno-threadsafe-statics>
    $<$<CONFIG:Release>:-Os -ffunction-sections -fdata-sections -fno-asynchronous-unwind-tables
    -fno-unwind-tables>)

# What links to a file of the product: only what is called stays, only libraries that are called are
# loaded.
add_library(product_link INTERFACE)
target_link_options(product_link INTERFACE
    -static-libgcc
    LINKER:--gc-sections,--as-needed,--hash-style=gnu)

# compile_for_speed(<source>...): sources of the calling folder that are mostly sample loops.
function(compile_for_speed)
    set_source_files_properties(${ARGN} PROPERTIES COMPILE_OPTIONS "$<$<CONFIG:Release>:-O3>")
endfunction()

# Fuzzers are led by what the product does, not by the tests' own code.
if(VOXO_FUZZ)
    target_compile_options(product_flags INTERFACE -fsanitize=fuzzer-no-link)
endif()
