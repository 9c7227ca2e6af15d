# Functions that make the project's targets alike: warnings on a target, never on the whole tree.

find_program(VORELA_CCACHE ccache)
if(VORELA_CCACHE)
    set(CMAKE_C_COMPILER_LAUNCHER ${VORELA_CCACHE})
    set(CMAKE_CXX_COMPILER_LAUNCHER ${VORELA_CCACHE})
endif()

function(vorela_warnings target)
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wconversion -Wshadow)
    # At -O3 GCC 12 sees overlaps in every "text" + std::string that are not there.
    target_compile_options(${target} PRIVATE $<$<AND:$<CXX_COMPILER_ID:GNU>,$<CONFIG:Release>>:-Wno-restrict>)
    if(VORELA_WARNINGS_AS_ERRORS)
        target_compile_options(${target} PRIVATE -Werror)
    endif()
endfunction()

# Everything from here on is built so that a fault stops the program rather than being of use to who provoked it.
# A macro: the position-independent flags are set in the caller's scope.
macro(vorela_harden)
    include(CheckPIESupported)
    check_pie_supported()
    add_compile_options(-fstack-protector-strong -fstack-clash-protection)
    # Checks in the C library's functions come with optimisation only.
    add_compile_options($<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE>
                        $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-D_FORTIFY_SOURCE=2>)
    add_link_options(LINKER:-z,relro,-z,now)
endmacro()

# vorela_module(NAME SOURCES file... [LINK target...]): a module library, without Qt.
function(vorela_module name)
    cmake_parse_arguments(arg "" "" "SOURCES;LINK" ${ARGN})
    add_library(${name} STATIC ${arg_SOURCES})
    target_include_directories(${name} PUBLIC ${CMAKE_SOURCE_DIR})
    target_link_libraries(${name} PUBLIC ${arg_LINK})
    vorela_warnings(${name})
endfunction()

# vorela_forms(NAME SOURCES file... [LINK target...]): the dialogs of a folder, Qt Widgets.
function(vorela_forms name)
    cmake_parse_arguments(arg "" "" "SOURCES;LINK" ${ARGN})
    add_library(${name} STATIC ${arg_SOURCES})
    set_target_properties(${name} PROPERTIES AUTOMOC ON AUTOUIC ON AUTORCC ON)
    target_include_directories(${name} PUBLIC ${CMAKE_SOURCE_DIR})
    target_link_libraries(${name} PUBLIC ${arg_LINK} Qt6::Widgets)
    vorela_warnings(${name})
endfunction()

# vorela_test(NAME SOURCES file... [LINK target...] [LABELS label]): a GoogleTest program; every case becomes a ctest
# test, which `ctest -LE slow` leaves out where it has that label.
# Tests find programs, loadable modules and sources through BuildPaths.h: a header and not definitions on the command
# line, so that the compiler's cache serves a test in whatever folder the tree lies.
set(VORELA_PATHS_DIR ${CMAKE_BINARY_DIR}/paths)
configure_file(${CMAKE_SOURCE_DIR}/cmake/BuildPaths.h.in ${VORELA_PATHS_DIR}/BuildPaths.h @ONLY)

function(vorela_test name)
    cmake_parse_arguments(arg "" "LABELS" "SOURCES;LINK;DEPENDS" ${ARGN})
    add_executable(${name} ${arg_SOURCES})
    target_link_libraries(${name} PRIVATE ${arg_LINK} GTest::gmock GTest::gtest GTest::gtest_main)
    target_include_directories(${name} PRIVATE ${CMAKE_SOURCE_DIR} ${VORELA_PATHS_DIR})
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
    if(arg_DEPENDS)
        add_dependencies(${name} ${arg_DEPENDS})
    endif()
    vorela_warnings(${name})
    include(GoogleTest)
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST PROPERTIES TIMEOUT 300 ENVIRONMENT
                                                                    "QT_QPA_PLATFORM=offscreen" LABELS
                                                                    "${arg_LABELS}")
endfunction()
