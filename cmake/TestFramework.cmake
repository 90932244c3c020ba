# GoogleTest: the installed one, or for another processor the sources that Debian's libgtest-dev
# brings.
if(CMAKE_CROSSCOMPILING)
    add_subdirectory(/usr/src/googletest/googletest ${CMAKE_BINARY_DIR}/googletest
        EXCLUDE_FROM_ALL)
    target_compile_options(gtest PRIVATE -Wno-restrict) # a false one of g++ 12
else()
    find_package(GTest REQUIRED)
endif()
