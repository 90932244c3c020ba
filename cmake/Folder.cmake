# A folder is a library, and what a library may include is what it links.
#
# Headers are named from the project's root ("wav/wav.h"). To keep that from opening every folder to
# every other, no target gets the root itself as an include directory: each has a view, a directory
# of links to just the folders it shows. Linking a target adds its view, so an include that the
# drawing in the README does not allow finds no file. The compiler looks for a relative name beside
# the including file first, where there are no walls, so that such a name stops the build.

# folder_view(<target> <PUBLIC|PRIVATE|INTERFACE> <path>...): shows these folders or headers.
function(folder_view target scope)
    set(view ${CMAKE_BINARY_DIR}/view/${target}-${scope})
    file(REMOVE_RECURSE ${view}) # what an earlier configuration showed
    foreach(path IN LISTS ARGN)
        get_filename_component(parent ${path} DIRECTORY)
        file(MAKE_DIRECTORY ${view}/${parent})
        file(CREATE_LINK ${CMAKE_SOURCE_DIR}/${path} ${view}/${path} SYMBOLIC)
    endforeach()
    target_include_directories(${target} ${scope} ${view})
endfunction()

# No source that is named relative to another is compiled with.
add_custom_target(walls
    COMMAND ${CMAKE_COMMAND} -D SOURCE_DIR=${CMAKE_SOURCE_DIR} -P ${CMAKE_CURRENT_LIST_DIR}/walls.cmake
    COMMENT "" VERBATIM)

# base/ is the ground under all folders.
add_library(base INTERFACE)
folder_view(base INTERFACE base)

# product_library(<target> SHOWS <path>... SOURCES <file>... [USES <target>...] [HIDES <path>...])
# adds a static library of the product. USES are linked for its own sources only (PRIVATE): a user
# of the library sees none of them. HIDES are folders that only its own sources may include.
function(product_library target)
    cmake_parse_arguments(arg "" "" "SHOWS;HIDES;SOURCES;USES" ${ARGN})
    add_library(${target} STATIC ${arg_SOURCES})
    target_compile_options(${target} PRIVATE -fPIE) # they end in programs
    folder_view(${target} PUBLIC ${arg_SHOWS})
    if(arg_HIDES)
        folder_view(${target} PRIVATE ${arg_HIDES})
    endif()
    target_link_libraries(${target} PRIVATE product_flags base ${arg_USES})
    add_dependencies(${target} walls)
endfunction()
