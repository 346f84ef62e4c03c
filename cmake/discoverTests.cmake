# Included by CTest just before it runs: the tests of a GoogleTest program become tests of CTest; or its suites do, so that
# what the tests of a suite have in common, the start of a program and of a device, is paid for once. The file that includes
# this gives
#   testProgram, testEmulator; testSuites (ON: each suite is one); testExclude (a regular expression of tests left out);
#   testProperties; testCost (what one takes about, so that the longest are begun first); testCache (a file).

# Appends to `script` the test <name> that runs <cost> tests, those that <filter> names.
function(appendTest name filter count)
    math(EXPR cost "${count} * ${testCost}")
    string(
        APPEND script
        "add_test([==[${name}]==] ${testEmulator} [==[${testProgram}]==] [==[--gtest_filter=${filter}]==])\n"
        "set_tests_properties([==[${name}]==] PROPERTIES COST ${cost} ${testProperties})\n"
    )
    set(script "${script}" PARENT_SCOPE)
endfunction()

# Appends the suite that was read, whose tests are `names`.
function(appendSuite)
    list(LENGTH names count)
    if(testSuites AND count GREATER 0)
        set(filter "${suite}.*")
        if(someLeftOut)
            list(JOIN names ":" filter)
        endif()
        appendTest("${suite}" "${filter}" ${count})
        set(script "${script}" PARENT_SCOPE)
    endif()
endfunction()

if(NOT EXISTS "${testProgram}")
    add_test("${testProgram}_NOT_BUILT" "${testProgram}_NOT_BUILT")
    return()
endif()
if("${testProgram}" IS_NEWER_THAN "${testCache}" OR "${CMAKE_CURRENT_LIST_FILE}" IS_NEWER_THAN "${testCache}")
    execute_process(
        COMMAND ${testEmulator} "${testProgram}" --gtest_list_tests
        OUTPUT_VARIABLE listing
        RESULT_VARIABLE status
        TIMEOUT 120
    )
    if(NOT status EQUAL 0)
        message(FATAL_ERROR "${testProgram} does not list its tests: ${status}\n${listing}")
    endif()
    string(REPLACE "\r" "" listing "${listing}")
    string(REGEX REPLACE "[][;]" "." listing "${listing}") # what CMake's lists would take for their own
    string(REPLACE "\n" ";" lines "${listing}")
    set(script)
    set(suite)
    set(names)
    foreach(line IN LISTS lines)
        if(line MATCHES "^  ([^ ]+)( +# GetParam.. = (.*))?$")
            set(name "${suite}.${CMAKE_MATCH_1}")
            set(shown "${name}")
            if(CMAKE_MATCH_3)
                set(value "${CMAKE_MATCH_3}")
                string(REGEX REPLACE "/[^/]*$" "/" shown "${name}")
                string(APPEND shown "${value}")
            endif()
            if(name MATCHES "DISABLED_")
            elseif(testExclude AND shown MATCHES "${testExclude}")
                set(someLeftOut ON)
            else()
                list(APPEND names "${name}")
                if(NOT testSuites)
                    appendTest("${shown}" "${name}" 1)
                endif()
            endif()
        elseif(line MATCHES "^([^ ]+)[.]( +#.*)?$")
            set(next "${CMAKE_MATCH_1}")
            appendSuite()
            set(suite "${next}")
            set(names)
            set(someLeftOut OFF)
        endif()
    endforeach()
    appendSuite()
    file(WRITE "${testCache}" "${script}")
endif()
include("${testCache}")
