# Settings that every target shares, and the two ways in which targets are declared.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

# Where modules lie that programs load while they run: in the build, and below the prefix as seen from bin.
include(GNUInstallDirs)
set(ZUN_MODULES ${CMAKE_BINARY_DIR}/modules)
set(ZUN_INSTALLED_MODULES ${CMAKE_INSTALL_LIBDIR}/zun)
set(CMAKE_BUILD_RPATH ${ZUN_MODULES})

option(ZUN_FUZZ "Build the fuzzers (needs clang)" OFF)
set(ZUN_SANITIZE "" CACHE STRING "Sanitizers to build with, as the compiler names them: address,undefined or thread")

find_program(ZUN_CCACHE ccache)
if(ZUN_CCACHE)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${ZUN_CCACHE})
endif()
find_program(ZUN_MOLD mold)
if(ZUN_MOLD)
    add_link_options(-fuse-ld=mold)
endif()

# What nobody calls is left out of what is shipped: fewer pages to load at the start.
add_compile_options($<$<CONFIG:Release>:-ffunction-sections>)
add_link_options($<$<CONFIG:Release>:-Wl,--gc-sections>)

add_compile_options(-Wall -Wextra -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Werror -fno-omit-frame-pointer)
add_compile_definitions(SQLITE_ENABLE_COLUMN_METADATA=1)
if(ZUN_SANITIZE)
    # The compiler's manual: with sanitizers this warning is often wrong. The other builds keep it.
    add_compile_options(-fsanitize=${ZUN_SANITIZE} $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
    add_link_options(-fsanitize=${ZUN_SANITIZE})
    # The sanitizer stands between a program and dlopen(), which then looks along the old kind of run path alone.
    add_link_options(-Wl,--disable-new-dtags)
endif()
if(ZUN_FUZZ)
    # The fuzzers are led by what the rooms below them do, so these are instrumented too.
    add_compile_options(-fsanitize=fuzzer-no-link)
    # clang sees that the library's own stable_sort uses what the library deprecates.
    add_compile_options(-Wno-deprecated-declarations)
endif()

# zun_library(<name> SOURCES ... LINKS ...): one room. Includes are written from src/.
function(zun_library name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINKS" ${ARGN})
    add_library(${name} STATIC ${ARG_SOURCES})
    target_include_directories(${name} PUBLIC ${CMAKE_SOURCE_DIR}/src)
    target_link_libraries(${name} PUBLIC ${ARG_LINKS})
endfunction()

# zun_test(<name> SOURCES ... LINKS ...): one test program, run by ctest. Tests write only below their own build folder.
# UNDER names the program that runs it, with that program's arguments. Tests that link Qt get the label "qt".
function(zun_test name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINKS;ENVIRONMENT;UNDER" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_include_directories(${name} PRIVATE ${CMAKE_SOURCE_DIR}/tests)
    target_link_libraries(${name} PRIVATE ${ARG_LINKS} GTest::gmock GTest::gtest_main)
    add_test(NAME ${name} COMMAND ${ARG_UNDER} $<TARGET_FILE:${name}>)
    set_tests_properties(${name} PROPERTIES TIMEOUT 300 ENVIRONMENT "QT_QPA_PLATFORM=offscreen;${ARG_ENVIRONMENT}")
    if("${ARG_LINKS}" MATCHES "Qt6::")
        set_tests_properties(${name} PROPERTIES LABELS qt)
    endif()
endfunction()
