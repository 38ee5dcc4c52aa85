# vesk_compile(TARGET): warnings, hardening, sanitizers and coverage as this build was configured.
# vesk_compile_uncounted(TARGET): the same without counters of coverage.
# vesk_compile_test(TARGET [HOLDS_TESTED_CODE]): the same for a test's own code, which has no use for optimisation and,
# when it holds none of the code that it tests, none for the sanitizer of undefined behaviour, which would take half of
# the build's time. Those of memory and of threads watch it too.
include_guard()

set(VESK_WARNINGS
    -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wformat=2 -Wundef -Wcast-align
    -Wcast-qual -Wdouble-promotion -Wimplicit-fallthrough -Wvla)
set(VESK_CXX_WARNINGS -Wnon-virtual-dtor -Wold-style-cast -Woverloaded-virtual -Wextra-semi)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    list(APPEND VESK_WARNINGS -Wduplicated-cond -Wduplicated-branches -Wlogical-op)
    list(APPEND VESK_CXX_WARNINGS -Wsuggest-override)
endif()
if(VESK_WERROR)
    list(APPEND VESK_WARNINGS -Werror)
endif()

set(VESK_HARDENING -fstack-protector-strong -fstack-clash-protection)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64|i.86")
    list(APPEND VESK_HARDENING -fcf-protection)
endif()
set(VESK_LINK_HARDENING -Wl,-z,relro,-z,now,-z,noexecstack -Wl,--as-needed)

if(VESK_SANITIZE)
    set(VESK_INSTRUMENT "-fsanitize=${VESK_SANITIZE}" -fno-sanitize-recover=all -fno-omit-frame-pointer)
else()
    # The sanitizers resolve their runtime when the program is linked, so only plain builds ask for this.
    set(VESK_LIBRARY_LINK -Wl,-z,defs)
endif()
# Threads and processes count at once. Each line is to count for itself, whatever the build optimises.
set(VESK_COUNT --coverage -fprofile-update=atomic -O0 -U_FORTIFY_SOURCE)

# vesk_fortify(RESULT LANGUAGE): the level for the optimised builds, unless the builder's own flags have one.
function(vesk_fortify result language)
    string(TOUPPER "${CMAKE_BUILD_TYPE}" type)
    if(NOT "${CMAKE_${language}_FLAGS} ${CMAKE_${language}_FLAGS_${type}}" MATCHES "_FORTIFY_SOURCE")
        set(wanted $<AND:$<NOT:$<CONFIG:Debug>>,$<COMPILE_LANGUAGE:${language}>>)
        set(${result} $<${wanted}:_FORTIFY_SOURCE=2> PARENT_SCOPE)
    endif()
endfunction()
vesk_fortify(VESK_FORTIFY_C C)
vesk_fortify(VESK_FORTIFY_CXX CXX)

function(vesk_compile_uncounted target)
    target_compile_options(${target} PRIVATE
        ${VESK_WARNINGS} $<$<COMPILE_LANGUAGE:CXX>:${VESK_CXX_WARNINGS}> ${VESK_HARDENING} ${VESK_INSTRUMENT})
    target_compile_definitions(${target} PRIVATE
        ${VESK_FORTIFY_C} ${VESK_FORTIFY_CXX} $<$<CONFIG:Debug>:_GLIBCXX_ASSERTIONS>)
    if(CMAKE_SIZEOF_VOID_P EQUAL 4)
        # Else stat fails for files of 2 GiB and more, and times end in 2038.
        target_compile_definitions(${target} PRIVATE _FILE_OFFSET_BITS=64 _TIME_BITS=64)
    endif()
    target_link_options(${target} PRIVATE ${VESK_LINK_HARDENING} ${VESK_INSTRUMENT})
endfunction()

function(vesk_compile target)
    vesk_compile_uncounted(${target})
    if(VESK_COVERAGE)
        target_compile_options(${target} PRIVATE ${VESK_COUNT})
        target_link_options(${target} PRIVATE --coverage)
    endif()
    get_target_property(type ${target} TYPE)
    if(type STREQUAL "SHARED_LIBRARY")
        # What is never destroyed must not be made anew each time that a program loads its plug-ins.
        target_link_options(${target} PRIVATE ${VESK_LIBRARY_LINK} -Wl,-z,nodelete)
        if(VESK_COVERAGE)
            target_sources(${target} PRIVATE ${PROJECT_SOURCE_DIR}/cmake/coverage_library.c)
            target_link_options(${target} PRIVATE -Wl,--wrap=_exit)
        endif()
    endif()
endfunction()

function(vesk_compile_test target)
    cmake_parse_arguments(COMPILE "HOLDS_TESTED_CODE" "" "" ${ARGN})
    if(COMPILE_HOLDS_TESTED_CODE)
        vesk_compile(${target})
    else()
        vesk_compile_uncounted(${target})
    endif()
    target_compile_options(${target} PRIVATE $<$<NOT:$<CONFIG:Debug>>:-O0;-g1;-U_FORTIFY_SOURCE>)
    get_target_property(type ${target} TYPE)
    if(VESK_COVERAGE AND type STREQUAL "EXECUTABLE")
        target_link_options(${target} PRIVATE --coverage)
        target_sources(${target} PRIVATE ${PROJECT_SOURCE_DIR}/cmake/coverage_program.c)
        target_link_options(${target} PRIVATE -Wl,--wrap=_exit)
    endif()
    if(VESK_SANITIZE)
        target_compile_definitions(${target} PRIVATE VESK_SANITIZED)
        if(VESK_SANITIZE MATCHES "undefined" AND NOT COMPILE_HOLDS_TESTED_CODE)
            target_compile_options(${target} PRIVATE -fno-sanitize=undefined)
        endif()
    endif()
endfunction()
