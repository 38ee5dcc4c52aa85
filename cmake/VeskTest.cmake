# vesk_test(TARGET TIER pure|sandboxed|live SOURCES file...
#     [LIBRARIES target...] [LABELS label...] [SANDBOX_OPTIONS option...] [GROUNDS ground...] [TIMEOUT seconds])
#
# Builds a GoogleTest program and registers each of its tests as a ctest of its own, "TARGET.Suite.Test", labelled
# with its tier. The tests of the tiers sandboxed and live run through the launcher of their ground, each in a
# fresh one; the build itself only lists them, which needs no ground. A test that is skipped, or whose ground the
# machine cannot make, counts as skipped.
#
# Tests of the tier live run in each of GROUNDS (all three by default) as "TARGET.GROUND.Suite.Test", labelled
# with the ground too:
#     live-platform         the library for the platform's systemd, the adapter in front of systemctl
#     live-current-hybrid   the library for today's systemd and the machine's own systemctl, hybrid cgroups
#     live-current-unified  the same with cgroup v2 alone
# A suite whose name ends in OnPlatform, OnCurrent, OnHybrid or OnUnified runs in the grounds of that name alone.
include_guard()

find_package(GTest REQUIRED)

set(VESK_TEST_CMAKE_DIR ${CMAKE_CURRENT_LIST_DIR})

# GoogleTest's headers take a third of the time that a test needs to compile. ccache would keep nothing of what is
# compiled with a precompiled header, and is the better of the two.
if(NOT CMAKE_CXX_COMPILER_LAUNCHER MATCHES "ccache")
    file(WRITE ${CMAKE_BINARY_DIR}/vesk_test_headers.cpp "")
    add_library(vesk_test_headers OBJECT ${CMAKE_BINARY_DIR}/vesk_test_headers.cpp)
    vesk_compile_test(vesk_test_headers)
    target_link_libraries(vesk_test_headers PRIVATE GTest::gmock)
    target_precompile_headers(vesk_test_headers PRIVATE <gmock/gmock.h>)
endif()

set(VESK_LIVE_GROUNDS live-platform live-current-hybrid live-current-unified)
set(VESK_OPTIONS_live-platform --cgroup platform)
set(VESK_OPTIONS_live-current-hybrid --no-adapter --cgroup hybrid)
set(VESK_OPTIONS_live-current-unified --no-adapter --cgroup unified)

# The command in front of a test program in that ground.
function(vesk_test_launcher tier ground options result)
    set(build --bind)
    if(VESK_COVERAGE)
        set(build --bind-rw)
    endif()
    set(folders --bind ${CMAKE_SOURCE_DIR} ${build} ${CMAKE_BINARY_DIR})
    set(tools --platform ${CMAKE_BINARY_DIR}/tests/platform-tools)
    set(command "")
    if(tier STREQUAL "sandboxed")
        set(command $<TARGET_FILE:vesk-sandbox> ${folders} ${tools} ${options} --)
    elseif(tier STREQUAL "live")
        # The program was linked with one of the two libraries; the loader finds the ground's own first.
        string(REGEX REPLACE "^live-([a-z]+).*" "\\1" systemd ${ground})
        set(command $<TARGET_FILE:vesk-live> ${folders} ${tools} ${VESK_OPTIONS_${ground}} --
            /usr/bin/env LD_LIBRARY_PATH=$<TARGET_FILE_DIR:vesksystemd_${systemd}>)
    endif()
    set(${result} ${command} PARENT_SCOPE)
endfunction()

function(vesk_test target)
    cmake_parse_arguments(TEST "" "TIER;TIMEOUT" "SOURCES;LIBRARIES;LABELS;SANDBOX_OPTIONS;GROUNDS" ${ARGN})
    if(NOT TEST_TIER MATCHES "^(pure|sandboxed|live)$")
        message(FATAL_ERROR "vesk_test(${target}): TIER is '${TEST_TIER}'; it must be pure, sandboxed or live")
    endif()
    if(NOT TEST_TIMEOUT)
        set(TEST_TIMEOUT 60)
    endif()
    if(NOT TEST_TIER STREQUAL "live")
        set(TEST_GROUNDS ${TEST_TIER})
    elseif(NOT TEST_GROUNDS)
        set(TEST_GROUNDS ${VESK_LIVE_GROUNDS})
    endif()

    add_executable(${target} ${TEST_SOURCES})
    if(TEST_TIER STREQUAL "pure")
        vesk_compile_test(${target} HOLDS_TESTED_CODE)
    else()
        vesk_compile_test(${target})
    endif()
    if(TARGET vesk_test_headers AND NOT (VESK_SANITIZE AND TEST_TIER STREQUAL "pure"))
        target_precompile_headers(${target} REUSE_FROM vesk_test_headers)
    endif()
    target_link_libraries(${target} PRIVATE
        ${TEST_LIBRARIES} vesk_test_main_${TEST_TIER} vesk_test_support GTest::gmock)
    if(TEST_TIER STREQUAL "sandboxed")
        add_dependencies(${target} vesk-sandbox vesk_platform_tools systemctl-stand-in)
    elseif(TEST_TIER STREQUAL "live")
        add_dependencies(${target} vesk-live vesk_platform_tools vesksystemd_platform vesksystemd_current)
    endif()

    set(commands "")
    foreach(ground IN LISTS TEST_GROUNDS)
        vesk_test_launcher(${TEST_TIER} ${ground} "${TEST_SANDBOX_OPTIONS}" command)
        string(APPEND commands "set(command_${ground} [[${command}]])\n")
    endforeach()
    set(settings ${CMAKE_CURRENT_BINARY_DIR}/${target}_settings.cmake)
    set(tests ${CMAKE_CURRENT_BINARY_DIR}/${target}_tests.cmake)
    file(GENERATE OUTPUT ${settings} CONTENT
"set(target [[${target}]])
set(program [[$<TARGET_FILE:${target}>]])
set(tier [[${TEST_TIER}]])
set(grounds [[${TEST_GROUNDS}]])
${commands}set(labels [[${TEST_LABELS}]])
set(timeout [[${TEST_TIMEOUT}]])
set(folder [[${CMAKE_CURRENT_BINARY_DIR}]])
set(tests [[${tests}]])
")
    # Listed anew when only the settings have changed, too.
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${settings} ${VESK_TEST_CMAKE_DIR}/VeskListTests.cmake)
    add_custom_command(TARGET ${target} POST_BUILD
        COMMAND ${CMAKE_COMMAND} -D SETTINGS=${settings} -P ${VESK_TEST_CMAKE_DIR}/VeskListTests.cmake
        BYPRODUCTS ${tests} VERBATIM)
    set(include ${CMAKE_CURRENT_BINARY_DIR}/${target}_include.cmake)
    file(WRITE ${include}
"if(EXISTS [[${tests}]])
    include([[${tests}]])
else()
    add_test([[${target}_NOT_BUILT]] [[${target}_NOT_BUILT]])
endif()
")
    set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES ${include})
endfunction()

# Lets a test program run with the library for today's systemd, which the loader then finds first.
function(vesk_test_todays_library target)
    add_dependencies(${target} vesksystemd_current)
    set_target_properties(${target} PROPERTIES BUILD_RPATH $<TARGET_FILE_DIR:vesksystemd_current>)
endfunction()
