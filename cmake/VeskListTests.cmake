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

# The words as they are, as arguments of a command.
function(in_brackets result)
    set(text "")
    foreach(word IN LISTS ARGN)
        string(APPEND text " [==[${word}]==]")
    endforeach()
    set(${result} "${text}" PARENT_SCOPE)
endfunction()

# A suite whose name ends in "On" and a word runs only in grounds that have the word in their names.
function(runs_in ground suite result)
    set(${result} TRUE PARENT_SCOPE)
    if(suite MATCHES "On([A-Z][a-z]+)[.]$")
        string(TOLOWER "-${CMAKE_MATCH_1}-" word)
        string(FIND "-${ground}-" "${word}" found)
        if(found EQUAL -1)
            set(${result} FALSE PARENT_SCOPE)
        endif()
    endif()
endfunction()

set(script "")
foreach(ground IN LISTS grounds)
    in_brackets(command ${command_${ground}} ${program})
    set(title_begin ${target})
    if(NOT ground STREQUAL tier)
        string(APPEND title_begin ".${ground}")
    endif()
    foreach(line IN LISTS lines)
        string(REGEX REPLACE " *#.*" "" name "${line}")
        if(name MATCHES "^[^ ].*\\.$")
            set(suite "${name}")
            runs_in(${ground} "${suite}" wanted)
        elseif(wanted AND name MATCHES "^  (.+)$")
            set(test "${suite}${CMAKE_MATCH_1}")
            set(title "[==[${title_begin}.${test}]==]")
            string(APPEND script "add_test(${title}${command} [==[--gtest_filter=${test}]==] "
                "--gtest_also_run_disabled_tests)\n"
                "set_tests_properties(${title} PROPERTIES LABELS [==[${tier};${ground};${labels}]==] "
                "TIMEOUT ${timeout} WORKING_DIRECTORY [==[${folder}]==] SKIP_RETURN_CODE 77 "
                "SKIP_REGULAR_EXPRESSION [==[\\[  SKIPPED \\]]==])\n")
            if(test MATCHES "(^|[./])DISABLED_")
                string(APPEND script "set_tests_properties(${title} PROPERTIES DISABLED TRUE)\n")
            endif()
        endif()
    endforeach()
endforeach()
file(WRITE ${tests} "${script}")
