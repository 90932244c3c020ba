# GoogleTest: the installed one, or for another processor the sources that Debian's libgtest-dev
# brings.
if(CMAKE_CROSSCOMPILING)
    add_subdirectory(/usr/src/googletest/googletest ${CMAKE_BINARY_DIR}/googletest
        EXCLUDE_FROM_ALL)
else()
    find_package(GTest REQUIRED)
endif()
