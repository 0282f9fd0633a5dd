# Installs the build into a fresh prefix and checks that the desktop finds a valid application there.
file(REMOVE_RECURSE ${PREFIX})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${PREFIX} RESULT_VARIABLE result OUTPUT_QUIET)
if(NOT result EQUAL 0)
    message(FATAL_ERROR "cmake --install failed: ${result}")
endif()

foreach(path bin/spindrel share/applications/spindrel.desktop share/metainfo/io.spindrel.Spindrel.metainfo.xml
             share/icons/hicolor/scalable/apps/spindrel.svg)
    if(NOT EXISTS ${PREFIX}/${path})
        message(FATAL_ERROR "not installed: ${path}")
    endif()
endforeach()

execute_process(COMMAND ${DESKTOP_FILE_VALIDATE} ${PREFIX}/share/applications/spindrel.desktop RESULT_VARIABLE result)
if(NOT result EQUAL 0)
    message(FATAL_ERROR "the installed desktop entry is not valid")
endif()
# The tree check also follows the metainfo's launchable to the desktop entry and finds the icon.
execute_process(COMMAND ${APPSTREAMCLI} validate-tree --no-net ${PREFIX} RESULT_VARIABLE result)
if(NOT result EQUAL 0)
    message(FATAL_ERROR "the installed tree does not validate")
endif()
