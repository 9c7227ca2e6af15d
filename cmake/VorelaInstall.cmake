# Where everything goes when Vorela is installed, and the Debian packages that CPack makes of it.
include(GNUInstallDirs)

set(VORELA_MAINTAINER "Corvane <vorela@corvane.invalid>")
set(pages ${CMAKE_BINARY_DIR}/pages)

install(TARGETS Vorela vorela-batch dravik RUNTIME DESTINATION bin)
install(TARGETS DKBase Smooth32 LIBRARY DESTINATION lib/vorela PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
install(FILES docs/help/Vorela.hlp packaging/demo.ini DESTINATION share/vorela)
install(FILES docs/schema/vorela-results.schema.json docs/schema/vorela-plan.schema.json DESTINATION share/vorela)
install(FILES docs/examples/c/live-recording.c DESTINATION share/doc/vorela/examples)
install(DIRECTORY docs/examples/scripts/ DESTINATION share/doc/vorela/examples USE_SOURCE_PERMISSIONS)
file(GLOB examples docs/examples/*.*)
install(FILES ${examples} DESTINATION share/doc/vorela/examples)
install(FILES interfaces/DKBase.h DESTINATION include/vorela)
install(FILES packaging/vorela.svg DESTINATION share/icons/hicolor/scalable/apps)
install(FILES packaging/vorela.desktop DESTINATION share/applications)
install(FILES packaging/vorela-mime.xml DESTINATION share/mime/packages RENAME vorela.xml)
install(FILES packaging/copyright NOTICES.md DESTINATION share/doc/vorela)

# The registry file names the modules' final folder: a staging folder (DESTDIR) is not part of it. An installation in
# /usr has it in /etc, every other one under its own prefix, where its programs look first.
install(
    CODE "
    set(source \"${CMAKE_SOURCE_DIR}\")
    set(pages \"${pages}\")
    set(modules \"\${CMAKE_INSTALL_PREFIX}/lib/vorela\")
    if(CMAKE_INSTALL_PREFIX STREQUAL \"/usr\")
        set(configuration /etc/vorela)
    else()
        set(configuration \"\${CMAKE_INSTALL_PREFIX}/etc/vorela\")
    endif()
    execute_process(COMMAND sh \"\${source}/packaging/make-pages.sh\" \"${CMAKE_RUNTIME_OUTPUT_DIRECTORY}\" \"\${source}\"
                            \"\${pages}\" \"${PROJECT_VERSION}\" \"${VORELA_MAINTAINER}\" COMMAND_ERROR_IS_FATAL ANY)
    configure_file(\"\${source}/packaging/vorela.reg.in\" \"\${pages}/vorela.reg\" @ONLY)
    file(INSTALL \"\${pages}/vorela.reg\" DESTINATION \"\${configuration}\")
    file(INSTALL \"\${pages}/man/\" DESTINATION \"\${CMAKE_INSTALL_PREFIX}/share/man/man1\")
    file(INSTALL \"\${pages}/completions/\" DESTINATION \"\${CMAKE_INSTALL_PREFIX}/share/bash-completion/completions\")
    file(INSTALL \"\${pages}/doc/\" DESTINATION \"\${CMAKE_INSTALL_PREFIX}/share/doc/vorela\")
    file(INSTALL \"\${pages}/vorela.metainfo.xml\" DESTINATION \"\${CMAKE_INSTALL_PREFIX}/share/metainfo\")
    ")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME vorela)
set(CPACK_PACKAGE_VENDOR Corvane)
set(CPACK_PACKAGE_CONTACT ${VORELA_MAINTAINER})
set(CPACK_INSTALL_PREFIX /usr)
set(CPACK_SET_DESTDIR ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION science)
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
    "analysis of harmonic well tests, live while they are recorded
Vorela opens the acquisition system's database, also while it is still
being recorded, writes filtered curves back into it, measures phase and
amplitude of every valve cycle, and derives harmonic productivity,
permeability and skin of every level and interval with their uncertainty.

The package holds the window (Vorela), the same work without a window
(vorela-batch) and the acquisition side's tool (dravik).")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_DEBUGINFO_PACKAGE ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_COMPRESSION_TYPE gzip)
set(CPACK_BUILD_SOURCE_DIRS ${CMAKE_SOURCE_DIR} ${CMAKE_BINARY_DIR})
file(WRITE ${CMAKE_BINARY_DIR}/conffiles "/etc/vorela/vorela.reg\n")
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${CMAKE_BINARY_DIR}/conffiles)
include(CPack)
