# Run after a test program is built: asks it for its tests and writes one add_test() for each.
cmake_minimum_required(VERSION 3.25)
include(${SETTINGS})

execute_process(COMMAND ${program} --gtest_list_tests
    OUTPUT_VARIABLE listing RESULT_VARIABLE result ERROR_VARIABLE errors)
if(NOT result EQUAL 0)
    message(FATAL_ERROR "${program} --gtest_list_tests: ${result}\n${listing}${errors}")
endif()

string(REPLACE "[" "" listing "${listing}")
string(REPLACE "]" "" listing "${listing}")
string(REPLACE ";" "" listing "${listing}")
string(REPLACE "\n" ";" lines "${listing}")

set(launch "")
foreach(word IN LISTS launcher program)
    string(APPEND launch " [==[${word}]==]")
endforeach()

set(script "")
foreach(line IN LISTS lines)
    string(REGEX REPLACE " *#.*" "" name "${line}")
    if(name MATCHES "^[^ ].*\\.$")
        set(suite "${name}")
    elseif(name MATCHES "^  (.+)$")
        set(test "${suite}${CMAKE_MATCH_1}")
        set(title "[==[${target}.${test}]==]")
        string(APPEND script "add_test(${title}${launch} [==[--gtest_filter=${test}]==] "
            "--gtest_also_run_disabled_tests)\n"
            "set_tests_properties(${title} PROPERTIES LABELS [==[${labels}]==] TIMEOUT ${timeout} "
            "WORKING_DIRECTORY [==[${folder}]==] SKIP_RETURN_CODE 77 "
            "SKIP_REGULAR_EXPRESSION [==[\\[  SKIPPED \\]]==])\n")
        if(test MATCHES "(^|[./])DISABLED_")
            string(APPEND script "set_tests_properties(${title} PROPERTIES DISABLED TRUE)\n")
        endif()
    endif()
endforeach()
file(WRITE ${tests} "${script}")
