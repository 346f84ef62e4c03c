# tarnel_test(<Name> SOURCES <files>... [LIBS <targets>...] [LABELS <labels>...] [TIMEOUT <seconds>])
#
# One GoogleTest program; each test in it is a test of CTest, or with TARNEL_TEST_SUITES each suite, found just before a
# run (so that building needs no Wine). Those that TARNEL_TEST_EXCLUDE, a regular expression, fits are left out. The program
# gets its main from tests/support/TestMain.cpp. Labels in use: "device" for what needs Direct3D,
# "gpu" besides for what is also run on Wine's own Direct3D. What testData.h
# of tests/support gives is the folder tests/data.
function(tarnel_test name)
    cmake_parse_arguments(ARG "" "TIMEOUT" "SOURCES;LIBS;LABELS" ${ARGN})
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 120)
    endif()
    if(TARNEL_SANITIZE)
        math(EXPR ARG_TIMEOUT "${ARG_TIMEOUT} * 4") # what instrumented programs are slower by, and some more
    endif()

    add_executable(${name} ${ARG_SOURCES})
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR})
    target_link_libraries(${name} PRIVATE ${ARG_LIBS} tarnel_test_main GTest::gtest GTest::gmock tarnel_build_options)
    set_target_properties(${name} PROPERTIES FOLDER tests)
    if(TARNEL_QUICK_TESTS)
        set_target_properties(${name} PROPERTIES POSITION_INDEPENDENT_CODE OFF)
        target_compile_options(${name} PRIVATE $<$<CONFIG:Release>:-O1>)
        if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
            target_precompile_headers(${name} REUSE_FROM tarnel_test_main)
        endif()
    endif()

    set(cost 1)
    if(ARG_LABELS)
        # As one word, "device-gpu", which passes as one argument; ctest -L looks for parts of it.
        list(JOIN ARG_LABELS "-" label)
        set(label "LABELS ${label}")
        set(cost 10) # a device has to start
    endif()
    if(TARNEL_TEST_SUITES)
        math(EXPR ARG_TIMEOUT "${ARG_TIMEOUT} * 2")
    endif()
    set(file "${CMAKE_CURRENT_BINARY_DIR}/${name}.tests")
    file(
        GENERATE
        OUTPUT "${file}.cmake"
        CONTENT
            "set(testProgram [==[$<TARGET_FILE:${name}>]==])
set(testEmulator $<TARGET_PROPERTY:${name},CROSSCOMPILING_EMULATOR>)
set(testSuites ${TARNEL_TEST_SUITES})
set(testExclude [==[${TARNEL_TEST_EXCLUDE}]==])
set(testProperties \"TIMEOUT ${ARG_TIMEOUT} ${label}\")
set(testCost ${cost})
set(testCache [==[${file}.found.cmake]==])
include([==[${PROJECT_SOURCE_DIR}/cmake/discoverTests.cmake]==])
"
    )
    set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES "${file}.cmake")
endfunction()
