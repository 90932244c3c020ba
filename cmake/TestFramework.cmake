# GoogleTest: the installed one, or for another processor the sources that Debian's libgtest-dev
# brings.
if(CMAKE_CROSSCOMPILING)
    add_subdirectory(/usr/src/googletest/googletest ${CMAKE_BINARY_DIR}/googletest
        EXCLUDE_FROM_ALL)
    set_target_properties(gtest gtest_main PROPERTIES COMPILE_WARNING_AS_ERROR OFF)
else()
    find_package(GTest REQUIRED)
endif()
