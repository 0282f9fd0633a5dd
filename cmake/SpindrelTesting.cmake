# spindrel_add_test(NAME name SOURCES ... LIBS ... [LABELS ...] [MAIN spindrel_testmain_widgets])
# One GoogleTest program per folder of tests/, each test case registered with ctest.
function(spindrel_add_test)
    cmake_parse_arguments(T "" "NAME;MAIN" "SOURCES;LIBS;LABELS" ${ARGN})
    if(NOT T_MAIN)
        set(T_MAIN spindrel_testmain)
    endif()
    if(NOT T_LABELS)
        set(T_LABELS unit)
    endif()
    # Tests that play into or record from the shared sound server, or drive the shared display,
    # would hear and see each other: they take turns.
    set(T_LOCKS "")
    if("audio" IN_LIST T_LABELS OR "gui" IN_LIST T_LABELS)
        set(T_LOCKS sound_server)
    endif()
    add_executable(${T_NAME} ${T_SOURCES})
    target_link_libraries(${T_NAME} PRIVATE ${T_LIBS} GTest::gtest GTest::gmock ${T_MAIN})
    target_include_directories(${T_NAME} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
    # Test discovery flattens the properties into one list of names and values, so a list of labels
    # would turn its second label into a property name (and drop the lock). One label joins them:
    # ctest -L takes a pattern, so "gui_audio" is found by -L gui and by -L audio alike.
    string(JOIN "_" T_LABELS ${T_LABELS})
    gtest_discover_tests(${T_NAME}
        DISCOVERY_MODE PRE_TEST
        PROPERTIES LABELS "${T_LABELS}" RESOURCE_LOCK "${T_LOCKS}"
                   ENVIRONMENT "SPINDREL_TEST_DATA=${PROJECT_SOURCE_DIR}/tests/data")
endfunction()
