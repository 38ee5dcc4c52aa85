# The static part of the live ground, for its programs and for the tests of their parts.
add_library(vesk_live_ground STATIC
    live_cgroups.cpp
    live_channel.cpp
    live_init.cpp
    live_keeper.cpp
    live_options.cpp
    live_report.cpp
    live_root.cpp
    live_system.cpp
    systemctl_adapter_dialect.cpp
    systemctl_adapter_verb.cpp)
vesk_compile_ground(vesk_live_ground)
target_link_libraries(vesk_live_ground PUBLIC vesk_ground)

add_executable(vesk-systemctl-adapter systemctl_adapter_main.cpp)
vesk_compile_ground(vesk-systemctl-adapter)
target_link_libraries(vesk-systemctl-adapter PRIVATE vesk_live_ground)
if(VESK_CAN_LINK_STATICALLY)
    target_link_options(vesk-systemctl-adapter PRIVATE -static)
endif()

add_executable(vesk-live live_main.cpp)
vesk_compile_ground(vesk-live)
target_link_libraries(vesk-live PRIVATE vesk_live_ground)
add_dependencies(vesk-live vesk-systemctl-adapter)

vesk_test(live_ground_parts_tests TIER pure
    SOURCES live_options_test.cpp systemctl_adapter_test.cpp
    LIBRARIES vesk_live_ground)
vesk_test(live_ground_tests TIER live SOURCES live_adapter_test.cpp live_test.cpp)
vesk_test(live_support_tests TIER live GROUNDS live-platform SOURCES live_support_test.cpp)
vesk_test(live_example_tests TIER live SOURCES live_example_test.cpp LIBRARIES vesksystemd)

add_test(NAME docs.testing.ShowsTheLiveExampleAsItIs
    COMMAND ${CMAKE_COMMAND} -D DOCUMENT=${CMAKE_SOURCE_DIR}/docs/testing.md
        -D QUOTED=${CMAKE_CURRENT_SOURCE_DIR}/live_example_test.cpp -P ${CMAKE_CURRENT_SOURCE_DIR}/check_quote.cmake)
set_tests_properties(docs.testing.ShowsTheLiveExampleAsItIs PROPERTIES LABELS pure)

# They compare the machine before and after, so no other ground may be made meanwhile.
foreach(layout platform unified)
    add_test(NAME live_host_test.${layout}
        COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/live_host_test.sh $<TARGET_FILE:vesk-live> ${layout})
    set_tests_properties(live_host_test.${layout} PROPERTIES
        LABELS live SKIP_RETURN_CODE 77 RUN_SERIAL TRUE TIMEOUT 300)
endforeach()
